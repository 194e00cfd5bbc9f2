#include "support/desk_fixture.h"

// Two accounts.
struct Accounts : TestDatabase {
    explicit Accounts(std::wstring_view suffix)
        : TestDatabase(
              suffix, {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))",
                       L"INSERT INTO TBL_ACCOUNT (FLD_ACCOUNT) VALUES (N'玩家一二三'), (N'玩家'), (NULL)"}) {}
};

using Texts = std::vector<std::wstring>;

static std::vector<Texts> Listed(const Desk& desk) {
    return desk::ListRows(desk.Child(kAccountList));
}

static Texts Zones(const Desk& desk) {
    return desk::ComboItems(desk.Child(kZoneCombo));
}

static std::wstring Saved(const Desk& desk, const wchar_t* key) {
    wchar_t text[400] = {};
    GetPrivateProfileStringW(L"Query", key, L"(missing)", text, 400, desk.settings.c_str());
    return text;
}

TEST_CASE("the running zones are listed and the status tells what is wrong with another") {
    Desk desk;
    desk.StartZone(L"一区", ZoneJson("青龙一区", L"甲库"));
    desk.StartZone(L"二区", ZoneJson("", L"乙库"));
    desk.StartZone(L"坏区", "{}");
    desk.StartTool();
    CHECK(Zones(desk) == Texts{L"青龙一区  |  甲库", kNameInIni + L"  |  乙库"});
    CHECK(desk.Status() ==
          L"检测到 2 个已启动 M2。 " + desk.folder.At(L"坏区") + L" 的 Config.Json 没有 DBInfo.sDBName");
    CHECK(Saved(desk, L"MaxResults") == L"100");  // the first refresh has written
}

TEST_CASE("a query lists what it finds and its status tells where") {
    const Accounts accounts(L"accounts");
    const TestDatabase none(L"none", {L"CREATE TABLE t (n int)"});
    Desk desk;
    desk.StartZone(L"一区", ZoneJson("青龙一区", accounts.Name()));
    desk.StartZone(L"二区", ZoneJson("白虎二区", none.Name()));
    desk.StartTool();
    const std::wstring place = L"：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。";
    const Texts first = {L"青龙一区", accounts.Name(), L"**"},
                second = {L"青龙一区", accounts.Name(), L"玩家**三"};
    using Rows = std::vector<Texts>;
    for (const auto& [name, zone, table, field, keyword, status, rows] :
         Table({std::tuple("two, trimmed", 0, L"", L"", L" 玩家 "s,
                           L"查询完成，匹配到 2 个账号；自动识别" + place, Rows{first, second}),
                {"too short, the list stays", 0, L"", L"", L"  a ", L"账号关键字至少输入 2 位。",
                 Rows{first, second}},
                {"too long", 0, L"", L"", std::wstring(33, L'a'), L"账号关键字最多输入 32 位。",
                 Rows{first, second}},
                {"nobody of the longest name", 0, L"", L"", std::wstring(32, L'家'),
                 L"查询完成，匹配到 0 个账号；自动识别" + place, Rows{{L"没有匹配账号", L"", L""}}},
                {"named by hand", 0, L" dbo.TBL_ACCOUNT ", L" FLD_ACCOUNT ", L"一二",
                 L"查询完成，匹配到 1 个账号；手动配置" + place, Rows{second}},
                {"no text column", 1, L"", L"", L"一二", L"查询失败：没有扫描到可用于账号识别的文本字段",
                 Rows()},
                {"no zone, before the keyword", -1, L"", L"", L"a", L"请先启动 M2 并刷新区服。", Rows()}})) {
        desk::ChooseComboItem(desk.Child(kZoneCombo), zone);
        desk::SetText(desk.Child(kTableEdit), table);
        desk::SetText(desk.Child(kFieldEdit), field);
        desk.Query(keyword);
        CHECK(desk.Status() == status);
        CHECK(Listed(desk) == rows);
    }
}

