#include "db/connection_string.h"

namespace {

// The driver manager reads the string up to its first U+0000. A value is cut there, so that its closing brace
// and the keywords after it, the time-out among them, are not lost.
void AppendQuoted(std::wstring& text, std::wstring_view value) {
    text += L'{';
    for (const wchar_t unit : value.substr(0, value.find(L'\0'))) {
        text += unit;
        if (unit == L'}') text += unit;
    }
    text += L'}';
}

}  // namespace

std::wstring QuoteOdbcValue(std::wstring_view value) {
    std::wstring quoted;
    quoted.reserve(value.size() + 2);
    AppendQuoted(quoted, value);
    return quoted;
}

std::wstring BuildConnectionString(std::wstring_view driver, const DbConnectionSettings& settings,
                                   int timeoutSeconds) {
    std::wstring server = settings.server;
    if (settings.port > 0) server += L"," + std::to_wstring(settings.port);
    // Room for every value with every unit doubled: a reallocation would leave a copy of the password in
    // freed memory.
    constexpr size_t kFixedUnits = 160;
    std::wstring text;
    text.reserve(kFixedUnits + 2 * (driver.size() + server.size() + settings.database.size() +
                                    settings.user.size() + settings.password.size()));
    AppendQuoted(text.append(L"DRIVER="), driver);
    AppendQuoted(text.append(L";SERVER="), server);
    AppendQuoted(text.append(L";DATABASE="), settings.database);
    AppendQuoted(text.append(L";UID="), settings.user);
    AppendQuoted(text.append(L";PWD="), settings.password);
    text.append(L";Encrypt=no;TrustServerCertificate=yes;Connection Timeout=");
    text.append(std::to_wstring(timeoutSeconds)).append(L";");
    return text;  // not append()'s result: that reference would be copied
}
