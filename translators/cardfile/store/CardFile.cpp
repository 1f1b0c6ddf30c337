#include "CardFile.h"

#include "com.h"
#include "text.h"
#include <chrono>

namespace mb::cardfile {
namespace {

using plugin::Step;
using plugin::StoreError;

constexpr std::int64_t schemaVersion = 1;
constexpr std::int64_t applicationId = 0x4D424331; // marks the file as a card file
constexpr char schema[] = "CREATE TABLE card (key INTEGER PRIMARY KEY, id TEXT NOT NULL UNIQUE COLLATE NOCASE,"
                          " created INTEGER NOT NULL, modified INTEGER NOT NULL) STRICT;"
                          "CREATE TABLE field (card INTEGER NOT NULL REFERENCES card (key), type INTEGER NOT NULL, value TEXT NOT NULL,"
                          " PRIMARY KEY (card, type)) WITHOUT ROWID, STRICT;";

std::string folded(const std::string& id)
{
    std::string out = id;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// The same sentence for all that SQLite may answer, and what to do about it.
std::string sentence(const std::string& path, const DatabaseError& e)
{
    const std::string file = "The card file \"" + path + "\" ";
    switch (e.code() & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return file + "is no card file, or is damaged. Choose another file, or restore this one from a copy.";
    case SQLITE_CANTOPEN: return file + "cannot be opened. Check that its folder exists and that you may write there.";
    case SQLITE_READONLY:
    case SQLITE_PERM: return file + "cannot be written. Check who may write it.";
    case SQLITE_FULL: return file + "cannot grow: the disk is full.";
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return file + "is in use by another program. Try again when it is done.";
    default: return file + "failed: " + e.what() + ".";
    }
}

} // namespace

template <class F> void CardFile::change(Step step, F&& work)
{
    try {
        const bool alone = !database_->inTransaction();
        database_->execute(alone ? "BEGIN IMMEDIATE" : "SAVEPOINT change");
        try {
            work();
            database_->execute(alone ? "COMMIT" : "RELEASE change");
        } catch (...) {
            rollBack(alone ? "ROLLBACK" : "ROLLBACK TO change; RELEASE change");
            throw;
        }
    } catch (const DatabaseError& e) {
        throw StoreError(step, sentence(path_, e));
    }
}

CardFile::CardFile(std::string path, plugin::Report report) : path_(std::move(path)), report_(std::move(report))
{
    if (path_.empty()) throw StoreError(Step::Open, "No card file is chosen.");
    try {
        database_.emplace(path_);
        prepareSchema();
        readFields_ = database_->prepare("SELECT type, value FROM field WHERE card = ?1");
        insertCard_ = database_->prepare("INSERT INTO card (id, created, modified) VALUES (?1, ?2, ?2) RETURNING key");
        touchCard_ = database_->prepare("UPDATE card SET modified = ?2 WHERE key = ?1");
        putField_ = database_->prepare("INSERT INTO field (card, type, value) VALUES (?1, ?2, ?3)"
                                       " ON CONFLICT (card, type) DO UPDATE SET value = excluded.value");
        dropField_ = database_->prepare("DELETE FROM field WHERE card = ?1 AND type = ?2");
        deleteFields_ = database_->prepare("DELETE FROM field WHERE card = ?1");
        deleteCard_ = database_->prepare("DELETE FROM card WHERE key = ?1");
        listCards();
    } catch (const DatabaseError& e) {
        throw StoreError(Step::Open, sentence(path_, e));
    }
}

CardFile::~CardFile()
{
    try {
        close();
    } catch (const std::exception& e) {
        if (report_) report_(e.what());
    }
}

void CardFile::prepareSchema()
{
    const std::int64_t version = database_->number("PRAGMA user_version"), owner = database_->number("PRAGMA application_id");
    const bool empty = database_->number("SELECT count(*) FROM sqlite_master") == 0;
    if (!empty && owner != applicationId)
        throw StoreError(Step::Open, "The file \"" + path_ + "\" is a database, but no card file. Choose another file.");
    if (version > schemaVersion)
        throw StoreError(Step::Open,
                         "The card file \"" + path_ + "\" was written by a later version of this program. Update the program to use it.");
    database_->execute("PRAGMA journal_mode = WAL");
    database_->execute("PRAGMA synchronous = FULL");
    if (!empty) return;
    begin();
    database_->execute(schema);
    database_->execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
    database_->execute(("PRAGMA user_version = " + std::to_string(schemaVersion)).c_str());
    commit();
}

void CardFile::listCards()
{
    cards_.clear();
    byId_.clear();
    Statement query = database_->prepare("SELECT key, id, created, modified FROM card ORDER BY key");
    while (query.step()) {
        byId_[folded(query.text(1))] = cards_.size();
        cards_.push_back({query.number(0), query.text(1), query.number(2), query.number(3)});
    }
}

const CardFile::Card* CardFile::find(const std::string& id) const
{
    const auto at = byId_.find(folded(id));
    return at == byId_.end() ? nullptr : &cards_[at->second];
}

const CardFile::Card& CardFile::cardOf(const std::string& id, Step step) const
{
    if (const Card* card = find(id)) return *card;
    throw StoreError(step, "The card file \"" + path_ + "\" has no card \"" + id.substr(0, 100) + "\".");
}

bool CardFile::exists(const std::string& id) const { return find(id) != nullptr; }
std::int64_t CardFile::created(const std::string& id) const { return cardOf(id, Step::Find).created; }
std::int64_t CardFile::modified(const std::string& id) const { return cardOf(id, Step::Find).modified; }

CardFile::Fields CardFile::loadFields(std::int64_t key)
{
    Fields fields;
    readFields_.bind(1, key);
    while (readFields_.step()) fields[static_cast<int>(readFields_.number(0))] = readFields_.text16(1);
    return fields;
}

void CardFile::beginRead(const std::string& id)
{
    const Card& card = cardOf(id, Step::BeginRead);
    try {
        reading_ = Open{card.id, folded(id), card.key, false, loadFields(card.key), {}};
    } catch (const DatabaseError& e) {
        throw StoreError(Step::BeginRead, sentence(path_, e));
    }
}

void CardFile::endRead(const std::string&) { reading_.reset(); }

std::u16string CardFile::read(const std::string& id, int type) const
{
    const std::string wanted = folded(id);
    const auto valueIn = [&](const Fields& fields) {
        const auto at = fields.find(type);
        return at == fields.end() ? std::u16string() : at->second;
    };
    if (reading_ && reading_->id == wanted) return valueIn(reading_->fields);
    if (!writing_ || writing_->id != wanted)
        throw StoreError(Step::ReadField, "The card \"" + id.substr(0, 100) + "\" is not open for reading.");
    return writing_->changes.contains(type) ? valueIn(writing_->changes) : valueIn(writing_->fields);
}

void CardFile::begin() { database_->execute("BEGIN IMMEDIATE"); }
void CardFile::commit() { database_->execute("COMMIT"); }

void CardFile::rollBack(const char* sql) noexcept
{
    try {
        database_->execute(sql);
    } catch (const DatabaseError&) { // it was rolled back already
    }
}

void CardFile::dropBatch()
{
    rollBack("ROLLBACK");
    listCards();
}

void CardFile::beginBatch()
{
    if (batch_) throw StoreError(Step::Update, "A batch is open already.");
    try {
        begin();
    } catch (const DatabaseError& e) {
        throw StoreError(Step::Update, sentence(path_, e));
    }
    batch_ = true;
}

void CardFile::endBatch(bool abort)
{
    if (!batch_) throw StoreError(Step::Update, "No batch is open.");
    batch_ = false;
    writing_.reset();
    try {
        if (abort)
            dropBatch();
        else
            commit();
    } catch (const DatabaseError& e) {
        dropBatch();
        throw StoreError(Step::Update, sentence(path_, e));
    }
}

std::string CardFile::beginAdd()
{
    const std::string id = platform::utf8(com::guidText(com::newGuid()));
    writing_ = Open{id, folded(id), 0, true, {}, {}};
    return id;
}

void CardFile::beginEdit(const std::string& id)
{
    const Card& card = cardOf(id, Step::Edit);
    try {
        writing_ = Open{card.id, folded(id), card.key, false, loadFields(card.key), {}};
    } catch (const DatabaseError& e) {
        throw StoreError(Step::Edit, sentence(path_, e));
    }
}

void CardFile::write(const std::string& id, int type, std::u16string_view text)
{
    if (!writing_ || writing_->id != folded(id))
        throw StoreError(Step::WriteField, "The card \"" + id.substr(0, 100) + "\" is not open for writing.");
    writing_->changes[type] = text;
}

// Later than the one before, however quickly two changes follow each other. The steps are those that an automation date can tell apart.
std::int64_t CardFile::nextStamp(std::int64_t former) const
{
    constexpr std::int64_t step = 1'000'000; // a millisecond
    const std::int64_t present = now() / step * step;
    return present > former ? present : former + step;
}

void CardFile::writeChanges(const Open& record)
{
    for (const auto& [type, value] : record.changes) {
        if (value.empty())
            dropField_.bind(1, record.key).bind(2, std::int64_t{type}).run();
        else
            putField_.bind(1, record.key).bind(2, std::int64_t{type}).bind(3, value).run();
    }
}

void CardFile::insertCard(Open& record)
{
    Card card{0, record.given, nextStamp(0), 0};
    card.modified = card.created;
    insertCard_.bind(1, card.id).bind(2, card.created);
    while (insertCard_.step()) card.key = insertCard_.number(0);
    record.key = card.key;
    writeChanges(record);
    byId_[record.id] = cards_.size();
    cards_.push_back(std::move(card));
}

void CardFile::updateCard(Open& record)
{
    Card& card = cards_[byId_.at(record.id)];
    const std::int64_t stamp = nextStamp(card.modified);
    writeChanges(record);
    touchCard_.bind(1, card.key).bind(2, stamp).run();
    card.modified = stamp;
}

std::string CardFile::save(const std::string& id)
{
    if (!writing_ || writing_->id != folded(id))
        throw StoreError(Step::Save, "The card \"" + id.substr(0, 100) + "\" is not open for writing.");
    change(Step::Save, [&] { writing_->isNew ? insertCard(*writing_) : updateCard(*writing_); });
    const std::string saved = cards_[byId_.at(writing_->id)].id;
    writing_.reset();
    return saved;
}

void CardFile::remove(const std::string& id)
{
    const std::int64_t key = cardOf(id, Step::Delete).key;
    change(Step::Delete, [&] {
        deleteFields_.bind(1, key).run();
        deleteCard_.bind(1, key).run();
    });
    // The last card takes the place of the one that is gone.
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
    if (!batch_) return;
    endBatch(false);
}

} // namespace mb::cardfile
