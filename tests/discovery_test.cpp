#include "discovery/config_directory.h"
#include "discovery/discover_game_servers.h"
#include "discovery/kernel_handle.h"
#include "discovery/server_processes.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"

TEST_CASE("the configuration is looked for upward from the image") {
    for (const auto& [image, expected] : Table(
             {std::pair(L"", L""s),
              {L"D:\\Game\\mIR200\\M2Server.exe", L"D:\\Game|D:\\Game\\mIR200|D:\\|"},
              {L"D:\\1\\2\\3\\4\\5\\M2.exe", L"D:\\1\\2\\3\\4\\5|D:\\1\\2\\3\\4|D:\\1\\2\\3|D:\\1\\2|D:\\1|"},
              {L"D:\\1\\2/3//Mir200/M2.exe", L"D:\\1\\2/3|D:\\1\\2/3//Mir200|D:\\1\\2|D:\\1|D:\\|"},
              {L"\\\\pc\\share\\M2.exe", L"\\\\pc\\share|\\\\pc\\|"}})) {
        std::wstring directories;
        for (const std::wstring& directory : ConfigDirectoryCandidates(image))
            directories += directory + L"|";
        CHECK(directories == expected);
    }
}

TEST_CASE("every game server becomes a zone or a problem and an installation counts once") {
    const TempDirectory place;
    for (const auto& [zone, json] : {std::pair(L"One\\"s, R"({"DBInfo":{"sDBName":"G1"}})"),
                                     {L"last\\Mir200\\", "{}"},
                                     {L"nameless\\", R"({"ServerInfo":{"sServerName":"x"}})"},
                                     {L"locked\\", "{}"},
                                     {L"last\\", R"({"DBInfo":{"sDBName":"G3"}})"}}) {
        place.Write(zone + L"Config.Json", json);
        place.Write(zone + L"Config.ini", "");
    }
    // Both files must be there, and be files.
    place.Make(L"One\\json\\Config.ini");
    place.Write(L"One\\json\\Config.Json", "{}");
    place.Write(L"One\\ini\\Config.ini", "{}");
    std::vector<ServerProcessEntry> processes;
    for (const std::wstring& image : Words(L"One\\ini nameless locked ONE\\json LOCKED lost last\\Mir200"))
        processes.push_back(
            {unsigned(processes.size()) + 4'000'000'000u, L"", place.At(image) + L"\\M2.exe"});
    processes.push_back({7, L"", L""});
    const FileHandle lock(CreateFileW(place.At(L"locked\\Config.Json").c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    std::wstring problems = L"of the refresh before", found;
    for (const GameServerInfo& zone : ReadZones(processes, problems))
        found += zone.dbName + L" " + std::to_wstring(zone.processId) + L" " + zone.configDirectory + L" " +
                 zone.imagePath + L"\n";
    CHECK(found == L"G1 4000000000 " + place.At(L"One ") + place.At(L"One\\ini\\M2.exe") +
                       L"\nG3 4000000006 " + place.At(L"last ") + place.At(L"last\\Mir200\\M2.exe") + L"\n");
    const std::wstring lost = L" 没找到上级 Config.Json / Config.ini";
    CHECK(problems == place.At(L"nameless 的 Config.Json 没有 DBInfo.sDBName；") +
                          place.At(L"locked 配置读取失败；进程 4000000005") + lost + L"；进程 7" + lost);
}

TEST_CASE("processes are found by their whole name and nothing stays open") {
    CHECK(EnumerateServerProcesses(L"rule_tests").size() == 0);
    // Without a leak new handles get the same numbers each time.
    const auto nextHandle = [] { return FileHandle(CreateEventW(nullptr, TRUE, TRUE, nullptr)).Get(); };
    const HANDLE next = nextHandle();
    std::wstring found;
    for (const ServerProcessEntry& process : EnumerateServerProcesses(L"Rule_Tests.EXE"))
        if (process.processId == GetCurrentProcessId()) found += process.exeName + L" " + process.imagePath;
    CHECK(nextHandle() == next);
    CHECK(found == L"rule_tests.exe " + Built(L"tests\\rule_tests.exe"));
}
