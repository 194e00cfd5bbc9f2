#include "text/text.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <limits>

namespace {

std::wstring BytesToWide(std::string_view bytes, UINT codePage, DWORD flags) {
    if (bytes.empty() || bytes.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
    const int size = static_cast<int>(bytes.size());
    const int units = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (units <= 0) return {};
    std::wstring wide(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(codePage, flags, bytes.data(), size, wide.data(), units);
    return wide;
}

std::string WideToBytes(std::wstring_view wide, UINT codePage) {
    if (wide.empty() || wide.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
    const int units = static_cast<int>(wide.size());
    const int size = WideCharToMultiByte(codePage, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(codePage, 0, wide.data(), units, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

wchar_t Lower(wchar_t unit) noexcept {
    return static_cast<wchar_t>(std::towlower(unit));
}

}  // namespace

std::wstring Utf8ToWide(std::string_view utf8) {
    return BytesToWide(utf8, CP_UTF8, 0);
}

std::wstring StrictUtf8ToWide(std::string_view utf8) {
    return BytesToWide(utf8, CP_UTF8, MB_ERR_INVALID_CHARS);
}

std::wstring AnsiToWide(std::string_view bytes) {
    return BytesToWide(bytes, CP_ACP, 0);
}

std::string WideToUtf8(std::wstring_view wide) {
    return WideToBytes(wide, CP_UTF8);
}

std::string WideToAnsi(std::wstring_view wide) {
    return WideToBytes(wide, CP_ACP);
}

std::wstring_view TrimView(std::wstring_view text) noexcept {
    while (!text.empty() && std::iswspace(text.front())) text.remove_prefix(1);
    while (!text.empty() && std::iswspace(text.back())) text.remove_suffix(1);
    return text;
}

std::wstring Trim(std::wstring_view text) {
    return std::wstring(TrimView(text));
}

std::wstring ToLower(std::wstring_view text) {
    std::wstring lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

bool EqualsNoCase(std::wstring_view left, std::wstring_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return Lower(a) == Lower(b); });
}
