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
    /// @return false when the driver still uses the handle: what it belongs to must not be freed either.
    static bool Close(Handle handle) noexcept { return SQL_SUCCEEDED(SQLFreeHandle(Type, handle)); }
};
using OdbcEnvironment = Owner<OdbcHandleTrait<SQL_HANDLE_ENV>>;
using OdbcConnection = Owner<OdbcHandleTrait<SQL_HANDLE_DBC>>;
using OdbcStatement = Owner<OdbcHandleTrait<SQL_HANDLE_STMT>>;

/// The test for success of every call: where a statement is executed, SQL_NO_DATA is a failure.
inline bool OdbcSucceeded(SQLRETURN result) noexcept {
    return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

/// A string argument for ODBC calls, which take non-const pointers but do not write through them.
inline SQLWCHAR* OdbcText(const wchar_t* text) noexcept {
    return const_cast<SQLWCHAR*>(text);
}

/// A new statement handle on a connection; empty when the driver cannot allocate one.
inline OdbcStatement AllocateStatement(SQLHDBC connection) noexcept {
    SQLHANDLE statement = SQL_NULL_HANDLE;
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement))) return OdbcStatement();
    return OdbcStatement(statement);
}

/// The diagnostic records of the last call on a handle as one line: "STATE: message", up to six of them
/// joined by " | "; "ODBC 未返回详细错误" when there is none. Line breaks and tabs inside a message, which
/// drivers take over from the system's texts, become one blank; at its end nothing is left of them. To be
/// called before any other call on the handle.
std::wstring OdbcDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

/// Checks the result of an ODBC call on a statement.
/// @throws RuntimeError with the statement's diagnostic text.
void RequireSuccess(SQLRETURN result, SQLHSTMT statement);

/// True when the driver has noticed that the connection to the server is lost.
bool IsConnectionDead(SQLHDBC connection) noexcept;
