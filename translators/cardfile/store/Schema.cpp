#include "Schema.h"

#include <chrono>
#include <iterator>
#include <thread>

namespace mb::cardfile {
namespace {

constexpr std::int64_t applicationId = 0x4D424331; // marks the file as a card file

// steps[n] upgrades a file from version n to n + 1. AUTOINCREMENT keys are never reused, so a row of a deleted card cannot come to belong
// to another card.
constexpr const char* steps[] = {
    "CREATE TABLE card (key INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE COLLATE NOCASE,"
    " created INTEGER NOT NULL, modified INTEGER NOT NULL) STRICT;"
    "CREATE TABLE field (card INTEGER NOT NULL REFERENCES card (key) ON DELETE CASCADE, type INTEGER NOT NULL, value TEXT NOT NULL,"
    " PRIMARY KEY (card, type)) WITHOUT ROWID, STRICT;",
    // Pictures have their own table, so that reading the fields never loads them. Categories have an index,
    // because they are few among the fields.
    "CREATE TABLE image (card INTEGER NOT NULL REFERENCES card (key) ON DELETE CASCADE, type INTEGER NOT NULL, bytes BLOB NOT NULL,"
    " PRIMARY KEY (card, type)) STRICT;"
    "CREATE TABLE category (name TEXT PRIMARY KEY) STRICT;"
    "CREATE INDEX categories ON field (value) WHERE type = 19;",
};
constexpr std::int64_t presentVersion = std::size(steps);

FileKind kindOf(Database& database)
{
    const std::int64_t owner = database.number("PRAGMA application_id"), version = database.number("PRAGMA user_version");
    const bool used = owner != 0 || version != 0 || database.number("SELECT count(*) FROM sqlite_master") != 0;
    if (!used) return FileKind::Blank;
    if (owner != applicationId) return FileKind::Foreign;
    return version > presentVersion ? FileKind::Later : FileKind::Card;
}

// Reads the kind in one transaction, because another program may be creating the file.
FileKind kindNow(Database& database)
{
    database.execute("BEGIN");
    const FileKind kind = kindOf(database);
    database.execute("COMMIT");
    return kind;
}

// If two programs open a new file at the same moment, SQLite reports "busy" to one of them at once, without its usual wait.
void useWriteAheadLog(Database& database)
{
    using namespace std::chrono_literals;
    for (int tries = 100; database.text("PRAGMA journal_mode") != "wal"; --tries) {
        try {
            database.execute("PRAGMA journal_mode = WAL");
        } catch (const DatabaseError& e) {
            if ((e.code() & 0xFF) != SQLITE_BUSY || tries == 0) throw;
            std::this_thread::sleep_for(20ms);
        }
    }
}

void bringUpToDate(Database& database)
{
    Transaction transaction(database);
    const FileKind kind = kindOf(database);
    if (kind != FileKind::Card && kind != FileKind::Blank) return; // another program was faster; kindNow() will tell
    for (std::int64_t version = database.number("PRAGMA user_version"); version < presentVersion; ++version)
        database.execute(steps[version]);
    database.execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
    database.execute(("PRAGMA user_version = " + std::to_string(presentVersion)).c_str());
    transaction.commit();
}

FileKind prepare(Database& database, bool make)
{
    const FileKind kind = kindNow(database);
    if (kind != FileKind::Card && !(make && kind == FileKind::Blank)) return kind;
    if (!database.readOnly()) useWriteAheadLog(database);
    database.execute("PRAGMA synchronous = FULL");
    database.execute("PRAGMA foreign_keys = ON");
    if (database.number("PRAGMA user_version") < presentVersion) bringUpToDate(database);
    return kindNow(database);
}

} // namespace

FileKind prepareFile(Database& database) { return prepare(database, false); }
FileKind makeFile(Database& database) { return prepare(database, true); }

} // namespace mb::cardfile
