// demo_show PROGRAM.exe: drives the program's windows as a user would and prints what they show.
//
// After each state it prints a line "picture: NAME LEFT TOP WIDTH HEIGHT" (screen pixels) and waits for a
// line on standard input, so that whoever started it can save the picture. Output is UTF-8.

#include "window_driver.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "utf8.h"

namespace {

constexpr wchar_t kQueryWindowClass[] = L"MergeAccountQueryWindow";
constexpr wchar_t kRepairWindowClass[] = L"RoleIdRepairWindow";

constexpr int kZoneCombo = 1001;
constexpr int kKeywordEdit = 1002;
constexpr int kQueryButton = 1004;
constexpr int kResultList = 1005;
constexpr int kQueryStatus = 1006;
constexpr int kOpenRepairButton = 1010;

constexpr int kDatabaseBEdit = 3006;
constexpr int kDetectButton = 3007;
constexpr int kRoleList = 3008;
constexpr int kTargetCombo = 3009;
constexpr int kNewIdEdit = 3010;
constexpr int kAnalyzeButton = 3011;
constexpr int kFieldList = 3012;
constexpr int kRepairButton = 3013;
constexpr int kRepairStatus = 3014;
constexpr int kRepairAllButton = 3016;
constexpr int kGuildList = 3017;

constexpr wchar_t kKeyword[] = L"dragon";
/// The database of the second zone, merged into the first one's.
constexpr wchar_t kSecondDatabase[] = L"GameZone2";

void Print(const std::wstring& line) {
    std::cout << ToUtf8(line) << std::endl;
}

void PrintRows(HWND list) {
    for (const auto& row : desk::ListRows(list)) {
        std::wstring line = L"    ";
        for (const std::wstring& cell : row) line += cell + L"  ";
        Print(line);
    }
}

void PrintList(const std::wstring& heading, HWND list) {
    Print(heading + L"：" + std::to_wstring(desk::ListRowCount(list)) + L" 行");
    PrintRows(list);
}

/// Asks for a picture of a window and waits until it is taken.
void Picture(const char* name, HWND window) {
    const RECT area = desk::ScreenRect(window);
    std::cout << "picture: " << name << ' ' << area.left << ' ' << area.top << ' ' << area.right - area.left
              << ' ' << area.bottom - area.top << std::endl;
    std::string line;
    std::getline(std::cin, line);
}

/// Moves a message box over the middle of its window, so that one picture shows both.
void CentreOver(HWND window, HWND box) {
    const RECT outer = desk::ScreenRect(window);
    const RECT inner = desk::ScreenRect(box);
    const int x = (outer.left + outer.right - (inner.right - inner.left)) / 2;
    const int y = (outer.top + outer.bottom - (inner.bottom - inner.top)) / 2;
    SetWindowPos(box, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
}

HWND ShowQuery(const desk::Program& program) {
    const HWND window = desk::WaitForTopWindow(program.Id(), kQueryWindowClass);
    Print(L"窗口：" + desk::Text(window));
    const HWND status = desk::Child(window, kQueryStatus);
    Print(L"状态：" + desk::Text(status));
    const HWND zones = desk::Child(window, kZoneCombo);
    const auto items = desk::ComboItems(zones);
    for (const std::wstring& item : items) Print(L"    区服：" + item);
    Picture("1-zones", window);

    if (items.empty()) throw desk::DeskError("no zone was found");
    desk::ChooseComboItem(zones, 0);
    desk::SetText(desk::Child(window, kKeywordEdit), kKeyword);
    Print(std::wstring(L"查询账号，关键字：") + kKeyword);
    desk::Press(desk::Child(window, kQueryButton));
    Print(L"状态：" + desk::Text(status));
    PrintRows(desk::Child(window, kResultList));
    Picture("2-query", window);
    return window;
}

/// Presses a button that asks for confirmation, prints the question, and answers it with Yes and the notice
/// after it with OK.
void RepairWithConfirmation(HWND window, int button, const char* picture) {
    desk::PressWithoutWaiting(desk::Child(window, button));
    const desk::MessageBoxView question = desk::WaitForMessageBox(window);
    Print(L"确认框：" + question.title);
    Print(question.text);
    CentreOver(window, question.window);
    Picture(picture, window);
    desk::Answer(question, IDYES);
    const desk::MessageBoxView notice = desk::WaitForMessageBox(window);
    Print(L"提示框：" + notice.text);
    desk::Answer(notice, IDOK);
    // Detection has run again once the window answers.
    Print(L"状态：" + desk::Text(desk::Child(window, kRepairStatus)));
}

void ShowRepair(const desk::Program& program, HWND queryWindow) {
    desk::Press(desk::Child(queryWindow, kOpenRepairButton));
    const HWND window = desk::WaitForTopWindow(program.Id(), kRepairWindowClass);
    const HWND status = desk::Child(window, kRepairStatus);
    const HWND roles = desk::Child(window, kRoleList);
    const HWND guilds = desk::Child(window, kGuildList);
    desk::SetText(desk::Child(window, kDatabaseBEdit), kSecondDatabase);

    Print(L"检测重复唯一 ID");
    desk::Press(desk::Child(window, kDetectButton));
    Print(L"状态：" + desk::Text(status));
    PrintList(L"重复角色", roles);
    PrintList(L"重复行会", guilds);
    Picture("3-duplicates", window);

    // The second zone's database is the one to be repaired.
    desk::ChooseComboItem(desk::Child(window, kTargetCombo), 1);
    desk::SelectListRow(roles, 0);
    Print(L"状态：" + desk::Text(status));
    desk::Press(desk::Child(window, kAnalyzeButton));
    Print(L"状态：" + desk::Text(status));
    Print(L"建议新 ID：" + desk::Text(desk::Child(window, kNewIdEdit)));
    PrintList(L"关联字段", desk::Child(window, kFieldList));
    Picture("4-analysis", window);

    RepairWithConfirmation(window, kRepairButton, "5-confirm-one");
    Picture("6-one-repaired", window);

    desk::ChooseComboItem(desk::Child(window, kTargetCombo), 1);
    RepairWithConfirmation(window, kRepairAllButton, "7-confirm-all");
    PrintList(L"重复角色", roles);
    PrintList(L"重复行会", guilds);
    Picture("8-all-repaired", window);

    desk::Close(window);
    desk::WaitUntilGone(window);
}

}  // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);  // LF line ends, for the script that reads the output
    if (argumentCount != 2) {
        std::cerr << "demo_show PROGRAM.exe" << std::endl;
        return 2;
    }
    try {
        const std::wstring path = arguments[1];
        const auto separator = path.find_last_of(L"\\/");
        desk::Program program(path, separator == std::wstring::npos ? L"" : path.substr(0, separator));
        const HWND window = ShowQuery(program);
        ShowRepair(program, window);
        desk::Close(window);
        program.WaitForEnd();
    } catch (const std::exception& error) {
        std::cerr << "demo_show: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
