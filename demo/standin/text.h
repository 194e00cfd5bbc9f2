#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace standin {

/// UTF-16 to UTF-8 and back. A lone surrogate survives the round trip, because SQL Server stores it too.
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view utf8);

/// Compares as the default collation does: without regard to case, width and trailing blanks.
/// Symbols sort before digits, digits before letters, other scripts by code point.
/// @return negative, zero or positive.
int CompareText(std::string_view a, std::string_view b) noexcept;

/// T-SQL LIKE over UTF-16 units with %, _, [set], [^set] and ranges; blanks count on both sides.
/// @param escape  the escape character, 0 for none.
bool LikeMatches(std::u16string_view value, std::u16string_view pattern, char16_t escape);

/// Length in UTF-16 units (wide), or in bytes of the double-byte Chinese code page.
std::size_t TextLength(std::string_view utf8, bool wide) noexcept;

/// The longest head whose TextLength is at most `length`.
std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept;

std::string LowerText(std::string_view utf8);
std::string UpperText(std::string_view utf8);
std::string_view TrimBlanks(std::string_view text) noexcept;

/// True for the letters of an unquoted identifier, Chinese ones included.
bool IsLetter(char32_t c) noexcept;

/// Reads the code point at `at` and moves behind it.
char32_t NextCodePoint(std::string_view utf8, std::size_t& at) noexcept;

}  // namespace standin
