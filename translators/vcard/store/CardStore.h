// The records of a folder of cards, or of one file of many cards. Identifiers are in UTF-8; see FileRecord.h. Only identifiers of listed
// records are used, so none can lead out of the folder.
//
// Promises:
// - A file is replaced as a whole or not at all. A file that cannot be parsed is never written, and its cards count as existing.
// - A card is parsed before it is written, and refused if it would not read back unchanged.
// - An edit or a deletion is refused if another program changed the card since it was listed. In a file of many cards, edits of different
//   cards are merged.
// - In a batch a file of one card is written at once, a file of many cards at the end of the batch. The disk is flushed once, at the end.
// - A new card has the version of most cards, but not 2.1; the first one of a store has the version that its details name, or 4.0.
// - A new card gets the UID that its details name, unless a card of the store has it. Its file is named by this plug-in.
// - If the end of a batch fails for a file of many cards, that file is unchanged.
#pragma once
#include "ManyCardFiles.h"
#include "OpenedCards.h"
#include "RecordIds.h"
#include "SingleCardFiles.h"
#include "StoreError.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

class CardStore final : public plugin::RecordStore {
public:
    // `database` is the path of a folder or of a file. `cacheFolder` may be empty. Requires: `recent` outlives this object.
    CardStore(const std::string& database, const std::string& cacheFolder, plugin::Report report, RecentIndexes& recent);
    ~CardStore() override;

    std::size_t count() const override { return ids_.count(); }
    const std::string& idAt(std::size_t index) const override { return ids_.at(index); }
    bool exists(const std::string& id) const override { return ids_.exists(id); } // also true if the file of the record cannot be parsed
    std::string updatedId(const std::string& id) override { return ids_.updatedId(id); }
    // Files do not record when a card was created, so this is the date of its last change.
    std::int64_t created(const std::string& id) const override { return modified(id); }
    std::int64_t modified(const std::string& id) const override;

    void beginRead(const std::string& id) override;
    std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override;

    void expectWritable(const std::string& id) override;
    void beginBatch() override { batch_ = true; }
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    std::string save(const std::string& id) override; // returns the record's identifier, which may be a new one
    void remove(const std::string& id) override;
    std::string readImage(const std::string& id, int type) override { return openFor(id).image(type); }
    std::uint64_t imageSize(const std::string& id, int type) override { return openFor(id).imageSize(type); }
    void writeImage(const std::string& id, int type, std::string_view bytes) override;
    std::u16string readWholeDetails(const std::string& id) override { return openFor(id).wholeDetails(); }
    void close() override { commitAll(Step::Close); } // commits what was saved in an unfinished batch

private:
    struct Open : StoredCard { // a card that is read or written
        std::u16string nameBefore;
        bool isNew = false;
        bool displayNameWritten = false;
    };

    CardStorage& storageOf(const Place& place) { return place.isFile() ? static_cast<CardStorage&>(single_) : many_; }
    CardStorage& storageOfNew() { return cards_.singleFile.empty() ? static_cast<CardStorage&>(single_) : many_; }
    const Card& openFor(const std::string& id) const;
    Open& openForWriting(const std::string& id, Step step);
    Open load(const std::string& id, Step step);
    void put(Open& record);
    std::optional<Version> versionOfMost();
    std::optional<Version> wantedVersion(std::u16string_view details) const;
    std::u16string readDetails(const std::string& id, const Card& card) const;
    void writeDetails(Open& record, std::u16string_view text);
    void commitAll(Step step);
    void discardEdits();

    plugin::Report report_;
    OpenedCards cards_;
    RecordIds ids_;
    SingleCardFiles single_;
    ManyCardFiles many_;
    std::optional<Open> reading_, writing_;
    std::optional<Open> last_; // the record read or saved last, cached to be read again without opening its file
    bool batch_ = false;
    std::optional<Version> versionOfNew_; // of added cards; nullopt until the first one is added to an empty store
};

} // namespace mb::vcard
