// The write operations of CardStore: a file of one card is written at once, a file of many cards at the end of the batch.
#include "CardStore.h"

#include "Charset.h"

#include <algorithm>
#include <utility>

namespace mb::vcard {
namespace {

constexpr int kSavedCategories = 19;

// Returns the card's identifier and the contact's name, for messages.
std::string shown(const std::string& id, const Card& card)
{
    constexpr int kName = 79;
    std::u16string name = card.get(kName);
    if (name.empty()) name = card.composedName();
    return "The card \"" + id + "\"" + (name.empty() ? "" : " (" + toUtf8(name.substr(0, 100)) + ")");
}

} // namespace

void CardStore::saveFile(Open& record)
{
    const std::string categories = toUtf8(record.card.get(kSavedCategories));
    record.state = record.isNew ? writeNew(record.id, record.bytes) : rewrite(record);
    unflushed_ = true;
    if (record.isNew) {
        FileRecord file;
        file.name = record.id;
        file.state = record.state;
        file.stamp = record.state.modified;
        file.uid = uidTokenOf(record.bytes);
        file.categories = categories;
        index_->files().push_back(std::move(file));
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
    const std::string& name = fileOf(placeOf(record.id, Step::Save)).name;
    if (folder_->stateOf(name) != record.state) throw changedMeanwhile(name, Step::Save);
    Folder::Draft draft(*folder_);
    draft.write(closeText(record.file, record.bytes));
    try {
        return draft.replaceIfSame(name, closeText(record.file, record.onDisk));
    } catch (const FileError& e) {
        if (e.why() != FileError::Why::Changed) throw;
        throw StoreError(Step::Save, std::string(e.what()) + ". Synchronize again.");
    }
}

StoreError CardStore::changedMeanwhile(const std::string& name, Step step) const
{
    return {step, "The file \"" + folder_->pathOf(name) + "\" was changed by another program. Synchronize again."};
}

// Called before a card is written. A card that reads back differently would be a change that nobody made, and one that cannot be parsed
// would make every card of its file unreadable.
void CardStore::requireReadBack(const Open& record, const std::string& bytes, FileText::Form form) const
{
    const bool wide = form == FileText::Form::Utf16Little || form == FileText::Form::Utf16Big; // UTF-16 can only contain valid text
    if (record.card.readsBackFrom(bytes) && (!wide || isUtf8(bytes))) return;
    throw StoreError(Step::Save, shown(record.id, record.card) + " is not written to " + folder_->pathOf(singleFile_) +
                                     ": it would not read back unchanged. The file is left as it is.");
}

CardStore::Container& CardStore::container(std::size_t file, Step step)
{
    const auto held = containers_.find(file);
    if (held != containers_.end()) return held->second;
    std::erase_if(containers_, [](const auto& c) { return !c.second.dirty; }); // hold at most one file without edits
    const FileRecord& record = index_->files()[file];
    Container c;
    auto text = openText(fileStep(step, [&] { return folder_->read(record.name, c.state); }));
    if (!text || c.state != record.state) throw changedMeanwhile(record.name, step);
    c.text = std::move(*text);
    c.spans = scanCards(c.text.text).cards;
    if (c.spans.size() != record.cards.size()) throw changedMeanwhile(record.name, step);
    return containers_.emplace(file, std::move(c)).first->second;
}

// Prepares a change of the file. Disk space is reserved now, because a save that was reported as done must not fail at the end of the
// batch.
void CardStore::touchContainer(Container& c, std::size_t file, std::int64_t growth, Step step)
{
    const FileRecord& record = index_->files()[file];
    if (fileStep(step, [&] { return folder_->stateOf(record.name); }) != c.state) throw changedMeanwhile(record.name, step);
    const std::uint64_t grown = c.grown + static_cast<std::uint64_t>(std::max<std::int64_t>(growth, 0));
    const std::uint64_t size = (c.text.text.size() + grown) * (c.wide() ? 2 : 1) + 4;
    if (growth > 0 && size > kMaxFile)
        throw StoreError(step, "The file \"" + folder_->pathOf(record.name) + "\" would be larger than 256 MiB. Use a folder of cards.");
    fileStep(step, [&] {
        if (!c.draft) c.draft = std::make_unique<Folder::Draft>(*folder_);
        c.draft->reserve(size);
    });
    c.grown = grown;
    if (!std::exchange(c.dirty, true)) c.before = record;
}

void CardStore::stampCard(CardRecord& card, std::string_view bytes)
{
    card.hash = hashOf(bytes);
    card.stamp = index_->nextStamp(present(), card.stamp);
    index_->noteChanged();
}

void CardStore::saveInContainer(Open& record)
{
    const Place place = placeOf(record.id, Step::Save);
    Container& c = container(place.file, Step::Save);
    touchContainer(c, place.file, static_cast<std::int64_t>(record.bytes.size()), Step::Save);
    const auto k = static_cast<std::size_t>(place.card);
    if (k < c.spans.size())
        c.edits.changed[k] = record.bytes;
    else
        c.edits.added[k - c.spans.size()] = record.bytes;
    FileRecord& file = fileOf(place);
    CardRecord& card = file.cards[k];
    stampCard(card, record.bytes);
    if (!record.card.uid().empty() || card.plain) return;
    // A card without UID is identified by its name, which may have changed.
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
    constexpr std::size_t file = 0; // cards are added only to a single-file store
    Container& c = container(file, Step::Save);
    touchContainer(c, file, static_cast<std::int64_t>(record.bytes.size()) + 2, Step::Save);
    FileRecord& owner = index_->files()[file];
    CardRecord card{record.id.substr(owner.name.size() + 1), false, 0, 0};
    stampCard(card, record.bytes);
    c.edits.added.push_back(record.bytes);
    owner.cards.push_back(std::move(card));
    places_.emplace(record.id, Place{file, static_cast<std::ptrdiff_t>(owner.cards.size()) - 1});
    order_.push_back(record.id);
}

void CardStore::removeFile(const std::string& name, const FileState& state)
{
    try {
        if (folder_->stateOf(name) != state) throw changedMeanwhile(name, Step::Delete);
        folder_->removeIfSame(name, state);
    } catch (const FileError& e) {
        throw StoreError(Step::Delete, e.why() == FileError::Why::Changed ? std::string(e.what()) + ". Synchronize again." : e.what());
    }
    unflushed_ = true;
}

// Applies the edits to the other program's version of the file. Throws if both changed the same card: nothing is written, and the next run
// sees both changes.
void CardStore::merge(const FileRecord& record, Container& c)
{
    FileState state;
    auto fresh = openText(folder_->read(record.name, state));
    const ScanResult scan = fresh ? scanCards(fresh->text) : ScanResult{};
    if (!fresh || scan.error)
        throw FileError("the file \"" + folder_->pathOf(record.name) +
                        "\" was changed by another program and cannot be read. Nothing is written");
    const CardsText theirs{fresh->text, scan.cards};
    try {
        c.edits = carriedOver(c.edits, c.cards(), theirs);
    } catch (const ChangedByBoth& both) {
        const std::string_view bytes = c.cards().card(both.card);
        const std::string id = record.name + '#' + describeCards(c.text.text, c.spans)[both.card].token;
        throw FileError(shown(id, Card::parse(bytes)) + " was changed here and by another program. Nothing is written to \"" +
                        folder_->pathOf(record.name) + "\". Synchronize again");
    }
    c.text = std::move(*fresh);
    c.spans = scan.cards;
    c.state = state;
}

// Returns the state of the written file, and its content in `edited`.
FileState CardStore::writeContainer(const FileRecord& record, Container& c, EditedText& edited)
{
    constexpr int kTries = 5;
    for (int i = 1;; ++i) {
        if (folder_->stateOf(record.name) != c.state) merge(record, c);
        edited = applied(c.edits, c.cards());
        const ScanResult scan = scanCards(edited.text);
        if (const std::size_t misread = firstMisread(edited, scan); misread < std::max(edited.spans.size(), scan.cards.size())) {
            const CardsText written{edited.text, edited.spans};
            const std::string_view card = written.spans.empty() ? edited.text : written.card(std::min(misread, written.spans.size() - 1));
            throw FileError(shown(record.name, Card::parse(card)) + " would not read back unchanged. Nothing is written to \"" +
                            folder_->pathOf(record.name) + "\"");
        }
        c.draft->write(closeText(c.text, edited.text));
        c.draft->flush();
        try {
            return c.draft->replaceIfSame(record.name, closeText(c.text, c.text.text));
        } catch (const FileError& e) {
            if (e.why() != FileError::Why::Changed || i == kTries) throw;
        }
        c.draft = std::make_unique<Folder::Draft>(*folder_);
        c.state = {}; // forces a merge: the content changed even if the date did not
    }
}

void CardStore::commit(std::size_t file, Container& c)
{
    FileRecord& record = index_->files()[file];
    EditedText edited;
    const FileState state = writeContainer(record, c, edited);
    unflushed_ = true;
    describe(record, edited, state);
    if (!edited.spans.empty() || !singleFile_.empty()) return;
    folder_->removeIfSame(record.name, state); // in a folder, a file without cards would count as damaged
    record.gone = true;
}

// Updates the index after the file was written. The cards keep the dates that they got when they were saved.
void CardStore::describe(FileRecord& record, const EditedText& edited, const FileState& state)
{
    std::unordered_map<std::string, CardRecord> before;
    for (CardRecord& card : record.cards) before.emplace(card.token, card);
    std::vector<CardRecord> cards = describeCards(edited.text, edited.spans);
    for (CardRecord& card : cards) {
        const auto old = before.find(card.token);
        const bool same = old != before.end() && old->second.hash == card.hash;
        card.plain = old != before.end() && old->second.plain;
        card.stamp = same ? old->second.stamp : index_->nextStamp(state.modified, old == before.end() ? 0 : old->second.stamp);
    }
    record.cards = std::move(cards);
    record.categories = categoriesIn(edited.text, edited.spans);
    index_->noteWritten(record, state);
}

void CardStore::commitAll(Step step)
{
    drafts_.reset();
    added_ = 0;
    const bool rewritten = std::any_of(containers_.begin(), containers_.end(), [](const auto& c) { return c.second.dirty; });
    try {
        fileStep(step, [&] {
            for (auto& [file, c] : containers_) {
                if (c.dirty) commit(file, c);
                c.dirty = false;
            }
            containers_.clear();
            if (unflushed_) folder_->flush();
            if (std::exchange(unflushed_, false) && folder_->isMoved())
                throw FileError("The folder \"" + folder_->pathOf({}) + "\" was moved or replaced by another program. Synchronize again");
            index_->save();
        });
    } catch (const StoreError&) {
        dropEdits();
        throw;
    }
    if (rewritten) relist();
}

// Discards the unsaved edits and restores the cached records of their files.
void CardStore::dropEdits()
{
    bool any = false;
    for (auto& [file, c] : containers_) {
        if (c.dirty) index_->files()[file] = std::move(c.before);
        any = any || c.dirty;
    }
    containers_.clear();
    last_.reset();
    if (any) relist();
}

void CardStore::relist()
{
    listStale_ = false;
    listRecords();
}

} // namespace mb::vcard
