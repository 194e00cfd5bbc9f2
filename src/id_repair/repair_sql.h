#pragma once

#include <string>
#include <string_view>

// The reading statements of the ID repair; the UPDATE is in role_repair.cpp. Database, schema, table and
// column names are passed unquoted and quoted here, IDs become N'..' literals.
// @throws RuntimeError as QuoteSqlIdentifier, every function that takes a name.

/// The two kinds of ID, each with its main table in schema dbo.
enum class IdKind { Role, Guild };

/// Names of the online user databases; the system databases have the IDs 1 to 4.
std::wstring OnlineDatabasesSql();

/// IDs that occur in the main tables of both databases with the names on either side, by ascending ID: seven
/// columns for characters, three for guilds. Both sides are compared under DATABASE_DEFAULT, which means the
/// collation of the connection's current database: during detection master's, not that of either database.
std::wstring DuplicateIdsSql(IdKind kind, std::wstring_view databaseA, std::wstring_view databaseB);

/// Counts the main table's rows with an ID.
/// @param withLock  takes update locks with range hold, kept to the end of the transaction.
std::wstring CountIdRowsSql(IdKind kind, std::wstring_view database, std::wstring_view id, bool withLock);

/// The character columns of a database whose name marks them as a reference to an ID: schema, table, column
/// and data type in catalogue order. "_" in the patterns is LIKE's wildcard.
std::wstring ReferringColumnsSql(IdKind kind, std::wstring_view database);

/// The largest ID made of digits alone; NULL when there is none.
std::wstring LargestRoleIdSql(std::wstring_view database);

/// The names of a column, unquoted.
struct ColumnName {
    std::wstring_view database;
    std::wstring_view schema;
    std::wstring_view table;
    std::wstring_view column;
};

/// Pieces of a statement about a column: its table's three-part name, and the condition that the column, of
/// any character type, holds an ID.
struct SqlTableOf {
    const ColumnName& column;
};
struct SqlHoldsId {
    const ColumnName& column;
    std::wstring_view id;
};
void AppendSql(std::wstring& sql, const SqlTableOf& piece);
void AppendSql(std::wstring& sql, const SqlHoldsId& piece);

/// Counts the rows of one column that hold an ID.
std::wstring CountHitsSql(const ColumnName& column, std::wstring_view id);
