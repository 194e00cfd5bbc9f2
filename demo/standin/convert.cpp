#include "convert.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "error.h"
#include "text.h"

namespace standin {
namespace {

__extension__ using Wide = __int128;  // holds every decimal of 38 digits

constexpr std::size_t kBigDigits = 38;

Wide PowerOfTen(int exponent) {
    Wide value = 1;
    for (int i = 0; i < exponent; ++i) value *= 10;
    return value;
}

std::string Digits(Wide value) {
    if (value == 0) return "0";
    std::string text;
    const bool negative = value < 0;
    for (; value != 0; value /= 10) {
        text.push_back(static_cast<char>('0' + std::abs(static_cast<int>(value % 10))));
    }
    if (negative) text.push_back('-');
    std::reverse(text.begin(), text.end());
    return text;
}

[[noreturn]] void FailOverflow(const Type& from, const Type& to) {
    Fail("22003", 8115,
         std::string("Arithmetic overflow error converting ") + NameOf(from.id) + " to data type " +
             (ClassOf(to.id) == TypeClass::kDecimal ? "numeric" : NameOf(to.id)) + ".");
}

[[noreturn]] void FailConversion(const Type& from, const char* to) {
    Fail("42000", 8114, std::string("Error converting data type ") + NameOf(from.id) + " to " + to + ".");
}

Wide DecodeDecimal(const Cell& cell) {
    if (const auto* small = std::get_if<std::int64_t>(&cell)) return *small;
    Wide value = 0;
    for (const char c : std::get<std::string>(cell)) value = value * 10 + (c - '0');
    return value;
}

/// Values under the 64-bit range would need an order of their own in SQLite; they are refused instead.
Cell EncodeDecimal(Wide value, const Type& from, const Type& to) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (value >= Limits::min() && value <= Limits::max()) return static_cast<std::int64_t>(value);
    if (value < 0) FailOverflow(from, to);
    const std::string digits = Digits(value);
    return std::string(kBigDigits - digits.size(), '0') + digits;
}

struct ParsedDecimal {
    Wide value = 0;
    int scale = 0;
};

std::optional<ParsedDecimal> ParseDecimal(std::string_view text, const Type& from, const Type& to) {
    text = TrimBlanks(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    ParsedDecimal parsed;
    bool pointSeen = false;
    std::size_t digits = 0;
    std::size_t significant = 0;
    for (const char c : text) {
        if (c == '.' && !pointSeen) {
            pointSeen = true;
            continue;
        }
        if (c < '0' || c > '9') return std::nullopt;
        ++digits;
        if (significant > 0 || c != '0') ++significant;
        if (significant > kBigDigits) FailOverflow(from, to);
        parsed.value = parsed.value * 10 + (c - '0');
        if (pointSeen) ++parsed.scale;
    }
    if (digits == 0) return std::nullopt;
    if (negative) parsed.value = -parsed.value;
    return parsed;
}

/// Moves the decimal point; digits that fall off are rounded, half away from zero.
Wide Rescale(Wide value, int from, int to, const Type& source, const Type& target) {
    if (from > to) {
        const Wide divisor = PowerOfTen(from - to);
        const Wide half = value < 0 ? -divisor / 2 : divisor / 2;
        value = (value + half) / divisor;
    } else {
        const Wide factor = PowerOfTen(to - from);
        if (value > PowerOfTen(38) / factor || value < -(PowerOfTen(38) / factor)) {
            FailOverflow(source, target);
        }
        value *= factor;
    }
    const Wide limit = PowerOfTen(target.length);
    if (value >= limit || value <= -limit) FailOverflow(source, target);
    return value;
}

Cell ToDecimal(const Cell& cell, const Type& from, const Type& to) {
    switch (ClassOf(from.id)) {
        case TypeClass::kText: {
            const auto parsed = ParseDecimal(std::get<std::string>(cell), from, to);
            if (!parsed) FailConversion(from, "numeric");
            return EncodeDecimal(Rescale(parsed->value, parsed->scale, to.scale, from, to), from, to);
        }
        case TypeClass::kInteger:
        case TypeClass::kDecimal:
            return EncodeDecimal(Rescale(DecodeDecimal(cell), from.scale, to.scale, from, to), from, to);
        case TypeClass::kFloat: {
            const double scaled = std::round(std::get<double>(cell) * std::pow(10.0, to.scale));
            if (!(std::fabs(scaled) < 9.2e18)) FailOverflow(from, to);
            return EncodeDecimal(Rescale(static_cast<Wide>(scaled), to.scale, to.scale, from, to), from, to);
        }
        default:
            Fail("42000", 529,
                 std::string("Explicit conversion from data type ") + NameOf(from.id) +
                     " to numeric is not allowed.");
    }
}

std::int64_t TextToInteger(const std::string& text, const Type& from, const Type& to) {
    if (TrimBlanks(text).empty()) return 0;  // SQL Server reads blank text as zero
    bool overflow = false;
    const auto value = ReadInteger(text, overflow);
    const IntegerRange range = RangeOf(to.id);
    if (overflow || (value && to.id != TypeId::kBit && (*value < range.low || *value > range.high))) {
        Fail("22003", 248,
             std::string("The conversion of the ") + NameOf(from.id) + " value '" + text +
                 "' overflowed an " + NameOf(to.id) + " column.");
    }
    if (!value) {
        Fail("22018", 245,
             std::string("Conversion failed when converting the ") + NameOf(from.id) + " value '" + text +
                 "' to data type " + NameOf(to.id) + ".");
    }
    return *value;
}

Cell ToInteger(const Cell& cell, const Type& from, const Type& to) {
    std::int64_t value = 0;
    switch (ClassOf(from.id)) {
        case TypeClass::kText:
            value = TextToInteger(std::get<std::string>(cell), from, to);
            break;
        case TypeClass::kInteger:
            value = std::get<std::int64_t>(cell);
            break;
        case TypeClass::kDecimal: {
            const Wide whole = DecodeDecimal(cell) / PowerOfTen(from.scale);
            if (whole > std::numeric_limits<std::int64_t>::max()) FailOverflow(from, to);
            value = static_cast<std::int64_t>(whole);
            break;
        }
        case TypeClass::kFloat:
            if (!(std::fabs(std::get<double>(cell)) < 9.2e18)) FailOverflow(from, to);
            value = static_cast<std::int64_t>(std::get<double>(cell));
            break;
        default:
            Fail("42000", 529,
                 std::string("Explicit conversion from data type ") + NameOf(from.id) + " to " +
                     NameOf(to.id) + " is not allowed.");
    }
    if (to.id == TypeId::kBit) return std::int64_t{value != 0};
    const IntegerRange range = RangeOf(to.id);
    if (value < range.low || value > range.high) FailOverflow(from, to);
    return value;
}

Cell ToFloat(const Cell& cell, const Type& from) {
    switch (ClassOf(from.id)) {
        case TypeClass::kFloat:
            return cell;
        case TypeClass::kInteger:
            return static_cast<double>(std::get<std::int64_t>(cell));
        case TypeClass::kDecimal:
            return static_cast<double>(DecodeDecimal(cell)) / std::pow(10.0, from.scale);
        default:
            break;
    }
    const std::string text(TrimBlanks(std::get<std::string>(cell)));
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (!text.empty() &&
        (*end != '\0' || !std::isfinite(value) || text.find_first_of("xX") != std::string::npos)) {
        FailConversion(from, "float");
    }
    return value;
}

Cell ToTime(const std::string& text, const Type& to) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, used = 0;
    char fraction[8] = "";
    const std::string trimmed(TrimBlanks(text));
    const int fields = std::sscanf(trimmed.c_str(), "%4d-%2d-%2d%n%*1[ T]%2d:%2d:%2d%n.%7[0-9]%n", &year,
                                   &month, &day, &used, &hour, &minute, &second, &used, fraction, &used);
    const bool whole = static_cast<std::size_t>(used) == trimmed.size() && (fields == 3 || fields >= 6);
    if (!whole || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) {
        Fail("22007", 241, "Conversion failed when converting date and/or time from character string.");
    }
    const int places = to.id == TypeId::kDateTime ? 3 : 7;
    std::string digits = fraction;
    digits.resize(static_cast<std::size_t>(places), '0');
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", year, month, day);
    if (to.id == TypeId::kDate) return std::string(buffer);
    char clock[64];
    std::snprintf(clock, sizeof clock, " %02d:%02d:%02d.", hour, minute, second);
    return std::string(buffer) + clock + digits;
}

Cell ToGuid(const std::string& text) {
    std::string_view body = text;
    if (body.size() == 38 && body.front() == '{' && body.back() == '}') body = body.substr(1, 36);
    bool good = body.size() == 36;
    for (std::size_t i = 0; good && i < body.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        good = dash ? body[i] == '-'
                    : std::string_view("0123456789abcdefABCDEF").find(body[i]) != std::string_view::npos;
    }
    if (!good) {
        Fail("42000", 8169, "Conversion failed when converting from a character string to uniqueidentifier.");
    }
    return UpperText(body);
}

Cell ToText(const Cell& cell, const Type& from, const Type& to, Conversion how) {
    if (from.id == TypeId::kDateTime) {
        // The server's default style ("Jan  1 2024 12:00AM") is of no use to anyone here, and guessing is
        // worse.
        Fail("42000", 529, "Explicit conversion from data type datetime to nvarchar is not allowed.");
    }
    std::string text = RenderText(cell, from);
    const bool wide = IsWide(to.id);
    if (to.length != kMaxLength) {
        const auto limit = static_cast<std::size_t>(to.length);
        const std::size_t length = TextLength(text, wide);
        if (length > limit) {
            const std::string_view kept = CutText(text, limit, wide);
            const bool losesText = text.find_first_not_of(' ', kept.size()) != std::string::npos;
            if (!IsText(from) && losesText) FailOverflow(from, to);
            if (how == Conversion::kStore && losesText) {
                Fail("22001", 2628,
                     "String or binary data would be truncated. Truncated value: '" + std::string(kept) +
                         "'.");
            }
            text.resize(kept.size());
        }
        if (IsPadded(to.id)) text.append(limit - std::min(limit, TextLength(text, wide)), ' ');
    }
    return text;
}

}  // namespace

