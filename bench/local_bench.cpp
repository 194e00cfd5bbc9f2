// What happens without a server: reading configurations, finding zones, filling a list, ranking columns.

#include <windows.h>

// after windows.h, which they need
#include <commctrl.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cwchar>

#include "account_query/account_candidates.h"
#include "app/controls.h"
#include "bench/counted_new.h"
#include "bench/table.h"
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

// Settings of the game server that are none of ours, before ours.
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

void MeasureReading(std::string_view row, const std::string& json, const std::string& ini, int rounds,
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
        for (int i = 0; i < repeats; ++i) {
            ReadAndConvert(directory.At(L"Config.Json"));
            ReadAndConvert(directory.At(L"Config.ini"));
        }
    };
    PrintRatio(row, "ms",
               Compare(
                   rounds, [&] { return Milliseconds(ours) / repeats; },
                   [&] { return Milliseconds(bare) / repeats; }),
               target);
}

// ---- refresh with 64 zones ------------------------------------------------------------------------------

constexpr int kZones = 64;
constexpr wchar_t kServerName[] = L"M2Server.exe";

std::wstring GameServerProgram() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\'));
    return path + L"\\..\\demo\\" + kServerName;
}

// Game servers that run, each with an installation of its own.
class RunningZones {
public:
    RunningZones() {
        for (int zone = 0; zone < kZones; ++zone) {
            const std::wstring name = L"zone" + std::to_wstring(zone);
            folder_.Write(name + L"\\Config.Json", Json(4096));
            folder_.Write(name + L"\\Config.ini", Ini(4096));
            folder_.Make(name + L"\\Mir200");
            std::wstring program = folder_.At(name + L"\\Mir200\\" + kServerName);
            STARTUPINFOW startup = {};
            startup.cb = sizeof startup;
            PROCESS_INFORMATION started = {};
            if (!CopyFileW(GameServerProgram().c_str(), program.c_str(), FALSE) ||
                !CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr,
                                nullptr, &startup, &started)) {
                throw std::runtime_error("cannot start a game server");
            }
            CloseHandle(started.hThread);
            processes_.push_back(started.hProcess);
        }
    }
    ~RunningZones() {
        for (const HANDLE process : processes_) {
            TerminateProcess(process, 0);
            WaitForSingleObject(process, 10'000);
            CloseHandle(process);
        }
    }
    RunningZones(const RunningZones&) = delete;
    RunningZones& operator=(const RunningZones&) = delete;

    void ReadFiles() const {
        for (int zone = 0; zone < kZones; ++zone) {
            const std::wstring directory = folder_.At(L"zone" + std::to_wstring(zone));
            ReadAndConvert(directory + L"\\Config.Json");
            ReadAndConvert(directory + L"\\Config.ini");
        }
    }

private:
    TempDirectory folder_;
    std::vector<HANDLE> processes_;
};

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
    const RunningZones zones;
    while (QueryImagePaths() < kZones) Sleep(100);
    Sleep(2'000);  // until all of them sleep
    std::wstring problems;
    const auto refresh = [&] {
        if (DiscoverGameServers(kServerName, problems).size() != kZones)
            throw std::runtime_error("zones are missing");
    };
    const auto bare = [] {
        if (QueryImagePaths() != kZones) throw std::runtime_error("processes are missing");
    };
    PrintRatio("refresh with 64 running zones", "ms",
               Compare(
                   41, [&] { return Milliseconds(refresh); }, [&] { return Milliseconds(bare); }),
               1.5);
    PrintRatio("  against the same and reading the 128 files once", "ms",
               Compare(
                   41, [&] { return Milliseconds(refresh); },
                   [&] { return Milliseconds([&] { bare(), zones.ReadFiles(); }); }));
    PrintRatio("  of that, finding the processes", "ms",
               Compare(
                   41, [&] { return Milliseconds([] { EnumerateServerProcesses(kServerName); }); },
                   [&] { return Milliseconds(bare); }));
}

// ---- filling a list -------------------------------------------------------------------------------------

struct Texts {
    std::wstring id, characterA, characterB, accountA, accountB;
};

std::vector<Texts> SomeTexts(int count) {
    std::vector<Texts> texts;
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        texts.push_back({std::to_wstring(10'000'000 + i), L"角色" + number, L"角色" + number,
                         L"account" + number, L"account" + number});
    }
    return texts;
}

