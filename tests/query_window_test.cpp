#include "support/desk_fixture.h"

namespace {

// Two accounts, under a name that no test before has shown anywhere.
struct Accounts : TestDatabase {
    explicit Accounts(std::wstring_view suffix)
        : TestDatabase(
              suffix, {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))",
                       L"INSERT INTO TBL_ACCOUNT (FLD_ACCOUNT) VALUES (N'玩家一二三'), (N'玩家'), (NULL)"}) {}
};

// What stands in the list: "zone,database,account,;" for each row, all its columns.
std::wstring Listed(const Desk& desk) {
    std::wstring text;
    for (const auto& row : desk::ListRows(desk.Child(kAccountList))) {
        for (const std::wstring& cell : row) text += cell + L",";
        text += L";";
    }
    return text;
}

bool HasSaved(const Desk& desk, const std::string& lines) {
    return ReadWholeFile(desk.settings).find("\n" + lines + "\r\n") != std::string::npos;
}

}  // namespace

TEST_CASE("accounts are queried from the running zones") {
    const Accounts first(L"first");
    const TestDatabase second(L"second", {L"CREATE TABLE t (n int)"});
    Desk desk;
    desk.StartZone(L"一区", ZoneJson("青龙一区", first.Name()));
    desk.StartZone(L"二区", ZoneJson("白虎二区", second.Name()));
    desk.StartZone(L"坏区", "{}");
    desk.StartTool();
    CHECK(desk::ComboItems(desk.Child(kZoneCombo)) ==
          std::vector{L"青龙一区  |  " + first.Name(), L"白虎二区  |  " + second.Name()});
    CHECK(desk.Status().starts_with(L"检测到 2 个已启动 M2。 "));
    CHECK(desk.Status().ends_with(L"坏区 的 Config.Json 没有 DBInfo.sDBName"));
    CHECK(HasSaved(desk, "MaxResults=100"));  // the first refresh has written the file

    const auto check = [&](const wchar_t* keyword, const std::wstring& status, const std::wstring& rows) {
        desk.Query(keyword);
        CHECK(desk.Status() == status);
        CHECK(Listed(desk) == rows);
    };
    const std::wstring zone = L"青龙一区," + first.Name() + L",", both = zone + L"**,;" + zone + L"玩家**三,;";
    const std::wstring found = L"：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。";
    check(L" 玩家 ", L"查询完成，匹配到 2 个账号；自动识别" + found, both);
    check(L"  a ", L"账号关键字至少输入 2 位。", both);  // left as it was
    check(L"没有这个人", L"查询完成，匹配到 0 个账号；自动识别" + found, L"没有匹配账号,,,;");
    desk::SetText(desk.Child(kTableEdit), L" dbo.TBL_ACCOUNT ");
    desk::SetText(desk.Child(kFieldEdit), L" FLD_ACCOUNT ");
    check(L"一二", L"查询完成，匹配到 1 个账号；手动配置" + found, zone + L"玩家**三,;");
    CHECK(HasSaved(desk, "AccountTable=dbo.TBL_ACCOUNT\r\nAccountField=FLD_ACCOUNT"));
    desk::SetText(desk.Child(kTableEdit), L"");
    desk::ChooseComboItem(desk.Child(kZoneCombo), 1);
    check(L"一二", L"查询失败：没有扫描到可用于账号识别的文本字段", L"");
    CHECK(HasSaved(desk, "AccountTable="));
    desk::SetText(desk.Child(kTableEdit), L"T");
    desk::Press(desk.Child(kSaveButton));
    CHECK(desk.Status() == L"设置已保存：" + desk.settings);
    CHECK(HasSaved(desk, "AccountTable=T"));
    const HWND repair = desk.OpenRepairTool();  // with the values of the chosen zone
    std::wstring form;
    for (const int box : {kServerEdit, kPortEdit, kUserEdit, kPasswordEdit, kDatabaseAEdit, kDatabaseBEdit})
        form += desk::Text(desk::Child(repair, box)) + L"|";
    CHECK(form == Server().host + L"|" + std::to_wstring(Server().port) + L"|" + Server().user + L"|" +
                      Server().password + L"|" + second.Name() + L"||");
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    check(L"a", L"请先启动 M2 并刷新区服。", L"");  // the zone is checked before the keyword
}

