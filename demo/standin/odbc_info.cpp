// The calls that tell: diagnostics, attributes, descriptions of columns, information about the driver.

#include <algorithm>

#include "odbc_call.h"

using namespace standin;

namespace {

constexpr SQLINTEGER kLiveHandles = 0x4A01;  // and the two behind it: environments, connections, statements

constexpr SQLUSMALLINT kFunctions[] = {
    SQL_API_SQLALLOCHANDLE,    SQL_API_SQLBINDCOL,        SQL_API_SQLBINDPARAMETER, SQL_API_SQLCANCEL,
    SQL_API_SQLCLOSECURSOR,    SQL_API_SQLCOLATTRIBUTE,   SQL_API_SQLDESCRIBECOL,   SQL_API_SQLDISCONNECT,
    SQL_API_SQLDRIVERCONNECT,  SQL_API_SQLENDTRAN,        SQL_API_SQLEXECDIRECT,    SQL_API_SQLEXECUTE,
    SQL_API_SQLFETCH,          SQL_API_SQLFETCHSCROLL,    SQL_API_SQLFREEHANDLE,    SQL_API_SQLFREESTMT,
    SQL_API_SQLGETCONNECTATTR, SQL_API_SQLGETDATA,        SQL_API_SQLGETDIAGFIELD,  SQL_API_SQLGETDIAGREC,
    SQL_API_SQLGETENVATTR,     SQL_API_SQLGETFUNCTIONS,   SQL_API_SQLGETINFO,       SQL_API_SQLGETSTMTATTR,
    SQL_API_SQLMORERESULTS,    SQL_API_SQLNUMPARAMS,      SQL_API_SQLNUMRESULTCOLS, SQL_API_SQLPREPARE,
    SQL_API_SQLROWCOUNT,       SQL_API_SQLSETCONNECTATTR, SQL_API_SQLSETENVATTR,    SQL_API_SQLSETSTMTATTR};

const ResultColumn& ColumnAt(StatementHandle& statement, SQLUSMALLINT number) {
    const auto& columns = statement.Columns();
    if (number == 0 || number > columns.size()) FailInDriver("07009", "Invalid Descriptor Index");
    return columns[number - 1U];
}

SQLULEN SizeOf(const Type& type) {
    const bool counted = IsText(type) || ClassOf(type.id) == TypeClass::kDecimal;
    return static_cast<SQLULEN>(counted ? std::max(type.length, 0) : DisplaySizeOf(type));
}

}  // namespace

ODBC_ENTRY SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT number, SQLWCHAR* state, SQLINTEGER* native,
                          SQLWCHAR* text, SQLSMALLINT size, SQLSMALLINT* length) {
    if (raw == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
    const auto& records = static_cast<Handle*>(raw)->Records();
    if (number < 1 || size < 0) return SQL_ERROR;
    if (static_cast<std::size_t>(number) > records.size()) return SQL_NO_DATA;
    const DiagRecord& record = records[static_cast<std::size_t>(number) - 1];
    if (state != nullptr) WriteWide<SQLSMALLINT>(record.state, state, 6, nullptr, 1);
    if (native != nullptr) *native = record.native;
    return WriteWide(record.text, text, size, length, 1);
}

ODBC_ENTRY SQLGetDiagFieldW(SQLSMALLINT, SQLHANDLE raw, SQLSMALLINT number, SQLSMALLINT field, SQLPOINTER out,
                            SQLSMALLINT size, SQLSMALLINT* length) {
    if (raw == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
    const Handle& handle = *static_cast<Handle*>(raw);
    if (field == SQL_DIAG_NUMBER) return GiveNumber(static_cast<SQLINTEGER>(handle.Records().size()), out);
    if (field == SQL_DIAG_ROW_COUNT && handle.Kind() == HandleKind::kStatement) {
        return GiveNumber(static_cast<const StatementHandle&>(handle).RowCount(), out);
    }
    if (number < 1) return SQL_ERROR;
    if (static_cast<std::size_t>(number) > handle.Records().size()) return SQL_NO_DATA;
    const DiagRecord& record = handle.Records()[static_cast<std::size_t>(number) - 1];
    const auto give = [&](std::string_view value) { return WriteWide(value, out, size, length, 2); };
    switch (field) {
        case SQL_DIAG_SQLSTATE:
            return give(record.state);
        case SQL_DIAG_NATIVE:
            return GiveNumber(static_cast<SQLINTEGER>(record.native), out);
        case SQL_DIAG_MESSAGE_TEXT:
            return give(record.text);
        case SQL_DIAG_CLASS_ORIGIN:
            return give(record.state.starts_with("IM") ? "ODBC 3.0" : "ISO 9075");
        case SQL_DIAG_SUBCLASS_ORIGIN:
            return give("ODBC 3.0");
        case SQL_DIAG_CONNECTION_NAME:
        case SQL_DIAG_SERVER_NAME:
            return give("");
        case SQL_DIAG_ROW_NUMBER:
            return GiveNumber(SQLLEN{SQL_NO_ROW_NUMBER}, out);
        case SQL_DIAG_COLUMN_NUMBER:
            return GiveNumber(SQLINTEGER{SQL_NO_COLUMN_NUMBER}, out);
        default:
            return SQL_ERROR;
    }
}

ODBC_ENTRY SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}

ODBC_ENTRY SQLGetEnvAttr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
    return Call<Environment>(env, [&](Environment&) -> SQLRETURN {
        if (attribute != SQL_ATTR_ODBC_VERSION) FailInDriver("HYC00", "Optional feature not implemented");
        return GiveNumber(SQLINTEGER{SQL_OV_ODBC3}, value);
    });
}

