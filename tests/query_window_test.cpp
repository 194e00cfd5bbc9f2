#include <doctest/doctest.h>

#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

#include "account_query/query_layout.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

namespace {

using Rows = std::vector<std::vector<std::wstring>>;

}  // namespace

TEST_CASE("the query window has its controls with their classes styles and places") {
    Desk desk;
    desk.StartTool();
    struct Row {
        int id;
        const wchar_t* windowClass;
        const wchar_t* text;
        DWORD style, exStyle;
    };
    for (const Row& row :
         {Row{kZoneLabel, L"Static", L"区服：", SS_LEFTNOWORDWRAP, 0},
          Row{kZoneCombo, L"ComboBox", L"", CBS_DROPDOWNLIST | WS_VSCROLL, 0},
          Row{kRefreshButton, L"Button", L"刷新区服", BS_PUSHBUTTON, 0},
          Row{kKeywordEdit, L"Edit", L"", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE},
          Row{kQueryButton, L"Button", L"查询账号", BS_PUSHBUTTON, 0},
          Row{kTableEdit, L"Edit", L"AUTO", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE},
          Row{kFieldLabel, L"Static", L"账号字段：", SS_LEFTNOWORDWRAP, 0},
          Row{kSaveButton, L"Button", L"保存设置", BS_PUSHBUTTON, 0},
          Row{kRepairToolButton, L"Button", L"合区 ID 工具", BS_PUSHBUTTON, 0},
          Row{kAccountList, L"SysListView32", L"", LVS_REPORT | LVS_SINGLESEL, WS_EX_CLIENTEDGE},
          Row{kQueryStatus, L"Static", L"检测到 0 个已启动 M2。", SS_LEFT, 0}}) {
        CAPTURE(row.id);
        const HWND control = desk.Child(row.id);
        CHECK(CompareStringOrdinal(desk::ClassName(control).c_str(), -1, row.windowClass, -1, TRUE) ==
              CSTR_EQUAL);
        CHECK(desk::Text(control) == row.text);
        CHECK((desk::Style(control) & 0xFFFF) == (row.style & 0xFFFF));
        // A combo box draws its own edge and takes the style away.
        if (row.id != kZoneCombo) CHECK((desk::ExStyle(control) & WS_EX_CLIENTEDGE) == row.exStyle);
    }
    const auto columns = desk::ListColumns(desk.Child(kAccountList));
    REQUIRE(columns.size() == 3);
    CHECK(columns[2].title == L"账号（已隐藏）");
    CHECK(columns[2].width == 180);
    constexpr LRESULT kListStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
    CHECK((desk::Send(desk.Child(kAccountList), LVM_GETEXTENDEDLISTVIEWSTYLE) & kListStyles) == kListStyles);

    constexpr DWORD kFrame =
        WS_POPUP | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    CHECK((desk::Style(desk.Window()) & (kFrame | WS_DLGFRAME)) == kFrame);
    CHECK(desk::Text(desk.Window()) == L"Velkor版合区ID重复查询工具");
    desk::Resize(desk.Window(), 500, 300);  // refused: there is a smallest size
    const RECT smallest = desk::ScreenRect(desk.Window());
    CHECK(smallest.right - smallest.left == 980);
    CHECK(smallest.bottom - smallest.top == 620);
    for (const SIZE& size : {SIZE{980, 620}, SIZE{1281, 777}}) {
        desk::Resize(desk.Window(), size.cx, size.cy);
        const SIZE client = desk::ClientSize(desk.Window());
        CheckPlaces(desk.Window(), QueryLayout(client.cx, client.cy));
    }
}

TEST_CASE("the painted caption moves minimises maximises and closes") {
    Desk desk;
    desk.StartTool();
    const HWND window = desk.Window();
    const int width = desk::ClientSize(window).cx;
    CHECK(desk::HitTest(window, width - 133, 67) == HTCAPTION);
    CHECK(desk::HitTest(window, width - 132, 67) == HTCLIENT);
    CHECK(desk::HitTest(window, 300, 68) == HTCLIENT);

    desk::Click(window, width - 132, 67);
    desk::WaitUntil("minimised", [&] { return IsIconic(window) != 0; });
    ShowWindow(window, SW_RESTORE);
    desk::Click(window, width - 88, 0);
    desk::WaitUntil("maximised", [&] { return IsZoomed(window) != 0; });
    desk::DoubleClick(window, 200, 30);
    desk::WaitUntil("restored", [&] { return IsZoomed(window) == 0; });
    // Only the release counts, wherever the press was; a release left of the glyphs is nothing.
    desk::Drag(window, {width - 20, 300}, {width - 140, 30});
    CHECK(IsWindow(window));
    desk::Drag(window, {width - 20, 300}, {width - 1, 67});
    desk::WaitUntilGone(window);
    CHECK(desk.Tool().WaitForEnd() == 0);
}

