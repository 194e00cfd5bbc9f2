#pragma once

#include <array>
#include <string>
#include <string_view>

/// Microsoft's SQL Server drivers, newest first: the order in which a connection tries them.
inline constexpr std::array<std::wstring_view, 4> kDefaultDrivers = {
    L"ODBC Driver 18 for SQL Server",
    L"ODBC Driver 17 for SQL Server",
    L"SQL Server Native Client 11.0",
    L"SQL Server",
};

/// The values of one connection string.
struct DbConnectionSettings {
    std::wstring server;
    int port = 0;  // 0 or less: the connection string names no port
    std::wstring user;
    std::wstring password;
    std::wstring database;
    std::wstring driver;  // tried before the default drivers; only the account query names one
};

/// Wraps a connection-string value in braces, its closing braces doubled, so that nothing in it can end the
/// value or begin another keyword. A value ends before its first U+0000.
std::wstring QuoteOdbcValue(std::wstring_view value);

/// Composes a connection string for one driver. `settings.driver` is not used.
/// @param timeoutSeconds  how long the driver may try to connect, in seconds.
std::wstring BuildConnectionString(std::wstring_view driver, const DbConnectionSettings& settings,
                                   int timeoutSeconds);
