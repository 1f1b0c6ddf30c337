// The hash index beside a store's document: from type and section to the section's element. It is built in one walk when the document
// is loaded and kept current by every write. What it answers is what the XPath expressions answer; where a foreign hand has made a
// document in which it could not know, it says so, and the expressions are asked.
#pragma once
#include "xml.h"
#include <string>
#include <string_view>
#include <unordered_map>

namespace mb {

class StoreIndex {
public:
    struct Answer {
        bool known = true; // false: only the document itself can tell
        platform::XmlElement section;
    };

    void build(const platform::XmlElement& root);
    // The type as it stands in the document, the name as it is encoded there.
    [[nodiscard]] Answer find(std::string_view type, std::string_view name) const;
    // Every section has one type and one name, and every entry one key and one value.
    [[nodiscard]] bool regular() const noexcept { return regular_; }

    void add(std::string_view type, std::string_view name, const platform::XmlElement& section);
    void remove(std::string_view type, std::string_view name);
    void rename(std::string_view type, std::string_view oldName, std::string_view newName);

private:
    struct Slot {
        platform::XmlElement section;
        bool ambiguous = false; // several sections bear the name
    };
    static std::string keyOf(std::string_view type, std::string_view name);
    std::unordered_map<std::string, Slot> slots_;
    bool regular_ = true;
};

} // namespace mb
