#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace standin {

/// UTF-16 to UTF-8 and back. A lone surrogate survives the round trip, because SQL Server stores it too.
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view utf8);

/// Length in UTF-16 units (wide), or in bytes of the double-byte Chinese code page.
std::size_t TextLength(std::string_view utf8, bool wide) noexcept;

/// The longest head whose TextLength is at most `length`.
std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept;

std::string_view TrimBlanks(std::string_view text) noexcept;
std::string_view TrimBlanksBehind(std::string_view text) noexcept;

/// Folds the letters A to Z alone: keywords and type names have no others.
std::string UpperAscii(std::string_view text);
std::string LowerAscii(std::string_view text);

}  // namespace standin