TEST_CASE("a refresh saves the settings and lists what runs now under the name that they tell") {
    const Accounts database(L"refresh");
    Desk desk;
    desk.folder.Write(L"QuerySettings.ini", "[Query]\nM2ProcessName=mergeaccountquery.EXE\nMaxResults=1\n");
    desk.folder.Write(L"Config.ini", "");
    desk.folder.Write(L"Config.Json", ZoneJson("一区", database.Name()));
    desk.StartTool();  // is itself the process of that name
    const auto zones = [&] { return desk::ComboItems(desk.Child(kZoneCombo)); };
    CHECK(zones() == std::vector{L"一区  |  " + database.Name()});
    desk.Query(L"玩家");
    CHECK(Listed(desk) == L"一区," + database.Name() + L",**,;");  // one of two
    desk.folder.Write(L"Config.Json", ZoneJson("新区", database.Name()));
    desk::SetText(desk.Child(kTableEdit), std::wstring(300, L'x'));
    desk::SetText(desk.Child(kFieldEdit), std::wstring(300, L'y'));
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    desk::Press(desk.Child(kRefreshButton));
    CHECK(zones() == std::vector{L"新区  |  " + database.Name()});
    CHECK(desk::ComboSelection(desk.Child(kZoneCombo)) == 0);
    CHECK(Listed(desk).empty());
    CHECK(desk.Status() == L"检测到 1 个已启动 M2。");
    CHECK(HasSaved(desk,
                   "AccountTable=" + std::string(255, 'x') + "\r\nAccountField=" + std::string(255, 'y')));
    std::filesystem::remove(desk.folder.At(L"Config.ini"));
    desk::Press(desk.Child(kRefreshButton));
    CHECK(zones().empty());
    CHECK(desk.Status() == L"检测到 0 个已启动 M2。 进程 " + std::to_wstring(desk.tool->Id()) +
                               L" 没找到上级 Config.Json / Config.ini");
}

TEST_CASE("Enter queries and meanwhile its text is shown and its buttons rest under the wait cursor") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const Accounts database(L"slow");
    Desk desk;
    desk.StartZone(std::wstring(60, L'区'), ZoneJson("一区", database.Name()));
    desk.StartTool();
    const HWND keyword = desk.Child(kKeywordEdit), line = desk.Child(kQueryStatus);
    const HWND list = desk.Child(kAccountList);
    desk::SetText(keyword, L"玩家");
    const RECT box = desk::RectInParent(keyword);
    desk::Click(desk.window, box.left + 40, box.top + 10);
    const HCURSOR arrow = ClickForArrow(desk.window);
    const std::string empty = desk::Pixels(list);
    const auto buttons = [&] {
        return desk::IsEnabled(desk.Child(kQueryButton)) + desk::IsEnabled(desk.Child(kRefreshButton));
    };
    {
        const Faults untilSeen(kSlowServer);
        for (const WORD key : {WORD{VK_END}, WORD{VK_RETURN}, WORD{'Q'}}) desk::TapKey(key);
        desk::WaitUntil("the query with its text painted", [&] {
            return buttons() == 0 && desk::Cursor() != arrow && !GetUpdateRect(line, nullptr, FALSE) &&
                   desk::ShownText(line) == L"正在连接 SQL Server 并自动识别账号表：" + database.Name();
        });
    }
    desk::WaitUntil("the end and the rows",
                    [&] { return buttons() == 2 && desk::Cursor() == arrow && desk::Pixels(list) != empty; });
    desk::WaitUntilInputIsTaken(desk.window);
    CHECK(desk::Text(keyword) == L"玩家");
}
