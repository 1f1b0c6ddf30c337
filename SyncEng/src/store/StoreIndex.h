// The hash index beside a store's document: from type and section name to the sections that bear them, in document order. It is built
// in one walk when the document is loaded and kept current by every write. It answers what the expression Scs/Sc[ST = T and SN = S]
// answers, also on a document that a foreign hand has changed. It holds no texts: a hash leads to a section, whose own texts decide.
#pragma once
#include "xml.h"
#include <cstdint>
#include <string_view>
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

    // A new section, the last one of the document, whose type and name are written.
    void append(const platform::XmlElement& section);
    // A section that is about to leave the document, or to get another name; the answer is its place, for restore.
    std::uint32_t remove(const platform::XmlElement& section);
    void restore(const platform::XmlElement& section, std::uint32_t place);

private:
    struct Entry {
        platform::XmlElement section; // none for an entry that is gone
        std::uint32_t hash, place, next;
    };
    [[nodiscard]] std::uint32_t headOf(std::uint32_t hash) const noexcept;
    void link(Entry entry);
    void relink();

    std::vector<std::uint32_t> heads_; // by hash: the first entry of a chain in ascending order of place
    std::vector<Entry> entries_;
    std::vector<Entry> odd_; // sections with more types or names than are worth a hash each, in ascending order of place
    std::uint32_t places_ = 0;
};

} // namespace mb
