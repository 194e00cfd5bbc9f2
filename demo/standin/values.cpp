#include "values.h"

#include <charconv>
#include <iterator>
#include <limits>

#include "errors.h"
#include "text.h"

namespace standin {
namespace {

using Integers = std::numeric_limits<std::int64_t>;
constexpr std::size_t kDecimalDigits = 38;

enum class Family { kText, kInteger, kOther };

struct TypeRow {
    TypeKind kind;
    const char* name;
    Family family;
    bool hasLength;
    bool wide;    // the length counts UTF-16 units
    bool padded;  // with blanks to the length
    std::int64_t low, high;
};

constexpr TypeRow kTypes[] = {
    {TypeKind::kChar, "char", Family::kText, true, false, true, 0, 0},
    {TypeKind::kVarChar, "varchar", Family::kText, true, false, false, 0, 0},
    {TypeKind::kNChar, "nchar", Family::kText, true, true, true, 0, 0},
    {TypeKind::kNVarChar, "nvarchar", Family::kText, true, true, false, 0, 0},
    {TypeKind::kText, "text", Family::kText, false, false, false, 0, 0},
    {TypeKind::kNText, "ntext", Family::kText, false, true, false, 0, 0},
    {TypeKind::kTinyInt, "tinyint", Family::kInteger, false, false, false, 0, 255},
    {TypeKind::kSmallInt, "smallint", Family::kInteger, false, false, false, -32768, 32767},
    {TypeKind::kInt, "int", Family::kInteger, false, false, false, -2147483648, 2147483647},
    {TypeKind::kBigInt, "bigint", Family::kInteger, false, false, false, Integers::min(), Integers::max()},
    {TypeKind::kDecimal, "decimal", Family::kOther, true, false, false, 0, 0},
    {TypeKind::kDateTime, "datetime", Family::kOther, false, false, false, 0, 0},
};

const TypeRow& RowOf(TypeKind kind) noexcept {
    return kTypes[static_cast<std::size_t>(kind)];
}

Cell ToText(const Cell& cell, const Type& to, Conversion how) {
    const TypeRow& row = RowOf(to.kind);
    std::string text = Render(cell);
    if (!row.hasLength) return text;
    const auto limit = static_cast<std::size_t>(to.length);
    std::size_t length = TextLength(text, row.wide);
    if (length > limit) {
        const std::string_view kept = CutText(text, limit, row.wide);
        const bool losesText = text.find_first_not_of(' ', kept.size()) != std::string::npos;
        if (!std::holds_alternative<std::string>(cell)) Fail(Err::kOverflow, row.name);
        if (how == Conversion::kStore && losesText) Fail(Err::kTooLong, kept);
        text.resize(kept.size());
        length = TextLength(text, row.wide);
    }
    if (row.padded) text.append(limit - length, ' ');
    return text;
}

std::int64_t ToInteger(const Cell& cell, TypeKind to) {
    const TypeRow& row = RowOf(to);
    std::int64_t value = 0;
    if (const auto* text = std::get_if<std::string>(&cell)) {
        if (TrimBlanks(*text).empty()) return 0;  // SQL Server reads blank text as zero
        const Reading reading = ReadInteger(*text, value);
        if (reading == Reading::kNoNumber) Fail(Err::kConversion, *text, row.name);
        if (reading == Reading::kTooLarge || value < row.low || value > row.high) {
            Fail(Err::kIntegerRange, *text, row.name);
        }
        return value;
    }
    const auto* number = std::get_if<std::int64_t>(&cell);
    if (number == nullptr || *number < row.low || *number > row.high) Fail(Err::kOverflow, row.name);
    return *number;
}

Cell ToDecimal(const Cell& cell, int precision) {
    const std::string text = Render(cell);
    std::string_view digits = TrimBlanks(text);
    const bool negative = !digits.empty() && digits.front() == '-';
    if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) digits.remove_prefix(1);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
        Fail(Err::kNumeric);
    }
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > static_cast<std::size_t>(precision)) Fail(Err::kOverflow, "numeric");
    std::int64_t value = 0;
    if (ReadInteger(text, value) == Reading::kNumber) return value;
    if (negative) Fail(Err::kOverflow, "numeric");
    return BigDecimal{std::string(kDecimalDigits - digits.size(), '0').append(digits)};
}

}  // namespace

bool HasLength(TypeKind kind) noexcept {
    return RowOf(kind).hasLength;
}
bool IsText(TypeKind kind) noexcept {
    return RowOf(kind).family == Family::kText;
}
const char* NameOf(TypeKind kind) noexcept {
    return RowOf(kind).name;
}

TypeKind FindType(std::string_view word) {
    const std::string name = LowerAscii(word);
    for (const TypeRow& row : kTypes) {
        if (name == row.name) return row.kind;
    }
    Fail(Err::kUnknownType, word);
}

std::string WriteType(const Type& type) {
    const std::string name = NameOf(type.kind);
    return HasLength(type.kind) ? name + "(" + std::to_string(type.length) + ")" : name;
}

Type ReadType(const std::string& declared) {
    if (declared == "INTEGER") return {TypeKind::kInt};  // SQLite's own word for a numbered key
    const std::size_t bracket = std::min(declared.find('('), declared.size());
    Type type{FindType(std::string_view(declared).substr(0, bracket))};
    if (bracket < declared.size()) type.length = std::stoi(declared.substr(bracket + 1));
    return type;
}

bool FitsUncut(const Type& from, const Type& to) noexcept {
    const TypeRow& target = RowOf(to.kind);
    const bool keepsUnits = target.wide || !RowOf(from.kind).wide;
    return IsText(from.kind) && HasLength(from.kind) && IsText(to.kind) && HasLength(to.kind) &&
           !target.padded && keepsUnits && from.length <= to.length;
}

Cell Convert(const Cell& cell, const Type& to, Conversion how) {
    if (std::holds_alternative<std::monostate>(cell)) return cell;
    if (IsText(to.kind)) return ToText(cell, to, how);
    if (RowOf(to.kind).family == Family::kInteger) return ToInteger(cell, to.kind);
    return to.kind == TypeKind::kDecimal ? ToDecimal(cell, to.length) : cell;
}

Cell Calculate(char sign, const Cell& left, const Cell& right) {
    const auto isNull = [](const Cell& cell) { return std::holds_alternative<std::monostate>(cell); };
    if (isNull(left) || isNull(right)) return {};
    const auto* head = std::get_if<std::string>(&left);
    const auto* tail = std::get_if<std::string>(&right);
    if (sign == '+' && head != nullptr && tail != nullptr) return *head + *tail;
    const std::int64_t a = ToInteger(left, TypeKind::kBigInt);
    const std::int64_t b = ToInteger(right, TypeKind::kBigInt);
    std::int64_t result = 0;
    const bool overflow = sign == '+'   ? __builtin_add_overflow(a, b, &result)
                          : sign == '-' ? __builtin_sub_overflow(a, b, &result)
                                        : __builtin_mul_overflow(a, b, &result);
    if (overflow) Fail(Err::kOverflow, "bigint");
    return result;
}

std::string Render(const Cell& cell) {
    if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
    if (const auto* big = std::get_if<BigDecimal>(&cell)) {
        return big->digits.substr(std::min(big->digits.find_first_not_of('0'), big->digits.size() - 1));
    }
    return std::get<std::string>(cell);
}

Reading ReadInteger(std::string_view text, std::int64_t& value) noexcept {
    text = TrimBlanks(text);
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) return Reading::kNoNumber;
    return error == std::errc() ? Reading::kNumber : Reading::kTooLarge;
}

}  // namespace standin
