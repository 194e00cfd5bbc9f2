#include "bench/null_odbc.h"

#include <cstring>
#include <string_view>

#include "db/odbc_handles.h"

namespace {

constexpr int kMostColumns = 7;

struct Statement {
    std::int64_t number = 0;  // of an answer that is one
    bool isNumber = false;
    int rows = 0;
    void* buffers[kMostColumns] = {};
    SQLLEN* indicators[kMostColumns] = {};
};

bool inTransaction = false;

// Before the repair an old ID is there once and a new one nowhere; after it, the reverse. New IDs are the
// numbers that begin with 9 and the GUIDs, which begin with a brace.
std::int64_t CountFor(std::wstring_view sql) {
    if (sql.find(L"UPDLOCK") != sql.npos) return 1;
    if (sql.find(L"CAST(") != sql.npos) return inTransaction ? 0 : 1;
    const wchar_t first = sql[sql.rfind(L"N'") + 2];
    const bool isNew = first == L'9' || first == L'{';
    return isNew == inTransaction ? 1 : 0;
}

void Answer(Statement& statement, std::wstring_view sql) {
    const bool isCount = sql.starts_with(L"SELECT COUNT_BIG");
    statement.isNumber = isCount || sql.starts_with(L"SELECT MAX");
    statement.rows = 1;
    if (statement.isNumber) statement.number = isCount ? CountFor(sql) : 90'000'000;
    if (sql.starts_with(L"SELECT name")) statement.rows = 3;
    if (sql.starts_with(L"SELECT TABLE_SCHEMA")) statement.rows = 12;
    if (sql.starts_with(L"SELECT DISTINCT")) statement.rows = nullDuplicates;
}

// Of a character's texts the ID and the two accounts are long, the two names and servers short.
void PutTexts(Statement& statement) {
    static const wchar_t kLong[] = L"10000000", kShort[] = L"1000000";
    for (int column = 0; column < kMostColumns; ++column) {
        if (!statement.buffers[column]) continue;
        const bool isLong = column == 0 || column == 2 || column == 5;
        std::memcpy(statement.buffers[column], isLong ? kLong : kShort,
                    isLong ? sizeof kLong : sizeof kShort);
        *statement.indicators[column] = SQL_NTS;
    }
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE, SQLHANDLE* handle) {
    static Statement statement;  // one at a time is all that is ever open
    if (kind == SQL_HANDLE_STMT) statement = {};
    *handle = &statement;
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT, SQLHANDLE) {
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) {
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC, SQLHWND, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT,
                                    SQLSMALLINT*, SQLUSMALLINT) {
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLDisconnect(SQLHDBC) {
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER value, SQLINTEGER) {
    inTransaction = reinterpret_cast<SQLULEN>(value) == SQL_AUTOCOMMIT_OFF;
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLEndTran(SQLSMALLINT, SQLHANDLE, SQLSMALLINT) {
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* sql, SQLINTEGER) {
    Answer(*static_cast<Statement*>(statement), sql);
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLBindCol(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT, SQLPOINTER buffer, SQLLEN,
                             SQLLEN* indicator) {
    static_cast<Statement*>(statement)->buffers[column - 1] = buffer;
    static_cast<Statement*>(statement)->indicators[column - 1] = indicator;
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLFetch(SQLHSTMT handle) {
    auto& statement = *static_cast<Statement*>(handle);
    if (statement.rows-- == 0) return SQL_NO_DATA;
    if (!statement.isNumber) {
        PutTexts(statement);
        return SQL_SUCCESS;
    }
    std::memcpy(statement.buffers[0], &statement.number, sizeof statement.number);
    *statement.indicators[0] = sizeof statement.number;
    return SQL_SUCCESS;
}

// Needed only to link: nothing fails here.
SQLRETURN SQL_API SQLGetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER, SQLINTEGER, SQLINTEGER*) {
    return SQL_ERROR;
}
SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE, SQLSMALLINT, SQLWCHAR*, SQLINTEGER*, SQLWCHAR*,
                                 SQLSMALLINT, SQLSMALLINT*) {
    return SQL_NO_DATA;
}
}
