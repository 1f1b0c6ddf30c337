#include "CardStore.h"

#include "Ascii.h"
#include "Charset.h"
#include "DetailsText.h"
#include "NewGuid.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace mb::vcard {
namespace {

// Returns a random UUID, lower-case and without braces.
std::string newUuid()
{
    try {
        const std::string guid = plugin::newGuid();
        std::string uuid = guid.substr(1, guid.size() - 2);
        std::ranges::transform(uuid, uuid.begin(), lower);
        return uuid;
    } catch (const std::runtime_error& e) {
        throw StoreError(Step::Add, e.what());
    }
}

} // namespace

CardStore::CardStore(const std::string& database, const std::string& cacheFolder, plugin::Report report, RecentIndexes& recent)
    : report_(std::move(report)), cards_(database, cacheFolder, report_, recent), ids_(cards_), single_(cards_), many_(cards_)
{
}

CardStore::~CardStore()
{
    try {
        close();
    } catch (const std::exception& e) {
        report_(plugin::Finding::LeftOut, e.what());
    }
}

std::int64_t CardStore::modified(const std::string& id) const
{
    const Place place = ids_.placeOf(id, Step::Find);
    const FileRecord& file = cards_.index->fileAt(place);
    if (file.bad()) throw StoreError(Step::Find, cards_.folder->pathOf(file.faultyPlace()) + ": " + file.badText + ".");
    return cards_.index->stampAt(place);
}

CardStore::Open CardStore::load(const std::string& id, Step step)
{
    const Place place = ids_.placeOf(id, step);
    const FileRecord& file = cards_.index->fileAt(place);
    if (file.bad()) throw cards_.unreadable(file.faultyPlace(), file.badText, step);
    Open record;
    static_cast<SingleCard&>(record) = fileStep(step, [&] { return storageOf(place).read(place, step); });
    record.id = id;
    return record;
}

void CardStore::beginRead(const std::string& id)
{
    if (last_ && last_->id == id)
        reading_ = std::move(last_);
    else
        reading_ = load(id, Step::BeginRead);
    last_.reset();
}

const Card& CardStore::openFor(const std::string& id) const
{
    if (reading_ && reading_->id == id) return reading_->card;
    if (writing_ && writing_->id == id) return writing_->card;
    throw StoreError(Step::ReadField, "The card \"" + id + "\" is not being read.");
}

namespace {

// Returns the name of the card for a message, or its identifier.
std::string nameOf(const Card& card, const std::string& id)
{
    const std::u16string name = card.composedName();
    return name.empty() ? id : toUtf8(name);
}

} // namespace

std::u16string CardStore::read(const std::string& id, int type) const
{
    const Card& card = openFor(id);
    return type == plugin::kDetailsField ? readDetails(id, card) : card.get(type);
}

// No store keeps details that are over a limit. They are refused here, where a run goes on without them, and not by the other store.
std::u16string CardStore::readDetails(const std::string& id, const Card& card) const
{
    std::u16string text = card.details();
    const std::string refusal = plugin::detailsRefusal(text, nameOf(card, id), "is synchronised without its details");
    if (refusal.empty()) return text;
    report_(plugin::Finding::LeftOut, refusal);
    throw StoreError(Step::ReadField, refusal);
}

void CardStore::endRead(const std::string& id)
{
    if (!reading_ || reading_->id != id) throw StoreError(Step::BeginRead, "The card \"" + id + "\" is not being read.");
    last_ = std::move(reading_);
    reading_.reset();
}

void CardStore::expectWritable(const std::string& id)
{
    if (!id.empty() && !ids_.contains(id)) return; // the write will report the fault
    const std::string& name = id.empty() ? cards_.singleFile : cards_.index->fileAt(ids_.placeOf(id, Step::Update)).name;
    fileStep(Step::Update, [&] { cards_.folder->expectWritable(name); });
}

void CardStore::endBatch(bool abort)
{
    batch_ = false;
    if (abort) discardEdits();
    commitAll(Step::Update);
}

// Returns the version for a new card; nullopt if the store is empty. New cards are not of version 2.1, which later programs do not read.
std::optional<Version> CardStore::versionOfMost()
{
    const auto [v21, v30, v40] = cards_.index->versions();
    if (v21 + v30 + v40 == 0) return std::nullopt;
    return v21 + v30 > v40 ? Version::V30 : Version::V40;
}

std::string CardStore::beginAdd()
{
    if (!versionOfNew_) versionOfNew_ = versionOfMost();
    Open record;
    static_cast<StoredCard&>(record) = storageOfNew().make(newUuid(), versionOfNew_.value_or(Version::V40));
    record.isNew = true;
    writing_ = std::move(record);
    return writing_->id;
}

