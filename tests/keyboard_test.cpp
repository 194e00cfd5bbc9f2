#include "account_query/query_layout.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/wide_text.h"

static void ClickOn(HWND control) {
    const RECT place = desk::RectInParent(control);
    desk::Click(GetParent(control), place.left + 40, (place.top + place.bottom) / 2);
}

// Keys arrive in their order: once the letter is there, the Enter before it has been acted upon.
static void TapEnterAndLetter(HWND edit) {
    ClickOn(edit);
    for (const WORD key : {WORD{VK_END}, WORD{VK_RETURN}, WORD{'Q'}}) desk::TapKey(key);
    desk::WaitUntil("the letter", [&] { return desk::Text(edit).ends_with(L'q'); });
}

static std::wstring ClipboardText() {
    if (!OpenClipboard(nullptr)) return {};
    const HANDLE data = GetClipboardData(CF_UNICODETEXT);
    const std::wstring text = data ? static_cast<const wchar_t*>(GlobalLock(data)) : L"";
    GlobalUnlock(data);
    CloseClipboard();
    return text;
}

TEST_CASE("Enter in the keyword box presses the query button when that is enabled") {
    const RepairDesk story;
    const HWND keyword = story.desk.Child(kKeywordEdit), button = story.desk.Child(kQueryButton);
    desk::Send(story.window, WM_CLOSE);
    TapEnterAndLetter(keyword);
    const std::wstring status = story.desk.Status();
    CHECK(status == L"账号关键字至少输入 2 位。");
    desk::SetText(keyword, L"zh");
    desk::Send(keyword, WM_CHAR, VK_RETURN, KF_REPEAT << 16);  // a key that is held down
    EnableWindow(button, FALSE);
    TapEnterAndLetter(keyword);
    CHECK(story.desk.Status() == status);
    EnableWindow(button, TRUE);
    desk::SetText(keyword, L"zh");
    TapEnterAndLetter(keyword);  // the letter as well: the box keeps the keyboard
    CHECK(story.desk.Status().starts_with(L"查询完成，匹配到 2 个账号；"));
}

TEST_CASE("Enter presses nothing in the repair window and a whole list goes to a spreadsheet") {
    const RepairDesk story;
    RunSql(Connect(story.zones.A()),
           {L"UPDATE TBL_CHARACTER SET FLD_CHARACTER = N'\"张\t三\r\n' WHERE n = 1"});
    TapEnterAndLetter(story.Child(kDatabaseBEdit));
    CHECK(story.Status() == L"默认只读；检测和分析不会修改数据库。");
    story.Detect();
    ClickOn(story.Child(kRoleList));
    desk::TapKey('C', {VK_CONTROL, VK_SHIFT});
    const std::wstring copied =
        L"重复唯一 ID\t库 A 角色\t库 B 角色\t库 A 账号\t库 B 账号\r\n0012\t赵六\t赵六\tzhao\tzhao\r\n"
        L"1001\t\"\"\"张 三  \"\t李四\tzhang\tli\r\n1002\t王五\t\twang\twang\r\n";
    desk::WaitUntil("the list", [&] { return ClipboardText() == copied; });
}