ODBC_ENTRY SQLGetConnectAttrW(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size,
                              SQLINTEGER* length) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        switch (attribute) {
            case SQL_ATTR_AUTOCOMMIT:
                return GiveNumber(
                    static_cast<SQLUINTEGER>(connection.IsManual() ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON),
                    value);
            case SQL_ATTR_CONNECTION_DEAD:
                return GiveNumber(static_cast<SQLUINTEGER>(connection.IsDead() ? SQL_CD_TRUE : SQL_CD_FALSE),
                                  value);
            case SQL_ATTR_CURRENT_CATALOG:
                return GiveText(connection, connection.Open().Names().CurrentDatabase(), value, size, length,
                                2);
            case kLiveHandles:
            case kLiveHandles + 1:
            case kLiveHandles + 2:
                return GiveNumber(CountHandles(static_cast<HandleKind>(attribute - kLiveHandles)), value);
            default:
                FailInDriver("HYC00", "Optional feature not implemented");
        }
    });
}

ODBC_ENTRY SQLSetStmtAttrW(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        const auto number = reinterpret_cast<SQLULEN>(value);
        const bool onlyOne = attribute == SQL_ATTR_ROW_ARRAY_SIZE || attribute == SQL_ATTR_PARAMSET_SIZE;
        const bool onlyNone = attribute == SQL_ATTR_CURSOR_TYPE || attribute == SQL_ATTR_ROW_BIND_TYPE ||
                              attribute == SQL_ATTR_ROWS_FETCHED_PTR ||
                              attribute == SQL_ATTR_ROW_STATUS_PTR ||
                              attribute == SQL_ATTR_ROW_BIND_OFFSET_PTR || attribute == SQL_ATTR_MAX_ROWS;
        if ((onlyOne && number != 1) || (onlyNone && number != 0)) {
            FailInDriver("HYC00", "Optional feature not implemented");
        }
        statement.attributes[attribute] = number;
        return SQL_SUCCESS;
    });
}

ODBC_ENTRY SQLGetStmtAttrW(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        const bool descriptor = attribute >= SQL_ATTR_APP_ROW_DESC && attribute <= SQL_ATTR_IMP_PARAM_DESC;
        if (descriptor) {
            return GiveNumber(
                static_cast<SQLPOINTER>(&statement.descriptors[attribute - SQL_ATTR_APP_ROW_DESC]), value);
        }
        const auto found = statement.attributes.find(attribute);
        const bool onlyOne = attribute == SQL_ATTR_ROW_ARRAY_SIZE || attribute == SQL_ATTR_PARAMSET_SIZE;
        return GiveNumber(found != statement.attributes.end() ? found->second : SQLULEN{onlyOne}, value);
    });
}

ODBC_ENTRY SQLNumResultCols(SQLHSTMT stmt, SQLSMALLINT* count) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) {
        return GiveNumber(static_cast<SQLSMALLINT>(statement.Columns().size()), count);
    });
}

ODBC_ENTRY SQLNumParams(SQLHSTMT stmt, SQLSMALLINT* count) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) {
        return GiveNumber(static_cast<SQLSMALLINT>(statement.ParameterCount()), count);
    });
}

ODBC_ENTRY SQLRowCount(SQLHSTMT stmt, SQLLEN* count) {
    return Call<StatementHandle>(
        stmt, [&](StatementHandle& statement) { return GiveNumber(statement.RowCount(), count); });
}

ODBC_ENTRY SQLDescribeColW(SQLHSTMT stmt, SQLUSMALLINT number, SQLWCHAR* name, SQLSMALLINT nameSize,
                           SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                           SQLSMALLINT* nullable) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) {
        const ResultColumn& column = ColumnAt(statement, number);
        GiveNumber(static_cast<SQLSMALLINT>(OdbcTypeOf(column.type.id)), type);
        GiveNumber(SizeOf(column.type), size);
        GiveNumber(static_cast<SQLSMALLINT>(column.type.scale), digits);
        GiveNumber(SQLSMALLINT{SQL_NULLABLE_UNKNOWN}, nullable);
        return GiveText(statement, column.name, name, nameSize, nameLength, 1);
    });
}

