#include "CardStore.h"

#include "Charset.h"
#include "text.h"

#include <chrono>
#include <unordered_set>
#include <utility>

namespace mb::vcard {
namespace {

constexpr int kDisplayName = 79, kCategories = 19;

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// The engine takes identifiers that differ only in case for one, whatever the alphabet.
std::string folded(const std::string& id) { return toUtf8(platform::lowered(fromUtf8(id))); }

bool leavesFolder(const std::string& id)
{
    return id.empty() || id[0] == '.' || id.find_first_of("/\\") != id.npos || id.find('\0') != id.npos;
}

} // namespace

CardStore::CardStore(const std::string& database, const std::string& cacheFolder, plugin::Report report) : report_(std::move(report))
{
    OpenedCards opened(database, cacheFolder, report_);
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
        report_(e.what());
    }
}

void CardStore::listRecords()
{
    const std::vector<FileRecord>& files = index_->files();
    order_.reserve(files.size());
    places_.reserve(files.size());
    std::unordered_set<std::string> seen;
    seen.reserve(files.size());
    const auto add = [&](const std::string& id, Place place) {
        places_.emplace(id, place);
        if (files[place.file].bad()) return;
        if (seen.insert(folded(id)).second)
            order_.push_back(id);
        else
            report_(folder_->pathOf(id) + ": left out, another record's name differs only in upper and lower case");
    };
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].gone) continue;
        if (files[i].cards.empty() && singleFile_.empty()) add(files[i].name, {i, -1});
        for (std::size_t k = 0; k < files[i].cards.size(); ++k) add(files[i].idOf(files[i].cards[k]), {i, static_cast<std::ptrdiff_t>(k)});
    }
}

const CardStore::Place& CardStore::placeOf(const std::string& id, Step step) const
{
    const auto found = places_.find(id);
    if (found == places_.end() && leavesFolder(id))
        throw StoreError(step, "\"" + std::string(id.c_str()) + "\" is no identifier of a record: it could lead out of the folder.");
    if (found == places_.end()) throw StoreError(step, "There is no card \"" + id + "\" in " + folder_->pathOf(singleFile_) + ".");
    return found->second;
}

const std::vector<std::string>& CardStore::order() const
{
    if (std::exchange(listStale_, false)) std::erase_if(order_, [&](const std::string& id) { return !places_.contains(id); });
    return order_;
}

bool CardStore::exists(const std::string& id) const
{
    if (places_.contains(id)) return true;
    if (leavesFolder(id)) return false;
    // A card of a file that cannot be parsed at present is not gone.
    for (std::size_t at = id.find('#'); at != id.npos; at = id.find('#', at + 1)) {
        const auto file = places_.find(id.substr(0, at));
        if (file != places_.end() && index_->files()[file->second.file].bad()) return true;
    }
    return false;
}

std::int64_t CardStore::modified(const std::string& id) const
{
    const Place& place = placeOf(id, Step::Find);
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
        const auto edited = c.edited.find(k);
        record.state = c.state;
        if (edited != c.edited.end())
            record.bytes = edited->second;
        else if (k < c.spans.size())
            record.bytes = c.text.text.substr(c.spans[k].begin, c.spans[k].end - c.spans[k].begin);
        else
            record.bytes = c.added[k - c.spans.size()];
        record.card = Card::parse(record.bytes);
    }
    record.id = id;
    return record;
}

