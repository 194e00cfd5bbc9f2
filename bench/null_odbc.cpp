#include "bench/null_odbc.h"

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "db/odbc_handles.h"

namespace {

constexpr int kMostColumns = 7;

enum class Answer { Nothing, Number, Databases, Columns, Duplicates };

struct Statement {
    Answer answer = Answer::Nothing;
    std::int64_t number = 0;
    int rows = 0;
    int next = 0;
    void* buffers[kMostColumns] = {};
    SQLLEN* indicators[kMostColumns] = {};
};

bool inTransaction = false;

void Note(std::wstring_view event) {
    if (nullEvents) nullEvents->emplace_back(event);
}

// Before the repair an old ID is there once and a new one nowhere; after it, the reverse. New IDs are the
// numbers that begin with 9 and the GUIDs, which begin with a brace.
std::int64_t CountFor(std::wstring_view sql) {
    const bool locked = sql.find(L"UPDLOCK") != std::wstring_view::npos;
    if (locked) return 1;
    if (sql.find(L"CAST(") != std::wstring_view::npos) return inTransaction ? 0 : 1;
    const wchar_t first = sql[sql.rfind(L"N'") + 2];
    const bool isNew = first == L'9' || first == L'{';
    return isNew == inTransaction ? 1 : 0;
}

void Prepare(Statement& statement, std::wstring_view sql) {
    statement.next = 0;
    statement.rows = 1;
    if (sql.starts_with(L"SELECT COUNT_BIG")) {
        statement.answer = Answer::Number;
        statement.number = CountFor(sql);
    } else if (sql.starts_with(L"SELECT MAX")) {
        statement.answer = Answer::Number;
        statement.number = 90'000'000;
    } else if (sql.starts_with(L"SELECT name")) {
        statement.answer = Answer::Databases;
        statement.rows = 3;
    } else if (sql.starts_with(L"SELECT TABLE_SCHEMA")) {
        statement.answer = Answer::Columns;
        statement.rows = 12;
    } else if (sql.starts_with(L"SELECT DISTINCT")) {
        statement.answer = Answer::Duplicates;
        statement.rows = nullDuplicates;
    } else {
        statement.answer = Answer::Nothing;
    }
}

void Put(Statement& statement, int column, const wchar_t* text) {
    if (!statement.buffers[column]) return;
    std::memcpy(statement.buffers[column], text, (std::wcslen(text) + 1) * sizeof(wchar_t));
    *statement.indicators[column] = SQL_NTS;
}

void PutRow(Statement& statement, int row) {
    switch (statement.answer) {
        case Answer::Number:
            std::memcpy(statement.buffers[0], &statement.number, sizeof statement.number);
            *statement.indicators[0] = sizeof statement.number;
            break;
        case Answer::Databases:
            Put(statement, 0, L"GameZone1");
            break;
        case Answer::Columns:
            Put(statement, 0, L"dbo");
            Put(statement, 1, L"TBL_ITEM_OF_CHARACTER");
            Put(statement, 2, L"FLD_USERID");
            Put(statement, 3, L"nvarchar");
            break;
        default: {
            wchar_t id[] = L"10000000";
            for (int digit = 7; row > 0; --digit, row /= 10)
                id[digit] = static_cast<wchar_t>(L'0' + row % 10);
            // The ID, then name, account and server on either side; only IDs and accounts are long.
            const wchar_t* const texts[] = {id, id + 1, id, L"1", id + 1, id, L"1"};
            for (int column = 0; column < kMostColumns; ++column) Put(statement, column, texts[column]);
        }
    }
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE, SQLHANDLE* handle) {
    static Statement statement;  // one at a time is all that is ever open
    static char other;
    if (kind == SQL_HANDLE_STMT) statement = {};
    *handle = kind == SQL_HANDLE_STMT ? static_cast<SQLHANDLE>(&statement) : &other;
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
    Note(L"connect");
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLDisconnect(SQLHDBC) {
    Note(L"disconnect");
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER value, SQLINTEGER) {
    inTransaction = reinterpret_cast<SQLULEN>(value) == SQL_AUTOCOMMIT_OFF;
    Note(inTransaction ? L"manual" : L"auto");
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLGetConnectAttrW(SQLHDBC, SQLINTEGER, SQLPOINTER, SQLINTEGER, SQLINTEGER*) {
    return SQL_ERROR;
}
SQLRETURN SQL_API SQLEndTran(SQLSMALLINT, SQLHANDLE, SQLSMALLINT completion) {
    Note(completion == SQL_COMMIT ? L"commit" : L"rollback");
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* sql, SQLINTEGER) {
    Prepare(*static_cast<Statement*>(statement), sql);
    if (nullEvents) Note(std::wstring(L"execute ") + sql);
    return SQL_SUCCESS;
}
// Needed only to link: nothing that is measured here prepares a statement.
SQLRETURN SQL_API SQLPrepareW(SQLHSTMT, SQLWCHAR*, SQLINTEGER) {
    return SQL_ERROR;
}
SQLRETURN SQL_API SQLBindParameter(SQLHSTMT, SQLUSMALLINT, SQLSMALLINT, SQLSMALLINT, SQLSMALLINT, SQLULEN,
                                   SQLSMALLINT, SQLPOINTER, SQLLEN, SQLLEN*) {
    return SQL_ERROR;
}
SQLRETURN SQL_API SQLExecute(SQLHSTMT) {
    return SQL_ERROR;
}
SQLRETURN SQL_API SQLBindCol(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT, SQLPOINTER buffer, SQLLEN,
                             SQLLEN* indicator) {
    static_cast<Statement*>(statement)->buffers[column - 1] = buffer;
    static_cast<Statement*>(statement)->indicators[column - 1] = indicator;
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLFetch(SQLHSTMT handle) {
    auto& statement = *static_cast<Statement*>(handle);
    if (statement.next == statement.rows) return SQL_NO_DATA;
    PutRow(statement, statement.next++);
    return SQL_SUCCESS;
}
SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT, SQLHANDLE, SQLSMALLINT, SQLWCHAR*, SQLINTEGER*, SQLWCHAR*,
                                 SQLSMALLINT, SQLSMALLINT*) {
    return SQL_NO_DATA;
}
}