ODBC_ENTRY SQLColAttributeW(SQLHSTMT stmt, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                            SQLSMALLINT size, SQLSMALLINT* length, SQLLEN* numeric) {
    return Call<StatementHandle>(stmt, [&](StatementHandle& statement) -> SQLRETURN {
        if (field == SQL_DESC_COUNT) {
            return GiveNumber(static_cast<SQLLEN>(statement.Columns().size()), numeric);
        }
        const ResultColumn& column = ColumnAt(statement, number);
        const auto give = [&](std::int64_t value) { return GiveNumber(static_cast<SQLLEN>(value), numeric); };
        switch (field) {
            case SQL_DESC_NAME:
            case SQL_DESC_LABEL:
            case SQL_COLUMN_NAME:
                return GiveText(statement, column.name, text, size, length, 2);
            case SQL_DESC_TYPE_NAME:
                return GiveText(statement, NameOf(column.type.id), text, size, length, 2);
            case SQL_DESC_TYPE:
            case SQL_DESC_CONCISE_TYPE:
                return give(OdbcTypeOf(column.type.id));
            case SQL_DESC_LENGTH:
            case SQL_COLUMN_LENGTH:
            case SQL_DESC_PRECISION:
                return give(static_cast<std::int64_t>(SizeOf(column.type)));
            case SQL_DESC_OCTET_LENGTH:
                return give(ByteSizeOf(column.type));
            case SQL_DESC_DISPLAY_SIZE:
                return give(DisplaySizeOf(column.type));
            case SQL_DESC_SCALE:
                return give(column.type.scale);
            case SQL_DESC_NULLABLE:
                return give(SQL_NULLABLE_UNKNOWN);
            case SQL_DESC_UNSIGNED:
                return give(column.type.id == TypeId::kTinyInt ? SQL_TRUE : SQL_FALSE);
            default:
                FailInDriver("HY091", "Invalid descriptor field identifier");
        }
    });
}

ODBC_ENTRY SQLGetInfoW(SQLHDBC dbc, SQLUSMALLINT what, SQLPOINTER out, SQLSMALLINT size,
                       SQLSMALLINT* length) {
    return Call<Connection>(dbc, [&](Connection& connection) -> SQLRETURN {
        const auto give = [&](std::string_view text) {
            return GiveText(connection, text, out, size, length, 2);
        };
        switch (what) {
            case SQL_DBMS_NAME:
                return give("Microsoft SQL Server");
            case SQL_DBMS_VER:
                return give("15.00.0000");
            case SQL_DRIVER_NAME:
                return give("libsqlserver_standin.so");
            case SQL_DRIVER_VER:
                return give("01.00.0000");
            case SQL_DRIVER_ODBC_VER:
                return give("03.51");
            case SQL_IDENTIFIER_QUOTE_CHAR:
                return give("\"");
            case SQL_SEARCH_PATTERN_ESCAPE:
                return give("\\");
            case SQL_DATA_SOURCE_READ_ONLY:
                return give("N");
            case SQL_SERVER_NAME:
                return give(connection.Account().server);
            case SQL_USER_NAME:
                return give(connection.Account().user);
            case SQL_DATABASE_NAME:
                return give(connection.Open().Names().CurrentDatabase());
            case SQL_CURSOR_COMMIT_BEHAVIOR:
            case SQL_CURSOR_ROLLBACK_BEHAVIOR:
                return GiveNumber(SQLUSMALLINT{SQL_CB_CLOSE}, out);
            case SQL_TXN_CAPABLE:
                return GiveNumber(SQLUSMALLINT{SQL_TC_ALL}, out);
            case SQL_MAX_CONCURRENT_ACTIVITIES:
                return GiveNumber(SQLUSMALLINT{1}, out);
            case SQL_GETDATA_EXTENSIONS:
                return GiveNumber(SQLUINTEGER{SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BOUND}, out);
            case SQL_SCROLL_OPTIONS:
                return GiveNumber(SQLUINTEGER{SQL_SO_FORWARD_ONLY}, out);
            default:
                FailInDriver("HY096", "Information type out of range");
        }
    });
}

ODBC_ENTRY SQLGetFunctions(SQLHDBC dbc, SQLUSMALLINT function, SQLUSMALLINT* supported) {
    return Call<Connection>(dbc, [&](Connection&) -> SQLRETURN {
        const auto has = [](SQLUSMALLINT id) {
            return std::find(std::begin(kFunctions), std::end(kFunctions), id) != std::end(kFunctions);
        };
        if (function == SQL_API_ODBC3_ALL_FUNCTIONS) {
            std::fill_n(supported, SQL_API_ODBC3_ALL_FUNCTIONS_SIZE, SQLUSMALLINT{0});
            for (const SQLUSMALLINT id : kFunctions) {
                supported[id >> 4] = static_cast<SQLUSMALLINT>(supported[id >> 4] | (1 << (id & 0xF)));
            }
        } else if (function == SQL_API_ALL_FUNCTIONS) {
            for (SQLUSMALLINT id = 0; id < 100; ++id) supported[id] = has(id) ? SQL_TRUE : SQL_FALSE;
        } else {
            *supported = has(function) ? SQL_TRUE : SQL_FALSE;
        }
        return SQL_SUCCESS;
    });
}
