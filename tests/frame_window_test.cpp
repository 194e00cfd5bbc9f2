#include <algorithm>
#include <map>

#include "account_query/query_layout.h"
#include "account_query/query_window.h"
#include "app/controls.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/wide_text.h"

// after windows.h, which it needs
#include <commctrl.h>

namespace {

// Both windows of the program inside this process, where their pictures and classes can be read. No server
// runs under the name that they look for.
struct Windows {
    TempDirectory place;
    TaskbarProgress taskbar;
    std::shared_ptr<QueryWindow> object;
    HWND query = nullptr, repair = nullptr;

    explicit Windows(const std::wstring& folder = L"folder") {
        place.Write(folder + L"\\QuerySettings.ini", "[Query]\nM2ProcessName=nobody.exe\nAccountField=F\n");
        const std::filesystem::path previous = std::filesystem::current_path();
        std::filesystem::current_path(place.At(folder));
        object = QueryWindow::Open(GetModuleHandleW(nullptr), SW_SHOW, taskbar);
        std::filesystem::current_path(previous);
        query = object->Handle();
        desk::Press(desk::Child(query, kRepairToolButton));
        repair = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    }
    ~Windows() { DestroyWindow(query); }
};

// The top of a client area as it should look, on a bitmap of the process's short life.
struct Canvas {
    static constexpr int kHeight = 156;  // down to the first control
    HDC dc = CreateCompatibleDC(nullptr);
    DWORD* pixels = nullptr;

    explicit Canvas(int width) {
        const BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), width, -kHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0},
                                 {}};
        SelectObject(
            dc, CreateDIBSection(dc, &info, DIB_RGB_COLORS, reinterpret_cast<void**>(&pixels), nullptr, 0));
        SetBkMode(dc, TRANSPARENT);
    }
    void Fill(RECT area, COLORREF colour) const {
        SetDCBrushColor(dc, colour);
        FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    // A height of zero asks for the system's own font.
    void Line(const wchar_t* text, int height, COLORREF colour, RECT area, UINT format = 0) const {
        const HFONT font = CreateFontW(height, 0, 0, 0, height == -17 ? 600 : 400, 0, 0, 0, DEFAULT_CHARSET,
                                       0, 0, CLEARTYPE_QUALITY, 0, L"Microsoft YaHei");
        SelectObject(dc, height ? static_cast<HGDIOBJ>(font) : GetStockObject(DEFAULT_GUI_FONT));
        SetTextColor(dc, colour);
        DrawTextW(dc, text, -1, &area, DT_SINGLELINE | DT_VCENTER | format);
    }
};

constexpr COLORREF kWhite = RGB(255, 255, 255), kBody = RGB(246, 248, 251), kGrey = RGB(92, 110, 128);

}  // namespace

// Paints the expected top of a window and checks that the window shows the same, pixel by pixel.
static void CheckFrame(HWND window, const wchar_t* heading, const wchar_t* subtitle, const wchar_t* section,
                       int left, COLORREF glyphs) {
    const SIZE size = desk::ClientSize(window);
    const int w = size.cx;
    const Canvas canvas(w);
    canvas.Fill({0, 122, w, 156}, kBody);
    canvas.Fill({0, 68, w, 122}, RGB(42, 78, 114));
    canvas.Fill({0, 67, w, 68}, RGB(215, 225, 235));
    canvas.Fill({0, 0, w, 67}, kWhite);
    const HICON icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(101));
    DrawIconEx(canvas.dc, 18, 10, icon, 26, 26, 0, nullptr, DI_NORMAL);
    canvas.Line(L"Velkor版合区ID重复查询工具", -17, RGB(48, 83, 116), {58, 2, 330, 35}, DT_END_ELLIPSIS);
    canvas.Line(L"V2.4.1", -12, kGrey, {338, 3, 420, 34});
    canvas.Line(L"合区运维工具：查账号归属，修角色与行会 ID；查询只读，修复须确认", -12, kGrey,
                {58, 37, w - 140, 64}, DT_END_ELLIPSIS);
    canvas.Line(L"—", 0, glyphs, {w - 132, 0, w - 88, 67}, DT_CENTER);
    canvas.Line(L"□", 0, glyphs, {w - 88, 0, w - 44, 67}, DT_CENTER);
    canvas.Line(L"×", 0, glyphs, {w - 44, 0, w, 67}, DT_CENTER);
    canvas.Line(heading, -17, kWhite, {22, 75, w - 20, 99});
    canvas.Line(subtitle, -16, RGB(207, 222, 236), {23, 99, w - 20, 122});
    canvas.Line(section, -16, RGB(45, 64, 80), {left, 130, w - left, 156});
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    const HDC shown = GetDC(window);
    BitBlt(canvas.dc, 0, 0, w, Canvas::kHeight, shown, 0, 0, SRCINVERT);
    GdiFlush();
    const std::span<const DWORD> differences(canvas.pixels, static_cast<size_t>(w * Canvas::kHeight));
    const auto isShown = [](DWORD pixel) { return (pixel & 0xFFFFFF) != 0; };
    const auto first = std::find_if(differences.begin(), differences.end(), isShown) - differences.begin();
    CHECK_MESSAGE(first == w * Canvas::kHeight, "another colour at ", first % w, ",", first / w);
    CHECK(GetPixel(shown, 3, size.cy - 3) == kBody);
    const RECT label = desk::RectInParent(GetWindow(window, GW_CHILD));
    CHECK(GetPixel(shown, label.right - 1, label.bottom - 1) == kBody);
    ReleaseDC(window, shown);
}

