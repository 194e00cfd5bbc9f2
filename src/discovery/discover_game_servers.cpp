#include "discovery/discover_game_servers.h"

#include <exception>
#include <set>

#include "discovery/config_directory.h"
#include "discovery/server_config.h"
#include "discovery/server_processes.h"
#include "text/text.h"

std::vector<GameServerInfo> DiscoverGameServers(const std::wstring& processName, std::wstring& problems) {
    return ReadZones(EnumerateServerProcesses(processName), problems);
}

std::vector<GameServerInfo> ReadZones(const std::vector<ServerProcessEntry>& processes,
                                      std::wstring& problems) {
    std::vector<GameServerInfo> zones;
    std::set<std::wstring> usedDirectories;
    problems.clear();
    const auto addProblem = [&](const std::wstring& problem) {
        if (!problems.empty()) problems += L'；';
        problems += problem;
    };
    for (const ServerProcessEntry& process : processes) {
        ServerConfigFiles files;
        if (!FindServerConfigDirectory(process.imagePath, files)) {
            addProblem(L"进程 " + std::to_wstring(process.processId) +
                       L" 没找到上级 Config.Json / Config.ini");
            continue;
        }
        if (!usedDirectories.insert(ToLower(files.directory)).second) continue;
        try {
            GameServerInfo zone = ReadServerConfig(process, files);
            if (zone.dbName.empty()) {
                addProblem(files.directory + L" 的 Config.Json 没有 DBInfo.sDBName");
            } else {
                zones.push_back(std::move(zone));
            }
        } catch (const std::exception&) {
            addProblem(files.directory + L" 配置读取失败");
        }
    }
    return zones;
}
