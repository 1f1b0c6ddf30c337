// The new records of one side for the search for duplicates: a document of them, and buckets beside it that answer its six questions in
// the order of the document. The expressions on the document remain the definition.
#pragma once
#include "xml.h"
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace mb {

class RecordIndex {
public:
    struct Entry {
        std::u16string id, mappedId;
        std::u16string lastName, firstName, email; // lower-cased and escaped, as the attributes are
        std::u16string digest;
        platform::XmlElement element;
    };
    using Found = std::span<const std::size_t>; // positions of entries, in the order of the document; some may be mapped by now

    // False if no document can be made.
    bool create();
    // The three keys lower-cased, not escaped yet.
    void AddToRecordIndex(std::u16string_view id, std::u16string_view lastName, std::u16string_view firstName, std::u16string_view email,
                          std::u16string_view digest);
    // Wanted: the identifier goes into the expression as it is, so one with a quote finds nothing, or another.
    void MarkRecordMapped(const std::u16string& id, const std::u16string& mappedId);

    [[nodiscard]] const Entry& operator[](std::size_t position) const { return entries_[position]; }
    [[nodiscard]] bool isOpen(std::size_t position) const { return entries_[position].mappedId.empty(); }
    [[nodiscard]] std::vector<std::size_t> open() const;

    // The questions, of records that are not mapped yet. Wanted: the first one is asked with empty keys.
    [[nodiscard]] Found withContentAlone(std::u16string_view digest);                                                         // Q1
    [[nodiscard]] Found withNameAndContent(std::u16string_view last, std::u16string_view first, std::u16string_view digest);  // Q2
    [[nodiscard]] Found withEmailAndContent(std::u16string_view last, std::u16string_view email, std::u16string_view digest); // Q3
    [[nodiscard]] Found withNameAndEmail(std::u16string_view last, std::u16string_view first, std::u16string_view email);     // Q4
    [[nodiscard]] Found withName(std::u16string_view last, std::u16string_view first);                                        // Q5
    [[nodiscard]] Found withEmail(std::u16string_view last, std::u16string_view email);                                       // Q6

    [[nodiscard]] const platform::XmlDocument& document() const { return document_; }

private:
    // Entries that were mapped leave at the front, so that each is passed over once.
    struct Bucket {
        std::vector<std::size_t> positions;
        std::size_t front = 0;
    };
    using Buckets = std::unordered_map<std::u16string, Bucket>;
    Found openOf(Buckets& buckets, const std::u16string& key);
    std::size_t positionOf(const platform::XmlElement& element) const;

    platform::XmlDocument document_;
    std::vector<Entry> entries_;
    std::unordered_map<std::u16string, std::size_t> byId_; // the first of an identifier
    Buckets byContent_, byNameContent_, byEmailContent_, byNameEmail_, byName_, byEmail_;
};

} // namespace mb
