#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

// User-facing and SQL text is wide (UTF-16); bytes occur in configuration files and in error texts (UTF-8).

/// Converts UTF-8 to UTF-16. Never throws for bad input: an empty input, one of more than 2^31 - 1 bytes, or
/// a conversion without result gives an empty text; a malformed sequence becomes U+FFFD.
std::wstring Utf8ToWide(std::string_view utf8);

/// Converts UTF-16 to UTF-8 under the same rules; a lone surrogate becomes U+FFFD.
std::string WideToUtf8(std::wstring_view wide);

/// Converts UTF-8 to UTF-16, but gives an empty text as soon as one sequence is malformed.
std::wstring StrictUtf8ToWide(std::string_view utf8);

/// Converts text in the system's ANSI code page (936 on Simplified Chinese Windows) to UTF-16.
std::wstring AnsiToWide(std::string_view bytes);

/// Converts UTF-16 to the system's ANSI code page; characters that it lacks are replaced.
std::string WideToAnsi(std::wstring_view wide);

/// The text without white space (iswspace) at both ends; a view into the argument.
std::wstring_view TrimView(std::wstring_view text) noexcept;

/// The same as a new string.
std::wstring Trim(std::wstring_view text);

/// Lower-cases unit by unit (towlower): names of processes, paths, tables and columns are compared this way.
std::wstring ToLower(std::wstring_view text);

/// True when both texts have the same length and the same lower-cased units.
bool EqualsNoCase(std::wstring_view left, std::wstring_view right) noexcept;

/// The program's only error type. Its text is UTF-8 and is shown to the operator unchanged, after the prefix
/// of the action that failed.
class RuntimeError : public std::runtime_error {
public:
    explicit RuntimeError(const char* utf8) : std::runtime_error(utf8) {}
    explicit RuntimeError(const std::string& utf8) : std::runtime_error(utf8) {}
    explicit RuntimeError(std::wstring_view wide) : std::runtime_error(WideToUtf8(wide)) {}
};
