#pragma once

#include <sqlite3.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "errors.h"
#include "values.h"

namespace standin {

struct CloseSqlite {
    void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
    void operator()(sqlite3_stmt* stmt) const noexcept { sqlite3_finalize(stmt); }
};
using SqliteStmt = std::unique_ptr<sqlite3_stmt, CloseSqlite>;

std::string QuoteText(std::string_view text);  // 'it''s'
std::string QuoteName(std::string_view name);  // "name"

Cell ColumnCell(sqlite3_stmt* stmt, int column);
void BindText(sqlite3_stmt* stmt, int parameter, const std::string& text);

/// A connection to a server's file: the collation MS, LIKE and functions of our own, waiting for locks,
/// errors in SQL Server's numbers. Used by one thread at a time. Every call may throw SqlError.
class Sqlite {
public:
    explicit Sqlite(const std::string& file);
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    /// @throws SqlError 207 where a name in quotation marks is no column, 102 for every other mistake.
    SqliteStmt Prepare(const std::string& sql);

    /// Steps once. @return true for a row, false at the end.
    bool Step(sqlite3_stmt* stmt);

    /// Runs SQL that returns nothing.
    void Run(const std::string& sql);

    /// Makes several changes one, in a transaction of its own or inside the open one: an exception undoes
    /// them all. SQLite by itself keeps what a statement did before one of our functions failed in it.
    void RunAtomically(const std::function<void()>& work);

    bool InTransaction() const { return sqlite3_get_autocommit(db_.get()) == 0; }
    int Changes() const { return sqlite3_changes(db_.get()); }
    bool HasTable(const std::string& table) const;

    /// The declared type of a column, or nothing.
    std::optional<Type> ColumnType(const std::string& table, const std::string& column) const;

    /// Milliseconds to wait for a lock; weeks when never set.
    void SetLockTimeout(int milliseconds) { sqlite3_busy_timeout(db_.get(), milliseconds); }

private:
    template <Cell (*kBody)(int count, sqlite3_value** values)>
    static void Function(sqlite3_context* context, int count, sqlite3_value** values) noexcept;
    void RegisterFunctions();
    [[noreturn]] void Throw(int code, const std::string& sql);

    std::unique_ptr<sqlite3, CloseSqlite> db_;
    std::optional<SqlError> failure_;  // of a function, for the call that met it
};

}  // namespace standin
