#include "values.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

#include "errors.h"
#include "text.h"

namespace standin {
namespace {

using BigInt = std::numeric_limits<std::int64_t>;
constexpr std::size_t kDecimalDigits = 38;

constexpr TypeWord kWords[] = {
    {"char", Family::kText, true, false, true, 0, 0},
    {"varchar", Family::kText, true, false, false, 0, 0},
    {"nchar", Family::kText, true, true, true, 0, 0},
    {"nvarchar", Family::kText, true, true, false, 0, 0},
    {"text", Family::kText, false, false, false, 0, 0},
    {"ntext", Family::kText, false, true, false, 0, 0},
    {"int", Family::kInteger, false, false, false, -2147483648, 2147483647},
    {"bigint", Family::kInteger, false, false, false, BigInt::min(), BigInt::max()},
    {"decimal", Family::kDecimal, true, false, false, 0, 0},
    {"datetime", Family::kTime, false, false, false, 0, 0},
};

std::string ToText(const Cell& cell, const Type& to, bool mayCut) {
    std::string text = Render(cell);
    if (!to.word->hasLength) return text;
    const auto limit = static_cast<std::size_t>(to.length);
    if (TextLength(text, to.word->wide) > limit) {
        const std::string_view kept = CutText(text, limit, to.word->wide);
        if (!std::holds_alternative<std::string>(cell)) Fail(kOverflow, to.word->name);
        if (!mayCut && TrimEnd(text).size() > kept.size()) Fail(kTooLong, kept);
        text.resize(kept.size());
    }
    if (to.word->padded) text.append(limit - TextLength(text, to.word->wide), ' ');
    return text;
}

std::int64_t ToInteger(const Cell& cell, const TypeWord& to) {
    std::int64_t value = 0;
    if (const auto* text = std::get_if<std::string>(&cell)) {
        if (Trim(*text).empty()) return 0;  // SQL Server reads blank text as zero
        const Reading reading = ReadInteger(*text, value);
        if (reading == Reading::kNoNumber) Fail(kConversion, *text, to.name);
        if (reading == Reading::kTooLarge || value < to.low || value > to.high)
            Fail(kIntegerRange, *text, to.name);
        return value;
    }
    const auto* number = std::get_if<std::int64_t>(&cell);
    if (number == nullptr || *number < to.low || *number > to.high) Fail(kOverflow, to.name);
    return *number;
}

Cell ToDecimal(const Cell& cell, int precision) {
    const std::string text = Render(cell);
    std::string_view digits = Trim(text);
    const bool negative = digits.starts_with('-');
    if (negative || digits.starts_with('+')) digits.remove_prefix(1);
    if (digits.empty() || digits.find_first_not_of("0123456789") != digits.npos) Fail(kNumeric);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > static_cast<std::size_t>(precision)) Fail(kOverflow, "numeric");
    std::int64_t value = 0;
    if (ReadInteger(text, value) == Reading::kNumber) return value;
    if (negative) Fail(kOverflow, "numeric");
    return BigDecimal{std::string(kDecimalDigits - digits.size(), '0').append(digits)};
}

}  // namespace

std::string Type::Declaration() const {
    const std::string name = word->name;
    return word->hasLength ? name + "(" + std::to_string(length) + ")" : name;
}

std::string Type::Call(const char* function, const std::string& value) const {
    return std::string(function) + "(" + value + "," + std::to_string(word - kWords) + "," +
           std::to_string(length) + ")";
}

Type FindType(std::string_view word, int length) {
    const std::string name = UpperAscii(word);
    for (const TypeWord& known : kWords) {
        if (name == UpperAscii(known.name)) return {&known, length};
    }
    Fail(kUnknownType, word);
}

Type ReadDeclaration(const std::string& declaration) {
    const std::size_t bracket = declaration.find('(');
    if (bracket != declaration.npos) {
        return FindType(std::string_view(declaration).substr(0, bracket),
                        std::stoi(declaration.substr(bracket + 1)));
    }
    return FindType(declaration == "INTEGER" ? "int" : declaration, 0);  // SQLite's word for a numbered key
}

bool FitsUncut(const Type& from, const Type& to) noexcept {
    return from.word->family == Family::kText && to.word->family == Family::kText && from.word->hasLength &&
           to.word->hasLength && !to.word->padded && to.word->wide >= from.word->wide &&
           from.length <= to.length;
}

Cell Convert(const Cell& cell, std::size_t type, int length, bool mayCut) {
    const Type to{&kWords[type], length};
    if (std::holds_alternative<std::monostate>(cell)) return cell;
    if (to.word->family == Family::kText) return ToText(cell, to, mayCut);
    if (to.word->family == Family::kInteger) return ToInteger(cell, *to.word);
    return to.word->family == Family::kDecimal ? ToDecimal(cell, to.length) : cell;
}

Cell Calculate(char sign, const Cell& left, const Cell& right) {
    const auto isNull = [](const Cell& cell) { return std::holds_alternative<std::monostate>(cell); };
    if (isNull(left) || isNull(right)) return {};
    const auto* head = std::get_if<std::string>(&left);
    const auto* tail = std::get_if<std::string>(&right);
    if (sign == '+' && head != nullptr && tail != nullptr) return *head + *tail;
    constexpr TypeWord bigint = kWords[7];
    const std::int64_t a = ToInteger(left, bigint), b = ToInteger(right, bigint);
    std::int64_t result = 0;
    const bool overflow =
        sign == '+' ? __builtin_add_overflow(a, b, &result) : __builtin_mul_overflow(a, b, &result);
    if (overflow) Fail(kOverflow, bigint.name);
    return result;
}

std::string Render(const Cell& cell) {
    if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
    if (const auto* big = std::get_if<BigDecimal>(&cell))
        return big->digits.substr(big->digits.find_first_not_of('0'));
    return std::get<std::string>(cell);
}

Reading ReadInteger(std::string_view text, std::int64_t& value) noexcept {
    text = Trim(text);
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) return Reading::kNoNumber;
    return error == std::errc() ? Reading::kNumber : Reading::kTooLarge;
}

}  // namespace standin