TEST_CASE("a query a refresh and the button save the boxes trimmed and cut") {
    Desk desk;
    desk.StartTool();
    const std::wstring x(300, L'x'), y(300, L'y');
    for (const auto& [name, button, table, field, savedTable, savedField] :
         Table({std::tuple("query", kQueryButton, L" dbo.T "s, L" F "s, L"dbo.T"s, L"F"s),
                {"refresh", kRefreshButton, x, y, x.substr(0, 255), y.substr(0, 255)},
                {"save", kSaveButton, L"T", L"", L"T", L""}})) {
        desk::SetText(desk.Child(kTableEdit), table);
        desk::SetText(desk.Child(kFieldEdit), field);
        desk::Press(desk.Child(button));
        CHECK(Saved(desk, L"AccountTable") == savedTable);
        CHECK(Saved(desk, L"AccountField") == savedField);
    }
    CHECK(desk.Status() == L"设置已保存：" + desk.settings);
}

TEST_CASE("a refresh lists what runs now under the name that the settings tell") {
    const Accounts database(L"refresh");
    Desk desk;
    desk.folder.Write(L"QuerySettings.ini", "[Query]\nM2ProcessName=mergeaccountquery.EXE\nMaxResults=1\n");
    desk.folder.Write(L"Config.ini", "");
    desk.folder.Write(L"Config.Json", ZoneJson("一区", database.Name()));
    desk.StartTool();  // is itself the process of that name
    CHECK(Zones(desk) == std::vector{L"一区  |  " + database.Name()});
    desk.Query(L"玩家");
    CHECK(Listed(desk) == std::vector<Texts>{{L"一区", database.Name(), L"**"}});  // one of two
    desk.folder.Write(L"Config.Json", ZoneJson("新区", database.Name()));
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    desk::Press(desk.Child(kRefreshButton));
    CHECK(Zones(desk) == std::vector{L"新区  |  " + database.Name()});
    CHECK(desk::ComboSelection(desk.Child(kZoneCombo)) == 0);
    CHECK(desk::ListRowCount(desk.Child(kAccountList)) == 0);
    CHECK(desk.Status() == L"检测到 1 个已启动 M2。");
    std::filesystem::remove(desk.folder.At(L"Config.ini"));
    desk::Press(desk.Child(kRefreshButton));
    CHECK(Zones(desk) == Texts());
    CHECK(desk.Status() ==
          Format(L"检测到 0 个已启动 M2。 进程 {} 没找到上级 Config.Json / Config.ini", desk.tool->Id()));
}

TEST_CASE("Enter queries and meanwhile its text is shown and its buttons rest under the wait cursor") {
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
    // Buttons that can be pressed, the pointer, the status and whether it is painted.
    const auto seen = [&] {
        return std::wstring(desk::IsEnabled(desk.Child(kQueryButton)) ? L"query " : L"") +
               (desk::IsEnabled(desk.Child(kRefreshButton)) ? L"refresh " : L"") +
               (desk::Cursor() == arrow ? L"arrow " : L"wait ") +
               (GetUpdateRect(line, nullptr, FALSE) ? L"not painted " : L"") + desk::ShownText(line);
    };
    {
        const Faults untilSeen(kSlowServer);
        for (const WORD key : {WORD{VK_END}, WORD{VK_RETURN}, WORD{'Q'}}) desk::TapKey(key);
        desk::WaitFor("what is seen to be", L"wait 正在连接 SQL Server 并自动识别账号表：" + database.Name(),
                      seen);
    }
    desk::WaitFor("what is seen to be",
                  L"query refresh arrow 查询完成，匹配到 2 "
                  L"个账号；自动识别：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。",
                  seen);
    desk::WaitUntil("painted rows", [&] { return desk::Pixels(list) != empty; });
    desk::WaitUntilInputIsTaken(desk.window);
    CHECK(desk::Text(keyword) == L"玩家");
}

TEST_CASE("the program starts as small or as large as it is asked to") {
    for (const auto& [look, command] :
         Table({std::pair("small", SW_SHOWMINIMIZED), {"large", SW_SHOWMAXIMIZED}})) {
        Desk desk;
        desk.StartTool(command);
        CHECK(desk::Look(desk.window) == look);
        ShowWindow(desk.window, SW_RESTORE);
        desk::WaitUntil("the usual size", [&] { return desk::Look(desk.window) == "usual"; });
        CHECK(desk::RectInParent(desk.Child(kAccountList)).right == desk::ClientSize(desk.window).cx - 16);
        CHECK(desk.Status() == L"检测到 0 个已启动 M2。");
    }
}