std::optional<std::int64_t> ReadInteger(std::string_view text, bool& overflow) {
    text = TrimBlanks(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    Wide value = 0;
    for (const char c : text) {
        value = value * 10 + (c - '0');
        if (value > (Wide{1} << 64)) break;
    }
    if (negative) value = -value;
    using Limits = std::numeric_limits<std::int64_t>;
    overflow = value < Limits::min() || value > Limits::max();
    return overflow ? std::nullopt : std::optional(static_cast<std::int64_t>(value));
}

DecimalLiteral ReadDecimalLiteral(std::string_view digits) {
    const Type widest{TypeId::kNumeric, 38, 0};
    const auto parsed = ParseDecimal(digits, widest, widest);
    const auto length = static_cast<int>(Digits(parsed->value).size());
    const Type type{TypeId::kNumeric, std::max(length, parsed->scale + 1), parsed->scale};
    return {EncodeDecimal(parsed->value, type, type), type};
}

std::string RenderText(const Cell& cell, const Type& type) {
    if (ClassOf(type.id) == TypeClass::kDecimal) {
        const std::string number = Digits(DecodeDecimal(cell));
        const bool negative = number.front() == '-';
        std::string_view digits = number;
        if (negative) digits.remove_prefix(1);
        const auto scale = static_cast<std::size_t>(type.scale);
        std::string text(negative ? 1 : 0, '-');
        if (digits.size() <= scale) {
            text.push_back('0');
        } else {
            text += digits.substr(0, digits.size() - scale);
            digits.remove_prefix(digits.size() - scale);
        }
        if (scale == 0) return text;
        return text.append(1, '.').append(scale - digits.size(), '0').append(digits);
    }
    if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
    if (const auto* real = std::get_if<double>(&cell)) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.15g", *real);
        return buffer;
    }
    return std::get<std::string>(cell);
}

Cell Convert(const Cell& cell, const Type& from, const Type& to, Conversion how) {
    if (std::holds_alternative<std::monostate>(cell)) return cell;
    switch (ClassOf(to.id)) {
        case TypeClass::kText:
            return ToText(cell, from, to, how);
        case TypeClass::kInteger:
            return ToInteger(cell, from, to);
        case TypeClass::kDecimal:
            return ToDecimal(cell, from, to);
        case TypeClass::kFloat:
            return ToFloat(cell, from);
        case TypeClass::kTime:
        case TypeClass::kGuid:
            break;
        case TypeClass::kNull:
            return cell;
    }
    const auto* text = std::get_if<std::string>(&cell);
    if (text == nullptr || ClassOf(from.id) == TypeClass::kDecimal) {
        Fail("42000", 529,
             std::string("Explicit conversion from data type ") + NameOf(from.id) + " to " + NameOf(to.id) +
                 " is not allowed.");
    }
    return ClassOf(to.id) == TypeClass::kTime ? ToTime(*text, to) : ToGuid(*text);
}

}  // namespace standin