std::optional<SingleCard> CardStore::takeAhead(std::size_t file)
{
    constexpr std::size_t kFew = 8, kAhead = 64;               // cards
    constexpr std::uint64_t kLarge = std::uint64_t{64} * 1024; // octets: many of those would take too much memory
    const std::vector<FileRecord>& files = index_->files();
    const bool next = file > lastRead_ && file < lastRead_ + kFew; // files that are no card of their own stand in between
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

// In front of every change of a file, and of the list of them.
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

void CardStore::beginBatch() { batch_ = true; }

void CardStore::endBatch(bool abort)
{
    batch_ = false;
    if (abort) {
        for (auto& [file, c] : containers_)
            if (c.dirty) index_->files()[file].state.modified = -1; // what is known of it is not on disk: look at it anew
        containers_.clear();
    }
    commitAll(Step::Update);
}

std::string CardStore::beginAdd()
{
    const std::string uuid = fileStep(Step::Add, newUuid);
    Open record;
    record.id = singleFile_.empty() ? uuid + ".vcf" : singleFile_ + "#urn:uuid:" + uuid;
    record.card = Card::make(uuid, singleFile_.empty() ? "\r\n" : lineEndOf(container(0, Step::Add).text.text));
    record.isNew = true;
    writing_ = std::move(record);
    return writing_->id;
}

void CardStore::beginEdit(const std::string& id)
{
    const Place& place = placeOf(id, Step::Edit);
    // What was read last may be stale by now; the date of the file tells.
    const bool fresh =
        last_ && last_->id == id && fileStep(Step::Edit, [&] { return folder_->stateOf(fileOf(place).name); }) == last_->state;
    writing_ = fresh ? *last_ : load(id, Step::Edit);
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
        record.card.set(kDisplayName, record.card.composedName()); // a display name made of the name follows it
    if (record.isNew || record.card.bytes() != record.bytes) record.card.completeName();
    std::string bytes = record.card.bytes();
    if (bytes != record.bytes) {
        record.bytes = std::move(bytes);
        fileStep(Step::Save, [&] {
            const bool inContainer = record.isNew ? !singleFile_.empty() : placeOf(id, Step::Save).card >= 0;
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

void CardStore::saveFile(Open& record)
{
    const std::string categories = toUtf8(record.card.get(kCategories));
    record.state = record.isNew ? writeNew(record.id, record.bytes) : rewrite(record);
    unflushed_ = true;
    if (record.isNew) {
        index_->files().push_back({record.id, record.state, record.state.modified, {}, categories, 0, {}, false});
        places_.emplace(record.id, Place{index_->files().size() - 1, -1});
        order_.push_back(record.id);
        index_->noteChanged();
    } else {
        FileRecord& file = fileOf(placeOf(record.id, Step::Save));
        file.stamp = index_->nextStamp(record.state.modified, file.stamp);
        file.categories = categories;
        index_->noteWritten(file, record.state);
    }
}

FileState CardStore::writeNew(const std::string& name, std::string_view bytes)
{
    constexpr std::size_t kFew = 32;
    if (batch_ && ++added_ > kFew && !drafts_) drafts_ = std::make_unique<DraftsAhead>(*folder_);
    const auto draft = drafts_ ? drafts_->take() : std::make_unique<Folder::Draft>(*folder_);
    draft->write(bytes);
    return draft->place(name);
}

FileState CardStore::rewrite(const Open& record)
{
    if (folder_->stateOf(record.id) != record.state)
        throw StoreError(Step::Save, "The file \"" + folder_->pathOf(record.id) + "\" was changed by another program. Synchronize again.");
    Folder::Draft draft(*folder_);
    draft.write(closeText(record.file, record.bytes));
    return draft.replace(record.id);
}

CardStore::Container& CardStore::container(std::size_t file, Step step)
{
    const auto held = containers_.find(file);
    if (held != containers_.end()) return held->second;
    std::erase_if(containers_, [](const auto& c) { return !c.second.dirty; }); // only one clean file is held at a time
    const FileRecord& record = index_->files()[file];
    Container c;
    auto text = openText(fileStep(step, [&] { return folder_->read(record.name, c.state); }));
    if (!text || c.state != record.state)
        throw StoreError(step, "The file \"" + folder_->pathOf(record.name) + "\" was changed by another program. Synchronize again.");
    c.text = std::move(*text);
    c.spans = scanCards(c.text.text).cards;
    return containers_.emplace(file, std::move(c)).first->second;
}

// Announces a change. Room on the disk is taken at once: a save that was reported as done must not fail at the end of the batch.
void CardStore::touchContainer(Container& c, std::size_t file, std::int64_t growth, Step step)
{
    const FileRecord& record = index_->files()[file];
    if (fileStep(step, [&] { return folder_->stateOf(record.name); }) != c.state)
        throw StoreError(step, "The file \"" + folder_->pathOf(record.name) + "\" was changed by another program. Synchronize again.");
    if (growth > 0) c.grown += static_cast<std::uint64_t>(growth);
    const bool wide = c.text.form == FileText::Form::Utf16Little || c.text.form == FileText::Form::Utf16Big;
    fileStep(step, [&] {
        if (!c.draft) c.draft = std::make_unique<Folder::Draft>(*folder_);
        c.draft->reserve((c.text.text.size() + c.grown) * (wide ? 2 : 1) + 4);
    });
    c.dirty = true;
}

void CardStore::stampCard(CardRecord& card, std::string_view bytes)
{
    card.hash = hashOf(bytes);
    card.stamp = index_->nextStamp(now(), card.stamp);
    index_->noteChanged();
}

void CardStore::saveInContainer(Open& record)
{
    const Place place = placeOf(record.id, Step::Save);
    Container& c = container(place.file, Step::Save);
    touchContainer(c, place.file, static_cast<std::int64_t>(record.bytes.size()), Step::Save);
    const auto k = static_cast<std::size_t>(place.card);
    if (k < c.spans.size())
        c.edited[k] = record.bytes;
    else
        c.added[k - c.spans.size()] = record.bytes;
    FileRecord& file = fileOf(place);
    CardRecord& card = file.cards[k];
    stampCard(card, record.bytes);
    if (!record.card.uid().empty() || card.plain) return;
    // A card without UID is known by its name, which may be another one now.
    CardRecord renamed = describeCards(record.bytes, {{0, record.bytes.size(), 1}})[0];
    const std::string id = file.name + '#' + renamed.token;
    if (card.token.starts_with(renamed.token) || places_.contains(id)) return;
    card.token = renamed.token;
    places_.erase(record.id);
    places_.emplace(id, place);
    order_.push_back(id);
    listStale_ = true;
    record.id = id;
}

void CardStore::addToContainer(Open& record)
{
    constexpr std::size_t file = 0; // new cards go into the one file only
    Container& c = container(file, Step::Save);
    touchContainer(c, file, static_cast<std::int64_t>(record.bytes.size()) + 2, Step::Save);
    FileRecord& owner = index_->files()[file];
    CardRecord card{record.id.substr(owner.name.size() + 1), false, 0, 0};
    stampCard(card, record.bytes);
    c.added.push_back(record.bytes);
    owner.cards.push_back(std::move(card));
    places_.emplace(record.id, Place{file, static_cast<std::ptrdiff_t>(owner.cards.size()) - 1});
    order_.push_back(record.id);
}

void CardStore::remove(const std::string& id)
{
    const Place place = placeOf(id, Step::Delete);
    FileRecord& file = fileOf(place);
    if (file.bad()) throw StoreError(Step::Delete, folder_->pathOf(file.faultyPlace()) + ": " + file.badText + ".");
    if (last_ && last_->id == id) last_.reset();
    giveUpAhead();
    if (place.card < 0) {
        if (fileStep(Step::Delete, [&] { return folder_->stateOf(file.name); }) != file.state)
            throw StoreError(Step::Delete,
                             "The file \"" + folder_->pathOf(file.name) + "\" was changed by another program. Synchronize again.");
        fileStep(Step::Delete, [&] { folder_->remove(file.name); });
        unflushed_ = true;
        file.gone = true;
        index_->noteChanged();
    } else {
        Container& c = container(place.file, Step::Delete);
        touchContainer(c, place.file, 0, Step::Delete);
        const auto k = static_cast<std::size_t>(place.card);
        if (k < c.spans.size())
            c.edited[k].clear();
        else
            c.added[k - c.spans.size()].clear();
    }
    places_.erase(id);
    listStale_ = true;
    if (!batch_) commitAll(Step::Delete);
}

// The text of a file with its changed cards. If another program changed the file in between, the changes are put into what
// that program wrote: an edit or a deletion only where the card is still the one it was made on.
std::string CardStore::mergedText(std::size_t file, Container& c)
{
    const FileRecord& record = index_->files()[file];
    if (folder_->stateOf(record.name) != c.state) {
        FileState state;
        auto fresh = openText(folder_->read(record.name, state));
        const ScanResult scan = fresh ? scanCards(fresh->text) : ScanResult{};
        if (!fresh || scan.error) throw FileError("the file \"" + folder_->pathOf(record.name) + "\" was changed by another program");
        std::unordered_map<std::string_view, std::size_t> byBytes;
        for (std::size_t i = 0; i < scan.cards.size(); ++i)
            byBytes.emplace(std::string_view(fresh->text).substr(scan.cards[i].begin, scan.cards[i].end - scan.cards[i].begin), i);
        std::map<std::size_t, std::string> edited;
        for (auto& [k, bytes] : c.edited) {
            const auto found = byBytes.find(std::string_view(c.text.text).substr(c.spans[k].begin, c.spans[k].end - c.spans[k].begin));
            if (found != byBytes.end()) edited[found->second] = std::move(bytes);
        }
        c.edited = std::move(edited);
        c.text = std::move(*fresh);
        c.spans = scan.cards;
    }
    std::string text;
    std::size_t at = 0;
    for (const auto& [k, bytes] : c.edited) {
        text.append(c.text.text, at, c.spans[k].begin - at).append(bytes);
        at = c.spans[k].end;
    }
    text.append(c.text.text, at, std::string::npos);
    for (const std::string& added : c.added)
        if (!added.empty()) text.append(text.empty() || text.ends_with('\n') || text.ends_with('\r') ? "" : lineEndOf(text)).append(added);
    return text;
}

void CardStore::commit(std::size_t file, Container& c)
{
    FileRecord& record = index_->files()[file];
    const std::string text = mergedText(file, c);
    c.draft->write(closeText(c.text, text));
    c.draft->flush();
    const FileState state = c.draft->replace(record.name);
    unflushed_ = true;
    // The dates given at each save stay; what the file holds now is described anew, in its order.
    std::unordered_map<std::string, CardRecord> before;
    for (CardRecord& card : record.cards) before.emplace(card.token, card);
    const std::vector<CardSpan> spans = scanCards(text).cards;
    std::vector<CardRecord> cards = describeCards(text, spans);
    for (CardRecord& card : cards) {
        const auto old = before.find(card.token);
        const bool same = old != before.end() && old->second.hash == card.hash;
        card.plain = old != before.end() && old->second.plain;
        card.stamp = same ? old->second.stamp : index_->nextStamp(state.modified, old == before.end() ? 0 : old->second.stamp);
    }
    record.cards = std::move(cards);
    record.categories = categoriesIn(text, spans);
    index_->noteWritten(record, state);
}

void CardStore::commitAll(Step step)
{
    drafts_.reset();
    added_ = 0;
    bool rewritten = false;
    fileStep(step, [&] {
        for (auto& [file, c] : containers_)
            if (c.dirty) {
                commit(file, c);
                rewritten = true;
            }
        containers_.clear();
        if (std::exchange(unflushed_, false)) folder_->flush();
        index_->save();
    });
    if (!rewritten) return;
    order_.clear();
    places_.clear();
    listRecords();
}

} // namespace mb::vcard
