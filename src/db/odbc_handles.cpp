#include "db/odbc_handles.h"

#include <cwchar>
#include <string_view>

#include "text/text.h"

namespace {

// Appends a driver's message so that it stays in one line: a break and the blanks on both sides of it are one
// blank.
void AppendInOneLine(std::wstring& text, std::wstring_view message) {
    bool afterBreak = false;
    for (const wchar_t unit : TrimView(message)) {
        const bool isBreak = unit >= L'\t' && unit <= L'\r';
        if (isBreak && !afterBreak) {
            while (text.back() == L' ') text.pop_back();
            text += L' ';
        }
        if (!isBreak && !(afterBreak && unit == L' ')) text += unit;
        afterBreak = isBreak || (afterBreak && unit == L' ');
    }
}

}  // namespace

std::wstring OdbcDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
    constexpr SQLSMALLINT kMostRecords = 6;
    constexpr SQLSMALLINT kMessageUnits = 1024;
    std::wstring text;
    SQLWCHAR state[6];
    SQLWCHAR message[kMessageUnits];
    for (SQLSMALLINT record = 1; record <= kMostRecords; ++record) {
        SQLINTEGER nativeError = 0;
        SQLSMALLINT length = 0;
        state[0] = message[0] = L'\0';
        const SQLRETURN result =
            SQLGetDiagRecW(handleType, handle, record, state, &nativeError, message, kMessageUnits, &length);
        if (result == SQL_NO_DATA) break;
        if (!OdbcSucceeded(result)) continue;
        if (!text.empty()) text += L" | ";
        text.append(state, wcsnlen(state, 5)).append(L": ");
        AppendInOneLine(text, {message, wcsnlen(message, kMessageUnits)});
    }
    return text.empty() ? L"ODBC 未返回详细错误" : text;
}

void RequireSuccess(SQLRETURN result, SQLHSTMT statement) {
    if (!OdbcSucceeded(result)) throw RuntimeError(OdbcDiagnostics(SQL_HANDLE_STMT, statement));
}

bool IsConnectionDead(SQLHDBC connection) noexcept {
    SQLUINTEGER dead = SQL_CD_FALSE;
    const SQLRETURN result =
        SQLGetConnectAttrW(connection, SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
    return OdbcSucceeded(result) && dead == SQL_CD_TRUE;
}
