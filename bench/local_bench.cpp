// What happens without a server: reading configurations, finding zones, filling a list, ranking columns.

#include <windows.h>

// after windows.h, which they need
#include <commctrl.h>
#include <tlhelp32.h>

#include <array>
#include <cwchar>
#include <deque>

#include "account_query/account_candidates.h"
#include "app/controls.h"
#include "bench/measure.h"
#include "demo/desk_driver.h"
#include "discovery/discover_game_servers.h"
#include "discovery/server_config.h"
#include "discovery/server_processes.h"
#include "tests/support/temp_directory.h"

namespace {

// ---- reading one zone's configuration -------------------------------------------------------------------

constexpr std::string_view kDatabaseKeys =
    "\"DBInfo\": {\"sDBIpAddr\": \"127.0.0.1\", \"nDBPort\": 1433, \"sDBName\": \"GameZone1\", \"sDBUser\": "
    "\"sa\", "
    "\"sDBPsw\": \"secret\"}, ";
constexpr std::string_view kNameKeys =
    "\"ServerInfo\": {\"sServerName\": \"青龙一区\", \"Dir\": \"D:\\\\Game\", \"nServerID\": 7}";

// Unrelated settings before the keys that are read.
std::string Json(size_t size, std::string_view nameKeys = kNameKeys) {
    const std::string keys = std::string(kDatabaseKeys) + std::string(nameKeys);
    std::string text = "{\n  \"GameInfo\": {";
    for (int number = 0; text.size() + keys.size() + 200 < size; ++number) {
        text += "\n    \"sSetting" + std::to_string(number) + "\": \"值 " + std::to_string(number) +
                "\", \"nLimit" + std::to_string(number) + "\": " + std::to_string(number * 7) + ",";
    }
    text += "\n    \"bLast\": true},\n  " + keys;
    text.append(size - text.size() - 2, ' ');
    return text + "}\n";
}

std::string Ini(size_t size) {
    std::string text = "[Config]\r\nGameName=青龙一区\r\nGameDirectory=D:\\Game\r\nServerID=7\r\n[Setup]\r\n";
    for (int number = 0; text.size() + 100 < size; ++number) {
        text += "Setting" + std::to_string(number) + "=值 " + std::to_string(number * 7) + "\r\n";
    }
    return text.append(size - text.size(), ';');
}

// The least that any reader does: all bytes, and one conversion.
void ReadAndConvert(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size = {};
    GetFileSizeEx(file, &size);
    const auto bytes = static_cast<size_t>(size.QuadPart);
    auto* read = static_cast<char*>(std::malloc(bytes));
    auto* wide = static_cast<wchar_t*>(std::malloc(bytes * sizeof(wchar_t)));
    DWORD count = 0;
    ReadFile(file, read, static_cast<DWORD>(bytes), &count, nullptr);
    CloseHandle(file);
    const int units =
        MultiByteToWideChar(CP_UTF8, 0, read, static_cast<int>(count), wide, static_cast<int>(bytes));
    if (units <= 0) throw std::runtime_error("the bare reader failed");
    std::free(read);
    std::free(wide);
}

void ReadBothFiles(const std::wstring& directory) {
    ReadAndConvert(directory + L"\\Config.Json");
    ReadAndConvert(directory + L"\\Config.ini");
}

void MeasureReading(const std::string& row, const std::string& json, const std::string& ini, int rounds,
                    int repeats, double target = 2) {
    const TempDirectory directory;
    directory.Write(L"Config.Json", json);
    directory.Write(L"Config.ini", ini);
    const ServerProcessEntry process;
    const std::wstring path = directory.At(L".");
    const auto ours = [&] {
        for (int i = 0; i < repeats; ++i) {
            if (ReadServerConfig(process, path).dbName != L"GameZone1") throw std::runtime_error("misread");
        }
    };
    const auto bare = [&] {
        for (int i = 0; i < repeats; ++i) ReadBothFiles(path);
    };
    PrintRatio(row,
               Compare(
                   rounds, [&] { return Milliseconds(ours) / repeats; },
                   [&] { return Milliseconds(bare) / repeats; }),
               target);
}

// ---- refresh with 64 zones ------------------------------------------------------------------------------

constexpr int kZones = 64;
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
    const TempDirectory folder;
    std::deque<desk::Program> servers;  // each with an installation of its own
    for (int zone = 0; zone < kZones; ++zone) {
        const std::wstring name = L"zone" + std::to_wstring(zone);
        folder.Write(name + L"\\Config.Json", Json(4096));
        folder.Write(name + L"\\Config.ini", Ini(4096));
        folder.Make(name + L"\\Mir200");
        const std::wstring program = folder.At(name + L"\\Mir200\\" + kServerName);
        CopyFileW(Built(L"..\\demo\\M2Server.exe").c_str(), program.c_str(), FALSE);
        servers.emplace_back(program);
    }
    while (QueryImagePaths() < kZones) Sleep(100);
    Sleep(2'000);  // until all of them sleep
    const auto refresh = [] {
        std::wstring problems;
        if (DiscoverGameServers(kServerName, problems).size() != kZones)
            throw std::runtime_error("zones are missing");
    };
    const auto find = [] {
        if (QueryImagePaths() != kZones) throw std::runtime_error("processes are missing");
    };
    const auto findAndRead = [&] {
        find();
        for (int zone = 0; zone < kZones; ++zone) ReadBothFiles(folder.At(L"zone" + std::to_wstring(zone)));
    };
    PrintRatio("refresh with 64 running zones",
               Compare(
                   41, [&] { return Milliseconds(refresh); }, [&] { return Milliseconds(findAndRead); }),
               1.05);
    PrintRatio("  of that, finding the processes",
               Compare(
                   41, [&] { return Milliseconds([] { EnumerateServerProcesses(kServerName); }); },
                   [&] { return Milliseconds(find); }));
}

// ---- filling a list -------------------------------------------------------------------------------------

using Texts = std::array<std::wstring, 5>;  // ID, characters, accounts

std::vector<Texts> SomeTexts(int count) {
    std::vector<Texts> texts;
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i), name = L"角色" + number,
                           account = L"account" + number;
        texts.push_back({std::to_wstring(10'000'000 + i), name, name, account, account});
    }
    return texts;
}

