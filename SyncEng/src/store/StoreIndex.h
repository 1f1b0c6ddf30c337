// A hash index of a store's sections by type and section name, in document order. It is built when the document is loaded and updated by
// every write. Its results are those of the expressions Scs/Sc[ST = T and SN = S] and Scs/Sc[ST = T], also in a document that another
// program edited. It stores the types but not the names: a hash finds a section, whose own names are then compared.
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

    // The first section of a type and name, both as they are in the document. If `more` is true there may be further sections; if false
    // there are none.
    struct Match {
        platform::XmlElement first;
        bool more = false;
    };
    [[nodiscard]] Match match(std::string_view type, std::string_view name) const;
    [[nodiscard]] platform::XmlElement first(std::string_view type, std::string_view name) const { return match(type, name).first; }
    [[nodiscard]] std::vector<platform::XmlElement> all(std::string_view type, std::string_view name) const;
    [[nodiscard]] std::vector<platform::XmlElement> ofType(std::string_view type) const;

    // Adds a new section, the last in the document. Requires: it has exactly this type and this name.
    void append(const platform::XmlElement& section, std::string_view type, std::string_view name);
    // Removes a section before it leaves the document or is renamed. Returns its position, for restore().
    std::uint32_t remove(const platform::XmlElement& section);
    void restore(const platform::XmlElement& section, std::uint32_t place);

private:
    struct Entry {
        platform::XmlElement section; // empty if the entry was removed
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

    std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> types_; // numbers by type
    std::vector<std::uint32_t> heads_; // by hash: the first entry of a chain, in ascending order of `place`
    std::vector<Entry> entries_;
    std::vector<Entry> odd_; // sections with too many types or names for one entry each, in ascending order of `place`
    std::uint32_t places_ = 0;
};

} // namespace mb
