// Finds the entries of a key in a section in document order, as Ky[KN = K] does. A small section is searched linearly. The large section
// that was searched last is cached by key, since a translator may store many settings in one section.
#pragma once
#include "xml.h"
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mb {

class EntryFinder {
public:
    // Returns the first value of the key; empty if there is none. The key is encoded.
    [[nodiscard]] platform::XmlElement firstValue(const platform::XmlElement& section, std::string_view key);
    [[nodiscard]] static std::vector<platform::XmlElement> entries(const platform::XmlElement& section, std::string_view key);

    // Adds the section's new last entry to the cache.
    void appended(const platform::XmlElement& section, const platform::XmlElement& entry, std::string_view key);
    // Clears the cache. Must be called before an entry or a section is removed from the document.
    void forget();

private:
    void remember(const platform::XmlElement& section);
    [[nodiscard]] platform::XmlElement remembered(std::string_view key) const;

    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    platform::XmlElement section_;
    std::unordered_map<std::string, std::vector<platform::XmlElement>, Hash, std::equal_to<>> byKey_;
};

// Returns whether the entry has the key.
bool entryHasKey(const platform::XmlElement& entry, std::string_view key);

} // namespace mb
