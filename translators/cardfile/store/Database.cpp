#include "Database.h"

namespace mb::cardfile {
namespace {

constexpr int busyMilliseconds = 5000;

[[noreturn]] void fail(sqlite3* database, int code)
{
    throw DatabaseError(code, database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
}

// Escapes a path for a URI of SQLite.
std::string uriOf(const std::string& path)
{
    std::string uri = "file:";
    for (const char c : path) {
        constexpr char digits[] = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        if (c == '%' || c == '?' || c == '#')
            uri += {'%', digits[byte >> 4], digits[byte & 15]};
        else
            uri += c;
    }
    return uri;
}

int openWith(const std::string& path, Access access, sqlite3** opened)
{
    if (access == Access::Snapshot)
        return sqlite3_open_v2((uriOf(path) + "?immutable=1").c_str(), opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    const int create = access == Access::Create ? SQLITE_OPEN_CREATE : 0;
    return sqlite3_open_v2(path.c_str(), opened, SQLITE_OPEN_READWRITE | create, nullptr);
}

} // namespace

Statement::Statement(sqlite3* database, const char* sql)
{
    sqlite3_stmt* made = nullptr;
    const int code = sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr);
    statement_.reset(made);
    if (code != SQLITE_OK) fail(database, code);
}

void Statement::check(int code) const
{
    if (code != SQLITE_OK) fail(sqlite3_db_handle(statement_.get()), code);
}

Statement& Statement::bind(int index, std::string_view text)
{
    check(sqlite3_bind_text64(statement_.get(), index, text.data() ? text.data() : "", text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(int index, std::int64_t number)
{
    check(sqlite3_bind_int64(statement_.get(), index, number));
    return *this;
}

bool Statement::step()
{
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW) return true;
    sqlite3* database = sqlite3_db_handle(statement_.get());
    if (code == SQLITE_DONE) {
        reset();
        return false;
    }
    const std::string message = sqlite3_errmsg(database);
    reset();
    throw DatabaseError(code, message);
}

void Statement::run()
{
    while (step()) {}
}

void Statement::reset() noexcept { sqlite3_reset(statement_.get()); }

Statement& Statement::bindBytes(int index, std::string_view bytes)
{
    check(sqlite3_bind_blob64(statement_.get(), index, bytes.data() ? bytes.data() : "", bytes.size(), SQLITE_TRANSIENT));
    return *this;
}

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::string Statement::text(int column) const
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))) : std::string();
}

std::string Statement::bytes(int column) const
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
    return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))) : std::string();
}

std::int64_t Statement::number(int column) const { return sqlite3_column_int64(statement_.get(), column); }

Database::Database(const std::string& path, Access access)
{
    sqlite3* opened = nullptr;
    const int code = openWith(path, access, &opened);
    database_.reset(opened);
    if (code != SQLITE_OK) fail(opened, code);
    sqlite3_busy_timeout(opened, busyMilliseconds);
    sqlite3_extended_result_codes(opened, 1);
    // A card file may come from anyone: triggers, views and functions in its schema must not run.
    for (const int trust : {SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_TRUSTED_SCHEMA})
        sqlite3_db_config(opened, trust, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
}

void Database::execute(const char* sql)
{
    const int code = sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) fail(database_.get(), code);
}

std::int64_t Database::number(const char* sql)
{
    Statement query = prepare(sql);
    return query.step() ? query.number(0) : 0;
}

std::string Database::text(const char* sql)
{
    Statement query = prepare(sql);
    return query.step() ? query.text(0) : std::string();
}

bool Database::hasMoved() const noexcept
{
    int moved = 0;
    return sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

Transaction::Transaction(Database& database) : database_(database), inner_(database.inTransaction())
{
    if (database_.readOnly()) throw DatabaseError(SQLITE_READONLY, "the file is read-only");
    database_.execute(inner_ ? "SAVEPOINT change" : "BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!open_ || !database_.inTransaction()) return; // SQLite rolls back itself if the disk fails
    try {
        database_.execute(inner_ ? "ROLLBACK TO change; RELEASE change" : "ROLLBACK");
    } catch (const DatabaseError&) { // rolled back at the latest when the connection closes
    }
}

void Transaction::commit()
{
    database_.execute(inner_ ? "RELEASE change" : "COMMIT");
    open_ = false;
}

} // namespace mb::cardfile
