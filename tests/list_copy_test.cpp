#include "account_query/account_text.h"
#include "app/controls.h"
#include "support/own_windows.h"
#include "support/replaced_functions.h"

namespace {

constexpr wchar_t kAsBefore[] = L"(as before)";
constexpr BYTE kDown = 0x80, kPressedBefore = 1, kUp = 0;

struct Keys {
    BYTE control = kDown, shift = kUp;
    WPARAM key = 'C';
    int pauses = 0;  // of the program, until which the clipboard is open in another window
};

// What is on the clipboard when keys have been pressed in a list.
std::wstring Copied(HWND list, Keys pressed) {
    BYTE keys[256] = {};
    keys[VK_CONTROL] = pressed.control;
    keys[VK_SHIFT] = pressed.shift;
    SetKeyboardState(keys);
    REQUIRE(OpenClipboard(GetParent(list)));
    EmptyClipboard();
    SetClipboardData(CF_PRIVATEFIRST, nullptr);  // what was copied before
    if (pressed.pauses == 0) CloseClipboard();
    ReplacedSleep pause;
    pause.before = [&](DWORD milliseconds) {
        if (milliseconds == 10 && --pressed.pauses == 0) CloseClipboard();
    };
    SendMessageW(list, WM_KEYDOWN, pressed.key, 0);
    if (IsClipboardFormatAvailable(CF_PRIVATEFIRST)) return kAsBefore;
    REQUIRE(OpenClipboard(GetParent(list)));
    const auto text = static_cast<const wchar_t*>(GlobalLock(GetClipboardData(CF_UNICODETEXT)));
    const std::wstring copy = text ? text : L"";
    CloseClipboard();
    return copy;
}

constexpr Keys kAllRows = {kDown, kDown};

// The list of accounts with three rows that are awkward in a spreadsheet.
struct AwkwardRows : Windows {
    const HWND list = Child(kAccountList), line = Child(kQueryStatus);
    const std::wstring endless = std::wstring(1100, L'长');

    AwkwardRows() {
        constexpr ListColumn kColumns[3] = {};
        ListFill rows(list, kColumns, 3);
        rows.AddRow({L"二区", L"\"张\t三\r\n", L""});
        rows.AddRow({L"一区", L"G\"", L"玩家**三"});
        rows.AddRow({endless.c_str(), L"", L"\""});
    }
};

}  // namespace

TEST_CASE("lists of any length are copied in full below their titles") {
    const TestDatabase a(L"A"), b(L"B");
    std::wstring values, accounts, guilds, roles;
    for (unsigned i = 100'000; i < 100'600; ++i) {
        const std::wstring id = std::to_wstring(i), name = id.substr(i % 6);
        values += (i > 100'000 ? L", ('" : L"('") + id + L"', '" + name + L"')";
        // A query shows 500 at most.
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
    windows.SetText(kKeywordEdit, L"10");
    windows.SetText(kDatabaseBEdit, b.Name());
    desk::Press(windows.Child(kQueryButton));
    desk::Press(windows.Child(kDetectButton));
    for (const auto& [name, id, rows] :
         {std::tuple("accounts", int{kAccountList}, L"区服\t数据库\t账号（已隐藏）\r\n" + accounts),
          {"roles", kRoleList, L"重复唯一 ID\t库 A 角色\t库 B 角色\t库 A 账号\t库 B 账号\r\n" + roles},
          {"guilds", kGuildList, L"重复行会 ID\t库 A 行会\t库 B 行会\r\n" + guilds}}) {
        CAPTURE(name);
        CHECK(FirstLineThatDiffers(Copied(windows.Child(id), kAllRows), rows) == L"");
    }
}

TEST_CASE("cells that a spreadsheet would take apart stay one cell each") {
    const AwkwardRows rows;
    CHECK(
        FirstLineThatDiffers(Copied(rows.list, kAllRows),
                             L"区服\t数据库\t账号（已隐藏）\r\n二区\t\"\"\"张 三  \"\t\r\n一区\tG\"\t玩家**三"
                             L"\r\n" +
                                 rows.endless.substr(0, 1023) + L"\t\t\"\"\"\"\r\n") == L"");
    desk::SelectListRow(rows.list, 0);
    CHECK(Copied(rows.list, {}) == L"二区\t\"张\t三\r\n\t");  // as it is
}

TEST_CASE("the clipboard stays as it was when there is nothing to copy or other keys are pressed") {
    const AwkwardRows rows;
    ListView_SetItemState(rows.list, 0, LVIS_FOCUSED, LVIS_FOCUSED);
    CHECK(Copied(rows.list, {}) == kAsBefore);  // no row is selected
    desk::SelectListRow(rows.list, 0);
    CHECK(Copied(rows.list, {kPressedBefore, kPressedBefore}) == kAsBefore);
    CHECK(Copied(rows.list, {kDown, kUp, 'X'}) == kAsBefore);
    { const ListRefill none(rows.list, 0); }
    CHECK(Copied(rows.list, kAllRows) == kAsBefore);
}

TEST_CASE("another program may hold the clipboard for a while and the status tells when it was too long") {
    const AwkwardRows rows;
    desk::SelectListRow(rows.list, 1);
    const std::wstring before = desk::Text(rows.line);
    CHECK(Copied(rows.list, {}) == L"一区\tG\"\t玩家**三");
    CHECK(desk::Text(rows.line) == before);  // a copy that works tells nothing
    CHECK(Copied(rows.list, {kDown, kDown, 'C', 10}) == kAsBefore);
    CHECK(desk::Text(rows.line) == L"复制失败：剪贴板正被其他程序占用或内存不足，请稍后再试。");
    CHECK(Copied(rows.list, {kDown, kUp, 'C', 9}) == L"一区\tG\"\t玩家**三");
    CHECK(desk::Text(rows.line) == L"已复制到剪贴板。");
}