TEST_CASE("accounts are queried from the running zones") {
    const TestDatabase first(
        L"first", {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))",
                   L"INSERT INTO TBL_ACCOUNT (FLD_ACCOUNT) VALUES (N'玩家一二三'), (N'玩家'), (NULL)"});
    const TestDatabase second(L"second", {L"CREATE TABLE t (n int)"});
    Desk desk;
    desk.StartZone(L"一区", Desk::ZoneJson("青龙一区", first.Name()));
    desk.StartZone(L"二区", Desk::ZoneJson("白虎二区", second.Name()));
    desk.StartZone(L"坏区", "{}");
    desk.StartTool();
    const std::vector<std::wstring> zones = desk::ComboItems(desk.Child(kZoneCombo));
    REQUIRE(zones.size() == 2);
    CHECK(zones[0] == L"青龙一区  |  " + first.Name());
    CHECK(zones[1] == L"白虎二区  |  " + second.Name());
    CHECK(desk::ComboSelection(desk.Child(kZoneCombo)) == 0);
    CHECK(desk.Status().starts_with(L"检测到 2 个已启动 M2。 "));
    CHECK(desk.Status().ends_with(L"坏区 的 Config.Json 没有 DBInfo.sDBName"));
    CHECK(desk.Setting(L"Query", L"MaxResults") == L"100");  // the first refresh has written the file

    const HWND list = desk.Child(kAccountList);
    const std::wstring database = first.Name();
    desk.Query(L" 玩家 ");
    CHECK(desk.Status() ==
          L"查询完成，匹配到 2 个账号；自动识别：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。");
    CHECK(desk::ListRows(list) == Rows{{L"青龙一区", database, L"**"}, {L"青龙一区", database, L"玩家**三"}});

    for (const auto& [keyword, status] :
         {std::pair(L"  a ", L"账号关键字至少输入 2 位。"),
          std::pair(L"123456789012345678901234567890123", L"账号关键字最多输入 32 位。")}) {
        desk.Query(keyword);
        CHECK(desk.Status() == status);
        CHECK(desk::ListRowCount(list) == 2);  // left as it was
    }
    desk.Query(L"没有这个人");
    CHECK(desk.Status() ==
          L"查询完成，匹配到 0 个账号；自动识别：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。");
    CHECK(desk::ListRows(list) == Rows{{L"没有匹配账号", L"", L""}});

    desk::SetText(desk.Child(kTableEdit), L" dbo.TBL_ACCOUNT ");
    desk::SetText(desk.Child(kFieldEdit), L"FLD_ACCOUNT");
    desk.Query(L"一二");
    CHECK(desk.Status() ==
          L"查询完成，匹配到 1 个账号；手动配置：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。");
    CHECK(desk.Setting(L"Query", L"AccountTable") == L"dbo.TBL_ACCOUNT");
    desk::SetText(desk.Child(kTableEdit), L"bad table");
    desk.Query(L"一二");
    CHECK(desk.Status() == L"查询失败：账号表名包含不允许的字符");
    CHECK(desk::IsEnabled(desk.Child(kQueryButton)));
    CHECK(desk::IsEnabled(desk.Child(kRefreshButton)));

    desk::SetText(desk.Child(kTableEdit), L"");
    desk::ChooseComboItem(desk.Child(kZoneCombo), 1);
    desk.Query(L"一二");
    CHECK(desk.Status() == L"查询失败：没有扫描到可用于账号识别的文本字段");
    desk::Press(desk.Child(kSaveButton));
    CHECK(desk.Status() == L"设置已保存：" + desk.SettingsPath());
    CHECK(desk.Setting(L"Query", L"AccountTable").empty());
}

TEST_CASE("a server that cannot be reached ends in the last driver's words") {
    Desk desk;
    desk.StartZone(L"断区",
                   R"({"DBInfo": {"sDBIpAddr": "no-such-host.invalid", "sDBName": "x", "sDBUser": "u"}})");
    desk.StartTool();
    desk.Query(L"ab");
    CHECK(desk.Status().starts_with(L"查询失败：SQL Server 连接失败："));
    CHECK(desk::IsEnabled(desk.Child(kQueryButton)));
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    desk.Query(L"a");  // the zone is checked before the keyword
    CHECK(desk.Status() == L"请先启动 M2 并刷新区服。");
}
