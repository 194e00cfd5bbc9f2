// The bare program that the tool's window is measured against: one window with one list view, nothing else.
// Started with an argument it also creates the kinds of controls that the tool's window has, with the tool's
// font.

#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

namespace {

constexpr int kWidth = 980;
constexpr int kHeight = 620;
constexpr int kColumns = 5;

HWND list = nullptr;

void CreateList(HWND window) {
    list = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT, 16, 268,
                           kWidth - 32, kHeight - 314, window, nullptr, GetModuleHandleW(nullptr), nullptr);
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    column.cx = 160;
    for (column.iSubItem = 0; column.iSubItem < kColumns; ++column.iSubItem) {
        column.pszText = const_cast<wchar_t*>(L"column");
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column.iSubItem),
                     reinterpret_cast<LPARAM>(&column));
    }
}

void CreateOtherControls(HWND window) {
    constexpr const wchar_t* kClasses[] = {WC_STATICW, WC_COMBOBOXW, WC_BUTTONW, WC_STATICW, WC_EDITW,
                                           WC_BUTTONW, WC_STATICW,   WC_EDITW,   WC_STATICW, WC_EDITW,
                                           WC_BUTTONW, WC_BUTTONW,   WC_STATICW};
    const HFONT font =
        CreateFontW(-16, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                    CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH, L"Microsoft YaHei");
    int left = 16;
    for (const wchar_t* name : kClasses) {
        const HWND control = CreateWindowExW(0, name, L"区服账号", WS_CHILD | WS_VISIBLE, left, 156, 64, 28,
                                             window, nullptr, GetModuleHandleW(nullptr), nullptr);
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
        left += 70;
    }
}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            CreateList(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR arguments, int showCommand) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&classes);
    WNDCLASSW registration = {};
    registration.lpfnWndProc = Procedure;
    registration.hInstance = instance;
    registration.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    registration.lpszClassName = L"BareWindow";
    RegisterClassW(&registration);
    const HWND window =
        CreateWindowExW(0, registration.lpszClassName, L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                        kWidth, kHeight, nullptr, nullptr, instance, nullptr);
    if (*arguments) CreateOtherControls(window);
    ShowWindow(window, showCommand);
    UpdateWindow(window);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