// The list as the repair window has it, in a window that can be seen.
class VisibleList {
public:
    VisibleList() {
        window_ = CreateWindowExW(0, WC_STATICW, L"", WS_POPUP | WS_VISIBLE, 0, 0, 1160, 860, nullptr,
                                  nullptr, nullptr, nullptr);
        constexpr ControlSpec kSpecs[] = {{1, ControlKind::List, L""}};
        constexpr ControlPlace kPlaces[] = {{1, 0, 0, 860, 380}};
        CreateControls(window_, kSpecs, kPlaces, static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)));
        list_ = GetDlgItem(window_, 1);
        constexpr ListColumn kColumns[] = {{L"1", 210}, {L"2", 160}, {L"3", 160}, {L"4", 150}, {L"5", 150}};
        SetUpList(list_, kColumns);
        Paint();
    }
    ~VisibleList() { DestroyWindow(window_); }
    VisibleList(const VisibleList&) = delete;
    VisibleList& operator=(const VisibleList&) = delete;

    HWND Handle() const noexcept { return list_; }

    // A program that fills lists also answers its messages.
    void Paint() const {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        UpdateWindow(list_);
    }

private:
    HWND window_ = nullptr;
    HWND list_ = nullptr;
};

void FillNaively(HWND list, const std::vector<Texts>& texts) {
    int row = 0;
    for (const Texts& text : texts) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = row++;
        for (const std::wstring* cell :
             {&text.id, &text.characterA, &text.characterB, &text.accountA, &text.accountB}) {
            item.pszText = const_cast<wchar_t*>(cell->c_str());
            SendMessageW(list, item.iSubItem == 0 ? LVM_INSERTITEMW : LVM_SETITEMW, 0,
                         reinterpret_cast<LPARAM>(&item));
            ++item.iSubItem;
        }
    }
}

void MeasureListFilling() {
    // A naive insertion takes minutes for all rows: it gets off with a twentieth of them.
    constexpr int kRows = 20'000;
    constexpr int kNaiveRows = kRows / 20;
    const std::vector<Texts> texts = SomeTexts(kRows), fewTexts = SomeTexts(kNaiveRows);
    const VisibleList list;
    const auto ours = [&] {
        {
            ListFill rows(list.Handle(), texts.size());
            for (const Texts& text : texts) {
                rows.AddRow({text.id.c_str(), text.characterA.c_str(), text.characterB.c_str(),
                             text.accountA.c_str(), text.accountB.c_str()});
            }
        }
        list.Paint();
    };
    const auto naive = [&] {
        FillNaively(list.Handle(), fewTexts);
        list.Paint();
    };
    const auto onEmptyList = [&](const auto& action) {
        SendMessageW(list.Handle(), LVM_DELETEALLITEMS, 0, 0);
        list.Paint();
        return Milliseconds(action);
    };
    PrintRatio("filling the list: 20,000 rows, naively 1,000 rows", "ms",
               Compare(
                   3, [&] { return onEmptyList(ours); }, [&] { return onEmptyList(naive); }),
               0.5);
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
    PrintValue("scoring and sorting 5,000 columns", "ms", Compare(51, measure, measure).ours, 10);
    std::vector<AccountSource> candidates = columns;
    const Allocations allocations = CountAllocations([&] { rank(candidates); });
    PrintValue("  allocations per column (31 rules' words)", "",
               static_cast<double>(allocations.calls) / kColumns, 3.1);
}

}  // namespace

int wmain() {
    try {
        constexpr size_t kSmall = 4 << 10, kLarge = 10 << 20;
        MeasureReading("reading one zone: two files of 4 KB", Json(kSmall), Ini(kSmall), 51, 20);
        MeasureReading("reading one zone: Config.Json of 10 MB", Json(kLarge), Ini(kSmall), 15, 1);
        MeasureReading("reading one zone: Config.ini of 10 MB", Json(kSmall), Ini(kLarge), 15, 1);
        MeasureReading("  the same when Config.Json gives no name", Json(kSmall, "\"None\": 0"), Ini(kLarge),
                       7, 1, 0);
        MeasureRefresh();
        MeasureListFilling();
        MeasureRanking();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
