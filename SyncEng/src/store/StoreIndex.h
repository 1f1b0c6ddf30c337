// The hash index beside a store's document: from type and section name to the sections that bear them, in document order. It is built
// in one walk when the document is loaded and kept current by every write. It answers what the expressions Scs/Sc[ST = T and SN = S] and
// Scs/Sc[ST = T] answer, also on a document that a foreign hand has changed. It holds the few types, but no name: a hash leads to a
// section, whose own names decide.
#pragma once
#include "xml.h"
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mb {

class StoreIndex {
public:
    void build(const platform::XmlElement& root);

    // Type and name as they stand in the document. `more` says that there may be further ones; false is certain.
    struct Match {
        platform::XmlElement first;
        bool more = false;
    };
    [[nodiscard]] Match match(std::string_view type, std::string_view name) const;
    [[nodiscard]] platform::XmlElement first(std::string_view type, std::string_view name) const { return match(type, name).first; }
    [[nodiscard]] std::vector<platform::XmlElement> all(std::string_view type, std::string_view name) const;
    [[nodiscard]] std::vector<platform::XmlElement> ofType(std::string_view type) const;

    // A new section, the last one of the document, of this one type and name.
    void append(const platform::XmlElement& section, std::string_view type, std::string_view name);
    // A section that is about to leave the document, or to get another name; the answer is its place, for restore.
    std::uint32_t remove(const platform::XmlElement& section);
    void restore(const platform::XmlElement& section, std::uint32_t place);

private:
    struct Entry {
        platform::XmlElement section; // none for an entry that is gone
        std::uint32_t type, hash, place, next;
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    };
    template <class F> bool eachPair(const platform::XmlElement& section, F&& visit);
    std::uint32_t numberOf(std::string_view type);
    [[nodiscard]] std::uint32_t knownNumber(std::string_view type) const;
    [[nodiscard]] static std::vector<platform::XmlElement> inOrder(std::vector<const Entry*>& found);
    [[nodiscard]] std::uint32_t headOf(std::uint32_t hash) const noexcept;
    void link(Entry entry);
    void relink();

    std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> types_; // each with a number
    std::vector<std::uint32_t> heads_; // by hash: the first entry of a chain in ascending order of place
    std::vector<Entry> entries_;
    std::vector<Entry> odd_; // sections with more types or names than are worth a hash each, in ascending order of place
    std::uint32_t places_ = 0;
};

} // namespace mb
