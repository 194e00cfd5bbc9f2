// The calls that connect, run statements and fetch. What only tells about things is in odbc_info.cpp.

#include "odbc_call.h"

using namespace standin;

ODBC_ENTRY SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE parent, SQLHANDLE* out) {
    *out = SQL_NULL_HANDLE;
    switch (kind) {
        case SQL_HANDLE_ENV:
            *out = static_cast<Handle*>(new Environment);
            return SQL_SUCCESS;
        case SQL_HANDLE_DBC:
            return Call<Environment>(parent, [&](Environment&) -> SQLRETURN {
                *out = static_cast<Handle*>(new Connection);
                return SQL_SUCCESS;
            });
        case SQL_HANDLE_STMT:
            return Call<Connection>(parent, [&](Connection& connection) -> SQLRETURN {
                *out = static_cast<Handle*>(connection.NewStatement());
                return SQL_SUCCESS;
            });
        default:
            return SQL_ERROR;
    }
}

ODBC_ENTRY SQLFreeHandle(SQLSMALLINT, SQLHANDLE raw) {
    return Call<Handle>(raw, [](Handle& handle) -> SQLRETURN {
        if (handle.Kind() == HandleKind::kStatement) {
            auto& statement = static_cast<StatementHandle&>(handle);
            statement.Owner().FreeStatement(&statement);
            return SQL_SUCCESS;
        }
        if (handle.Kind() == HandleKind::kConnection && static_cast<Connection&>(handle).IsConnected()) {
            FailInDriver("HY010", "Function sequence error");
        }
        delete &handle;
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLDriverConnectW(SQLHDBC dbc, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR* out,
                             SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        const std::string text = ReadWide(in, inLength);
        connection.Connect(text);
        GiveText(connection, text, out, outSize, outLength, 1);
        return connection.Records().empty() ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
    });
}

ODBC_ENTRY SQLDisconnect(SQLHDBC dbc) {
    return Call<Connection>(dbc, [](Connection& connection) -> SQLRETURN {
        connection.Disconnect();
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLEndTran(SQLSMALLINT kind, SQLHANDLE raw, SQLSMALLINT completion) {
    if (kind != SQL_HANDLE_DBC) return SQL_ERROR;  // the driver manager asks connection by connection
    return Call<Connection>(raw, [&](Connection& connection) -> SQLRETURN {
        connection.EndTransaction(completion == SQL_COMMIT);
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLSetConnectAttrW(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        switch (attribute) {
            case SQL_ATTR_AUTOCOMMIT:
                connection.SetManual(reinterpret_cast<SQLULEN>(value) == SQL_AUTOCOMMIT_OFF);
                return SQL_SUCCESS;
            case SQL_ATTR_LOGIN_TIMEOUT:
            case SQL_ATTR_CONNECTION_TIMEOUT:
            case SQL_ATTR_ACCESS_MODE:
                return SQL_SUCCESS;  // nothing here takes time or has modes
            default:
                FailInDriver("HYC00", "Optional feature not implemented");
        }
    });
}

ODBC_ENTRY SQLPrepareW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        const std::string text = ReadWide(sql, length);
        statement.Owner().Count(Point::kPrepare);
        statement.Owner().Note("prepare", text);
        statement.Prepare(text);
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLExecute(SQLHSTMT stmt) {
    return Call<StatementHandle>(stmt, [](StatementHandle& statement) -> SQLRETURN {
        statement.Owner().Count(Point::kExecute);
        if (!statement.IsPrepared()) FailInDriver("HY010", "Function sequence error");
        statement.Owner().Note("execute", statement.Text());
        return statement.Execute();
    });
}

ODBC_ENTRY SQLExecDirectW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        const std::string text = ReadWide(sql, length);
        statement.Owner().Count(Point::kExecute);
        statement.Owner().Note("execute", text);
        statement.Prepare(text);
        return statement.Execute();
    });
}

ODBC_ENTRY SQLBindParameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType,
                            SQLSMALLINT sqlType, SQLULEN size, SQLSMALLINT, SQLPOINTER value, SQLLEN bytes,
                            SQLLEN* indicator) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        statement.Owner().Count(Point::kBind);
        const bool known = cType == SQL_C_WCHAR || cType == SQL_C_CHAR || cType == SQL_C_SBIGINT ||
                           cType == SQL_C_SLONG || cType == SQL_C_LONG;
        if (direction != SQL_PARAM_INPUT || !known) FailInDriver("HYC00", "Optional feature not implemented");
        if (number == 0) FailInDriver("07009", "Invalid Descriptor Index");
        statement.parameters[number] = {cType, sqlType, size, value, bytes, indicator};
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLBindCol(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER value, SQLLEN bytes,
                      SQLLEN* indicator) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        if (value == nullptr) {
            statement.targets.erase(number);
        } else {
            statement.targets[number] = {cType, value, bytes, indicator};
        }
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLFetch(SQLHSTMT stmt) {
    return Call<StatementHandle>(stmt, [](StatementHandle& statement) -> SQLRETURN {
        statement.Owner().Count(Point::kFetch);
        return statement.Fetch();
    });
}

ODBC_ENTRY SQLFetchScroll(SQLHSTMT stmt, SQLSMALLINT orientation, SQLLEN) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        if (orientation != SQL_FETCH_NEXT) FailInDriver("HY106", "Fetch type out of range");
        statement.Owner().Count(Point::kFetch);
        return statement.Fetch();
    });
}

ODBC_ENTRY SQLGetData(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER value, SQLLEN bytes,
                      SQLLEN* indicator) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        return statement.GetData(number, {cType, value, bytes, indicator});
    });
}

ODBC_ENTRY SQLMoreResults(SQLHSTMT stmt) {
    return Call<StatementHandle>(stmt, [](StatementHandle& statement) { return statement.MoreResults(); });
}

ODBC_ENTRY SQLCloseCursor(SQLHSTMT stmt) {
    return Call<StatementHandle>(stmt, [](StatementHandle& statement) -> SQLRETURN {
        if (!statement.HasCursor()) FailInDriver("24000", "Invalid cursor state");
        statement.Close();
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLFreeStmt(SQLHSTMT stmt, SQLUSMALLINT option) {
    if (option == SQL_DROP) return SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        if (option == SQL_CLOSE) statement.Close();
        if (option == SQL_UNBIND) statement.targets.clear();
        if (option == SQL_RESET_PARAMS) statement.parameters.clear();
        return SQL_SUCCESS;
    });
}

/// May come from another thread while the statement runs, so it touches nothing else of the handle.
ODBC_ENTRY SQLCancel(SQLHSTMT stmt) {
    auto& statement = *static_cast<StatementHandle*>(static_cast<Handle*>(stmt));
    if (Session* session = statement.Owner().SessionOrNull()) session->Cancel();
    return SQL_SUCCESS;
}