TEST_CASE("both windows are painted as they were drawn up") {
    const Windows windows;
    CheckFrame(windows.query, L"区服账号查询", L"查询账号归属区服，核对合区数据库中的账号记录", L"查询条件",
               16, kGrey);
    CheckFrame(windows.repair, L"角色 / 行会 ID 修复", L"检测重复 ID，检查关联表，并在事务中完成统一修复",
               L"数据库连接", 14, RGB(90, 103, 116));
    const HDC box = GetDC(desk::Child(windows.repair, kSelectedIdEdit));  // read-only boxes are told apart
    CHECK(GetPixel(box, 5, 5) == GetSysColor(COLOR_3DFACE));
}

// Children by class, own styles and edge: "class styles edge: IDtext IDtext .."; a list's text is its
// columns.
static std::wstring ControlsOf(HWND window) {
    std::map<std::wstring, std::map<int, std::wstring>> kinds;
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        const std::wstring kind = desk::ClassName(child) + L" " +
                                  std::to_wstring(desk::Style(child) & 0xFFFF) + L" " +
                                  std::to_wstring(desk::ExStyle(child) & WS_EX_CLIENTEDGE);
        std::wstring& text = kinds[kind][GetDlgCtrlID(child)] = desk::Text(child);
        if (kind.starts_with(L"SysListView32")) {
            for (const auto& [title, width] : desk::ListColumns(child))
                text += title + std::to_wstring(width) + L",";
            constexpr LRESULT kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
            CHECK((desk::Send(child, LVM_GETEXTENDEDLISTVIEWSTYLE) & kStyles) == kStyles);
        }
        LOGFONTW font = {};
        GetObjectW(reinterpret_cast<HFONT>(desk::Send(child, WM_GETFONT)), sizeof font, &font);
        CHECK(font.lfHeight == -16);
    }
    std::wstring text;
    for (const auto& [kind, controls] : kinds) {
        text += kind + L":";
        for (const auto& [id, title] : controls) text += L" " + std::to_wstring(id) + title;
        text += L"\n";
    }
    return text;
}

static std::string SizeOf(HWND window) {
    const RECT outer = desk::ScreenRect(window);
    return std::to_string(outer.right - outer.left) + "*" + std::to_string(outer.bottom - outer.top);
}

