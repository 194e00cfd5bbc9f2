#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "db/odbc_handles.h"

/// Executes an SQL text.
/// @param keepStatement  true hands the statement over, its rows still to be fetched; false frees it and
///                       returns an empty owner.
/// @throws RuntimeError "ODBC 语句句柄初始化失败", or the statement's diagnostic text. A searched UPDATE that
///         touches no row (SQL_NO_DATA) is a failure as well.
OdbcStatement ExecuteDirect(SQLHDBC connection, const std::wstring& sql, bool keepStatement);

/// Executes a query and reads the first column of its first row; no row and NULL read as 0.
/// @throws RuntimeError as ExecuteDirect, or with the diagnostic text of the failed fetch (a number beyond 64
///         bits is one).
std::int64_t QueryInt64(SQLHDBC connection, const std::wstring& sql);

/// Fetches the next row.
/// @return the driver's result, for the caller to judge. One failure does not come back: when the row failed
///         and no later fetch can ever answer SQL_NO_DATA, because the connection is dead or the cursor gone,
///         a loop that waits for the end would never end.
/// @throws RuntimeError with the diagnostic text in that case.
SQLRETURN FetchRow(SQLHDBC connection, SQLHSTMT statement);

/// The same for a list that must be complete.
/// @return true with a row, false after the last one.
/// @throws RuntimeError with the diagnostic text of any failed fetch.
bool FetchCompleteRow(SQLHSTMT statement);

/// The text columns of a result, bound to buffers that every row reuses: 512 bytes each, which is 255 UTF-16
/// units and the terminator; longer values are cut there.
class TextColumns {
public:
    static constexpr size_t kMost = 7;

    /// Binds columns 1 to `count`, kMost at most. The statement must outlive every fetch.
    /// @throws RuntimeError with the diagnostic text.
    TextColumns(SQLHSTMT statement, size_t count);
    TextColumns(const TextColumns&) = delete;
    TextColumns& operator=(const TextColumns&) = delete;

    /// Empties the buffers, so that a fetch that fails cannot show the row before it once more.
    void Clear() noexcept;

    bool IsNull(size_t column) const noexcept { return columns_[column].indicator == SQL_NULL_DATA; }

    /// The fetched text up to its terminator; empty for NULL. Valid until the next fetch.
    std::wstring_view Text(size_t column) const noexcept;

private:
    static constexpr size_t kUnits = 256;
    struct Column {
        SQLWCHAR text[kUnits];
        SQLLEN indicator;
    };
    // Not on the heap: a block for every statement would fragment the memory between the rows that are kept.
    std::array<Column, kMost> columns_;
    size_t count_;
};
