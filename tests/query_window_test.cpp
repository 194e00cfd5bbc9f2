#include "account_query/query_layout.h"
#include "discovery/files.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

// after windows.h, which it needs
#include <commctrl.h>

TEST_CASE("the query window has its controls with their classes styles and places") {
    Desk desk;
    desk.StartTool();
    const auto columns = desk::ListColumns(desk.Child(kAccountList));
    CHECK(columns.at(2).title + std::to_wstring(columns.at(2).width) == L"账号（已隐藏）180");
    constexpr LRESULT kListStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
    CHECK((desk::Send(desk.Child(kAccountList), LVM_GETEXTENDEDLISTVIEWSTYLE) & kListStyles) == kListStyles);
    constexpr DWORD kFrame =
        WS_POPUP | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    CHECK((desk::Style(desk.Window()) & (kFrame | WS_DLGFRAME)) == kFrame);
    CHECK(desk::Text(desk.Window()) == L"Velkor版合区ID重复查询工具");
    for (const SIZE& size : {SIZE{500, 300}, SIZE{1281, 777}}) {
        desk::Resize(desk.Window(), size.cx, size.cy);
        const RECT outer = desk::ScreenRect(desk.Window());
        CHECK(outer.right - outer.left == std::max(size.cx, 980L));  // there is a smallest size
        CHECK(outer.bottom - outer.top == std::max(size.cy, 620L));
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
    CHECK(desk::ComboItems(desk.Child(kZoneCombo)) ==
          std::vector{L"青龙一区  |  " + first.Name(), L"白虎二区  |  " + second.Name()});
    CHECK(desk::ComboSelection(desk.Child(kZoneCombo)) == 0);
    CHECK(desk.Status().starts_with(L"检测到 2 个已启动 M2。 "));
    CHECK(desk.Status().ends_with(L"坏区 的 Config.Json 没有 DBInfo.sDBName"));
    const auto saved = [&] { return ReadWholeFile(desk.SettingsPath()); };
    CHECK(saved().find("MaxResults=100\r\n") != std::string::npos);  // the first refresh has written the file

    // What stands in the list is "zone,database,account;" for each row.
    const auto check = [&](const wchar_t* keyword, const std::wstring& status, const std::wstring& rows) {
        desk.Query(keyword);
        CHECK(desk.Status() == status);
        std::wstring listed;
        for (const auto& row : desk::ListRows(desk.Child(kAccountList)))
            listed += row[0] + L"," + row[1] + L"," + row[2] + L";";
        CHECK(listed == rows);
    };
    const std::wstring zone = L"青龙一区," + first.Name() + L",", both = zone + L"**;" + zone + L"玩家**三;";
    const std::wstring found = L"：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。";
    check(L" 玩家 ", L"查询完成，匹配到 2 个账号；自动识别" + found, both);
    check(L"  a ", L"账号关键字至少输入 2 位。", both);  // left as it was
    check(L"没有这个人", L"查询完成，匹配到 0 个账号；自动识别" + found, L"没有匹配账号,,;");
    desk::SetText(desk.Child(kTableEdit), L" dbo.TBL_ACCOUNT ");
    desk::SetText(desk.Child(kFieldEdit), L"FLD_ACCOUNT");
    check(L"一二", L"查询完成，匹配到 1 个账号；手动配置" + found, zone + L"玩家**三;");
    CHECK(saved().find("AccountTable=dbo.TBL_ACCOUNT\r\n") != std::string::npos);
    desk::SetText(desk.Child(kTableEdit), L"");
    desk::ChooseComboItem(desk.Child(kZoneCombo), 1);
    check(L"一二", L"查询失败：没有扫描到可用于账号识别的文本字段", L"");
    desk::Press(desk.Child(kSaveButton));
    CHECK(desk.Status() == L"设置已保存：" + desk.SettingsPath());
    CHECK(saved().find("AccountTable=\r\n") != std::string::npos);
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    check(L"a", L"请先启动 M2 并刷新区服。", L"");  // the zone is checked before the keyword
}

static std::wstring ClipboardText() {
    std::wstring text;
    if (!OpenClipboard(nullptr)) return text;
    if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
        text = static_cast<const wchar_t*>(GlobalLock(data));
        GlobalUnlock(data);
    }
    CloseClipboard();
    return text;
}

TEST_CASE("keys lists and long messages behave as everywhere in Windows") {
    const TestDatabase database(L"usual", {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))",
                                           L"INSERT INTO TBL_ACCOUNT (FLD_ACCOUNT) VALUES (N'玩家一二三')"});
    Desk desk;
    for (const wchar_t* zone : {L"一区", L"二区", L"三区"})
        desk.StartZone(zone, Desk::ZoneJson(WideToUtf8(zone), database.Name()));
    desk.StartTool();
    const DWORD tool = desk.Tool().Id();
    desk.Query(L"玩家");
    const auto typeWithControl = [](WORD key) {
        keybd_event(VK_CONTROL, 0, 0, 0);
        desk::TapKey(key);
        keybd_event(VK_CONTROL, 0, KEYEVENTF_KEYUP, 0);
    };
    const auto clickOn = [&](int control, int x, int y) {
        const RECT place = desk::RectInParent(desk.Child(control));
        desk::Click(desk.Window(), place.left + x, place.top + y);
    };
    clickOn(kKeywordEdit, 5, 10);
    typeWithControl('A');
    const auto selection = [&] { return desk::Send(desk.Child(kKeywordEdit), EM_GETSEL); };
    desk::WaitUntil("all selected", [&] { return selection() == MAKELONG(0, 2); });
    desk::TapKey(VK_RETURN);  // no default button
    clickOn(kAccountList, 40, 34);
    desk::WaitUntil("a row", [&] { return desk::SelectedListRow(desk.Child(kAccountList)) == 0; });
    typeWithControl('C');
    const std::wstring row = L"一区\t" + database.Name() + L"\t玩家**三";
    desk::WaitUntil("the row", [&] { return ClipboardText() == row; });

    const HWND zones = desk.Child(kZoneCombo);
    desk::Send(zones, CB_SHOWDROPDOWN, TRUE);
    const RECT drop = desk::ScreenRect(desk::WaitForTopWindow(tool, L"ComboLBox"));
    CHECK(drop.bottom - drop.top >= 3 * desk::Send(zones, CB_GETITEMHEIGHT));
    desk::Send(zones, CB_SHOWDROPDOWN, FALSE);

    // A text that fits has no tooltip, a longer one has.
    CHECK(desk::FindTopWindow(tool, TOOLTIPS_CLASSW) == nullptr);
    desk::SetText(desk.Child(kTableEdit), std::wstring(120, L'长'));
    desk::SetText(desk.Child(kFieldEdit), L"FLD_ACCOUNT");
    desk.Query(L"玩家");
    CHECK(desk.Status().starts_with(L"查询失败：42S02: "));
    clickOn(kQueryStatus, 40, 8);
    clickOn(kQueryStatus, 60, 10);
    const HWND tip = desk::WaitForTopWindow(tool, TOOLTIPS_CLASSW);
    CHECK(desk::Text(tip) == desk.Status());
}
