#include "db/sql_text.h"

#include <cwctype>

#include "text/text.h"

namespace {

enum class IdentifierFault { None, Empty, EmptyPart, BadCharacter };

bool IsIdentifierUnit(wchar_t unit) noexcept {
    constexpr wchar_t kFirstIdeograph = 0x4E00;
    constexpr wchar_t kLastIdeograph = 0x9FFF;
    return unit == L'_' || (unit >= kFirstIdeograph && unit <= kLastIdeograph) || std::iswalnum(unit);
}

// The rule itself, with the first fault from the left; what it appends is complete only when there is none.
IdentifierFault AppendQuoted(std::wstring& sql, std::wstring_view name) {
    name = TrimView(name);
    if (name.empty()) return IdentifierFault::Empty;
    sql += L'[';
    size_t partLength = 0;
    for (const wchar_t unit : name) {
        if (unit == L'.') {
            if (partLength == 0) return IdentifierFault::EmptyPart;
            sql += L"].[";
            partLength = 0;
        } else if (IsIdentifierUnit(unit)) {
            sql += unit;
            ++partLength;
        } else {
            return IdentifierFault::BadCharacter;
        }
    }
    if (partLength == 0) return IdentifierFault::EmptyPart;
    sql += L']';
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

void AppendSql(std::wstring& sql, SqlName name) {
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

void AppendSql(std::wstring& sql, SqlValue value) {
    sql += L"N'";
    for (const wchar_t unit : value.value) {
        sql += unit;
        if (unit == L'\'') sql += unit;
    }
    sql += L'\'';
}
