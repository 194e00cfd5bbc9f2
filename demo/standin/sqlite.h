#pragma once

#include <sqlite3.h>

#include <atomic>
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
std::string ColumnText(sqlite3_stmt* stmt, int column);
void BindCell(sqlite3_stmt* stmt, int parameter, const Cell& cell);

/// A connection to a server's file: the collation MS, LIKE and the functions ms_*, waiting for locks, and
/// errors in SQL Server's numbers. All calls throw SqlError.
class Sqlite {
public:
    /// @throws SqlError when the file cannot be opened.
    explicit Sqlite(const std::string& file);
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    /// @throws SqlError 207 where a name in quotation marks is no column, 102 for every other mistake.
    SqliteStmt Prepare(const std::string& sql);

    /// Steps once. @return true for a row, false at the end.
    bool Step(sqlite3_stmt* stmt);

    /// Runs SQL without parameters that returns nothing.
    void Run(const std::string& sql);

    bool InTransaction() const { return sqlite3_get_autocommit(db_.get()) == 0; }
    long long Changes() const { return sqlite3_changes64(db_.get()); }

    bool HasTable(const std::string& table) const;

    /// The declared type of a column, or nothing.
    std::optional<Type> ColumnType(const std::string& table, const std::string& column) const;

    /// Milliseconds to wait for a lock; negative waits for ever.
    void SetLockTimeout(std::int64_t milliseconds) { lockTimeout_ = milliseconds; }

private:
    struct Functions;
    static int OnBusy(void* self, int count) noexcept;
    [[noreturn]] void Throw(int code, const std::string& sql);

    std::unique_ptr<sqlite3, CloseSqlite> db_;
    std::optional<SqlError> failure_;  // of a function, until the call that met it returns
    std::int64_t lockTimeout_ = -1;
    std::int64_t waitedSince_ = 0;
};

}  // namespace standin
