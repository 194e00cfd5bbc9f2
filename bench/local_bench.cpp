// What happens without a server: reading configurations, finding zones, filling a list, ranking columns.

#include <windows.h>

// after windows.h, which they need
#include <commctrl.h>
#include <tlhelp32.h>

#include <cwchar>
#include <deque>

#include "account_query/account_candidates.h"
#include "app/controls.h"
#include "discovery/discover_game_servers.h"
#include "discovery/server_config.h"
#include "discovery/server_processes.h"
#include "measure.h"
#include "support/temp_directory.h"
#include "window_driver.h"

namespace {

constexpr std::string_view kNameKeys =
    R"("ServerInfo": {"sServerName": "青龙一区", "Dir": "D:\\Game", "nServerID": 7}})";

// Unrelated settings before the keys that are read.
std::string Json(size_t size, std::string_view nameKeys = kNameKeys) {
    std::string text = R"({"GameInfo": {)";
    for (int number = 0; text.size() + 500 < size; ++number) {
        const std::string digits = std::to_string(number);
        text += "\n    \"sSetting" + digits + "\": \"值 " + digits + "\", \"nLimit" + digits +
                "\": " + digits + "7,";
    }
    text +=
        R"("bLast": true}, "DBInfo": {"sDBIpAddr": "127.0.0.1", "nDBPort": 1433, "sDBName": "GameZone1", )"
        R"("sDBUser": "sa", "sDBPsw": "secret"}, )";
    return text.append(size - text.size() - nameKeys.size(), ' ').append(nameKeys);
}

std::string Ini(size_t size) {
    std::string text = "[Config]\r\nGameName=青龙一区\r\nGameDirectory=D:\\Game\r\nServerID=7\r\n[Setup]\r\n";
    for (int number = 0; text.size() + 100 < size; ++number)
        text += "Setting" + std::to_string(number) + "=值 " + std::to_string(number * 7) + "\r\n";
    return text.append(size - text.size(), ';');
}

// The least that any reader does: all bytes, and one conversion.
void ReadAndConvert(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size = {};
    GetFileSizeEx(file, &size);
    const auto bytes = static_cast<size_t>(size.QuadPart);
    auto* wide = static_cast<wchar_t*>(std::malloc(bytes * (sizeof(wchar_t) + 1)));
    char* read = reinterpret_cast<char*>(wide + bytes);
    DWORD count = 0;
    ReadFile(file, read, static_cast<DWORD>(bytes), &count, nullptr);
    CloseHandle(file);
    if (!MultiByteToWideChar(CP_UTF8, 0, read, static_cast<int>(count), wide, static_cast<int>(bytes)))
        throw std::runtime_error("the bare reader failed");
    std::free(wide);
}

void ReadBothFiles(const std::wstring& directory) {
    ReadAndConvert(directory + L"\\Config.Json");
    ReadAndConvert(directory + L"\\Config.ini");
}

void MeasureReading(const std::string& row, const std::string& json, const std::string& ini, int rounds,
                    int repeats, double limit = 2) {
    const TempDirectory folder;
    folder.Write(L"Config.Json", json);
    folder.Write(L"Config.ini", ini);
    const std::wstring path = folder.At(L".");
    const auto read = [&] {
        if (ReadServerConfig({}, path).dbName != L"GameZone1") throw std::runtime_error("misread");
    };
    PrintRatio(row, CompareTimes(rounds, repeats, read, [&] { ReadBothFiles(path); }), limit);
}

constexpr wchar_t kServerName[] = L"M2Server.exe";

int QueryImagePaths() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    int found = 0;
    static wchar_t path[32768];
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
        if (std::wcscmp(entry.szExeFile, kServerName) != 0) continue;
        const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID);
        DWORD length = 32768;
        found += QueryFullProcessImageNameW(process, 0, path, &length);
        CloseHandle(process);
    }
    CloseHandle(snapshot);
    return found;
}

