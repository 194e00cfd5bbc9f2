#include "db/sql_text.h"

#include <cwctype>

#include "text/text.h"

namespace {

enum class IdentifierFault { None, Empty, EmptyPart, BadCharacter };

bool IsIdentifierUnit(wchar_t unit) noexcept {
    // ASCII letters first: names consist mostly of them, and iswalnum is a call into the run-time library.
    if ((unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z')) return true;
    constexpr wchar_t kFirstIdeograph = 0x4E00;
    constexpr wchar_t kLastIdeograph = 0x9FFF;
    return unit == L'_' || (unit >= kFirstIdeograph && unit <= kLastIdeograph) || std::iswalnum(unit);
}

// Appends the quoted name and returns the first fault from the left; after a fault the text is incomplete.
IdentifierFault AppendQuoted(std::wstring& sql, std::wstring_view name) {
    name = TrimView(name);
    if (name.empty()) return IdentifierFault::Empty;
    sql += L'[';
    size_t partStart = 0;
    for (size_t i = 0; i <= name.size(); ++i) {
        if (i < name.size() && name[i] != L'.') {
            if (!IsIdentifierUnit(name[i])) return IdentifierFault::BadCharacter;
            continue;
        }
        if (i == partStart) return IdentifierFault::EmptyPart;
        sql += name.substr(partStart, i - partStart);
        sql += i < name.size() ? L"].[" : L"]";
        partStart = i + 1;
    }
    return IdentifierFault::None;
}

}  // namespace

std::wstring QuoteIdentifier(std::wstring_view name, std::wstring_view label) {
    std::wstring quoted;
    switch (AppendQuoted(quoted, name)) {
        case IdentifierFault::None:
            return quoted;
        case IdentifierFault::Empty:
            throw RuntimeError("empty identifier");
        case IdentifierFault::EmptyPart:
            throw RuntimeError("bad identifier");
        default:
            throw RuntimeError(std::wstring(label) + L"包含不允许的字符");
    }
}

std::wstring QuoteSqlIdentifier(std::wstring_view name) {
    std::wstring quoted;
    AppendSql(quoted, SqlName{name});
    return quoted;
}

std::wstring SqlUnicodeLiteral(std::wstring_view value) {
    std::wstring literal;
    AppendSql(literal, SqlValue{value});
    return literal;
}

void AppendSql(std::wstring& sql, std::wstring_view text) {
    sql += text;
}

void AppendSql(std::wstring& sql, const SqlName& name) {
    switch (AppendQuoted(sql, name.name)) {
        case IdentifierFault::None:
            return;
        case IdentifierFault::Empty:
            throw RuntimeError("标识符不能为空");
        case IdentifierFault::EmptyPart:
            throw RuntimeError("标识符格式不正确");
        default:
            throw RuntimeError("数据库标识符包含不允许的字符");
    }
}

void AppendSql(std::wstring& sql, const SqlValue& value) {
    sql += L"N'";
    std::wstring_view rest = value.value;
    for (size_t quote; (quote = rest.find(L'\'')) != rest.npos; rest.remove_prefix(quote + 1)) {
        sql.append(rest.substr(0, quote)).append(L"''");
    }
    sql.append(rest) += L'\'';
}
