#include <algorithm>

#include "account_query/account_source.h"
#include "account_query/account_text.h"
#include "support/own_windows.h"

// after windows.h, which it needs
#include <winternl.h>

namespace {

constexpr const char* kDown = "connect\t*\t08001\t17\t断开\n";
constexpr const char* kRefused = "connect\t*\t28000\t18456\t断开\n";

// What is in use on the heaps of this process, in bytes.
long long HeapInUse() {
    HANDLE heaps[64];
    long long used = 0;
    for (DWORD i = std::min<DWORD>(GetProcessHeaps(64, heaps), 64); i-- > 0;)
        for (PROCESS_HEAP_ENTRY entry = {}; HeapWalk(heaps[i], &entry);)
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) used += entry.cbData;
    return used;
}

// How much stays in use after so many rounds of an action, in bytes. Of four series the first one warms up
// and of the others the least counts: a heap grows by more when it makes room for small blocks.
template <class Action>
long long Growth(int rounds, Action action) {
    long long least = HeapInUse();
    for (int series = 0; series < 4; ++series) {
        const long long before = HeapInUse();
        for (int i = 0; i < rounds; ++i) action();
        if (series > 0) least = std::min(least, HeapInUse() - before);
    }
    return least;
}

// Fonts, pens, brushes, bitmaps and device contexts of this process.
size_t GdiObjects() {
    if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return counted;
    // Wine does not count them, but keeps each process's handle table where Windows has it: entries of 24
    // bytes with the kind of object, zero for a free entry, in the fifteenth.
    constexpr size_t kEntry = 24, kKind = 14, kEntries = 0x4000, kTable = 0xF8;
    const auto block = reinterpret_cast<const char*>(NtCurrentTeb()->ProcessEnvironmentBlock);
    const char* const table = *reinterpret_cast<const char* const*>(block + kTable);
    REQUIRE(table);
    size_t objects = 0;
    for (size_t i = kKind; i < kEntry * kEntries; i += kEntry) objects += table[i] != 0;
    return objects;
}

std::string Utf16Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.c_str()), text.size() * sizeof(wchar_t)};
}

bool IsInMemory(HANDLE process, const std::wstring& text) {
    MEMORY_BASIC_INFORMATION region = {};
    while (VirtualQueryEx(process, static_cast<char*>(region.BaseAddress) + region.RegionSize, &region,
                          sizeof region) != 0) {
        if (region.State != MEM_COMMIT || region.Type != MEM_PRIVATE) continue;
        std::string memory(region.RegionSize, '\0');
        ReadProcessMemory(process, region.BaseAddress, memory.data(), memory.size(), nullptr);
        if (memory.find(Utf16Bytes(text)) != memory.npos) return true;
    }
    return false;
}

// The password may stand in the masked box, in the game server's own file and nowhere else that can be seen.
void CheckAfterwards(const RepairDesk& story) {
    CHECK((LiveHandles() == 0 && OpenConnections() == 0));
    const std::wstring& password = Server().password;
    for (const HWND window : {story.desk.window, story.window}) {
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;)
            if (GetDlgCtrlID(child) != kPasswordEdit)
                CHECK(desk::Text(child).find(password) == password.npos);
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(story.desk.folder.At(L""))) {
        if (!entry.is_regular_file() || entry.path().filename() == L"Config.Json") continue;
        const std::string bytes = ReadWholeFile(entry.path().wstring());
        for (const std::string& form : {WideToUtf8(password), Utf16Bytes(password)})
            CHECK(bytes.find(form) == bytes.npos);
    }
    // Quoted as in a connection string; the search sees the zone's copy, so it would see this one.
    const HANDLE tool = story.desk.tool->Process();
    CHECK(IsInMemory(tool, password));
    CHECK_FALSE(IsInMemory(tool, L"PWD={" + password.substr(0, 4)));
}

}  // namespace

