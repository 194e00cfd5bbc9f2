#include "account_query/query_layout.h"
#include "discovery/files.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/process_watch.h"
#include "tests/support/wide_text.h"

static constexpr char kDown[] = "connect\t*\t08001\t17\t断开\n";
static constexpr char kRefused[] = "connect\t*\t28000\t18456\t断开\n";

// The password may stand in the masked box, in the game server's own file and nowhere else that can be seen.
static void CheckPasswordIsHidden(const RepairDesk& story) {
    const std::wstring& password = Server().password;
    for (const HWND window : {story.desk.Window(), story.window}) {
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
            const bool hidden = desk::Text(child).find(password) == password.npos;
            CHECK((hidden || GetDlgCtrlID(child) == kPasswordEdit));
        }
    }
    const std::string units(reinterpret_cast<const char*>(password.c_str()),
                            password.size() * sizeof(wchar_t));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(story.desk.Folder())) {
        if (!entry.is_regular_file() || entry.path().filename() == L"Config.Json") continue;
        const std::string bytes = ReadWholeFile(entry.path().wstring());
        for (const std::string& form : {WideToUtf8(password), units}) CHECK(bytes.find(form) == bytes.npos);
    }
    // Quoted as in a connection string; the search sees the zone's copy, so it would see this one.
    CHECK(CountInMemory(story.desk.Tool().Id(), password) > 0);
    CHECK(CountInMemory(story.desk.Tool().Id(), L"PWD={" + password.substr(0, 4)) == 0);
}

TEST_CASE("a query that fails tells why and leaves the window usable") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const HWND query = story.desk.Child(kQueryButton), refresh = story.desk.Child(kRefreshButton);
    const std::wstring down = L"查询失败：SQL Server 连接失败：08001: 断开";
    const std::wstring found =
        L"查询完成，匹配到 2 个账号；自动识别：dbo.TBL_CHARACTER.FLD_ACCOUNT；中间两位已隐藏。";
    for (const auto& [faults, status] : {std::pair(std::string(kDown), down),
                                         {kRefused, L"查询失败：SQL Server 连接失败：28000: 断开"},
                                         {std::string("slow\tconnect\t*\t300\n") + kDown, down},
                                         {"die\tfetch\t2\t08S01\t1\t断开\n", L"查询失败：08S01: 断开"},
                                         {"slow\texecute\t1+\t300\n", found},
                                         {"", found}}) {
        const std::string& given = faults;
        const std::wstring& expected = status;
        CAPTURE(given);
        const Faults injected(given);
        desk::SetText(story.desk.Child(kQueryStatus), L"");  // what is waited for must be new
        desk::SetText(story.desk.Child(kKeywordEdit), L"zh");
        desk::PressWithoutWaiting(query);
        if (given.starts_with("slow")) desk::WaitUntil("disabled", [&] { return !desk::IsEnabled(query); });
        desk::WaitUntil(WideToUtf8(expected), [&] { return story.desk.Status() == expected; });
        CHECK((desk::IsEnabled(query) && desk::IsEnabled(refresh)));
        CHECK(LiveHandles() == 0);
        CheckPasswordIsHidden(story);
    }
}