void MeasureRefresh() {
    constexpr int kZones = 64;
    const TempDirectory folder;
    std::deque<desk::Program> servers;  // each with an installation of its own
    for (int zone = 0; zone < kZones; ++zone) {
        const std::wstring name = L"zone" + std::to_wstring(zone);
        folder.Write(name + L"\\Config.Json", Json(4096));
        folder.Write(name + L"\\Config.ini", Ini(4096));
        folder.Make(name + L"\\Mir200");
        const std::wstring program = folder.At(name + L"\\Mir200\\" + kServerName);
        CopyFileW(Built(L"demo\\M2Server.exe").c_str(), program.c_str(), FALSE);
        servers.emplace_back(program);
    }
    while (QueryImagePaths() < kZones) Sleep(100);
    Sleep(2'000);  // until all of them sleep
    const auto refresh = [&] {
        std::wstring problems;
        if (DiscoverGameServers(kServerName, problems).size() != kZones)
            throw std::runtime_error("zones are missing");
    };
    const auto find = [&] {
        if (QueryImagePaths() != kZones) throw std::runtime_error("processes are missing");
    };
    const auto findAndRead = [&] {
        find();
        for (int zone = 0; zone < kZones; ++zone) ReadBothFiles(folder.At(L"zone" + std::to_wstring(zone)));
    };
    PrintRatio("refresh with 64 running zones", CompareTimes(121, 1, refresh, findAndRead), 1.05);
    const auto enumerate = [] { EnumerateServerProcesses(kServerName); };
    PrintRatio("  of that, finding the processes", CompareTimes(41, 1, enumerate, find));
}

constexpr const wchar_t* kCells[] = {L"10000001", L"角色12345", L"角色12345", L"account12345",
                                     L"account12345"};

constexpr ListColumn kListColumns[] = {{L"1", 210}, {L"2", 160}, {L"3", 160}, {L"4", 150}, {L"5", 150}};

// The list as the repair window has it, in a window that can be seen.
HWND CreateVisibleList() {
    const HWND window = CreateWindowExW(0, WC_STATICW, L"", WS_POPUP | WS_VISIBLE, 0, 0, 1160, 860, nullptr,
                                        nullptr, nullptr, nullptr);
    constexpr ControlSpec kSpecs[] = {{1, ControlKind::List, L""}};
    constexpr ControlPlace kPlaces[] = {{1, 0, 0, 860, 380}};
    CreateControls(window, kSpecs, kPlaces, static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)));
    SetUpList(GetDlgItem(window, 1), kListColumns);
    return GetDlgItem(window, 1);
}

// A program that fills lists also answers its messages.
void Paint(HWND list) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    UpdateWindow(list);
}

void FillNaively(HWND list, int rows) {
    for (int cell = 0; cell < rows * 5; ++cell) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = cell / 5;
        item.iSubItem = cell % 5;
        item.pszText = const_cast<wchar_t*>(kCells[cell % 5]);
        SendMessageW(list, item.iSubItem == 0 ? LVM_INSERTITEMW : LVM_SETITEMW, 0,
                     reinterpret_cast<LPARAM>(&item));
    }
}

void MeasureListFilling() {
    constexpr int kRows = 20'000;
    const HWND list = CreateVisibleList();
    const auto fill = [&] {
        {
            ListFill rows(list, kListColumns, kRows);
            for (int i = 0; i < kRows; ++i) rows.AddRow(kCells);
        }
        Paint(list);
    };
    // A naive insertion takes minutes for all rows: it gets off with a twentieth of them.
    const auto fillNaively = [&] {
        FillNaively(list, kRows / 20);
        Paint(list);
    };
    const auto empty = [&] {
        SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
        Paint(list);
    };
    PrintRatio("filling the list: 20,000 rows, naively 1,000 rows",
               CompareTimes(3, 1, fill, fillNaively, empty), 0.5);
}

void MeasureRanking() {
    constexpr int kColumns = 5'000;
    constexpr const wchar_t* kTables[] = {L"TBL_ACCOUNT", L"TBL_CHARACTER", L"UserLoginHistory",
                                          L"TBL_ITEM_RECORD"};
    constexpr const wchar_t* kNames[] = {L"FLD_CHARACTER", L"LoginName", L"Description", L"FLD_ACCOUNT",
                                         L"sItemName"};
    std::vector<AccountSource> columns;
    for (int i = 0; i < kColumns; ++i)
        columns.push_back({L"dbo", kTables[i % 4] + std::to_wstring(i / 20), kNames[i % 5], 0, false});
    std::vector<AccountSource> candidates;
    const auto rank = [&] {
        for (AccountSource& candidate : candidates) {
            if (!IsSensitiveColumnName(candidate.column)) candidate.score = ScoreAccountCandidate(candidate);
        }
        RankAccountCandidates(candidates);
    };
    const Comparison times = CompareTimes(25, 1, rank, rank, [&] { candidates = columns; });
    PrintValue("scoring and sorting 5,000 columns", Median(times.ours), "ms", 10);
    candidates = columns;
    PrintValue("  allocations per column (31 rules' words)", AllocationsOf(rank).calls / kColumns, "", 3.1);
}

}  // namespace

void Measure() {
    constexpr size_t kSmall = 4 << 10, kLarge = 10 << 20;
    MeasureReading("reading one zone: two files of 4 KB", Json(kSmall), Ini(kSmall), 51, 20);
    MeasureReading("reading one zone: Config.Json of 10 MB", Json(kLarge), Ini(kSmall), 15, 1);
    MeasureReading("reading one zone: Config.ini of 10 MB", Json(kSmall), Ini(kLarge), 15, 1);
    MeasureReading("  the same when Config.Json gives no name", Json(kSmall, "\"None\": 0"), Ini(kLarge), 7,
                   1, 0);
    MeasureRefresh();
    MeasureListFilling();
    MeasureRanking();
}