TEST_CASE("data and windows are as before when the server goes away or the program is killed") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    story.Press(kAnalyzeButton);
    const HWND query = story.desk.Child(kQueryButton), refresh = story.desk.Child(kRefreshButton);
    const std::wstring dead = L"08S01: 断开", server = L"SQL Server 连接失败：";
    const std::wstring by = L": [Microsoft][ODBC Driver 18 for SQL Server]";
    const std::wstring lost = L"08S01" + by + L"TCP Provider: Connection reset by peer. | 08S01" + by +
                              L"Communication link failure";
    const std::wstring keyword = L" | 01S00: [Microsoft][SQL Server]Invalid connection string attribute";
    const std::wstring down = server + L"SQL Server：08001: 断开" + keyword, none = L"查询失败：";
    const std::wstring one = L"修复失败，已尝试回滚：", all = L"批量修复失败，已尝试回滚：";
    // The fault comes before the button is pressed, or between the question and its answer.
    for (const auto& [button, asks, faults, status] :
         {std::tuple(int{kQueryButton}, false, kDown, none + server + L"08001: 断开" + keyword),
          {kQueryButton, false, kRefused, none + server + L"28000: 断开" + keyword},
          {kQueryButton, false, "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", none + dead},
          {kQueryButton, false, "",
           L"查询完成，匹配到 2 个账号；自动识别：dbo.TBL_CHARACTER.FLD_ACCOUNT；中间两位已隐藏。"},
          {kDetectButton, false, kDown, L"检测失败：" + down},
          {kDetectButton, false, "die\tfetch\t'TBL_GUILD_INFO'\t2\t08S01\t1\t断开\n", L"检测失败：" + dead},
          {kAnalyzeButton, false, "die\texecute\t'.COLUMNS'\t1\t08S01\t1\t断开\n", L"分析失败：" + dead},
          {kRepairButton, false, kRefused, one + server + L"SQL Server：28000: 断开" + keyword},
          {kRepairButton, true, kDown, one + down},
          {kRepairButton, true, "die\texecute\t'[TBL_BAG] WHERE'\t2\n", one + lost},
          {kRepairAllButton, false, "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", all + dead},
          {kRepairAllButton, true, kDown, all + down},
          {kRepairAllButton, true, "die\texecute\t'[TBL_MEMBER] WHERE'\t2\t08S01\t1\t断开\n", all + dead},
          {kRepairAllButton, true, "commit\t1\tHY000\t1\tx\n", all + L"统一角色/行会修复事务提交失败"},
          {kDetectButton, false, "",
           L"分析完成：重复角色 3 个，重复行会 2 个。默认未修改数据库。请选择目标库后可批量修复。"}}) {
        const auto question = asks ? story.PressForBox(button) : desk::MessageBoxView();
        const Faults injected(faults);
        if (button == kQueryButton) {
            story.desk.Query(L"zh");
            CHECK(story.desk.Status() == status);
        } else {
            asks ? desk::Answer(question, IDYES) : story.Press(button);
            story.WaitForStatus(status);
        }
        CHECK((story.Off().empty() && desk::IsEnabled(query) && desk::IsEnabled(refresh)));
        CheckAfterwards(story);
    }
    CHECK(story.zones.Contents() == before);
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    const Faults faults("slow\tcommit\t1\t60000\n");
    const Trace trace;
    desk::Answer(question, IDYES);
    desk::WaitUntil("an update", [&] { return trace.Told().find(L"execute UPDATE") != std::wstring::npos; });
    story.desk.tool->Kill();
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("windows repaints and queries leave memory flat and no drawing object behind") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    Desk desk;
    desk.StartZone(L"一区", ZoneJson("青龙一区", zones.A()));
    // The program's windows in this process: only its own heaps can be walked block by block.
    const Windows windows(L"folder", "");
    desk.window = windows.query;
    const auto query = [&] { desk.Query(L"zh"); };
    // A query's calls without the program: the driver manager may keep memory of each.
    const std::wstring from = L"[dbo].[TBL_CHARACTER]", column = L"[FLD_ACCOUNT]", pattern = L"%zh%";
    const std::pair<std::wstring, int> statements[] = {
        {TextColumnsSql(), 3}, {ProbeAccountSql(from, column), 0}, {SearchAccountsSql(from, column, 100), 1}};
    std::wstring login = BuildConnectionString(kDefaultDrivers[0], SettingsFor(zones.A()), 5);
    const auto bare = [&] {
        SQLHANDLE environment, connection, statement;
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
        SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_OV_ODBC3}),
                      0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
        SQLSetConnectAttrW(connection, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(SQLULEN{5}),
                           SQL_IS_UINTEGER);
        SQLDriverConnectW(connection, nullptr, login.data(), SQL_NTS, nullptr, 0, nullptr,
                          SQL_DRIVER_NOPROMPT);
        for (const auto& [sql, columns] : statements) {
            SQLWCHAR texts[3][256];
            SQLLEN indicators[3] = {SQL_NTS};
            SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
            SQLWCHAR* const text = OdbcText(sql.c_str());
            if (columns < 3)
                SQLPrepareW(statement, text, SQL_NTS), BindPattern(statement, pattern, indicators[0]);
            columns < 3 ? SQLExecute(statement) : SQLExecDirectW(statement, text, SQL_NTS);
            for (SQLUSMALLINT i = 1; i <= columns; ++i)
                SQLBindCol(statement, i, SQL_C_WCHAR, texts[i - 1], sizeof texts[0], &indicators[i - 1]);
            while (SQL_SUCCEEDED(SQLFetch(statement)) && columns > 0) continue;
            SQLFreeHandle(SQL_HANDLE_STMT, statement);
        }
        SQLDisconnect(connection);
        SQLFreeHandle(SQL_HANDLE_DBC, connection);
        SQLFreeHandle(SQL_HANDLE_ENV, environment);
    };
    CHECK(ToldBy(query) == ToldBy(bare));
    CHECK(desk.Status().starts_with(L"查询完成，匹配到 2 个账号"));
    const auto openAndRepaint = [&] {
        desk::Send(desk.OpenRepairTool(), WM_CLOSE);
        for (int i = 0; i < 5; ++i)
            RedrawWindow(desk.window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    };
    openAndRepaint();
    const size_t objects = GdiObjects();
    CHECK(Growth(100, query) < Growth(100, bare) + 100 * 50);
    CHECK(Growth(10, openAndRepaint) < 10 * 2000);
    CHECK((objects > 0 && GdiObjects() < objects + 20));
}
