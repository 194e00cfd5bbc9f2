#include "demo/desk_driver.h"
#include "discovery/config_directory.h"
#include "discovery/discover_game_servers.h"
#include "discovery/kernel_handle.h"
#include "tests/support/temp_directory.h"
#include "tests/support/wide_text.h"

TEST_CASE("the configuration is looked for upward from the image") {
    for (const TextRow& row :
         {TextRow{L"", L""}, TextRow{L"D:\\Game\\mIR200\\M2Server.exe", L"D:\\Game|D:\\Game\\mIR200|D:\\|"},
          TextRow{L"D:/Mir200/x//M2Server.exe", L"D:/Mir200/x|D:/Mir200|D:/|"},
          TextRow{L"D:\\1\\2\\3\\4\\5\\M2.exe",
                  L"D:\\1\\2\\3\\4\\5|D:\\1\\2\\3\\4|D:\\1\\2\\3|D:\\1\\2|D:\\1|"},
          TextRow{L"D:\\1\\2\\3\\Mir200\\M2.exe", L"D:\\1\\2\\3|D:\\1\\2\\3\\Mir200|D:\\1\\2|D:\\1|D:\\|"},
          TextRow{L"\\\\pc\\share\\M2.exe", L"\\\\pc\\share|\\\\pc\\|"}}) {
        std::wstring directories;
        for (const std::wstring& directory : ConfigDirectoryCandidates(row.in))
            directories += directory + L"|";
        CHECK(directories == row.expected);
    }
}

TEST_CASE("the configuration directory is found on the disk") {
    struct Row {
        std::wstring_view image, found;  // below a directory G that holds both files
        bool json, ini;                  // the files that lie beside the image
    };
    for (const Row& row :
         {Row{L"G\\bin\\M2Server.exe", L"G\\bin", true, true},
          Row{L"G\\bin\\M2Server.exe", L"G", true, false}, Row{L"G\\bin\\M2Server.exe", L"G", false, true},
          Row{L"G\\Mir200\\M2Server.exe", L"G", true, true},
          Row{L"G\\x\\Mir200\\M2Server.exe", L"G\\x\\Mir200", true, true},
          Row{L"G\\1\\2\\3\\4\\M2Server.exe", L"G", false, false},
          Row{L"G\\1\\2\\3\\4\\5\\M2Server.exe", L"", false, false}}) {
        CAPTURE(row.image);
        const TempDirectory place;
        const std::wstring beside(ParentPath(row.image));
        place.Make(beside + L"\\Config.ini");  // a directory of that name does not pass
        for (const std::wstring& directory : {std::wstring(L"G"), beside}) {
            if (directory == L"G" || row.json) place.Write(directory + L"\\Config.Json", "");
            if (directory != L"G" && !row.ini) continue;
            if (directory == beside) std::filesystem::remove(place.At(beside + L"\\Config.ini"));
            place.Write(directory + L"\\Config.ini", "");
        }
        std::wstring directory = place.At(L"");
        CHECK(FindServerConfigDirectory(place.At(row.image), directory) == !row.found.empty());
        CHECK(directory == place.At(row.found));
    }
}

TEST_CASE("every running game server becomes a zone or a problem and what it opens is closed") {
    const TempDirectory place;
    const std::wstring name = L"M2-" + std::to_wstring(GetCurrentProcessId()) + L".exe";
    std::vector<std::unique_ptr<desk::Program>> servers;
    const auto start = [&](const std::wstring& zone, const std::string& json) {
        place.Write(zone + L"\\Config.Json", json);
        place.Write(zone + L"\\Config.ini", "");
        place.Make(zone + L"\\Mir200");
        std::filesystem::copy_file(Built(L"demo\\M2Server.exe"), place.At(zone + L"\\Mir200\\" + name));
    };
    const auto run = [&](const std::wstring& zone) {
        servers.push_back(std::make_unique<desk::Program>(place.At(zone + L"\\Mir200\\" + name)));
    };
    start(L"One", R"({"DBInfo":{"sDBName":"G1"}})");
    start(L"nameless", R"({"ServerInfo":{"sServerName":"x"}})");
    start(L"locked", R"({"DBInfo":{"sDBName":"G2"}})");
    start(L"last", R"({"DBInfo":{"sDBName":"G3"}})");
    start(L"lost", "");
    std::filesystem::remove(place.At(L"lost\\Config.ini"));
    for (const wchar_t* zone : {L"One", L"nameless", L"locked", L"ONE", L"locked", L"lost", L"last"})
        run(zone);
    const FileHandle lock(CreateFileW(place.At(L"locked\\Config.Json").c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr));

    std::wstring problems = L"of the refresh before";
    const auto zones = DiscoverGameServers(L"m" + name.substr(1), problems);
    REQUIRE(zones.size() == 2);
    CHECK(zones[0].dbName + zones[1].dbName == L"G1G3");
    CHECK(zones[0].processId == servers[0]->Id());
    CHECK(zones[1].imagePath == place.At(L"last\\Mir200\\" + name));
    CHECK(zones[1].configDirectory == place.At(L"last"));
    CHECK(problems == place.At(L"nameless 的 Config.Json 没有 DBInfo.sDBName；") +
                          place.At(L"locked 配置读取失败；进程 ") + std::to_wstring(servers[5]->Id()) +
                          L" 没找到上级 Config.Json / Config.ini");
    // Without a leak new handles get the same numbers each time; Windows also counts them.
    const auto used = [] {
        DWORD count = 0;
        GetProcessHandleCount(GetCurrentProcess(), &count);
        std::vector<FileHandle> fillers;
        for (int i = 0; i < 9; ++i) fillers.emplace_back(CreateEventW(nullptr, TRUE, TRUE, nullptr));
        return std::pair(count, fillers.back().Get());
    };
    const auto before = used();
    CHECK(DiscoverGameServers(name.substr(0, name.size() - 4), problems).empty());
    CHECK(problems.empty());
    for (int i = 0; i < 5; ++i) DiscoverGameServers(name, problems);
    CHECK(used() == before);
}
