#pragma once

#include <string_view>

namespace standin {

/// Compares UTF-8 as Chinese_PRC_CI_AS does: pinyin order, without regard to case, width, kana and trailing
/// blanks.
/// @return negative, zero or positive.
int CompareText(std::string_view a, std::string_view b) noexcept;

/// T-SQL LIKE over UTF-16 units with %, _, [set], [^set] and ranges; blanks count on both sides.
/// @param escape  the escape character, 0 for none.
bool LikeMatches(std::u16string_view value, std::u16string_view pattern, char16_t escape);

}  // namespace standin
