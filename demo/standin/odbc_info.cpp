// The calls that tell: diagnostics, attributes, results, information about the driver.

#include <algorithm>
#include <iterator>

#include "odbc_call.h"

using namespace standin;

namespace {

constexpr SQLUSMALLINT kFunctions[] = {
    SQL_API_SQLALLOCHANDLE,   SQL_API_SQLBINDCOL,        SQL_API_SQLBINDPARAMETER, SQL_API_SQLDISCONNECT,
    SQL_API_SQLDRIVERCONNECT, SQL_API_SQLENDTRAN,        SQL_API_SQLEXECDIRECT,    SQL_API_SQLEXECUTE,
    SQL_API_SQLFETCH,         SQL_API_SQLFREEHANDLE,     SQL_API_SQLFREESTMT,      SQL_API_SQLGETCONNECTATTR,
    SQL_API_SQLGETDIAGFIELD,  SQL_API_SQLGETDIAGREC,     SQL_API_SQLGETFUNCTIONS,  SQL_API_SQLGETINFO,
    SQL_API_SQLGETSTMTATTR,   SQL_API_SQLMORERESULTS,    SQL_API_SQLNUMRESULTCOLS, SQL_API_SQLPREPARE,
    SQL_API_SQLROWCOUNT,      SQL_API_SQLSETCONNECTATTR, SQL_API_SQLSETENVATTR};

/// The record of a number, from 1; nothing behind the last one.
const DiagRecord* RecordAt(const Handle& handle, SQLSMALLINT number) {
    const auto index = static_cast<std::size_t>(number) - 1;
    return index < handle.Records().size() ? &handle.Records()[index] : nullptr;
}

}  // namespace

ODBC_ENTRY SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native,
                          SQLWCHAR* text, SQLSMALLINT size, SQLSMALLINT* length) {
    const auto body = [&](const Handle& handle) -> SQLRETURN {
        if (number < 1 || size < 0) return SQL_ERROR;
        const DiagRecord* record = RecordAt(handle, number);
        if (record == nullptr) return SQL_NO_DATA;
        GiveText<SQLSMALLINT>(record->state, state, 6, nullptr, 1);
        GiveNumber(static_cast<SQLINTEGER>(record->native), native);
        return GiveText(record->text, text, size, length, 1);
    };
    return Call<Handle>(raw, body, OldRecords::kKeep);
}

ODBC_ENTRY SQLGetDiagFieldW(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT number, SQLSMALLINT field, SQLPOINTER out,
                            SQLSMALLINT size, SQLSMALLINT* length) {
    const auto body = [&](const Handle& handle) -> SQLRETURN {
        if (field == SQL_DIAG_NUMBER) {
            return GiveNumber(static_cast<SQLINTEGER>(handle.Records().size()), out);
        }
        const DiagRecord* record = RecordAt(handle, number);
        if (record == nullptr) return SQL_NO_DATA;
        switch (field) {
            case SQL_DIAG_SQLSTATE:
                return GiveText(record->state, out, size, length, 2);
            case SQL_DIAG_NATIVE:
                return GiveNumber(static_cast<SQLINTEGER>(record->native), out);
            case SQL_DIAG_MESSAGE_TEXT:
                return GiveText(record->text, out, size, length, 2);
            default:
                return SQL_ERROR;
        }
    };
    return Call<Handle>(raw, body, OldRecords::kKeep);
}

ODBC_ENTRY SQLSetEnvAttr(SQLHENV env, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return Call<Environment>(env, [](Environment&) -> SQLRETURN { return SQL_SUCCESS; });
}

ODBC_ENTRY SQLGetConnectAttrW(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
    return Call<Connection>(dbc, [&](const Connection& connection) -> SQLRETURN {
        const bool manual = connection.IsManual(), dead = connection.IsDead();
        switch (attribute) {
            case SQL_ATTR_AUTOCOMMIT:
                return GiveNumber(static_cast<SQLUINTEGER>(manual ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON),
                                  value);
            case SQL_ATTR_CONNECTION_DEAD:
                return GiveNumber(static_cast<SQLUINTEGER>(dead ? SQL_CD_TRUE : SQL_CD_FALSE), value);
            default:
                Fail(Err::kNotImplemented);
        }
    });
}

/// The driver manager asks for the implicit descriptors, and looks into none of them.
ODBC_ENTRY SQLGetStmtAttrW(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
    return Call<Statement>(stmt, [&](Statement& statement) -> SQLRETURN {
        const bool descriptor = attribute >= SQL_ATTR_APP_ROW_DESC && attribute <= SQL_ATTR_IMP_PARAM_DESC;
        if (!descriptor) Fail(Err::kNotImplemented);
        return GiveNumber(static_cast<SQLPOINTER>(&statement), value);
    });
}

ODBC_ENTRY SQLNumResultCols(SQLHSTMT stmt, SQLSMALLINT* count) {
    return Call<Statement>(
        stmt, [&](const Statement& statement) { return GiveNumber(statement.ColumnCount(), count); });
}

ODBC_ENTRY SQLRowCount(SQLHSTMT stmt, SQLLEN* count) {
    return Call<Statement>(
        stmt, [&](const Statement& statement) { return GiveNumber(statement.RowCount(), count); });
}

ODBC_ENTRY SQLGetInfoW(SQLHDBC dbc, SQLUSMALLINT what, SQLPOINTER out, SQLSMALLINT size,
                       SQLSMALLINT* length) {
    return Call<Connection>(dbc, [&](const Connection&) -> SQLRETURN {
        switch (what) {
            case SQL_DRIVER_ODBC_VER:
                return GiveText("03.51", out, size, length, 2);
            case SQL_CURSOR_COMMIT_BEHAVIOR:
            case SQL_CURSOR_ROLLBACK_BEHAVIOR:
                return GiveNumber(SQLUSMALLINT{SQL_CB_CLOSE}, out);
            default:
                Fail(Err::kNotImplemented);
        }
    });
}

ODBC_ENTRY SQLGetFunctions(SQLHDBC dbc, SQLUSMALLINT function, SQLUSMALLINT* supported) {
    return Call<Connection>(dbc, [&](const Connection&) -> SQLRETURN {
        if (function == SQL_API_ODBC3_ALL_FUNCTIONS) {
            std::fill_n(supported, SQL_API_ODBC3_ALL_FUNCTIONS_SIZE, SQLUSMALLINT{0});
            for (const SQLUSMALLINT id : kFunctions) {
                supported[id >> 4] = static_cast<SQLUSMALLINT>(supported[id >> 4] | (1 << (id & 0xF)));
            }
            return SQL_SUCCESS;
        }
        if (function == SQL_API_ALL_FUNCTIONS) Fail(Err::kNotImplemented);
        *supported = std::ranges::count(kFunctions, function) > 0 ? SQL_TRUE : SQL_FALSE;
        return SQL_SUCCESS;
    });
}
