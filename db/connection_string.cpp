#include "db/connection_string.h"

namespace {

// The driver manager reads the string up to its first U+0000. A value that holds one ends there by itself, or it
// would take everything behind it along: its own closing brace, the keywords that follow, the time-out.
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
    // Room for every value with every unit doubled: a text that grew on the way would leave a copy of the
    // password behind in freed memory.
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
    return text;  // the object itself: what append() gives would be copied
}
