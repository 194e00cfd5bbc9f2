#include "account_query/account_text.h"
#include "app/controls.h"
#include "support/own_windows.h"
#include "support/replaced_functions.h"

static constexpr wchar_t kAsBefore[] = L"(as before)";
static constexpr BYTE kDown = 0x80, kPressedBefore = 1, kUp = 0;

struct Keys {
    BYTE control = kDown, shift = kUp;
    WPARAM key = 'C';
    int pauses = 0;  // of the program, until which the clipboard is open in another window
};

// What is on the clipboard when keys have been pressed in a list.
static std::wstring Copied(HWND list, Keys pressed) {
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

static constexpr Keys kAllRows = {kDown, kDown};

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

TEST_CASE("each list is copied in full below its titles") {
    WindowsOfAZone zone;
    zone.windows->SetText(kKeywordEdit, L"zh");
    zone.windows->SetText(kDatabaseBEdit, zone.zones.B());
    for (const int button : {int{kQueryButton}, int{kDetectButton}}) desk::Press(zone.windows->Child(button));
    const std::wstring place = L"青龙一区\t" + zone.zones.A() + L"\t";
    for (const auto& [name, id, rows] : Table(
             {std::tuple("accounts", int{kAccountList},
                         L"区服\t数据库\t账号（已隐藏）\r\n" + place + L"zh**g\r\n" + place + L"z**o\r\n"),
              {"roles", kRoleList,
               L"重复唯一 ID\t库 A 角色\t库 B 角色\t库 A 账号\t库 B 账号\r\n0012\t赵六\t赵六\tzhao\tzhao\r\n"
               L"1001\t张三\t李四\tzhang\tli\r\n1002\t王五\t\twang\twang\r\n77\t陈七\t钱七\tchen\tqian\r\n"},
              {"guilds", kGuildList,
               L"重复行会 ID\t库 A 行会\t库 B 行会\r\n{A'1}\t玄武会\t朱雀会\r\n{BBBB}\t青龙会\t白虎会\r\n"}}))
        CHECK(FirstLineThatDiffers(Copied(zone.windows->Child(id), kAllRows), rows) == L"");
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
