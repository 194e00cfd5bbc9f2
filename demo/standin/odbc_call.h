#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstring>
#include <string>
#include <string_view>

#include "handles.h"
#include "statement.h"
#include "text.h"

#define ODBC_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

namespace standin {

/// Runs the body of one entry point: clears the handle's old records, and turns what is thrown into new ones.
/// No exception crosses into the driver manager.
template <class HandleType, class Body>
SQLRETURN Call(SQLHANDLE raw, Body body) noexcept {
    if (raw == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
    auto& handle = *static_cast<HandleType*>(static_cast<Handle*>(raw));
    handle.ClearRecords();
    try {
        return body(handle);
    } catch (const SqlError& error) {
        handle.Add(error);
    } catch (const std::exception& error) {
        handle.Warn("HY000", std::string("General error: ") + error.what());
    }
    return SQL_ERROR;
}

/// Text from the caller; the length counts characters or is SQL_NTS.
inline std::string ReadWide(const SQLWCHAR* text, SQLINTEGER length) {
    if (text == nullptr) return {};
    const auto* units = reinterpret_cast<const char16_t*>(text);
    return ToUtf8(length == SQL_NTS ? std::u16string_view(units)
                                    : std::u16string_view(units, static_cast<std::size_t>(length)));
}

/// Text to the caller. Sizes count characters (unit 1) or bytes (unit 2).
/// @return SQL_SUCCESS, or SQL_SUCCESS_WITH_INFO when the text was cut.
template <class Length>
SQLRETURN WriteWide(std::string_view utf8, SQLPOINTER buffer, Length size, Length* length, int unit) {
    const std::u16string text = ToUtf16(utf8);
    if (length != nullptr) *length = static_cast<Length>(text.size() * static_cast<std::size_t>(unit));
    if (buffer == nullptr) return SQL_SUCCESS;
    const std::size_t room = size <= 0 ? 0 : static_cast<std::size_t>(size) / static_cast<std::size_t>(unit);
    if (room > 0) {
        const std::size_t count = std::min(text.size(), room - 1);
        std::memcpy(buffer, text.data(), count * 2);
        std::memset(static_cast<char*>(buffer) + count * 2, 0, 2);
    }
    return text.size() < room ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

/// WriteWide that leaves the record 01004 on the handle.
template <class Length>
SQLRETURN GiveText(Handle& handle, std::string_view utf8, SQLPOINTER buffer, Length size, Length* length,
                   int unit) {
    const SQLRETURN result = WriteWide(utf8, buffer, size, length, unit);
    if (result != SQL_SUCCESS) handle.Warn("01004", "String data, right truncation");
    return result;
}

template <class Number>
SQLRETURN GiveNumber(Number value, SQLPOINTER target) {
    if (target != nullptr) std::memcpy(target, &value, sizeof value);
    return SQL_SUCCESS;
}

}  // namespace standin
