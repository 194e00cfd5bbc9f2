#include "support/own_windows.h"

// after windows.h, which it needs
#include <shobjidl.h>

static HWND button;                // the window whose button is meant
static std::wstring told;          // what the program asks Windows for, in words
static HRESULT made, begun;        // what Windows answers about its taskbar
static int holders, answer;        // of COM and of the taskbar; to every message box
static ULONGLONG done, now, work;  // steps; a clock, and how far it goes each time that it is read
static std::optional<HWND> front;  // instead of the window in front

static BOOL Tell(HWND window, const std::wstring& word) {
    if (work) told += (window == button ? L"" : L"elsewhere: ") + word + L" ";  // else in another case
    return FALSE;
}

// The program calls the functions of DLLs through these pointers.
extern "C" {
decltype(&CoInitializeEx) __imp_CoInitializeEx = [](auto, auto) -> HRESULT { return ++holders, S_OK; };
decltype(&CoUninitialize) __imp_CoUninitialize = [] { --holders; };
decltype(&CoCreateInstance) __imp_CoCreateInstance = [](auto id, auto, auto, auto kind, void** taskbar) {
    static void *functions[11], **object = functions;  // as COM lays it out, with what the program needs
    const auto add = [](int at, auto function) { functions[at] = reinterpret_cast<void*>(+function); };
    add(2, [](void*) { return --holders; });
    add(3, [](void*) { return begun; });
    add(9, [](void*, HWND window, ULONGLONG step, ULONGLONG total) {
        if (step != ++done || step == total) Tell(window, std::to_wstring(step));
    });
    add(10, [](void*, HWND window, int state) {
        constexpr const wchar_t* kStates[] = {L"rests", L"runs", L"?", L"?", L"red"};
        Tell(window, kStates[state]), done = 0;
    });
    told += id == __uuidof(TaskbarList) && kind == __uuidof(ITaskbarList3) ? L"asked " : L"? ";
    if (SUCCEEDED(made)) *taskbar = &object, ++holders;
    return made;
};
decltype(&FlashWindowEx) __imp_FlashWindowEx = [](FLASHWINFO* flash) {
    return Tell(flash->hwnd, flash->dwFlags == FLASHW_TRAY && flash->uCount == 5 ? L"flashes" : L"?");
};
decltype(&GetForegroundWindow) __imp_GetForegroundWindow = [] {
    const auto real = GetProcAddress(GetModuleHandleW(L"user32"), "GetForegroundWindow");
    return front ? *front : reinterpret_cast<HWND(WINAPI*)()>(reinterpret_cast<void*>(real))();
};
decltype(&GetTickCount64) __imp_GetTickCount64 = [] { return work ? now += work : GetTickCount(); };
decltype(&MessageBoxW) __imp_MessageBoxW = [](auto, auto, auto, auto) { return told += L"box ", answer; };
}

TEST_CASE("the taskbar button shows what runs how far it is what has failed and the end of long work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    Desk zone;
    zone.StartZone(L"一区", ZoneJson("青龙一区", zones.A()));
    told.clear(), work = 1;
    const Windows windows(L"folder", "");
    button = windows.query;
    const auto check = [&](int id, const std::wstring& expected) {
        CAPTURE(id);
        desk::Press(windows.Child(id));
        CHECK(std::exchange(told, L"") == expected);
    };
    check(kSaveButton, L"");  // nor has the refresh before shown anything
    windows.SetText(kKeywordEdit, L"zh");
    check(kQueryButton, L"asked runs rests ");
    windows.SetText(kTableEdit, L"none"), windows.SetText(kFieldEdit, L"none");
    check(kQueryButton, L"runs red ");
    check(kRefreshButton, L"rests ");
    check(kDetectButton, L"runs red ");  // one database alone
    windows.SetText(kDatabaseBEdit, zones.B());
    check(kDetectButton, L"runs rests ");
    desk::SelectListRow(windows.Child(kRoleList), 1);
    desk::ChooseComboItem(windows.Child(kTargetCombo), 1);
    check(kAnalyzeButton, L"runs rests ");
    check(kRepairButton, L"runs rests box ");
    check(kRepairAllButton, L"runs 5 rests box ");
    answer = IDYES;
    check(kRepairButton, L"runs rests box runs 25 rests box runs rests ");
    Faults("connect\t3+\tHY000\t1\tx\n"),  // of the detection behind the repair
        check(kRepairAllButton, L"runs 4 rests box runs 20 rests box runs red ");
    for (const auto& [other, milliseconds, expected] : {std::tuple(GetDesktopWindow(), 5000u, L"runs rests "),
                                                        {GetDesktopWindow(), 5001u, L"runs rests flashes "},
                                                        {windows.repair, 5001u, L"runs rests "}})
        front = other, work = milliseconds, check(kDetectButton, expected);
    windows.SetText(kPortEdit, L"");
    check(kDetectButton, L"runs red ");
    DestroyWindow(windows.repair);
    CHECK(std::exchange(told, L"") == L"rests ");
    for (const HRESULT creation : {S_OK, E_FAIL}) {  // no taskbar
        made = creation, begun = E_FAIL;
        TaskbarProgress none;
        for (int i = 0; i < 2; ++i) none.Start(button), none.Measure(1, 2), none.Fail(), none.Clear();
        CHECK((std::exchange(told, L"") == L"asked flashes flashes " &&
               holders == 3));  // two of them the windows'
    }
}
