#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace standin {

/// UTF-16 to UTF-8 and back; what is no character becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view utf8);

/// Length in UTF-16 units (wide), or in bytes of the double-byte Chinese code page.
std::size_t TextLength(std::string_view utf8, bool wide) noexcept;

/// The longest head whose TextLength is at most `length`.
std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept;

std::string_view TrimEnd(std::string_view text) noexcept;  // of blanks alone
std::string_view Trim(std::string_view text) noexcept;
std::string UpperAscii(std::string_view text);

/// Compares as Chinese_PRC_CI_AS does: pinyin order, without regard to case, width, kana and trailing blanks.
/// @return negative, zero or positive.
int CompareText(std::string_view a, std::string_view b) noexcept;

/// T-SQL LIKE over UTF-16 units with %, _, [set], [^set] and ranges; blanks count on both sides.
/// @param escape  the escape character, 0 for none.
bool LikeMatches(std::u16string_view value, std::u16string_view pattern, char16_t escape) noexcept;

}  // namespace standin
