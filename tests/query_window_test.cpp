#include "support/desk_fixture.h"

namespace {

// Two accounts.
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

std::vector<std::wstring> Zones(const Desk& desk) {
    return desk::ComboItems(desk.Child(kZoneCombo));
}

std::wstring Saved(const Desk& desk, const wchar_t* key) {
    wchar_t text[400] = {};
    GetPrivateProfileStringW(L"Query", key, L"(missing)", text, 400, desk.settings.c_str());
    return text;
}

}  // namespace

TEST_CASE("the running zones are listed and the status tells what is wrong with another") {
    Desk desk;
    desk.StartZone(L"一区", ZoneJson("青龙一区", L"甲库"));
    desk.StartZone(L"二区", ZoneJson("", L"乙库"));
    desk.StartZone(L"坏区", "{}");
    desk.StartTool();
    CHECK(Zones(desk) == std::vector<std::wstring>{L"青龙一区  |  甲库", kNameInIni + L"  |  乙库"});
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
    const std::wstring zone = L"青龙一区," + accounts.Name() + L",",
                       both = zone + L"**,;" + zone + L"玩家**三,;";
    const std::wstring place = L"：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。";
    struct Row {
        const char* name;
        int zone;
        const wchar_t *table, *field, *keyword;
        std::wstring status, rows;
    };
    for (const Row& row :
         {Row{"two, trimmed", 0, L"", L"", L" 玩家 ", L"查询完成，匹配到 2 个账号；自动识别" + place, both},
          Row{"too short, the list stays", 0, L"", L"", L"  a ", L"账号关键字至少输入 2 位。", both},
          Row{"nobody", 0, L"", L"", L"没有这个人", L"查询完成，匹配到 0 个账号；自动识别" + place,
              L"没有匹配账号,,,;"},
          Row{"named by hand", 0, L" dbo.TBL_ACCOUNT ", L" FLD_ACCOUNT ", L"一二",
              L"查询完成，匹配到 1 个账号；手动配置" + place, zone + L"玩家**三,;"},
          Row{"no text column", 1, L"", L"", L"一二", L"查询失败：没有扫描到可用于账号识别的文本字段", L""},
          Row{"no zone, before the keyword", -1, L"", L"", L"a", L"请先启动 M2 并刷新区服。", L""}}) {
        CAPTURE(row.name);
        desk::ChooseComboItem(desk.Child(kZoneCombo), row.zone);
        desk::SetText(desk.Child(kTableEdit), row.table);
        desk::SetText(desk.Child(kFieldEdit), row.field);
        desk.Query(row.keyword);
        CHECK(desk.Status() == row.status);
        CHECK(Listed(desk) == row.rows);
    }
}

TEST_CASE("a query a refresh and the button save the boxes trimmed and cut") {
    Desk desk;
    desk.StartTool();
    const std::wstring x(300, L'x'), y(300, L'y');
    struct Row {
        const char* name;
        int button;
        std::wstring table, field, savedTable, savedField;
    };
    for (const Row& row : {Row{"query", kQueryButton, L" dbo.T ", L" F ", L"dbo.T", L"F"},
                           Row{"refresh", kRefreshButton, x, y, x.substr(0, 255), y.substr(0, 255)},
                           Row{"save", kSaveButton, L"T", L"", L"T", L""}}) {
        CAPTURE(row.name);
        desk::SetText(desk.Child(kTableEdit), row.table);
        desk::SetText(desk.Child(kFieldEdit), row.field);
        desk::Press(desk.Child(row.button));
        CHECK(Saved(desk, L"AccountTable") == row.savedTable);
        CHECK(Saved(desk, L"AccountField") == row.savedField);
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
    CHECK(Listed(desk) == L"一区," + database.Name() + L",**,;");  // one of two
    desk.folder.Write(L"Config.Json", ZoneJson("新区", database.Name()));
    desk::ChooseComboItem(desk.Child(kZoneCombo), -1);
    desk::Press(desk.Child(kRefreshButton));
    CHECK(Zones(desk) == std::vector{L"新区  |  " + database.Name()});
    CHECK(desk::ComboSelection(desk.Child(kZoneCombo)) == 0);
    CHECK(Listed(desk) == L"");
    CHECK(desk.Status() == L"检测到 1 个已启动 M2。");
    std::filesystem::remove(desk.folder.At(L"Config.ini"));
    desk::Press(desk.Child(kRefreshButton));
    CHECK(Zones(desk) == std::vector<std::wstring>{});
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
    for (const auto& [command, look] : {std::pair(SW_SHOWMINIMIZED, "small"), {SW_SHOWMAXIMIZED, "large"}}) {
        CAPTURE(look);
        Desk desk;
        desk.StartTool(command);
        CHECK(desk::Look(desk.window) == look);
        ShowWindow(desk.window, SW_RESTORE);
        desk::WaitUntil("the usual size", [&] { return desk::Look(desk.window) == "usual"; });
        CHECK(desk::RectInParent(desk.Child(kAccountList)).right == desk::ClientSize(desk.window).cx - 16);
        CHECK(desk.Status() == L"检测到 0 个已启动 M2。");
    }
}
