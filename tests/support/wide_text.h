#pragma once

#include <doctest/doctest.h>

#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "text/text.h"

using std::string_literals::operator""s;

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

/// Rows to go through. What fails in a row's turn, exceptions as well, tells its name: the member of that
/// name, the first column, or the row itself.
template <class Row>
class Table {
public:
    Table(std::initializer_list<Row> rows) : rows_(rows) {}
    explicit Table(std::vector<Row> rows) : rows_(std::move(rows)) {}

    struct Iterator {
        const Row*& current;
        const Row* row;
        const Row& operator*() const { return *(current = row); }
        void operator++() { ++row; }
        bool operator!=(const Iterator& other) const { return row != other.row; }
    };
    Iterator begin() { return {current_, rows_.data()}; }
    Iterator end() { return {current_, rows_.data() + rows_.size()}; }

private:
    doctest::String Name() const {
        if constexpr (requires(const Row& row) { row.name; })
            return doctest::toString(current_->name);
        else if constexpr (requires(const Row& row) { std::get<0>(row); })
            return doctest::toString(std::get<0>(*current_));
        else
            return doctest::toString(*current_);
    }
    std::vector<Row> rows_;
    const Row* current_ = nullptr;
    doctest::detail::ContextScope<std::function<void(std::ostream*)>> told_{
        [this](std::ostream* out) { *out << "row " << Name(); }};
};

/// The parts of a text between its blanks.
inline std::vector<std::wstring> Words(const std::wstring& text) {
    std::wistringstream stream(text);
    using Word = std::istream_iterator<std::wstring, wchar_t>;
    return {Word(stream), Word()};
}

/// A text with values in the places of its "{}".
template <class... Values>
std::wstring Format(std::wstring text, const Values&... values) {
    const auto fill = [&](const auto& value) {
        std::wostringstream filled;
        filled << value;
        text.replace(text.find(L"{}"), 2, filled.str());
    };
    (fill(values), ...);
    return text;
}

/// The first line in which a long text is not the expected one, both of them; empty when all are the same.
inline std::wstring FirstLineThatDiffers(const std::wstring& text, const std::wstring& expected) {
    std::wistringstream is(text), should(expected);
    for (int number = 1; is || should; ++number) {
        std::wstring line = L"(no more)", other = line;
        std::getline(is, line);
        std::getline(should, other);
        if (line != other || !is != !should)
            return L"line " + std::to_wstring(number) + L" is \"" + line + L"\", not \"" + other + L"\"";
    }
    return L"";
}

/// The text of the error that an action throws; "(nothing)" when it throws none. Structured bindings are
/// passed as arguments: not every compiler lets a lambda capture them.
template <class Action, class... Arguments>
std::wstring ErrorOf(Action action, const Arguments&... arguments) {
    try {
        action(arguments...);
    } catch (const RuntimeError& error) {
        return Utf8ToWide(error.what());
    }
    return L"(nothing)";
}
