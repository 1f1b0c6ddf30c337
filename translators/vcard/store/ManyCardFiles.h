// Cards in files of several cards. A batch collects the changes of a file; commit() writes them together. If another program changed the
// file meanwhile, they are merged card by card. If both changed the same card, nothing is written, and the next run sees both changes.
#pragma once
#include "CardEdits.h"
#include "CardStorage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

class ManyCardFiles final : public CardStorage {
public:
    explicit ManyCardFiles(OpenedCards& cards) : cards_(cards) {} // `cards` must outlive this object

    SingleCard read(const Place& place, Step step) override;
    // Cards are only added to the file of a store of one file.
    StoredCard make(const std::string& uuid, Version version) override;
    Place add(StoredCard& record) override;
    std::string replace(const Place& place, StoredCard& record, const RecordIds& ids) override;
    void remove(const Place& place) override;
    bool commit() override;
    bool discard() override;

private:
    // A file, held while its cards are read and changed.
    struct OpenFile {
        FileText text;
        FileState state;
        std::vector<CardSpan> spans;
        CardEdits edits;
        std::uint64_t grown = 0; // octets that the edits add
        std::unique_ptr<Folder::Draft> draft;
        FileRecord before; // the file's record before the first edit
        bool dirty = false;

        bool wide() const { return text.form == FileText::Form::Utf16Little || text.form == FileText::Form::Utf16Big; }
        CardsText cards() const { return {text.text, spans}; }
        std::string card(std::size_t k) const; // with the edits; added cards follow those of the file
        void change(std::size_t k, const std::string& bytes);
    };

    OpenFile& openFile(std::size_t file, Step step);
    void prepareChange(OpenFile& open, const FileRecord& file, std::int64_t growth, Step step);
    void stamp(CardRecord& card, std::string_view bytes);
    void merge(const FileRecord& file, OpenFile& open);
    FileState write(const FileRecord& file, OpenFile& open, EditedText& edited);
    void commitFile(FileRecord& file, OpenFile& open);
    void describe(FileRecord& file, const EditedText& edited, const FileState& state);

    OpenedCards& cards_;
    std::map<std::size_t, OpenFile> open_; // by index of the file
};

} // namespace mb::vcard
