// Finds the entries of a key within one section, in document order: what Ky[KN = K] answers. A small section is walked; the large one
// that was asked last is remembered by key, so that a translator's own settings may be many.
#pragma once
#include "xml.h"
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mb {

class EntryFinder {
public:
    // The key is encoded. The first value under it; none if it is absent.
    [[nodiscard]] platform::XmlElement firstValue(const platform::XmlElement& section, std::string_view key);
    [[nodiscard]] static std::vector<platform::XmlElement> entries(const platform::XmlElement& section, std::string_view key);

    // The section has got a new last entry.
    void appended(const platform::XmlElement& section, const platform::XmlElement& entry, std::string_view key);
    // To be called before an entry or a section leaves the document.
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

// Whether an entry bears the key.
bool entryHasKey(const platform::XmlElement& entry, std::string_view key);

} // namespace mb
