#include "discovery/server_config.h"

#include <optional>

#include "discovery/config_text.h"
#include "discovery/paths.h"

GameServerInfo ReadServerConfig(const ServerProcessEntry& process, const ServerConfigFiles& files) {
    const std::string json = ReadWholeFile(files.json);
    const std::string_view database = JsonObject(json, "DBInfo");
    const std::string_view server = JsonObject(json, "ServerInfo");
    const std::string iniBytes = ReadWholeFile(files.ini);
    // Decoded and parsed only when the JSON file lacks a value, which is rare.
    std::optional<IniText> ini;
    const auto iniValue = [&](std::wstring_view key) {
        if (!ini) ini = ParseIni(DecodeText(iniBytes));
        return IniValue(*ini, L"Config", key);
    };

    GameServerInfo info;
    info.configDirectory = files.directory;
    info.imagePath = process.imagePath;
    info.processId = process.processId;

    if (std::wstring host = JsonString(database, "sDBIpAddr"); !host.empty()) info.dbHost = std::move(host);
    info.dbPort = JsonInt(database, "nDBPort", info.dbPort);
    info.dbName = JsonString(database, "sDBName");
    info.dbUser = JsonString(database, "sDBUser");
    info.dbPassword = JsonString(database, "sDBPsw");

    info.serverName = JsonString(server, "sServerName");
    info.gameDirectory = JsonString(server, "Dir");
    info.serverId = std::to_wstring(JsonInt(server, "nServerID", 0));

    if (info.serverName.empty()) info.serverName = iniValue(L"GameName");
    if (info.gameDirectory.empty()) info.gameDirectory = iniValue(L"GameDirectory");
    if (info.serverId == L"0") info.serverId = iniValue(L"ServerID");
    if (info.serverName.empty()) info.serverName = info.dbName;
    if (info.serverName.empty()) info.serverName = LastComponent(files.directory);
    return info;
}
