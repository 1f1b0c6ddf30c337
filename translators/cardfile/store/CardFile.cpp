#include "CardFile.h"

#include "DetailsBytes.h"
#include "DetailsText.h"
#include "files.h"
#include "NewGuid.h"
#include "Schema.h"
#include "text.h"
#include <chrono>

namespace mb::cardfile {
namespace {

namespace fs = std::filesystem;
using plugin::Step;
using plugin::StoreError;

// SQLite's page cache, and the disk space that is reserved for writing it out.
constexpr char cacheSize[] = "PRAGMA cache_size = -16000"; // KiB
constexpr std::uintmax_t reservedBytes = 24 << 20;

std::string folded(const std::string& id)
{
    std::string out = id;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

// Returns an identifier for a message. Damaged identifiers may have any length and content.
std::string shown(const std::string& id) { return "\"" + std::string(id.substr(0, 100).c_str()) + "\""; }

std::string fullPath(const std::string& path)
{
    if (path.empty()) throw StoreError(Step::Open, "No card file is chosen.");
    if (path.find('\0') != path.npos) throw StoreError(Step::Open, "The name of the card file is damaged. Choose the file again.");
    std::error_code error;
    const auto full = fs::absolute(platform::pathOf(platform::utf16(path)), error); // SQLite must not take ":memory:" as a special name
    return error ? path : platform::utf8(platform::textOf(full));
}

std::uintmax_t spaceBeside(const std::string& path)
{
    std::error_code error;
    const auto space = fs::space(platform::pathOf(platform::utf16(path)).parent_path(), error);
    return error ? UINTMAX_MAX : space.available;
}

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Returns a date later than `former`, even if changes follow each other quickly or the clock is set back. An automation date can
// distinguish these steps.
std::int64_t nextStamp(std::int64_t former)
{
    constexpr std::int64_t step = 1'000'000; // a millisecond
    const std::int64_t present = now() / step * step;
    return present > former ? present : former + step;
}

// Returns what happened and what the user can do about it.
std::string sentence(const std::string& path, const DatabaseError& e)
{
    const std::string file = "The card file \"" + path + "\" ";
    switch (e.code() & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return file + "is not a card file, or is damaged. Choose another file, or restore this one from a copy.";
    case SQLITE_CANTOPEN: return file + "cannot be opened. Check that its folder exists and that you may read and write there.";
    case SQLITE_READONLY:
    case SQLITE_PERM: return file + "cannot be written. Check who may write the file, its folder, and its -wal and -shm files.";
    case SQLITE_FULL: return file + "cannot grow: the disk is full. Make room and try again.";
    case SQLITE_IOERR: return file + "cannot be read or written: " + e.what() + ". Check the disk, and whether it has room.";
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return file + "is in use by another program. Try again when it is done.";
    case SQLITE_TOOBIG: return file + "cannot hold a value of this size.";
    case SQLITE_NOMEM: throw std::bad_alloc();
    default: return file + "failed: " + e.what() + ".";
    }
}

void requireCardFile(FileKind kind, const std::string& path)
{
    switch (kind) {
    case FileKind::Card: return;
    case FileKind::Blank:
        throw StoreError(Step::Open,
                         "The card file \"" + path + "\" is empty, as if it was cut off. Restore it from a copy, or choose another file.");
    case FileKind::Foreign:
        throw StoreError(Step::Open, "The file \"" + path + "\" is a database, but not a card file. Choose another file.");
    case FileKind::Later:
        throw StoreError(Step::Open,
                         "The card file \"" + path + "\" was written by a later version of this program. Update the program to use it.");
    }
}

bool isMissing(const fs::path& path)
{
    std::error_code error;
    return fs::status(path, error).type() == fs::file_type::not_found;
}

void requirePresence(const std::string& path)
{
    const fs::path file = platform::pathOf(platform::utf16(path));
    if (!isMissing(file)) return;
    const bool folderToo = isMissing(file.parent_path());
    throw StoreError(
        Step::Open,
        "The card file \"" + path + "\" is missing" + (folderToo ? ", and so is its folder" : "") +
            ". Put it back, connect the drive that it is on, or choose the place where it is now. A run never creates a card file.");
}

} // namespace

StoreError CardFile::failed(const DatabaseError& e, Step step) const { return {step, sentence(path_, e)}; }

StoreError CardFile::gone(const std::string& id, Step step) const
{
    return {step, "The card file \"" + path_ + "\" has no card " + shown(id) + "."};
}

StoreError CardFile::overtaken(const std::string& id, Step step) const
{
    return {step, "The card " + shown(id) + " of the card file \"" + path_ +
                      "\" was changed by another program meanwhile. It is left as it is; try again."};
}

StoreError CardFile::lostBatch(Step step) const
{
    return {step, "The card file \"" + path_ + "\" could not be written, and nothing of this batch was kept."};
}

// What is written to a file that was replaced is lost: the path leads to the other file.
void CardFile::requireInPlace(Step step) const
{
    if (!database_->hasMoved()) return;
    throw StoreError(step, "The card file \"" + path_ + "\" was moved, replaced or deleted by another program. Synchronize again.");
}

CardFile::CardFile(const std::string& path, plugin::Report report, FreeSpace freeSpace)
    : path_(fullPath(path)), report_(std::move(report)), freeSpace_(std::move(freeSpace))
{
    if (!freeSpace_) freeSpace_ = [this] { return spaceBeside(path_); };
    guarded(Step::Open, [&] { open(); });
}

CardFile::~CardFile()
{
    try {
        close();
    } catch (const std::exception& e) {
        if (report_) report_(plugin::Finding::LeftOut, e.what());
    }
}

void CardFile::make(const std::string& path)
{
    const std::string full = fullPath(path);
    try {
        (void)platform::openOrCreate(platform::pathOf(platform::utf16(full))); // only for its owner; SQLite reports a failure
        Database database(full);
        requireCardFile(makeFile(database), full);
    } catch (const DatabaseError& e) {
        throw StoreError(Step::Open, sentence(full, e));
    }
}

CardFile::FileState CardFile::fileState() const
{
    const fs::path file = platform::pathOf(platform::utf16(path_));
    std::error_code error;
    FileState state;
    state.size = fs::file_size(file, error);
    state.changed = fs::last_write_time(file, error);
    return state;
}

// SQLite would create a -shm file with the permissions of a read-only card file, which its owner could not write later. If no -shm file
// exists, no other program has the card file open, and it can be read without locks.
void CardFile::openSnapshot()
{
    std::error_code error;
    const fs::path file = fs::canonical(platform::pathOf(platform::utf16(path_)), error);
    fs::path shared = file, log = file;
    if (error || fs::exists(shared += "-shm", error)) return;
    const FileState before = fileState();
    if (const auto waiting = fs::file_size(log += "-wal", error); !error && waiting > 0)
        throw StoreError(Step::Open,
                         "The card file \"" + path_ + "\" cannot be written, and \"" + platform::utf8(platform::textOf(log)) +
                             "\" contains changes that a killed program left behind. Make both writable, or open the file once as "
                             "a user who may write it.");
    database_.emplace(path_, Access::Snapshot);
    snapshot_ = before;
}

void CardFile::requireSnapshot(Step step) const
{
    if (snapshot_ && fileState() != *snapshot_)
        throw StoreError(step, "The card file \"" + path_ + "\" was changed by another program while it was read. Try again.");
}

void CardFile::open()
{
    requirePresence(path_);
    database_.emplace(path_, Access::Existing);
    if (database_->readOnly()) openSnapshot();
    requireCardFile(prepareFile(*database_), path_);
    database_->execute(cacheSize);
    // Details may be as large as pictures, so they are read on request, too.
    readCard_ = database_->prepare("SELECT c.key, c.modified, f.type, f.value FROM card c LEFT JOIN field f ON f.card = c.key"
                                   " AND f.type <> 1000 WHERE c.id = ?1");
    readDetails_ = database_->prepare("SELECT value FROM field WHERE card = ?1 AND type = 1000");
    insertCard_ = database_->prepare("INSERT INTO card (id, created, modified) VALUES (?1, ?2, ?2) RETURNING key");
    touchCard_ = database_->prepare("UPDATE card SET modified = ?3 WHERE key = ?1 AND modified = ?2");
    deleteCard_ = database_->prepare("DELETE FROM card WHERE id = ?1 AND modified = ?2");
    putField_ = database_->prepare("INSERT INTO field (card, type, value) VALUES (?1, ?2, ?3)"
                                   " ON CONFLICT (card, type) DO UPDATE SET value = excluded.value");
    dropField_ = database_->prepare("DELETE FROM field WHERE card = ?1 AND type = ?2");
    readImage_ = database_->prepare("SELECT bytes FROM image WHERE card = ?1 AND type = ?2");
    measureImage_ = database_->prepare("SELECT length(bytes) FROM image WHERE card = ?1 AND type = ?2");
    putImage_ = database_->prepare("INSERT INTO image (card, type, bytes) VALUES (?1, ?2, ?3)"
                                   " ON CONFLICT (card, type) DO UPDATE SET bytes = excluded.bytes");
    dropImage_ = database_->prepare("DELETE FROM image WHERE card = ?1 AND type = ?2");
    listCards();
}

void CardFile::listCards()
{
    cards_.clear();
    byId_.clear();
    Statement query = database_->prepare("SELECT id, created, modified FROM card ORDER BY key");
    while (query.step()) {
        byId_[folded(query.text(0))] = cards_.size();
        cards_.push_back({query.text(0), query.number(1), query.number(2)});
    }
    requireSnapshot(Step::Open);
}

const CardFile::Card* CardFile::find(const std::string& id) const
{
    const auto at = byId_.find(folded(id));
    return at == byId_.end() ? nullptr : &cards_[at->second];
}

const CardFile::Card& CardFile::cardOf(const std::string& id, Step step) const
{
    if (const Card* card = find(id)) return *card;
    throw gone(id, step);
}

bool CardFile::exists(const std::string& id) const { return find(id) != nullptr; }
std::int64_t CardFile::created(const std::string& id) const { return cardOf(id, Step::Find).created; }
std::int64_t CardFile::modified(const std::string& id) const { return cardOf(id, Step::Find).modified; }

CardFile::Open CardFile::load(const Card& card, Step step)
{
    return guarded(step, [&] {
        Open record{card.id, folded(card.id), 0, 0, false, {}, {}, {}};
        readCard_.bind(1, card.id);
        for (Rows rows(readCard_); rows.next();) {
            record.key = readCard_.number(0);
            record.modified = readCard_.number(1);
            if (!readCard_.isNull(2)) record.fields[static_cast<int>(readCard_.number(2))] = platform::utf16(readCard_.text(3));
        }
        requireSnapshot(step);
        // Another program deleted the card: it must not be taken for a card with empty fields.
        if (record.key == 0) throw gone(card.id, step);
        return record;
    });
}

bool CardFile::isInFile(const Card& card)
{
    readCard_.bind(1, card.id);
    Rows rows(readCard_);
    return rows.next();
}

void CardFile::beginRead(const std::string& id)
{
    reading_.reset();
    reading_ = load(cardOf(id, Step::BeginRead), Step::BeginRead);
}

void CardFile::endRead(const std::string&) { reading_.reset(); }

std::u16string CardFile::read(const std::string& id, int type) const
{
    const Open& record = openFor(id);
    if (type != plugin::kDetailsField) return valueIn(record, type);
    return platform::utf16(plugin::hashedDetails(platform::utf8(currentDetails(record, Step::ReadField))));
}

std::u16string CardFile::valueIn(const Open& record, int type)
{
    const Fields& fields = record.changes.contains(type) ? record.changes : record.fields;
    const auto at = fields.find(type);
    return at == fields.end() ? std::u16string() : at->second;
}

const CardFile::Open& CardFile::openFor(const std::string& id) const
{
    const std::string wanted = folded(id);
    if (reading_ && reading_->folded == wanted) return *reading_;
    if (writing_ && writing_->folded == wanted) return *writing_;
    throw StoreError(Step::ReadField, "The card " + shown(id) + " is not open for reading.");
}

void CardFile::expectWritable(const std::string&)
{
    if (database_->readOnly()) throw failed(DatabaseError(SQLITE_READONLY, "the file is read-only"), Step::Update);
}

void CardFile::beginBatch()
{
    if (batch_) throw StoreError(Step::Update, "A batch is open already.");
    guarded(Step::Update, [&] { batch_.emplace(*database_); });
}

void CardFile::dropBatch()
{
    batch_.reset();
    listCards();
}

void CardFile::endBatch(bool abort)
{
    writing_.reset();
    if (!batch_) return;
    guarded(Step::Update, [&] {
        if (abort) return dropBatch();
        const bool lost = !database_->inTransaction();
        try {
            if (!lost) {
                requireInPlace(Step::Update);
                batch_->commit();
            }
        } catch (const std::exception&) {
            dropBatch();
            throw;
        }
        batch_.reset();
        if (lost) throw lostBatch(Step::Update);
        requireInPlace(Step::Update); // a file that was replaced during the commit contains nothing of the batch
    });
}

std::string CardFile::beginAdd()
{
    const std::string id = plugin::newGuid();
    writing_ = Open{id, folded(id), 0, 0, true, {}, {}, {}};
    return id;
}

void CardFile::beginEdit(const std::string& id)
{
    writing_.reset();
    const Card& card = cardOf(id, Step::Edit);
    Open record = load(card, Step::Edit);
    if (record.modified != card.modified) throw overtaken(card.id, Step::Edit);
    writing_ = std::move(record);
}

CardFile::Open& CardFile::openForWriting(const std::string& id, Step step)
{
    if (writing_ && writing_->folded == folded(id)) return *writing_;
    throw StoreError(step, "The card " + shown(id) + " is not open for writing.");
}

void CardFile::write(const std::string& id, int type, std::u16string_view text)
{
    Open& record = openForWriting(id, Step::WriteField);
    if (type == plugin::kDetailsField) return writeDetails(record, text);
    const auto held = record.fields.find(type);
    if (held == record.fields.end() ? text.empty() : held->second == text)
        record.changes.erase(type);
    else
        record.changes[type] = text;
}

// A full disk rolls back the whole batch, including cards that were reported as saved. So a card for which there may be no room is refused
// in advance, and the batch can still be committed.
void CardFile::requireSpace(const Open& record) const
{
    std::uintmax_t needed = reservedBytes;
    for (const auto& [type, value] : record.changes) needed += 4 * sizeof(char16_t) * value.size();
    for (const auto& [type, bytes] : record.images) needed += 2 * bytes.size();
    if (freeSpace_() < needed) throw DatabaseError(SQLITE_FULL, "no room for another card");
}

void CardFile::writeChanges(const Open& record)
{
    for (const auto& [type, value] : record.changes) {
        if (value.empty())
            dropField_.bind(1, record.key).bind(2, std::int64_t{type}).run();
        else
            putField_.bind(1, record.key).bind(2, std::int64_t{type}).bind(3, platform::utf8(value)).run();
    }
    writeImages(record);
}

void CardFile::insertCard(Open& record)
{
    Card card{record.id, nextStamp(0), 0};
    card.modified = card.created;
    change(Step::Save, [&] {
        if (batch_) requireSpace(record);
        insertCard_.bind(1, card.id).bind(2, card.created);
        for (Rows rows(insertCard_); rows.next();) record.key = insertCard_.number(0);
        writeChanges(record);
    });
    byId_[record.folded] = cards_.size();
    cards_.push_back(std::move(card));
}

void CardFile::updateCard(Open& record)
{
    const std::int64_t stamp = nextStamp(record.modified);
    change(Step::Save, [&] {
        if (batch_) requireSpace(record);
        touchCard_.bind(1, record.key).bind(2, record.modified).bind(3, stamp).run();
        if (database_->changes() == 0) throw overtaken(record.id, Step::Save);
        writeChanges(record);
    });
    cards_[byId_.at(record.folded)].modified = stamp;
}

std::string CardFile::save(const std::string& id)
{
    Open& record = openForWriting(id, Step::Save);
    settleDetails(record);
    if (record.isNew)
        insertCard(record);
    else if (!record.changes.empty() || !record.images.empty())
        updateCard(record);
    std::string saved = std::move(record.id);
    writing_.reset();
    return saved;
}

void CardFile::remove(const std::string& id)
{
    const Card& card = cardOf(id, Step::Delete);
    change(Step::Delete, [&] {
        deleteCard_.bind(1, card.id).bind(2, card.modified).run();
        if (database_->changes() == 0 && isInFile(card)) throw overtaken(card.id, Step::Delete);
    });
    // Moves the last card to the free position.
    const std::size_t at = byId_.at(folded(id));
    byId_.erase(folded(id));
    if (at + 1 != cards_.size()) {
        cards_[at] = std::move(cards_.back());
        byId_[folded(cards_[at].id)] = at;
    }
    cards_.pop_back();
}

void CardFile::close()
{
    writing_.reset();
    reading_.reset();
    if (batch_) endBatch(false);
}

} // namespace mb::cardfile
