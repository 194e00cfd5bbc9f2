#include "account_query/account_text.h"
#include "app/controls.h"
#include "support/own_windows.h"
#include "support/replaced_functions.h"

// What C with Ctrl and Shift (0x80; 1: pressed before, not now) copies in a list that has the keyboard. The
// clipboard is open in another window until the program has paused so many times.
static std::wstring Copied(HWND list, BYTE control, BYTE shift, int pauses = 0, WPARAM key = 'C') {
    BYTE keys[256] = {};
    keys[VK_CONTROL] = control, keys[VK_SHIFT] = shift;
    SetKeyboardState(keys);
    REQUIRE((OpenClipboard(GetParent(list)) && EmptyClipboard()));
    SetClipboardData(CF_PRIVATEFIRST, nullptr);  // what was copied before
    if (pauses == 0) CloseClipboard();
    ReplacedSleep pause;
    pause.before = [&](DWORD milliseconds) {
        if (milliseconds == 10 && --pauses == 0) CloseClipboard();
    };
    SendMessageW(list, WM_KEYDOWN, key, 0);
    if (IsClipboardFormatAvailable(CF_PRIVATEFIRST)) return L"(as before)";
    REQUIRE(OpenClipboard(GetParent(list)));
    const auto text = static_cast<const wchar_t*>(GlobalLock(GetClipboardData(CF_UNICODETEXT)));
    const std::wstring copy = text ? text : L"";
    return CloseClipboard(), copy;
}

TEST_CASE("lists of any length are copied as a spreadsheet takes them or the old clipboard stays") {
    const TestDatabase a(L"A"), b(L"B");
    std::wstring values, accounts, guilds, roles;
    for (unsigned i = 100'000; i < 100'600; ++i) {
        const std::wstring id = std::to_wstring(i), name = id.substr(i % 6);
        values += (i > 100'000 ? L", ('" : L"('") + id + L"', '" + name + L"')";
        if (i < 100'500) accounts += L"一区\t" + a.Name() + L"\t" + MaskAccountName(id) + L"\r\n";
        guilds += id + L"\t" + name + L"\t" + name + L"\r\n";
        roles += id + L"\t" + name + L"\t" + name + L"\t\t\r\n";
    }
    for (const TestDatabase* zone : {&a, &b})
        zone->Run(
            {L"CREATE TABLE TBL_CHARACTER (FLD_USERID varchar(9), FLD_CHARACTER varchar(9), FLD_ACCOUNT int, "
             L"FLD_SERVERID int)",
             L"CREATE TABLE TBL_GUILD_INFO (sGuildID varchar(9), sGuildName varchar(9))",
             L"INSERT INTO TBL_CHARACTER (FLD_USERID, FLD_CHARACTER) VALUES " + values,
             L"INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName) VALUES " + values});
    Desk zone;
    zone.StartZone(L"一区", ZoneJson("一区", a.Name()));
    const Windows windows(L"folder", "MaxResults=999\nAccountTable=TBL_CHARACTER\nAccountField=FLD_USERID\n");
    windows.SetText(kKeywordEdit, L"10"), windows.SetText(kDatabaseBEdit, b.Name());
    desk::Press(windows.Child(kQueryButton)), desk::Press(windows.Child(kDetectButton));
    for (const auto& [id, rows] :
         {std::pair(int{kAccountList}, accounts), {kRoleList, roles}, {kGuildList, guilds}}) {
        const std::wstring all = Copied(windows.Child(id), 0x80, 0x80),
                           copy = all.substr(all.find(L'\n') + 1);
        const auto [is, should] = std::mismatch(copy.begin(), copy.end(), rows.begin(), rows.end());
        CHECK(std::wstring(is, copy.end()).substr(0, 50) == std::wstring(should, rows.end()).substr(0, 50));
    }
    desk::SelectListRow(windows.Child(kRoleList), 598);
    CHECK(desk::Text(windows.Child(kSelectedIdEdit)) == L"100598");
    const HWND list = windows.Child(kAccountList), line = windows.Child(kQueryStatus);
    CHECK(desk::Text(line).substr(0, 5) == L"查询完成，");  // a copy that works tells nothing
    const std::wstring endless(1100, L'长'), first = L"二区\t\"张\t三\r\n\t";
    {
        constexpr ListColumn kColumns[3] = {};
        ListFill rows(list, kColumns, 3);
        rows.AddRow({L"二区", L"\"张\t三\r\n", L""});
        rows.AddRow({L"一区", L"G\"", L"玩家**三"});
        rows.AddRow({endless.c_str(), L"", L"\""});
    }
    CHECK(Copied(list, 0x80, 0x80, 10) == L"(as before)");
    ListView_SetItemState(list, 0, LVIS_FOCUSED, LVIS_FOCUSED);
    CHECK(Copied(list, 0x80, 0) == L"(as before)");  // no row is selected
    CHECK(desk::Text(line) == L"复制失败：剪贴板正被其他程序占用或内存不足，请稍后再试。");
    desk::SelectListRow(list, 0);
    CHECK(Copied(list, 1, 1) + Copied(list, 0x80, 0, 0, 'X') == L"(as before)(as before)");
    CHECK(Copied(list, 0x80, 0, 9) == first);
    CHECK(desk::Text(line) == L"已复制到剪贴板。");
    CHECK(Copied(list, 0x80, 0x80) ==
          L"区服\t数据库\t账号（已隐藏）\r\n二区\t\"\"\"张 三  \"\t\r\n一区\tG\"\t玩家**三\r\n" +
              endless.substr(0, 1023) + L"\t\t\"\"\"\"\r\n");
    { const ListRefill none(list, 0); }
    CHECK(Copied(list, 0x80, 0x80) == L"(as before)");
}
