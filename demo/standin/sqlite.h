#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "convert.h"
#include "error.h"

namespace standin {

struct CloseSqlite {
    void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
    void operator()(sqlite3_stmt* stmt) const noexcept { sqlite3_finalize(stmt); }
};
using SqliteDb = std::unique_ptr<sqlite3, CloseSqlite>;
using SqliteStmt = std::unique_ptr<sqlite3_stmt, CloseSqlite>;

/// Throws what the failed call means in SQL Server's words.
[[noreturn]] void ThrowSqlite(sqlite3* db, int code);

SqliteStmt Prepare(sqlite3* db, std::string_view sql);

/// Steps once. @return true for a row, false at the end.
bool Step(sqlite3_stmt* stmt);

/// Runs SQL without parameters that returns nothing.
void Run(sqlite3* db, const std::string& sql);

Cell ColumnCell(sqlite3_stmt* stmt, int column);
std::string ColumnText(sqlite3_stmt* stmt, int column);

std::string QuoteText(std::string_view text);  // 'it''s'
std::string QuoteName(std::string_view name);  // "name"

/// Makes the collation MS and the functions ms_* known to a SQLite connection.
void RegisterFunctions(sqlite3* db);

}  // namespace standin
