#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstring>
#include <string>
#include <string_view>

#include "statement.h"
#include "text.h"

#define ODBC_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

namespace standin {

enum class OldRecords { kClear, kKeep };

/// Runs the body of one entry point on its handle: clears the handle's old records, and turns what is thrown
/// into new ones, in front of the warnings that are there already. No exception crosses into the driver
/// manager.
template <class HandleType, class Body>
SQLRETURN Call(SQLHANDLE raw, Body body, OldRecords old = OldRecords::kClear) noexcept {
    if (raw == SQL_NULL_HANDLE) return SQL_INVALID_HANDLE;
    try {
        auto& handle = *static_cast<HandleType*>(static_cast<Handle*>(raw));
        if (old == OldRecords::kClear) handle.ClearRecords();
        try {
            return body(handle);
        } catch (const SqlError& error) {
            handle.AddInFront(error.Records());
        } catch (const std::exception& error) {
            handle.AddInFront({MakeRecord(Err::kGeneral, error.what())});
        }
    } catch (const std::exception&) {
        // No memory for the record either.
    }
    return SQL_ERROR;
}

/// Text to the caller. Sizes count characters (unit 1) or bytes (unit 2); text that does not fit is cut.
/// @return SQL_SUCCESS, or SQL_SUCCESS_WITH_INFO when the text was cut.
template <class Length>
SQLRETURN GiveText(std::string_view utf8, SQLPOINTER buffer, Length size, Length* length, int unit) {
    const std::u16string text = ToUtf16(utf8);
    if (length != nullptr) *length = static_cast<Length>(text.size() * static_cast<std::size_t>(unit));
    return WriteWide(text, buffer, size / unit) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

template <class Number>
SQLRETURN GiveNumber(Number value, SQLPOINTER target) {
    if (target != nullptr) std::memcpy(target, &value, sizeof value);
    return SQL_SUCCESS;
}

}  // namespace standin
