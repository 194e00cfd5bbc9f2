#include "account_query/account_text.h"

#include "account_query/query_settings.h"

namespace {

// One type for all character columns, text and ntext included, that LIKE accepts and the client can read.
std::wstring CastColumn(const std::wstring& column) {
    return L"CAST(" + column + L" AS NVARCHAR(128))";
}

std::wstring MatchingRows(const std::wstring& table, const std::wstring& column) {
    return L" FROM " + table + L" WHERE " + CastColumn(column) + L" LIKE ? ESCAPE N'\\'";
}

}  // namespace

std::wstring EscapeLikePattern(std::wstring_view text) {
    constexpr std::wstring_view kSpecial = L"\\%_[]";
    std::wstring escaped;
    escaped.reserve(text.size());
    for (const wchar_t unit : text) {
        if (kSpecial.find(unit) != std::wstring_view::npos) escaped += L'\\';
        escaped += unit;
    }
    return escaped;
}

std::wstring ContainsPattern(std::wstring_view keyword) {
    return L"%" + EscapeLikePattern(keyword) + L"%";
}

std::wstring TextColumnsSql() {
    return L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS "
           L"WHERE DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar',N'text',N'ntext')   "
           L"AND TABLE_SCHEMA NOT IN (N'sys',N'INFORMATION_SCHEMA') "
           L"ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION";
}

std::wstring ProbeAccountSql(const std::wstring& table, const std::wstring& column) {
    return L"SELECT TOP (1) " + CastColumn(column) + MatchingRows(table, column);
}

std::wstring SearchAccountsSql(const std::wstring& table, const std::wstring& column, int maxResults) {
    return L"SELECT TOP (" + std::to_wstring(ClampMaxResults(maxResults)) + L") " + CastColumn(column) +
           L" AS account" + MatchingRows(table, column) + L" ORDER BY " + column + L" ASC";
}

std::wstring MaskAccountName(std::wstring_view name) {
    std::wstring masked(name);
    if (masked.size() <= 2) return masked.assign(masked.size(), L'*');
    const size_t middle = (masked.size() + 1) / 2;
    masked[middle - 1] = masked[middle] = L'*';
    return masked;
}
