#pragma once

#include <sql.h>
#include <sqlext.h>

#include <string>
#include <string_view>

#include "handles.h"
#include "values.h"

namespace standin {

/// A parameter as SQLBindParameter describes it. UTF-16 text is the only C type.
struct ParameterBinding {
    SQLULEN size = 0;  // of the column, in characters; 0 for any
    const SQLWCHAR* value = nullptr;
    const SQLLEN* indicator = nullptr;
};

/// A column as SQLBindCol describes it: UTF-16 text, or a 64-bit number.
struct ColumnBinding {
    SQLSMALLINT cType = SQL_C_WCHAR;
    SQLPOINTER value = nullptr;
    SQLLEN bytes = 0;
    SQLLEN* indicator = nullptr;
};

/// Text from the caller; the length counts characters or is SQL_NTS.
std::string ReadWide(const SQLWCHAR* text, SQLLEN length);

/// @throws SqlError 22001 for text longer than the column's size.
Cell ReadParameter(const ParameterBinding& binding);

/// Writes a value of a row to the caller. Text that does not fit is cut, with 01004 on the handle.
/// @return SQL_SUCCESS or SQL_SUCCESS_WITH_INFO.
/// @throws SqlError 22002, 22003, 22018.
SQLRETURN WriteValue(Handle& handle, const Cell& cell, const ColumnBinding& binding);

/// Writes text with its terminator. @param room  in characters, the terminator included
/// @return true when all of it fitted.
bool WriteWide(std::u16string_view text, SQLPOINTER buffer, SQLLEN room) noexcept;

}  // namespace standin
