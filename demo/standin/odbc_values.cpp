// Values on their way between the caller's buffers and SQLite.

#include <algorithm>
#include <cstring>
#include <limits>

#include "statement.h"
#include "text.h"

namespace standin {
namespace {

bool IsTextCType(SQLSMALLINT type) {
    return type == SQL_C_WCHAR || type == SQL_C_CHAR;
}

/// Hands over as many units as fit in front of the terminator.
template <class Unit>
SQLRETURN WriteText(Handle& handle, const std::basic_string<Unit>& text, const ColumnTarget& target,
                    std::size_t& offset) {
    constexpr std::size_t kUnit = sizeof(Unit);
    if (offset > 0 && offset >= text.size()) return SQL_NO_DATA;
    const std::size_t rest = text.size() - offset;
    if (target.indicator != nullptr) *target.indicator = static_cast<SQLLEN>(rest * kUnit);
    const std::size_t room =
        target.value == nullptr || target.bytes < 0 ? 0 : static_cast<std::size_t>(target.bytes) / kUnit;
    std::size_t count = room == 0 ? 0 : std::min(rest, room - 1);
    if constexpr (kUnit == 1) {  // never half a character
        while (count > 0 && count < rest &&
               (static_cast<unsigned char>(text[offset + count]) & 0xC0) == 0x80) {
            --count;
        }
    }
    if (room > 0) {
        std::memcpy(target.value, text.data() + offset, count * kUnit);
        const Unit end = 0;
        std::memcpy(static_cast<char*>(target.value) + count * kUnit, &end, kUnit);
    }
    offset = count == rest ? std::max<std::size_t>(1, text.size()) : offset + count;
    if (count == rest && room > 0) return SQL_SUCCESS;
    handle.Warn("01004", "String data, right truncation");
    return SQL_SUCCESS_WITH_INFO;
}

std::int64_t WholeNumber(const Cell& cell, const Type& type) {
    if (IsText(type)) {
        bool overflow = false;
        const auto value = ReadInteger(std::get<std::string>(cell), overflow);
        if (overflow) FailInDriver("22003", "Numeric value out of range");
        if (!value) FailInDriver("22018", "Invalid character value for cast specification");
        return *value;
    }
    const TypeClass kind = ClassOf(type.id);
    if (kind == TypeClass::kTime || kind == TypeClass::kGuid) {
        FailInDriver("07006", "Restricted data type attribute violation");
    }
    try {
        return std::get<std::int64_t>(Convert(cell, type, {TypeId::kBigInt}, Conversion::kCast));
    } catch (const SqlError&) {
        FailInDriver("22003", "Numeric value out of range");
    }
}

template <class Number>
SQLRETURN WriteNumber(std::int64_t value, const ColumnTarget& target) {
    if (value < std::numeric_limits<Number>::min() || value > std::numeric_limits<Number>::max()) {
        FailInDriver("22003", "Numeric value out of range");
    }
    const auto number = static_cast<Number>(value);
    if (target.value != nullptr) std::memcpy(target.value, &number, sizeof number);
    if (target.indicator != nullptr) *target.indicator = sizeof number;
    return SQL_SUCCESS;
}

SQLSMALLINT DefaultCType(const Type& type) {
    if (ClassOf(type.id) == TypeClass::kInteger) {
        return type.id == TypeId::kBigInt ? SQL_C_SBIGINT : SQL_C_SLONG;
    }
    return IsText(type) && !IsWide(type.id) ? SQL_C_CHAR : SQL_C_WCHAR;
}

}  // namespace

SQLRETURN WriteValue(Handle& handle, const Cell& cell, const Type& type, const ColumnTarget& target,
                     std::size_t& offset) {
    if (std::holds_alternative<std::monostate>(cell)) {
        if (target.indicator == nullptr) {
            FailInDriver("22002", "Indicator variable required but not supplied");
        }
        *target.indicator = SQL_NULL_DATA;
        return SQL_SUCCESS;
    }
    switch (target.cType == SQL_C_DEFAULT ? DefaultCType(type) : target.cType) {
        case SQL_C_WCHAR:
            return WriteText(handle, ToUtf16(RenderText(cell, type)), target, offset);
        case SQL_C_CHAR:
            return WriteText(handle, RenderText(cell, type), target, offset);
        case SQL_C_SBIGINT:
            return WriteNumber<std::int64_t>(WholeNumber(cell, type), target);
        case SQL_C_SLONG:
        case SQL_C_LONG:
            return WriteNumber<std::int32_t>(WholeNumber(cell, type), target);
        default:
            FailInDriver("HYC00", "Optional feature not implemented");
    }
}

Type TypeOfParameter(const ParameterBinding& binding) {
    switch (binding.sqlType) {
        case SQL_INTEGER:
            return {TypeId::kInt};
        case SQL_BIGINT:
            return {TypeId::kBigInt};
        case SQL_CHAR:
        case SQL_VARCHAR:
            return {TypeId::kVarChar, kMaxLength};
        default:
            break;
    }
    const bool limited = binding.size > 0 && binding.size <= 4000;
    return {TypeId::kNVarChar, limited ? static_cast<int>(binding.size) : kMaxLength};
}

Cell ReadParameter(const ParameterBinding& binding) {
    const SQLLEN length = binding.indicator == nullptr ? SQL_NTS : *binding.indicator;
    if (length == SQL_NULL_DATA || binding.value == nullptr) return {};
    const Type type = TypeOfParameter(binding);
    if (!IsTextCType(binding.cType)) {
        std::int64_t number = 0;
        if (binding.cType == SQL_C_SBIGINT) {
            std::memcpy(&number, binding.value, sizeof number);
        } else {
            std::int32_t narrow = 0;
            std::memcpy(&narrow, binding.value, sizeof narrow);
            number = narrow;
        }
        return Convert(number, {TypeId::kBigInt}, type, Conversion::kCast);
    }
    if (length < 0 && length != SQL_NTS) FailInDriver("HY090", "Invalid string or buffer length");
    std::string text;
    if (binding.cType == SQL_C_WCHAR) {
        const auto* units = static_cast<const char16_t*>(binding.value);
        text = ToUtf8(length == SQL_NTS ? std::u16string_view(units)
                                        : std::u16string_view(units, static_cast<std::size_t>(length) / 2));
    } else {
        const auto* bytes = static_cast<const char*>(binding.value);
        text = length == SQL_NTS ? std::string(bytes) : std::string(bytes, static_cast<std::size_t>(length));
    }
    if (binding.size > 0 && IsText(type) && TextLength(text, true) > binding.size) {
        FailInDriver("22001", "String data, right truncation");
    }
    return Convert(text, {TypeId::kNVarChar, kMaxLength}, type, Conversion::kCast);
}

}  // namespace standin
