#pragma once

#include <windows.h>

// after windows.h, which they need
#include <sql.h>
#include <sqlext.h>

#include <string>

#include "text/owner.h"

/// An ODBC handle of one type (SQL_HANDLE_ENV, _DBC or _STMT), freed at the end of its scope.
template <SQLSMALLINT Type>
struct OdbcHandleTrait {
    using Handle = SQLHANDLE;
    static constexpr Handle kNone = SQL_NULL_HANDLE;
    static void Close(Handle handle) noexcept { SQLFreeHandle(Type, handle); }
};
using OdbcEnvironment = Owner<OdbcHandleTrait<SQL_HANDLE_ENV>>;
using OdbcConnection = Owner<OdbcHandleTrait<SQL_HANDLE_DBC>>;
using OdbcStatement = Owner<OdbcHandleTrait<SQL_HANDLE_STMT>>;

/// The one meaning of success: SQL_NO_DATA, too, is a failure where a statement is executed.
inline bool OdbcSucceeded(SQLRETURN result) noexcept {
    return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

/// A text for a call of the API, which takes texts without const but does not write to them.
inline SQLWCHAR* OdbcText(const wchar_t* text) noexcept {
    return const_cast<SQLWCHAR*>(text);
}

/// A new statement on a connection; holds nothing when the driver gives none.
inline OdbcStatement AllocateStatement(SQLHDBC connection) noexcept {
    SQLHANDLE statement = SQL_NULL_HANDLE;
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement))) return OdbcStatement();
    return OdbcStatement(statement);
}

/// The diagnostic records of the last call on a handle as one line: "STATE: message", up to six of them
/// joined by " | "; "ODBC 未返回详细错误" when there is none. Ask before anything else is called on the
/// handle.
std::wstring OdbcDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

/// Runs an ODBC call's result through the one rule of success.
/// @throws RuntimeError with the statement's diagnostic text.
void RequireSuccess(SQLRETURN result, SQLHSTMT statement);