TEST_CASE("a server that goes away at any step of a repair leaves data and window as they were") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.Detect();
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.Press(kAnalyzeButton);
    CHECK(story.Text(kNewIdEdit) == L"100235");
    const std::wstring dead = L"08S01: 断开", down = L"SQL Server 连接失败：SQL Server：08001: 断开";
    const std::wstring one = L"修复失败，已尝试回滚：", all = L"批量修复失败，已尝试回滚：";
    struct Row {
        int button;
        bool asks;  // the fault comes after the question
        std::string faults;
        std::wstring status;
    };
    for (const Row& row :
         {Row{kDetectButton, false, kDown, L"检测失败：" + down},
          Row{kDetectButton, false, "die\tfetch\t5\t08S01\t1\t断开\n", L"检测失败：" + dead},
          Row{kAnalyzeButton, false, "slow\tconnect\t1\t300\ndie\texecute\t3\t08S01\t1\t断开\n",
              L"分析失败：" + dead},
          Row{kRepairButton, false, kRefused, one + L"SQL Server 连接失败：SQL Server：28000: 断开"},
          Row{kRepairButton, true, kDown, one + down},
          Row{kRepairButton, true, "die\texecute\t20\t08S01\t1\t断开\n", one + dead},
          Row{kRepairAllButton, false, "die\tfetch\t9\t08S01\t1\t断开\n", all + dead},
          Row{kRepairAllButton, true, kDown, all + down},
          Row{kRepairAllButton, true, "die\texecute\t40\t08S01\t1\t断开\n", all + dead},
          Row{kRepairAllButton, true, "commit\t1\tHY000\t1\tx\n", all + L"统一角色/行会修复事务提交失败"}}) {
        CAPTURE(row.status);
        const auto question = row.asks ? story.PressForBox(row.button) : desk::MessageBoxView();
        const Faults faults(row.faults);
        row.asks ? desk::Answer(question, IDYES) : story.Press(row.button);
        story.WaitForStatus(row.status);
        CHECK(story.Off().empty());
        CHECK(LiveHandles() == 0);
    }
    CHECK(story.zones.Contents() == before);
    CheckPasswordIsHidden(story);
    desk::Answer(story.PressForBox(kRepairAllButton), IDYES);  // usable to the end
    desk::Answer(desk::WaitForMessageBox(story.window), IDOK);
    story.WaitForStatus(
        L"分析完成：重复角色 0 个，重复行会 0 个。默认未修改数据库。请选择目标库后可批量修复。");
    CHECK(LiveHandles() == 0);
    CheckPasswordIsHidden(story);
}

// The calls behind the events of one query on one connection, and nothing else: what the driver manager gains
// by them is not the tool's.
static void RepeatCalls(const std::vector<std::wstring>& events, std::wstring pattern) {
    SQLHANDLE environment, connection, statement;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    for (const std::wstring& event : events) {
        if (event.starts_with(L"connect ")) {
            std::wstring text = BuildConnectionString(kDefaultDrivers[0], SettingsFor(event.substr(8)), 5);
            REQUIRE(SQL_SUCCEEDED(SQLDriverConnectW(connection, nullptr, text.data(), SQL_NTS, nullptr, 0,
                                                    nullptr, SQL_DRIVER_NOPROMPT)));
        } else if (event.starts_with(L"execute ")) {
            SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
            SQLLEN length = SQL_NTS;
            SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, pattern.size(), 0,
                             pattern.data(), 0, &length);
            REQUIRE(SQL_SUCCEEDED(
                SQLExecDirectW(statement, OdbcText(event.c_str() + wcslen(L"execute ")), SQL_NTS)));
            while (SQLFetch(statement) != SQL_NO_DATA) continue;
            SQLFreeHandle(SQL_HANDLE_STMT, statement);
        }
    }
    SQLDisconnect(connection);
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
}

TEST_CASE("windows repaints and queries leave memory flat and no drawing object behind") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const Desk& desk = story.desk;
    const DWORD tool = desk.Tool().Id();
    desk::Send(story.window, WM_CLOSE);
    const auto open = [&] { desk::Send(desk.OpenRepairTool(), WM_CLOSE); };
    const auto repaint = [&] {
        RedrawWindow(desk.Window(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    };
    const auto query = [&] { desk.Query(L"zh"); };
    const std::vector<std::wstring> events = EventsOf(query);
    CHECK(desk.Status().starts_with(L"查询完成，匹配到 2 个账号"));
    const long long bare = Growth(GetCurrentProcessId(), 150, [&] { RepeatCalls(events, L"%zh%"); });
    CHECK(Growth(tool, 150, query) <= bare + 128 * 1024);
    CHECK(Growth(tool, 500, repaint) <= 128 * 1024);
    open();
    const size_t objects = GdiObjects(tool);
    REQUIRE(objects > 0);
    CHECK(Growth(tool, 30, open) <= 128 * 1024);
    CHECK(GdiObjects(tool) < objects + 20);
}