TEST_CASE("both windows have their class title sizes and controls") {
    const Windows windows;
    CHECK(ControlsOf(windows.query) ==
          L"Button 0 0: 1003刷新区服 1004查询账号 1009保存设置 1010合区 ID 工具\nComboBox 3 0: 1001\n"
          L"Edit 128 512: 1002 1007AUTO 1008F\nStatic 0 0: 1006检测到 0 个已启动 M2。\n"
          L"Static 12 0: 2001区服： 2002关键字： 2003账号表： 2004账号字段：\nSysListView32 5 512: "
          L"1005区服220,数据库220,账号（已隐藏）180,\n");
    CHECK(
        ControlsOf(windows.repair) ==
        L"Button 0 0: 3007检测重复唯一 ID 3011分析关联数据 3013执行修复 3016自动修复全部重复 ID\n"
        L"ComboBox 3 0: 3009\nEdit 128 512: 3001 3003 3005 3006\nEdit 160 512: 3004\n"
        L"Edit 2176 512: 3015\nEdit 8320 512: 30021433 3010\nStatic 12 0: "
        L"3014默认只读；检测和分析不会修改数据库。 3101服务器： 3102端口： 3103用户： 3104密码： 3105库 A： "
        L"3106库 B： 3107选中 ID： 3108修复库： 3109新 ID：\nSysListView32 5 512: "
        L"3008重复唯一 ID210,库 A 角色160,库 B 角色160,库 A 账号150,库 B 账号150, "
        L"3012表260,字段180,类型100,命中行数100, 3017重复行会 ID280,库 A 行会220,库 B 行会220,\n");
    CHECK(SizeOf(windows.query) + " " + SizeOf(windows.repair) == "980*620 1160*860");
    for (const HWND window : {windows.query, windows.repair}) {
        desk::Resize(window, 500, 300);
        CHECK(desk::Text(window) == L"Velkor版合区ID重复查询工具");
        constexpr DWORD kStyles = WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME |
                                  WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
        CHECK((desk::Style(window) & ~static_cast<DWORD>(WS_CLIPSIBLINGS)) == kStyles);
        CHECK(GetClassLongPtrW(window, GCLP_HICON) != 0);
        CHECK(reinterpret_cast<HCURSOR>(GetClassLongPtrW(window, GCLP_HCURSOR)) ==
              LoadCursorW(nullptr, IDC_ARROW));
        CHECK(GetClassLongPtrW(window, GCLP_HBRBACKGROUND) == COLOR_WINDOW + 1);
    }
    CHECK(SizeOf(windows.query) + " " + SizeOf(windows.repair) == "980*620 1000*860");
    RedrawWindow(windows.query, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    desk::Resize(windows.query, 1281, 777);
    const SIZE client = desk::ClientSize(windows.query);
    RECT stale = {};  // everything is to be drawn again, and the controls that stay where they are
    CHECK((GetUpdateRect(windows.query, &stale, FALSE) && stale.right == client.cx &&
           stale.bottom == client.cy));
    CHECK(GetUpdateRect(desk::Child(windows.query, kZoneLabel), nullptr, FALSE));
    CheckPlaces(windows.query, QueryLayout(client.cx, client.cy));
    CheckPlaces(windows.repair, RepairLayout(desk::ClientSize(windows.repair).cx));
}

TEST_CASE("a second press brings the repair window forward and keeps what was typed") {
    const Windows windows;
    for (const int box : {kServerEdit, kUserEdit, kPasswordEdit, kDatabaseAEdit, kDatabaseBEdit})
        CHECK(desk::Text(desk::Child(windows.repair, box)) == L"");
    CHECK(GetWindow(windows.repair, GW_OWNER) == windows.query);
    desk::SetText(desk::Child(windows.repair, kPortEdit), L"7");
    desk::BringToFront(windows.query);
    desk::Press(desk::Child(windows.query, kRepairToolButton));
    CHECK(GetForegroundWindow() == windows.repair);
    CHECK(desk::Text(desk::Child(windows.repair, kPortEdit)) == L"7");
    desk::Send(windows.repair, WM_CLOSE);
    desk::Press(desk::Child(windows.query, kRepairToolButton));
    const HWND again = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    CHECK(desk::Text(desk::Child(again, kPortEdit)) == L"1433");
}

TEST_CASE("releases on the glyphs and double clicks on the caption alone change the window") {
    const Windows windows;
    const HWND window = windows.repair;
    // What the window looks like after a message at a point that is told from the client area's right edge.
    const auto after = [&](UINT message, WPARAM code, int left, int y) -> std::string {
        const int x = desk::ClientSize(window).cx - left;
        SendMessageW(window, message, code, MAKELPARAM(x, y));
        if (!IsWindow(window)) return "gone";
        if (!IsIconic(window)) return IsZoomed(window) ? "large" : "usual";
        ShowWindow(window, SW_RESTORE);
        return "small";
    };
    for (const auto& [left, y] : {std::pair(133, 30), {20, 68}, {20, -1}, {0, 30}})
        CHECK(after(WM_LBUTTONUP, 0, left, y) == "usual");
    const int width = desk::ClientSize(window).cx;
    CHECK(desk::HitTest(window, width - 133, 67) == HTCAPTION);
    for (const auto& [x, y] : {std::pair(width - 132, 67), {width - 20, -1}, {300, 68}})
        CHECK(desk::HitTest(window, x, y) == HTCLIENT);
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCLIENT, 20, 30) == "usual");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 30) == "large");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 30) == "usual");
    CHECK(after(WM_LBUTTONUP, 0, 132, 0) == "small");
    CHECK(after(WM_LBUTTONUP, 0, 88, 67) == "large");
    CHECK(after(WM_LBUTTONUP, 0, 45, 67) == "usual");
    CheckPlaces(window, RepairLayout(desk::ClientSize(window).cx));
    CHECK(after(WM_LBUTTONUP, 0, 44, 67) == "gone");
}