void CardStore::beginEdit(const std::string& id)
{
    const FileRecord& file = cards_.index->fileAt(ids_.placeOf(id, Step::Edit));
    // last_ may be outdated: compare the state of the file.
    const bool fresh = last_ && last_->id == id && fileStep(Step::Edit, [&] { return cards_.folder->stateOf(file.name); }) == last_->state;
    writing_ = fresh ? *last_ : load(id, Step::Edit);
    if (writing_->state != file.state) { // the file changed since it was listed
        writing_.reset();
        throw cards_.changedMeanwhile(file, Step::Edit);
    }
    writing_->nameBefore = writing_->card.composedName();
    writing_->isNew = writing_->displayNameWritten = false;
}

CardStore::Open& CardStore::openForWriting(const std::string& id, Step step)
{
    if (!writing_ || writing_->id != id) throw StoreError(step, "The card \"" + id + "\" is not being edited.");
    return *writing_;
}

void CardStore::write(const std::string& id, int type, std::u16string_view text)
{
    Open& record = openForWriting(id, Step::WriteField);
    if (type == plugin::kDetailsField) return writeDetails(record, text);
    record.displayNameWritten = record.displayNameWritten || type == kDisplayNameField;
    record.card.set(type, text);
}

// Returns the version that a new card's details demand, or name for the first card of a store.
std::optional<Version> CardStore::wantedVersion(std::u16string_view details) const
{
    std::u16string version = plugin::ownDetail(details, plugin::kDemandedVersion);
    if (version.empty() && !versionOfNew_) version = plugin::ownDetail(details, u"VERSION");
    if (version == u"2.1" || version == u"3.0") return Version::V30;
    return version == u"4.0" ? std::optional(Version::V40) : std::nullopt;
}

void CardStore::writeDetails(Open& record, std::u16string_view text)
{
    if (const std::string refusal = plugin::detailsRefusal(text, nameOf(record.card, record.id)); !refusal.empty())
        throw StoreError(Step::WriteField, refusal);
    if (const auto wanted = record.isNew ? wantedVersion(text) : std::nullopt; wanted && *wanted != record.card.version())
        record.card = record.card.inVersion(*wanted);
    record.card.setDetails(text);
    if (record.isNew) record.card.takeUid(text, [&](const std::string& uid) { return !ids_.hasUid(safeToken(uid)); });
}

void CardStore::writeImage(const std::string& id, int type, std::string_view bytes)
{
    openForWriting(id, Step::WriteField).card.setImage(type, bytes);
}

std::string CardStore::save(const std::string& id)
{
    Open record = std::move(openForWriting(id, Step::Save));
    writing_.reset();
    last_.reset();
    if (!record.isNew && !record.displayNameWritten && !record.nameBefore.empty() &&
        record.card.get(kDisplayNameField) == record.nameBefore)
        record.card.set(kDisplayNameField, record.card.composedName()); // a display name that equals the composed name follows it
    if (record.isNew || record.card.bytes() != record.bytes) {
        record.card.completeName();
        record.card.dropNeedlessMarks();
    }
    std::string bytes = record.card.bytes();
    if (bytes != record.bytes) {
        record.onDisk = std::exchange(record.bytes, std::move(bytes));
        fileStep(Step::Save, [&] { put(record); });
    }
    if (!batch_) commitAll(Step::Save);
    last_ = std::move(record);
    return last_->id;
}

// Adds or replaces the card, and gives the record its identifier from now on.
void CardStore::put(Open& record)
{
    if (record.isNew) {
        const Place place = storageOfNew().add(record);
        FileRecord& file = cards_.index->fileAt(place);
        if (!versionOfNew_) versionOfNew_ = record.card.version();
        if (place.isFile()) file.versions[static_cast<std::size_t>(record.card.version())] = 1;
        record.id = place.isFile() ? file.id() : file.idOf(file.cards[place.cardIndex()]);
        ids_.add(record.id, place);
        return;
    }
    const Place place = ids_.placeOf(record.id, Step::Save);
    std::string id = storageOf(place).replace(place, record, ids_);
    if (id == record.id) return;
    ids_.remove(record.id);
    ids_.add(id, place);
    record.id = std::move(id);
}

void CardStore::remove(const std::string& id)
{
    const Place place = ids_.placeOf(id, Step::Delete);
    const FileRecord& file = cards_.index->fileAt(place);
    if (file.bad()) throw StoreError(Step::Delete, cards_.folder->pathOf(file.faultyPlace()) + ": " + file.badText + ".");
    if (last_ && last_->id == id) last_.reset();
    fileStep(Step::Delete, [&] { storageOf(place).remove(place); });
    ids_.remove(id);
    if (!batch_) commitAll(Step::Delete);
}

void CardStore::commitAll(Step step)
{
    bool moved = false; // cards may be at other places
    try {
        fileStep(step, [&] {
            single_.commit();
            moved = many_.commit();
            cards_.flush();
            cards_.index->save();
        });
    } catch (const StoreError&) {
        discardEdits();
        throw;
    }
    if (moved) ids_.list();
}

void CardStore::discardEdits()
{
    last_.reset();
    if (many_.discard()) ids_.list();
}

} // namespace mb::vcard
