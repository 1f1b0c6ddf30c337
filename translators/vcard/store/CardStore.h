// The records of a folder of cards, or of one file of many cards. Identifiers are in UTF-8; see FileRecord.h. Only identifiers of listed
// records are used, so none can lead out of the folder.
//
// Promises:
// - A file is replaced as a whole or not at all. A file that cannot be parsed is never written, and its cards count as existing.
// - A card is parsed before it is written, and refused if it would not read back unchanged.
// - An edit or a deletion is refused if another program changed the card since it was listed. In a file of many cards, edits of different
//   cards are merged.
// - In a batch a file of one card is written at once, a file of many cards at the end of the batch. The disk is flushed once, at the end.
// - If the end of a batch fails for a file of many cards, that file is unchanged.
#pragma once
#include "CardAhead.h"
#include "CardEdits.h"
#include "CardIndex.h"
#include "DraftsAhead.h"
#include "Folder.h"
#include "OpenedCards.h"
#include "SingleCard.h"
#include "StoreError.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mb::vcard {

class CardStore final : public plugin::RecordStore {
public:
    // `database` is the path of a folder or of a file. `cacheFolder` may be empty. Requires: `recent` outlives this object.
    CardStore(const std::string& database, const std::string& cacheFolder, plugin::Report report, RecentIndexes& recent);
    ~CardStore() override;

    std::size_t count() const override { return order().size(); }
    const std::string& idAt(std::size_t index) const override { return order().at(index); }
    bool exists(const std::string& id) const override; // also true if the file of the record cannot be parsed
    std::string updatedId(const std::string& id) override;
    // Files do not record when a card was created, so this is the date of its last change.
    std::int64_t created(const std::string& id) const override { return modified(id); }
    std::int64_t modified(const std::string& id) const override;

    void beginRead(const std::string& id) override;
    std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override;

    void expectWritable(const std::string& id) override;
    void beginBatch() override;
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    std::string save(const std::string& id) override; // returns the record's identifier, which may be a new one
    void remove(const std::string& id) override;
    std::string readImage(const std::string& id, int type) override { return openFor(id).image(type); }
    std::uint64_t imageSize(const std::string& id, int type) override { return openFor(id).imageSize(type); }
    void writeImage(const std::string& id, int type, std::string_view bytes) override;
    void close() override; // commits what was saved in an unfinished batch

private:
    // A file of many cards, held while its cards are read and changed.
    struct Container {
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
    };
    struct Open : SingleCard { // for a card in a file of many, the state of that file
        std::string id;
        std::string onDisk; // while an edit is saved, the bytes of the card before it
        std::u16string nameBefore;
        bool isNew = false;
        bool displayNameWritten = false;
    };

    void listRecords();
    void makeDistinct(std::vector<std::pair<std::string, Place>>& listed);
    std::optional<Place> badFileOf(const std::string& id) const;
    void remember(const std::string& id);
    void indexUids() const;
    std::vector<std::string> newCardsOf(const std::string& id) const;
    using Names = std::unordered_map<std::string, std::string>; // identifier of a file's only or first card, by file name
    Names::const_iterator inOtherCase(const std::string& name) const;
    std::optional<std::string> changedInPlace(const std::string& id) const;
    const Card& openFor(const std::string& id) const;
    const std::vector<std::string>& order() const;
    Place placeOf(const std::string& id, Step step) const;
    FileRecord& fileOf(const Place& place) { return index_->files()[place.file]; }
    Container& container(std::size_t file, Step step);
    Open load(const std::string& id, Step step);
    std::optional<SingleCard> takeAhead(std::size_t file);
    void giveUpAhead();
    void saveFile(Open& record);
    FileState writeNew(const std::string& name, std::string_view bytes);
    FileState rewrite(const Open& record);
    void saveInContainer(Open& record);
    void addToContainer(Open& record);
    void touchContainer(Container& c, std::size_t file, std::int64_t growth, Step step);
    void stampCard(CardRecord& card, std::string_view bytes);
    StoreError changedMeanwhile(const std::string& name, Step step) const;
    void requireReadBack(const Open& record, const std::string& bytes, FileText::Form form) const;
    void removeFile(const std::string& name, const FileState& state);
    void merge(const FileRecord& record, Container& c);
    void commit(std::size_t file, Container& c);
    FileState writeContainer(const FileRecord& record, Container& c, EditedText& edited);
    void describe(FileRecord& record, const EditedText& edited, const FileState& state);
    void commitAll(Step step);
    void dropEdits();
    void relist();

    std::unique_ptr<Folder> folder_;
    std::string singleFile_; // empty: every file of the folder
    plugin::Report report_;
    std::unique_ptr<CardIndex> index_;
    mutable std::vector<std::string> order_;
    mutable bool listStale_ = false; // order_ still contains deleted records
    std::unordered_map<std::string, Place> places_;
    // Identifiers that the caller knows from an earlier run, and their UIDs; see CardStoreIds.cpp.
    std::unordered_set<std::string> known_, knownUids_;
    std::unordered_set<std::string> ambiguous_; // case-folded identifiers that more than one card has
    std::unordered_set<std::string> marks_;     // identifiers to which this store appended a mark
    bool anyMarkKnown_ = false;
    mutable bool uidsIndexed_ = false;
    mutable std::unordered_map<std::string, std::vector<std::string>> byUid_; // identifiers by UID
    mutable Names byName_;
    std::map<std::size_t, Container> containers_;
    std::optional<Open> reading_, writing_;
    std::optional<Open> last_; // the record read or saved last, cached to be read again without opening its file
    bool batch_ = false;
    bool unflushed_ = false;

    // Prefetch: after a few cards were read in list order, the next ones are read on a thread.
    std::size_t lastRead_ = 0, inARow_ = 0, aheadTo_ = 0; // lastRead_ and aheadTo_ are indexes of files
    std::unique_ptr<CardAhead> ahead_;

    // After many added cards in a batch, temporary files for the next ones are opened on a thread.
    std::size_t added_ = 0;
    std::unique_ptr<DraftsAhead> drafts_;
};

} // namespace mb::vcard
