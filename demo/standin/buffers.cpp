#include "buffers.h"

#include <algorithm>
#include <cstring>

#include "text.h"

namespace standin {
namespace {

constexpr SQLLEN kUnit = sizeof(char16_t);

std::int64_t WholeNumber(const Cell& cell) {
    std::int64_t value = 0;
    switch (ReadInteger(Render(cell), value)) {
        case Reading::kNumber:
            return value;
        case Reading::kTooLarge:
            Fail(Err::kNumberRange);
        case Reading::kNoNumber:
            Fail(Err::kNotANumber);
    }
    return value;
}

}  // namespace

std::string ReadWide(const SQLWCHAR* text, SQLLEN length) {
    if (text == nullptr) return {};
    const auto* units = reinterpret_cast<const char16_t*>(text);
    return ToUtf8(length == SQL_NTS ? std::u16string_view(units)
                                    : std::u16string_view(units, static_cast<std::size_t>(length)));
}

Cell ReadParameter(const ParameterBinding& binding) {
    const SQLLEN bytes = binding.indicator == nullptr ? SQL_NTS : *binding.indicator;
    if (bytes == SQL_NULL_DATA || binding.value == nullptr) return {};
    std::string text = ReadWide(binding.value, bytes == SQL_NTS ? bytes : bytes / kUnit);
    if (binding.size > 0 && TextLength(text, true) > binding.size) Fail(Err::kParameterLength);
    return text;
}

SQLRETURN WriteValue(Handle& handle, const Cell& cell, const ColumnBinding& binding) {
    const auto indicate = [&](SQLLEN length) {
        if (binding.indicator != nullptr) *binding.indicator = length;
    };
    if (std::holds_alternative<std::monostate>(cell)) {
        if (binding.indicator == nullptr) Fail(Err::kIndicator);
        indicate(SQL_NULL_DATA);
        return SQL_SUCCESS;
    }
    if (binding.cType == SQL_C_SBIGINT) {
        const std::int64_t number = WholeNumber(cell);
        std::memcpy(binding.value, &number, sizeof number);
        indicate(sizeof number);
        return SQL_SUCCESS;
    }
    const std::u16string text = ToUtf16(Render(cell));
    indicate(static_cast<SQLLEN>(text.size()) * kUnit);
    if (WriteWide(text, binding.value, binding.bytes / kUnit)) return SQL_SUCCESS;
    handle.Add(MakeRecord(Err::kTruncated));
    return SQL_SUCCESS_WITH_INFO;
}

bool WriteWide(std::u16string_view text, SQLPOINTER buffer, SQLLEN room) noexcept {
    if (buffer == nullptr) return true;
    if (room <= 0) return false;
    const std::size_t count = std::min(text.size(), static_cast<std::size_t>(room) - 1);
    auto* units = static_cast<char16_t*>(buffer);
    std::copy_n(text.data(), count, units);
    units[count] = u'\0';
    return count == text.size();
}

}  // namespace standin
