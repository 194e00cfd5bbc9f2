#pragma once

#include <cstdint>
#include <string>

/// One matching process as the process snapshot shows it.
struct ServerProcessEntry {
    std::uint32_t processId = 0;
    std::wstring exeName;    // file name only
    std::wstring imagePath;  // full Win32 path; empty when the process cannot be queried
};

/// One running game zone: where it runs from and how to reach its database.
struct GameServerInfo {
    std::wstring serverName;
    std::wstring configDirectory;  // a prefix of imagePath, letter case kept
    std::wstring imagePath;
    std::uint32_t processId = 0;
    std::wstring dbHost = L"127.0.0.1";
    std::int32_t dbPort = 1433;
    std::wstring dbName;
    std::wstring dbUser;
    std::wstring dbPassword;  // in memory only
    std::wstring serverId;    // decimal text, or the INI file's value unchanged
    std::wstring gameDirectory;
};
