#pragma once

#include <doctest/doctest.h>

#include <string>
#include <string_view>

#include "text/text.h"

// How a failed check prints wide texts: as UTF-8. Without this doctest prints them as "{?}".
namespace doctest {
template <>
struct StringMaker<std::wstring_view> {
    static String convert(std::wstring_view text) { return WideToUtf8(text).c_str(); }
};
template <>
struct StringMaker<std::wstring> : StringMaker<std::wstring_view> {};
template <>
struct StringMaker<const wchar_t*> : StringMaker<std::wstring_view> {};
template <size_t N>
struct StringMaker<wchar_t[N]> : StringMaker<std::wstring_view> {};
template <size_t N>
struct StringMaker<const wchar_t[N]> : StringMaker<std::wstring_view> {};
}  // namespace doctest

/// A row of the simplest tables: the failed check prints both texts, so that no row needs a name.
struct TextRow {
    std::wstring_view in, expected;
};

/// The text of the error that an action throws; "(nothing)" when it throws none.
template <class Action>
std::wstring ErrorOf(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return Utf8ToWide(error.what());
    }
    return L"(nothing)";
}
