#pragma once

#include <string>
#include <string_view>

// How names and values become part of an SQL text.
//
// An identifier is one or more parts joined by "."; each part holds letters and digits (iswalnum), "_" and
// CJK ideographs U+4E00 to U+9FFF, nothing else. White space around the whole name is ignored. Every part
// is returned in brackets: dbo.TBL_CHARACTER gives [dbo].[TBL_CHARACTER]. A name with a closing bracket is
// refused, so none needs doubling.

/// Quotes an identifier for the account query.
/// @param label  what kind of name it is, for the message: "账号表名" or "账号字段名".
/// @throws RuntimeError "empty identifier", "bad identifier" (an empty part), or the label followed by
///         "包含不允许的字符".
std::wstring QuoteIdentifier(std::wstring_view name, std::wstring_view label);

/// Quotes an identifier for the ID repair: the same rule, other messages.
/// @throws RuntimeError "标识符不能为空", "标识符格式不正确" or "数据库标识符包含不允许的字符".
std::wstring QuoteSqlIdentifier(std::wstring_view name);

/// A Unicode literal: N'..' with every apostrophe doubled. The value is otherwise unchanged.
std::wstring SqlUnicodeLiteral(std::wstring_view value);

/// Pieces of a statement: a name that is quoted as QuoteSqlIdentifier does, and a value that becomes a
/// literal.
struct SqlName {
    std::wstring_view name;
};
struct SqlValue {
    std::wstring_view value;
};

/// Appends a piece to a statement: text unchanged, names and values quoted. Other kinds of pieces have
/// overloads of their own.
/// @throws RuntimeError as QuoteSqlIdentifier.
void AppendSql(std::wstring& sql, std::wstring_view text);
void AppendSql(std::wstring& sql, const SqlName& name);
void AppendSql(std::wstring& sql, const SqlValue& value);

/// Builds a statement from its pieces without a temporary string for each: a repair sends tens of thousands.
template <class... Pieces>
std::wstring SqlText(const Pieces&... pieces) {
    constexpr size_t kUsualLength = 220;
    std::wstring sql;
    sql.reserve(kUsualLength);
    (AppendSql(sql, pieces), ...);
    return sql;
}
