#pragma once

#include <doctest/doctest.h>

#include <iterator>
#include <sstream>
#include <vector>

#include "text/text.h"

// doctest's own looks at the value in a lambda, where a structured binding has no place in C++20.
#undef CAPTURE
#define CAPTURE_AS(copy, value) \
    const auto& copy = value;   \
    INFO(#value " := ", copy)
#define CAPTURE(value) CAPTURE_AS(DOCTEST_ANONYMOUS(captured_), value)

// How a failed check prints wide texts: as UTF-8 between quotation marks. Without this doctest prints "{?}".
template <std::convertible_to<std::wstring_view> Text>
struct doctest::StringMaker<Text> {
    static String convert(std::wstring_view text) { return ("\"" + WideToUtf8(text) + "\"").c_str(); }
};
template <>
struct doctest::StringMaker<std::string> {
    static String convert(const std::string& text) { return ("\"" + text + "\"").c_str(); }
};
template <class Value>
struct doctest::StringMaker<std::vector<Value>> {
    static String convert(const std::vector<Value>& values) {
        String text = "(";
        for (const Value& value : values) text += toString(value) + " ";
        return text + ")";
    }
};

// A row's name, which doctest would print as its address.
template <>
struct doctest::StringMaker<const char*> {
    static String convert(const char* text) { return text; }
};

/// A row of the simplest tables.
struct TextRow {
    const char* name;
    std::wstring in, expected;
};

/// The parts of a text between its blanks.
inline std::vector<std::wstring> Words(const std::wstring& text) {
    std::wistringstream stream(text);
    using Word = std::istream_iterator<std::wstring, wchar_t>;
    return {Word(stream), Word()};
}

/// The first line in which a long text is not the expected one, both of them; empty when all are the same.
inline std::wstring FirstLineThatDiffers(const std::wstring& text, const std::wstring& expected) {
    std::wistringstream is(text), should(expected);
    for (int number = 1;; ++number) {
        std::wstring line, other;
        const bool more = !!std::getline(is, line), otherMore = !!std::getline(should, other);
        if (!more && !otherMore) return L"";
        if (more != otherMore || line != other)
            return L"line " + std::to_wstring(number) + L" is \"" + (more ? line : L"(no more)") +
                   L"\", not \"" + (otherMore ? other : L"(no more)") + L"\"";
    }
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
