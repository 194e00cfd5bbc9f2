#pragma once

#include <doctest/doctest.h>

#include <iterator>
#include <sstream>
#include <vector>

#include "text/text.h"

// How a failed check prints wide texts: as UTF-8. Without this doctest prints them as "{?}".
template <std::convertible_to<std::wstring_view> Text>
struct doctest::StringMaker<Text> {
    static String convert(std::wstring_view text) { return WideToUtf8(text).c_str(); }
};

// A row's name, which doctest would print as its address.
template <>
struct doctest::StringMaker<const char*> {
    static String convert(const char* text) { return text; }
};

/// A row of the simplest tables: the failed check prints both texts, so that no row needs a name.
struct TextRow {
    std::wstring_view in, expected;
};

/// The parts of a text between its blanks.
inline std::vector<std::wstring> Words(const std::wstring& text) {
    std::wistringstream stream(text);
    using Word = std::istream_iterator<std::wstring, wchar_t>;
    return {Word(stream), Word()};
}

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