// The list as the repair window has it, in a window that can be seen.
HWND CreateVisibleList() {
    const HWND window = CreateWindowExW(0, WC_STATICW, L"", WS_POPUP | WS_VISIBLE, 0, 0, 1160, 860, nullptr,
                                        nullptr, nullptr, nullptr);
    constexpr ControlSpec kSpecs[] = {{1, ControlKind::List, L""}};
    constexpr ControlPlace kPlaces[] = {{1, 0, 0, 860, 380}};
    CreateControls(window, kSpecs, kPlaces, static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)));
    constexpr ListColumn kColumns[] = {{L"1", 210}, {L"2", 160}, {L"3", 160}, {L"4", 150}, {L"5", 150}};
    SetUpList(GetDlgItem(window, 1), kColumns);
    return GetDlgItem(window, 1);
}

// A program that fills lists also answers its messages.
void Paint(HWND list) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    UpdateWindow(list);
}

void Fill(HWND list, const std::vector<Texts>& texts) {
    ListFill rows(list, texts.size());
    for (const Texts& text : texts) {
        rows.AddRow({text[0].c_str(), text[1].c_str(), text[2].c_str(), text[3].c_str(), text[4].c_str()});
    }
}

void FillNaively(HWND list, const std::vector<Texts>& texts) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    for (const Texts& text : texts) {
        for (item.iSubItem = 0; item.iSubItem < 5; ++item.iSubItem) {
            item.pszText = const_cast<wchar_t*>(text[static_cast<size_t>(item.iSubItem)].c_str());
            SendMessageW(list, item.iSubItem == 0 ? LVM_INSERTITEMW : LVM_SETITEMW, 0,
                         reinterpret_cast<LPARAM>(&item));
        }
        ++item.iItem;
    }
}

void MeasureListFilling() {
    // A naive insertion takes minutes for all rows: it gets off with a twentieth of them.
    constexpr int kRows = 20'000;
    const std::vector<Texts> texts = SomeTexts(kRows), fewTexts = SomeTexts(kRows / 20);
    const HWND list = CreateVisibleList();
    const auto onEmptyList = [&](const auto& fill, const std::vector<Texts>& rows) {
        SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
        Paint(list);
        return Milliseconds([&] {
            fill(list, rows);
            Paint(list);
        });
    };
    PrintRatio(
        "filling the list: 20,000 rows, naively 1,000 rows",
        Compare(
            3, [&] { return onEmptyList(Fill, texts); }, [&] { return onEmptyList(FillNaively, fewTexts); }),
        0.5);
    DestroyWindow(GetParent(list));
}

// ---- ranking candidate columns --------------------------------------------------------------------------

void MeasureRanking() {
    constexpr int kColumns = 5'000;
    constexpr const wchar_t* kTables[] = {L"TBL_ACCOUNT", L"TBL_CHARACTER", L"UserLoginHistory",
                                          L"TBL_ITEM_RECORD"};
    constexpr const wchar_t* kNames[] = {L"FLD_CHARACTER", L"LoginName", L"Description", L"FLD_ACCOUNT",
                                         L"sItemName"};
    std::vector<AccountSource> columns;
    for (int i = 0; i < kColumns; ++i) {
        columns.push_back({L"dbo", kTables[i % 4] + std::to_wstring(i / 20), kNames[i % 5], 0, false});
    }
    const auto rank = [&](std::vector<AccountSource>& candidates) {
        for (AccountSource& candidate : candidates) {
            if (!IsSensitiveColumnName(candidate.column)) candidate.score = ScoreAccountCandidate(candidate);
        }
        RankAccountCandidates(candidates);
    };
    const auto measure = [&] {
        std::vector<AccountSource> candidates = columns;
        return Milliseconds([&] { rank(candidates); });
    };
    PrintValue("scoring and sorting 5,000 columns", Compare(51, measure, measure).Ours(), "ms", 10);
    std::vector<AccountSource> candidates = columns;
    const Allocations allocations = AllocationsOf([&] { rank(candidates); });
    PrintValue("  allocations per column (31 rules' words)",
               static_cast<double>(allocations.calls) / kColumns, "", 3.1);
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
