#pragma once

#include <string>
#include <string_view>

// Pure functions for the texts of an account search: pattern, statements, masked names.

/// Puts "\" before each of \ % _ [ ] so that LIKE .. ESCAPE N'\' takes every unit literally.
std::wstring EscapeLikePattern(std::wstring_view text);

/// The LIKE pattern for names that contain the keyword, literally.
std::wstring ContainsPattern(std::wstring_view keyword);

/// The text columns of the connected database in catalogue order: schema, table, column.
std::wstring TextColumnsSql();

/// One row when the column holds a match. Table and column are already quoted; the pattern is parameter 1.
std::wstring ProbeAccountSql(const std::wstring& table, const std::wstring& column);

/// The matching account names, ascending. Table and column are already quoted; the pattern is parameter 1.
/// @param maxResults  row limit, clamped to 1..500.
std::wstring SearchAccountsSql(const std::wstring& table, const std::wstring& column, int maxResults);

/// Hides the middle of an account name: the two units around the middle; all of a name of one or two, and the
/// last two of three. Positions count UTF-16 units.
std::wstring MaskAccountName(std::wstring_view name);
