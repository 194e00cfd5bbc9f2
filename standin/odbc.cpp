// The entry points that unixODBC and Wine's odbc32 call. What the driver manager does by itself where a
// driver lacks a function is missing here.

#include <cstring>

#include "handles.h"
#include "text.h"

#define ODBC_ENTRY extern "C" SQLRETURN SQL_API

using namespace standin;

namespace {

enum Records { kNew, kKept };

/// Runs the body of one entry point on its handle, and turns what is thrown into new records of the handle,
/// in front of warnings that it has got meanwhile. A body without a result succeeds. No exception crosses
/// into the driver manager.
template <class HandleType, Records kRecords = kNew, class Body>
SQLRETURN Call(SQLHANDLE raw, Body body) noexcept {
    if (raw == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
    auto& handle = *static_cast<HandleType*>(static_cast<Handle*>(raw));
    try {
        try {
            if constexpr (kRecords == kNew) handle.ClearRecords();
            if constexpr (!std::is_void_v<decltype(body(handle))>) return body(handle);
            body(handle);
            return SQL_SUCCESS;
        } catch (const SqlError& error) {
            if (error.Records().empty()) handle.ClearRecords();
            handle.AddInFront(error.Records());
        } catch (const std::exception& error) {
            handle.AddInFront({MakeRecord(kGeneral, error.what())});
        }
    } catch (const std::exception&) {
        // Not even memory for the record.
    }
    return SQL_ERROR;
}

template <class Number>
SQLRETURN Give(Number value, SQLPOINTER target) {
    if (target != nullptr) std::memcpy(target, &value, sizeof value);
    return SQL_SUCCESS;
}

/// Text to the caller; sizes count characters.
SQLRETURN GiveText(std::string_view utf8, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
    const std::u16string text = ToUtf16(utf8);
    Give(static_cast<SQLSMALLINT>(text.size()), length);
    return WriteWide(text, buffer, size) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

}  // namespace

ODBC_ENTRY SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE parent, SQLHANDLE* out) {
    if (kind == SQL_HANDLE_ENV) {
        try {
            *out = static_cast<Handle*>(new Handle(Live::kEnvironment));
            return SQL_SUCCESS;
        } catch (const std::exception&) {
            return SQL_ERROR;
        }
    }
    return Call<Handle>(parent, [&](Handle& handle) {
        *out = kind == SQL_HANDLE_DBC ? static_cast<Handle*>(new Connection)
                                      : static_cast<Connection&>(handle).NewStatement();
    });
}

/// Without this function the driver manager takes the driver for one of ODBC 2.
ODBC_ENTRY SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}

ODBC_ENTRY SQLFreeHandle(SQLSMALLINT, SQLHANDLE raw) {
    return Call<Handle>(raw, [](Handle& handle) { handle.Free(); });
}

ODBC_ENTRY SQLDriverConnectW(SQLHDBC dbc, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR* out,
                             SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        const std::string text = ReadWide(in, inLength);
        connection.Connect(text);
        if (GiveText(text, out, outSize, outLength) != SQL_SUCCESS) connection.Warn(kTruncated);
        return SQL_SUCCESS_WITH_INFO;  // the database is told
    });
}

ODBC_ENTRY SQLDisconnect(SQLHDBC dbc) {
    return Call<Connection>(dbc, [](Connection& connection) { connection.Disconnect(); });
}

ODBC_ENTRY SQLEndTran(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT completion) {
    return Call<Connection>(raw, [&](Connection& connection) {
        connection.EndTransaction(completion == SQL_COMMIT ? "commit" : "rollback");
    });
}

ODBC_ENTRY SQLSetConnectAttrW(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
    return Call<Connection>(dbc, [&](Connection& connection) {
        const auto number = reinterpret_cast<SQLULEN>(value);
        if (attribute == SQL_ATTR_LOGIN_TIMEOUT)
            return connection.SetLoginTimeout(static_cast<unsigned>(number));
        if (attribute != SQL_ATTR_AUTOCOMMIT) Fail(kNotImplemented);
        connection.SetManual(number == SQL_AUTOCOMMIT_OFF);
    });
}

ODBC_ENTRY SQLGetConnectAttrW(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
    return Call<Connection>(dbc, [&](const Connection& connection) -> SQLRETURN {
        if (attribute == SQL_ATTR_CONNECTION_DEAD) {
            return Give<SQLUINTEGER>(connection.IsDead() ? SQL_CD_TRUE : SQL_CD_FALSE, value);
        }
        if (attribute != SQL_ATTR_AUTOCOMMIT) Fail(kNotImplemented);
        return Give<SQLUINTEGER>(connection.IsManual() ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON, value);
    });
}

ODBC_ENTRY SQLPrepareW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<Statement>(stmt, [&](Statement& statement) { statement.Prepare(ReadWide(sql, length)); });
}

ODBC_ENTRY SQLExecute(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) { return statement.Execute(); });
}

ODBC_ENTRY SQLExecDirectW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<Statement>(stmt, [&](Statement& statement) {
        statement.SetText(ReadWide(sql, length));
        return statement.Execute();
    });
}

ODBC_ENTRY SQLBindParameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType,
                            SQLSMALLINT, SQLULEN size, SQLSMALLINT, SQLPOINTER value, SQLLEN,
                            SQLLEN* indicator) {
    return Call<Statement>(stmt, [&](Statement& statement) {
        statement.Count("bind");
        if (direction != SQL_PARAM_INPUT || cType != SQL_C_WCHAR) Fail(kNotImplemented);
        statement.Bind(number, ParameterBinding{size, static_cast<const SQLWCHAR*>(value), indicator});
    });
}

ODBC_ENTRY SQLBindCol(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER value, SQLLEN bytes,
                      SQLLEN* indicator) {
    return Call<Statement>(stmt, [&](Statement& statement) {
        const bool known = cType == SQL_C_WCHAR || cType == SQL_C_SBIGINT;
        if (!known || value == nullptr) Fail(kNotImplemented);
        statement.Bind(number, ColumnBinding{cType, value, bytes, indicator});
    });
}

ODBC_ENTRY SQLFetch(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) { return statement.Fetch(); });
}

ODBC_ENTRY SQLMoreResults(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) { return statement.MoreResults(); });
}

ODBC_ENTRY SQLNumResultCols(SQLHSTMT stmt, SQLSMALLINT* count) {
    return Call<Statement>(stmt, [&](const Statement& statement) {
        *count = static_cast<SQLSMALLINT>(statement.ColumnCount());
    });
}

ODBC_ENTRY SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native,
                          SQLWCHAR* text, SQLSMALLINT size, SQLSMALLINT* length) {
    return Call<Handle, kKept>(raw, [&](const Handle& handle) -> SQLRETURN {
        const auto index = static_cast<std::size_t>(number) - 1;
        if (index >= handle.Records().size()) return SQL_NO_DATA;
        const DiagRecord& record = handle.Records()[index];
        GiveText(record.state, state, SQL_SQLSTATE_SIZE + 1, nullptr);
        Give<SQLINTEGER>(record.native, native);
        return GiveText(handle.Told(record), text, size, length);
    });
}

/// The driver manager reads no error of a statement where this function is missing; it never calls it.
ODBC_ENTRY SQLGetDiagFieldW(SQLSMALLINT, SQLHANDLE, SQLSMALLINT, SQLSMALLINT, SQLPOINTER, SQLSMALLINT,
                            SQLSMALLINT*) {
    return SQL_ERROR;
}
