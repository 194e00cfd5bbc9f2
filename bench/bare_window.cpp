// What any program with the tool's window does: as many controls of the same kinds, three fonts, an icon, and
// a settings file that is read and written. Where ONE_LIST is true it is a window with one list view and
// nothing else.

#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

#include <cwchar>
#include <initializer_list>

#include "app/resource.h"

namespace {

constexpr bool kOneList = ONE_LIST;
struct Kind {
    const wchar_t* windowClass;
    DWORD style, exStyle;
};
constexpr Kind kLabel = {WC_STATICW, SS_LEFTNOWORDWRAP, 0};
constexpr Kind kCombo = {WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL, WS_EX_CLIENTEDGE};
constexpr Kind kEdit = {WC_EDITW, ES_AUTOHSCROLL, WS_EX_CLIENTEDGE};
constexpr Kind kButton = {WC_BUTTONW, BS_PUSHBUTTON, 0};
constexpr Kind kList = {WC_LISTVIEWW, LVS_REPORT, WS_EX_CLIENTEDGE};

HFONT fonts[3];

HWND Create(HWND window, const Kind& kind, int x, int y, int width, int height) {
    return CreateWindowExW(kind.exStyle, kind.windowClass, L"区服账号", WS_CHILD | WS_VISIBLE | kind.style, x,
                           y, width, height, window, nullptr, GetModuleHandleW(nullptr), nullptr);
}

void CreateList(HWND window) {
    const HWND list = Create(window, kList, 16, 268, 948, 300);
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
    column.cx = 200;
    column.pszText = const_cast<wchar_t*>(L"数据库");
    for (; column.iSubItem < 3; ++column.iSubItem)
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column.iSubItem),
                     reinterpret_cast<LPARAM>(&column));
}

void CreateOtherControls(HWND window) {
    constexpr int kHeights[] = {-16, -17, -12}, kWeights[] = {FW_NORMAL, FW_SEMIBOLD, FW_NORMAL};
    for (int i = 0; i < 3; ++i)
        fonts[i] = CreateFontW(kHeights[i], 0, 0, 0, kWeights[i], FALSE, FALSE, FALSE, DEFAULT_CHARSET, 0, 0,
                               CLEARTYPE_QUALITY, 0, L"Microsoft YaHei");
    int number = 0;
    for (const Kind kind : {kLabel, kCombo, kButton, kLabel, kEdit, kButton, kLabel, kEdit, kLabel, kEdit,
                            kButton, kButton, kLabel}) {
        const HWND control = Create(window, kind, 16 + number % 7 * 134, 156 + number / 7 * 40, 120, 28);
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(fonts[0]), TRUE);
        ++number;
    }
}

void ReadAndWriteSettings() {
    constexpr const wchar_t* kKeys[] = {L"M2ProcessName", L"AccountTable", L"AccountField", L"MaxResults",
                                        L"Driver"};
    const auto sectionOf = [](const wchar_t* key) { return *key == L'D' ? L"ODBC" : L"Query"; };
    wchar_t path[MAX_PATH] = {}, texts[5][1024];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    wcscpy(wcsrchr(path, L'\\') + 1, L"QuerySettings.ini");
    for (int i = 0; i < 5; ++i)
        GetPrivateProfileStringW(sectionOf(kKeys[i]), kKeys[i], L"", texts[i], 1024, path);
    for (int i = 0; i < 5; ++i) WritePrivateProfileStringW(sectionOf(kKeys[i]), kKeys[i], texts[i], path);
}

void Paint(HWND window) {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(window, &paint);
    DrawIconEx(dc, 18, 10, LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(kAppIcon)), 26, 26, 0,
               nullptr, DI_NORMAL);
    int top = 10;
    for (const HFONT font : fonts) {
        const HGDIOBJ previous = SelectObject(dc, font);
        TextOutW(dc, 58, top += 25, L"区服账号查询", 6);
        SelectObject(dc, previous);
    }
    EndPaint(window, &paint);
}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_PAINT || kOneList) return DefWindowProcW(window, message, wParam, lParam);
    Paint(window);
    return 0;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int showCommand) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&classes);
    WNDCLASSW registration = {};
    registration.lpfnWndProc = Procedure;
    registration.hInstance = instance;
    if (!kOneList) registration.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(kAppIcon));
    registration.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    registration.lpszClassName = L"BareWindow";
    RegisterClassW(&registration);
    const HWND window = CreateWindowExW(0, L"BareWindow", L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                                        CW_USEDEFAULT, 980, 620, nullptr, nullptr, instance, nullptr);
    if (!kOneList) CreateOtherControls(window);
    CreateList(window);
    if (!kOneList) ReadAndWriteSettings();
    ShowWindow(window, showCommand);
    UpdateWindow(window);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    return 0;
}