TEST_CASE("a status that does not fit is whole in a tooltip that follows it") {
    const Windows windows(std::wstring(75, L'长'));
    const HWND line = desk::Child(windows.query, kQueryStatus);
    CHECK(desk::FindTopWindow(GetCurrentProcessId(), TOOLTIPS_CLASSW) == nullptr);
    desk::Press(desk::Child(windows.query, kSaveButton));
    for (const int width : {980, 1900, 990}) {
        desk::Resize(windows.query, width, 700);
        TTTOOLINFOW tool = {};
        tool.cbSize = sizeof tool;
        tool.hwnd = windows.query;
        wchar_t text[400] = {};
        tool.lpszText = text;
        const HWND tip = desk::FindTopWindow(GetCurrentProcessId(), TOOLTIPS_CLASSW);
        REQUIRE(SendMessageW(tip, TTM_GETTOOLINFOW, 0, reinterpret_cast<LPARAM>(&tool)));
        CHECK(tool.uFlags == TTF_SUBCLASS);  // shown under the mouse
        CHECK(text == (width == 1900 ? L"" : desk::Text(line)));
        const RECT place = desk::RectInParent(line);
        CHECK(EqualRect(&tool.rect, &place));
        CHECK(SendMessageW(tip, TTM_GETMAXTIPWIDTH, 0, 0) == place.right - place.left);
    }
}

TEST_CASE("keys and lists behave as everywhere in Windows") {
    const Windows windows;
    const HWND box = desk::Child(windows.query, kKeywordEdit),
               list = desk::Child(windows.query, kAccountList);
    desk::SetText(box, L"玩家");
    SendMessageW(box, WM_CHAR, 1, 0);  // Ctrl+A
    CHECK(SendMessageW(box, EM_GETSEL, 0, 0) == MAKELONG(0, 2));
    ListFill(list, 1).AddRow({L"一区", L"G", L"玩家**三"});
    desk::SelectListRow(list, 0);
    BYTE keys[256] = {};
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    REQUIRE((OpenClipboard(windows.query) && EmptyClipboard()));
    SetClipboardData(CF_PRIVATEFIRST, GlobalAlloc(GMEM_MOVEABLE, 1));  // what was copied before
    CloseClipboard();
    SendMessageW(list, WM_KEYDOWN, 'C', 0);
    CHECK_FALSE(IsClipboardFormatAvailable(CF_PRIVATEFIRST));
    REQUIRE(OpenClipboard(windows.query));
    const void* row = GlobalLock(GetClipboardData(CF_UNICODETEXT));
    REQUIRE(row);
    CHECK(static_cast<const wchar_t*>(row) == std::wstring(L"一区\tG\t玩家**三"));
    CloseClipboard();

    const HWND zones = desk::Child(windows.query, kZoneCombo);
    for (int i = 0; i < 3; ++i) SendMessageW(zones, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"区"));
    SendMessageW(zones, CB_SHOWDROPDOWN, TRUE, 0);
    COMBOBOXINFO info = {};
    info.cbSize = sizeof info;
    REQUIRE(GetComboBoxInfo(zones, &info));
    const RECT drop = desk::ScreenRect(info.hwndList);
    CHECK(drop.bottom - drop.top >= 3 * SendMessageW(zones, CB_GETITEMHEIGHT, 0, 0));
}
