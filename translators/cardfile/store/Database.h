// A thin wrapper of SQLite: connection, prepared statements, transactions, and errors as exceptions.
#pragma once
#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mb::cardfile {

// An error that SQLite reported.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
    [[nodiscard]] int code() const { return code_; }

private:
    int code_;
};

// A prepared statement, to be bound and stepped repeatedly.
class Statement {
public:
    Statement() noexcept = default;
    Statement(sqlite3* database, const char* sql);
    Statement& bind(int index, std::string_view text);
    Statement& bind(int index, std::int64_t number);
    Statement& bindBytes(int index, std::string_view bytes);
    // Returns true while there is a row. After the last row the statement is reset and can be bound again.
    bool step();
    void run();
    void reset() noexcept;
    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] std::int64_t number(int column) const;
    [[nodiscard]] std::string bytes(int column) const;

private:
    void check(int code) const;
    struct Close {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Close> statement_;
};

enum class Access {
    Create,   // reads and writes; creates a missing file
    Existing, // reads and writes, or only reads if the file is read-only
    Snapshot, // reads without locks and without the files that SQLite creates beside a database; the file must not change meanwhile
};

class Database {
public:
    explicit Database(const std::string& path, Access access = Access::Create);
    void execute(const char* sql);
    [[nodiscard]] Statement prepare(const char* sql) { return {database_.get(), sql}; }
    [[nodiscard]] std::int64_t number(const char* sql);
    [[nodiscard]] std::string text(const char* sql);
    // Returns the number of rows that the last statement changed.
    [[nodiscard]] std::int64_t changes() const noexcept { return sqlite3_changes(database_.get()); }
    [[nodiscard]] bool readOnly() const noexcept { return sqlite3_db_readonly(database_.get(), "main") == 1; }
    // Returns whether the path now leads to another file or to none; the connection stays with the file that it opened.
    [[nodiscard]] bool hasMoved() const noexcept;
    [[nodiscard]] bool inTransaction() const noexcept { return sqlite3_get_autocommit(database_.get()) == 0; }

private:
    struct Close {
        void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
    };
    std::unique_ptr<sqlite3, Close> database_;
};

// Steps through the rows of a statement, and resets it at the end of the scope.
class Rows {
public:
    explicit Rows(Statement& statement) noexcept : statement_(statement) {}
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    ~Rows() { statement_.reset(); }
    bool next() { return statement_.step(); }

private:
    Statement& statement_;
};

// A write transaction, or a savepoint inside of one; rolled back unless committed.
class Transaction {
public:
    // Throws at once if the file is read-only.
    explicit Transaction(Database& database);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();
    void commit();

private:
    Database& database_;
    const bool inner_;
    bool open_ = true;
};

} // namespace mb::cardfile
