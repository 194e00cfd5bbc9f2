#include "db/odbc_statement.h"

#include <cwchar>
#include <span>

#include "text/text.h"

namespace {

// No row can follow: the connection is gone, or the driver has closed the cursor after an error (24000,
// HY010).
bool CanNeverEnd(SQLHDBC connection, SQLHSTMT statement) {
    if (IsConnectionDead(connection)) return true;
    SQLWCHAR state[6] = {};
    SQLINTEGER nativeError = 0;
    SQLSMALLINT length = 0;
    if (!OdbcSucceeded(
            SQLGetDiagRecW(SQL_HANDLE_STMT, statement, 1, state, &nativeError, nullptr, 0, &length))) {
        return false;
    }
    const std::wstring_view text(state);
    return text == L"24000" || text == L"HY010";
}

}  // namespace

OdbcStatement ExecuteDirect(SQLHDBC connection, const std::wstring& sql, bool keepStatement) {
    OdbcStatement statement = AllocateStatement(connection);
    if (!statement) throw RuntimeError("ODBC 语句句柄初始化失败");
    RequireSuccess(SQLExecDirectW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS), statement.Get());
    return keepStatement ? std::move(statement) : OdbcStatement();
}

std::int64_t QueryInt64(SQLHDBC connection, const std::wstring& sql) {
    const OdbcStatement statement = ExecuteDirect(connection, sql, true);
    std::int64_t value = 0;
    SQLLEN indicator = SQL_NULL_DATA;
    RequireSuccess(SQLBindCol(statement.Get(), 1, SQL_C_SBIGINT, &value, sizeof value, &indicator),
                   statement.Get());
    const bool found = FetchCompleteRow(statement.Get());
    return found && indicator != SQL_NULL_DATA ? value : 0;
}

SQLRETURN FetchRow(SQLHDBC connection, SQLHSTMT statement) {
    const SQLRETURN result = SQLFetch(statement);
    if (OdbcSucceeded(result) || result == SQL_NO_DATA) return result;
    std::wstring diagnostics = OdbcDiagnostics(SQL_HANDLE_STMT, statement);
    if (result == SQL_INVALID_HANDLE || CanNeverEnd(connection, statement)) throw RuntimeError(diagnostics);
    return result;
}

bool FetchCompleteRow(SQLHSTMT statement) {
    const SQLRETURN result = SQLFetch(statement);
    if (result == SQL_NO_DATA) return false;
    RequireSuccess(result, statement);
    return true;
}

TextColumns::TextColumns(SQLHSTMT statement, size_t count) : count_(count) {
    Clear();
    SQLUSMALLINT number = 0;
    for (Column& column : std::span(columns_).first(count_)) {
        RequireSuccess(
            SQLBindCol(statement, ++number, SQL_C_WCHAR, column.text, sizeof column.text, &column.indicator),
            statement);
    }
}

void TextColumns::Clear() noexcept {
    for (Column& column : std::span(columns_).first(count_)) {
        column.text[0] = L'\0';
        column.indicator = SQL_NULL_DATA;
    }
}

std::wstring_view TextColumns::Text(size_t column) const noexcept {
    if (IsNull(column)) return {};
    const Column& bound = columns_[column];
    return std::wstring_view(bound.text, wcsnlen(bound.text, kUnits));
}
