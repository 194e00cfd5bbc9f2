// The calls that connect, run statements and fetch. What only tells about things is in odbc_info.cpp.

#include "odbc_call.h"

using namespace standin;

ODBC_ENTRY SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE parent, SQLHANDLE* out) {
    *out = SQL_NULL_HANDLE;
    if (kind == SQL_HANDLE_ENV) {
        *out = static_cast<Handle*>(new (std::nothrow) Environment);
        return *out == SQL_NULL_HANDLE ? SQL_ERROR : SQL_SUCCESS;
    }
    if (kind == SQL_HANDLE_DBC) {
        return Call<Environment>(parent, [&](Environment&) -> SQLRETURN {
            *out = static_cast<Handle*>(new Connection);
            return SQL_SUCCESS;
        });
    }
    return Call<Connection>(parent, [&](Connection& connection) -> SQLRETURN {
        if (kind != SQL_HANDLE_STMT) Fail(Err::kNotImplemented);
        *out = static_cast<Handle*>(connection.NewStatement());
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLFreeHandle(SQLSMALLINT, SQLHANDLE raw) {
    return Call<Handle>(raw, [](Handle& handle) -> SQLRETURN {
        if (handle.Kind() == HandleKind::kStatement) {
            auto& statement = static_cast<Statement&>(handle);
            statement.Owner().FreeStatement(&statement);
            return SQL_SUCCESS;
        }
        const bool inUse =
            handle.Kind() == HandleKind::kConnection && static_cast<Connection&>(handle).IsConnected();
        if (inUse) Fail(Err::kSequence);
        delete &handle;
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLDriverConnectW(SQLHDBC dbc, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR* out,
                             SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        const std::string text = ReadWide(in, inLength);
        connection.Connect(text);
        const bool cut = GiveText(text, out, outSize, outLength, 1) != SQL_SUCCESS;
        if (cut) connection.Add(MakeRecord(Err::kTruncated));
        return SQL_SUCCESS_WITH_INFO;  // the database is told
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
                return SQL_SUCCESS;  // nothing here takes time
            default:
                Fail(Err::kNotImplemented);
        }
    });
}

ODBC_ENTRY SQLPrepareW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<Statement>(stmt, [&](Statement& statement) -> SQLRETURN {
        const std::string text = ReadWide(sql, length);
        statement.Owner().Count(Point::kPrepare);
        statement.Owner().Note("prepare", text);
        statement.Prepare(text);
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLExecute(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) {
        statement.Owner().Count(Point::kExecute);
        return statement.Execute();
    });
}

ODBC_ENTRY SQLExecDirectW(SQLHSTMT stmt, SQLWCHAR* sql, SQLINTEGER length) {
    return Call<Statement>(stmt, [&](Statement& statement) {
        const std::string text = ReadWide(sql, length);
        statement.Owner().Count(Point::kExecute);
        statement.Prepare(text);
        return statement.Execute();
    });
}

ODBC_ENTRY SQLBindParameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType,
                            SQLSMALLINT, SQLULEN size, SQLSMALLINT, SQLPOINTER value, SQLLEN,
                            SQLLEN* indicator) {
    return Call<Statement>(stmt, [&](Statement& statement) -> SQLRETURN {
        statement.Owner().Count(Point::kBind);
        if (direction != SQL_PARAM_INPUT || cType != SQL_C_WCHAR) Fail(Err::kNotImplemented);
        if (number == 0) Fail(Err::kColumnNumber);
        statement.BindParameter(number, {size, static_cast<const SQLWCHAR*>(value), indicator});
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLBindCol(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER value, SQLLEN bytes,
                      SQLLEN* indicator) {
    return Call<Statement>(stmt, [&](Statement& statement) -> SQLRETURN {
        if (cType != SQL_C_WCHAR && cType != SQL_C_SBIGINT) Fail(Err::kNotImplemented);
        if (value == nullptr) {
            statement.UnbindColumn(number);
        } else {
            statement.BindColumn(number, {cType, value, bytes, indicator});
        }
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLFetch(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) {
        statement.Owner().Count(Point::kFetch);
        return statement.Fetch();
    });
}

ODBC_ENTRY SQLMoreResults(SQLHSTMT stmt) {
    return Call<Statement>(stmt, [](Statement& statement) { return statement.MoreResults(); });
}

ODBC_ENTRY SQLFreeStmt(SQLHSTMT stmt, SQLUSMALLINT option) {
    return Call<Statement>(stmt, [&](Statement& statement) -> SQLRETURN {
        if (option != SQL_CLOSE) Fail(Err::kNotImplemented);
        statement.Close();
        return SQL_SUCCESS;
    });
}
