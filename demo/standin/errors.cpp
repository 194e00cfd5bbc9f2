#include "errors.h"

namespace standin {

DiagRecord MakeRecord(const Error& error, std::string_view first, std::string_view second) {
    std::string text = "[Microsoft][ODBC Driver for SQL Server]";
    if (error.native != 0) text += "[SQL Server]";
    for (const char c : std::string_view(error.sentence)) {
        if (c == '%') {
            text += std::exchange(first, second);
        } else {
            text += c;
        }
    }
    return {error.state, error.native, std::move(text)};
}

void Fail(const Error& error, std::string_view first, std::string_view second) {
    throw SqlError({MakeRecord(error, first, second)});
}

}  // namespace standin
