// The new records of one side for the search for duplicates: a document of them, and hash tables beside it that answer its six questions
// in the order of the document. A table is made when its question is asked for the first time. The expressions on the document remain
// the definition.
#pragma once
#include "xml.h"
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mb {

class RecordIndex {
public:
    // As the document holds them, in UTF-8 and lower case; names and e-mail are escaped. Valid until a record is added.
    struct Keys {
        std::string_view lastName, firstName, email, digest;
    };
    // The keys that are compared: the expressions Q1 to Q6. Quirk kept on purpose: ContentAlone is asked with empty names and e-mail.
    enum class Question { ContentAlone, NameAndContent, EmailAndContent, NameAndEmail, Name, Email };

    // False if no document can be made.
    bool create();
    // Returns the record's position in the document. Requires: names and e-mail are in lower case and not escaped.
    std::size_t AddToRecordIndex(std::u16string_view id, std::u16string_view lastName, std::u16string_view firstName,
                                 std::u16string_view email, std::u16string_view digest);
    // Quirk kept on purpose: the identifier is not escaped in the expression, so an identifier with a quote finds no record, or another
    // one.
    void MarkRecordMapped(const std::u16string& id, const std::u16string& mappedId);

    [[nodiscard]] const std::u16string& id(std::size_t position) const { return entries_[position].id; }
    [[nodiscard]] Keys keys(std::size_t position) const;
    [[nodiscard]] bool isOpen(std::size_t position) const { return !entries_[position].mapped; }
    [[nodiscard]] std::vector<std::size_t> open() const;

    // The first record that is not mapped yet, has the keys, and is accepted.
    template <class Accept> std::optional<std::size_t> find(Question question, const Keys& keys, Accept&& accept)
    {
        for (std::uint32_t* link = firstLink(question, keys); *link != none;) {
            const std::uint32_t position = *link;
            std::uint32_t& next = table(question).next[position];
            if (entries_[position].mapped) {
                *link = next; // it is passed over once
                continue;
            }
            if (answers(question, keys, position) && accept(position)) return position;
            link = &next;
        }
        return std::nullopt;
    }

    [[nodiscard]] const platform::XmlDocument& document() const { return document_; }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    struct Entry {
        platform::XmlElement element;
        std::u16string id;
        std::size_t at;                     // where its keys stand in texts_, one behind the other
        std::array<std::uint32_t, 4> sizes; // of the keys
        bool mapped = false;
    };
    // `heads` holds by hash the first position of a chain in ascending order, `next` by position the next one. No heads: not made yet.
    struct Table {
        std::vector<std::uint32_t> heads, next;
    };
    template <class HashOf> void make(Table& table, HashOf&& hashOf) const;
    Table& table(Question question) { return tables_[static_cast<std::size_t>(question)]; }
    std::uint32_t* firstLink(Question question, const Keys& keys);
    [[nodiscard]] bool answers(Question question, const Keys& keys, std::size_t position) const;
    [[nodiscard]] std::size_t positionOf(const std::u16string& id);
    [[nodiscard]] std::size_t positionOf(const platform::XmlElement& element) const;

    platform::XmlDocument document_;
    std::vector<Entry> entries_;
    std::string texts_;
    std::array<Table, 6> tables_;
    Table byId_;
};

} // namespace mb
