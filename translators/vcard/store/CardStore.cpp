#include "CardStore.h"

#include "Ascii.h"
#include "Charset.h"
#include "NewGuid.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace mb::vcard {
namespace {

constexpr int kDisplayName = 79;

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
    : report_(std::move(report))
{
    OpenedCards opened(database, cacheFolder, report_, recent);
    folder_ = std::move(opened.folder);
    singleFile_ = std::move(opened.singleFile);
    index_ = std::move(opened.index);
    listRecords();
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
    const Place place = placeOf(id, Step::Find);
    const FileRecord& file = index_->files()[place.file];
    if (file.bad()) throw StoreError(Step::Find, folder_->pathOf(file.faultyPlace()) + ": " + file.badText + ".");
    return place.card < 0 ? file.stamp : file.cards[static_cast<std::size_t>(place.card)].stamp;
}

CardStore::Open CardStore::load(const std::string& id, Step step)
{
    const Place place = placeOf(id, step);
    const FileRecord& file = fileOf(place);
    const auto unreadable = [&](const std::string& where, const std::string& text) {
        return StoreError(step, folder_->pathOf(where) + ": " + text + ". The file is left as it is.");
    };
    if (file.bad()) throw unreadable(file.faultyPlace(), file.badText);
    Open record;
    if (place.card < 0) {
        try {
            auto ahead = takeAhead(place.file);
            static_cast<SingleCard&>(record) = ahead ? std::move(*ahead) : fileStep(step, [&] { return readCard(*folder_, file.name); });
        } catch (const CardFault& fault) {
            throw unreadable(file.name + ", line " + std::to_string(fault.line), fault.text);
        }
    } else {
        Container& c = container(place.file, step);
        const auto k = static_cast<std::size_t>(place.card);
        const auto changed = c.edits.changed.find(k);
        record.state = c.state;
        if (changed != c.edits.changed.end())
            record.bytes = changed->second;
        else if (k < c.spans.size())
            record.bytes = c.cards().card(k);
        else
            record.bytes = c.edits.added[k - c.spans.size()];
        record.card = Card::parse(record.bytes);
    }
    record.id = id;
    return record;
}

std::optional<SingleCard> CardStore::takeAhead(std::size_t file)
{
    constexpr std::size_t kFew = 8, kAhead = 64;               // cards
    constexpr std::uint64_t kLarge = std::uint64_t{64} * 1024; // octets; larger files would take too much memory
    const std::vector<FileRecord>& files = index_->files();
    const bool next = file > lastRead_ && file < lastRead_ + kFew; // files that are not a single card may lie in between
    lastRead_ = file;
    inARow_ = next ? inARow_ + 1 : 0;
    if (inARow_ == 0) ahead_.reset();
    if (inARow_ < kFew) return std::nullopt;
    if (!ahead_) {
        ahead_ = std::make_unique<CardAhead>(*folder_);
        aheadTo_ = file + 1;
    }
    if (ahead_->waiting() < kAhead / 2) {
        std::vector<std::string> names;
        for (aheadTo_ = std::max(aheadTo_, file + 1); aheadTo_ < files.size() && names.size() < kAhead; ++aheadTo_) {
            const FileRecord& f = files[aheadTo_];
            if (f.cards.empty() && !f.bad() && !f.gone && f.state.size <= kLarge) names.push_back(f.name);
        }
        if (!names.empty()) ahead_->want(names);
    }
    return ahead_->take(files[file].name);
}

// Called before any file, or the list of files, changes.
void CardStore::giveUpAhead()
{
    ahead_.reset();
    inARow_ = 0;
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

std::u16string CardStore::read(const std::string& id, int type) const { return openFor(id).get(type); }

void CardStore::endRead(const std::string& id)
{
    if (!reading_ || reading_->id != id) throw StoreError(Step::BeginRead, "The card \"" + id + "\" is not being read.");
    last_ = std::move(reading_);
    reading_.reset();
}

void CardStore::close() { commitAll(Step::Close); }

void CardStore::expectWritable(const std::string& id)
{
    const auto place = places_.find(id);
    if (!id.empty() && place == places_.end()) return; // the write will report the fault
    fileStep(Step::Update, [&] { folder_->expectWritable(id.empty() ? singleFile_ : fileOf(place->second).name); });
}

void CardStore::beginBatch() { batch_ = true; }

void CardStore::endBatch(bool abort)
{
    batch_ = false;
    if (abort) dropEdits();
    commitAll(Step::Update);
}

std::string CardStore::beginAdd()
{
    const std::string uuid = newUuid();
    Open record;
    record.id = singleFile_.empty() ? uuid + ".vcf" : singleFile_ + "#urn:uuid:" + uuid;
    record.card = Card::make(uuid, singleFile_.empty() ? "\r\n" : lineEndOf(container(0, Step::Add).text.text));
    record.isNew = true;
    writing_ = std::move(record);
    return writing_->id;
}

void CardStore::beginEdit(const std::string& id)
{
    const Place place = placeOf(id, Step::Edit);
    // last_ may be outdated: compare the state of the file.
    const bool fresh =
        last_ && last_->id == id && fileStep(Step::Edit, [&] { return folder_->stateOf(fileOf(place).name); }) == last_->state;
    writing_ = fresh ? *last_ : load(id, Step::Edit);
    if (place.card < 0 && writing_->state != fileOf(place).state) { // the file changed since it was listed
        writing_.reset();
        throw changedMeanwhile(fileOf(place).name, Step::Edit);
    }
    writing_->nameBefore = writing_->card.composedName();
    writing_->isNew = writing_->displayNameWritten = false;
}

void CardStore::write(const std::string& id, int type, std::u16string_view text)
{
    if (!writing_ || writing_->id != id) throw StoreError(Step::WriteField, "The card \"" + id + "\" is not being edited.");
    writing_->displayNameWritten = writing_->displayNameWritten || type == kDisplayName;
    writing_->card.set(type, text);
}

void CardStore::writeImage(const std::string& id, int type, std::string_view bytes)
{
    if (!writing_ || writing_->id != id) throw StoreError(Step::WriteField, "The card \"" + id + "\" is not being edited.");
    writing_->card.setImage(type, bytes);
}

std::string CardStore::save(const std::string& id)
{
    if (!writing_ || writing_->id != id) throw StoreError(Step::Save, "The card \"" + id + "\" is not being edited.");
    Open record = std::move(*writing_);
    writing_.reset();
    last_.reset();
    giveUpAhead();
    if (!record.isNew && !record.displayNameWritten && !record.nameBefore.empty() && record.card.get(kDisplayName) == record.nameBefore)
        record.card.set(kDisplayName, record.card.composedName()); // a display name that equals the composed name follows it
    if (record.isNew || record.card.bytes() != record.bytes) record.card.completeName();
    std::string bytes = record.card.bytes();
    if (bytes != record.bytes) {
        const bool inContainer = record.isNew ? !singleFile_.empty() : placeOf(id, Step::Save).card >= 0;
        requireReadBack(record, bytes,
                        inContainer ? container(record.isNew ? 0 : placeOf(id, Step::Save).file, Step::Save).text.form : record.file.form);
        record.onDisk = std::exchange(record.bytes, std::move(bytes));
        fileStep(Step::Save, [&] {
            if (!inContainer)
                saveFile(record);
            else if (record.isNew)
                addToContainer(record);
            else
                saveInContainer(record);
        });
    }
    if (!batch_) commitAll(Step::Save);
    last_ = std::move(record);
    return last_->id;
}

void CardStore::remove(const std::string& id)
{
    const Place place = placeOf(id, Step::Delete);
    FileRecord& file = fileOf(place);
    if (file.bad()) throw StoreError(Step::Delete, folder_->pathOf(file.faultyPlace()) + ": " + file.badText + ".");
    if (last_ && last_->id == id) last_.reset();
    giveUpAhead();
    if (place.card < 0) {
        removeFile(file.name, file.state);
        unflushed_ = true;
        file.gone = true;
        index_->noteChanged();
    } else {
        Container& c = container(place.file, Step::Delete);
        touchContainer(c, place.file, 0, Step::Delete);
        const auto k = static_cast<std::size_t>(place.card);
        if (k < c.spans.size())
            c.edits.changed[k].clear();
        else
            c.edits.added[k - c.spans.size()].clear();
    }
    places_.erase(id);
    listStale_ = true;
    if (!batch_) commitAll(Step::Delete);
}

} // namespace mb::vcard
