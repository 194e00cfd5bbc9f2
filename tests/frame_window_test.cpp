#include "account_query/query_window.h"
#include "app/controls.h"
#include "support/desk_fixture.h"

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
        std::filesystem::current_path(place.At(folder));
        object = QueryWindow::Open(GetModuleHandleW(nullptr), SW_SHOW, taskbar);
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        query = object->Handle();
        desk::Press(desk::Child(query, kRepairToolButton));
        repair = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    }
    ~Windows() { DestroyWindow(query); }
};

constexpr COLORREF kWhite = RGB(255, 255, 255), kBody = RGB(246, 248, 251), kGrey = RGB(92, 110, 128);

// Paints the expected top of a window and checks that the window shows the same, pixel by pixel.
void CheckFrame(HWND window, const wchar_t* heading, const wchar_t* subtitle, const wchar_t* section,
                int left, COLORREF glyphs) {
    const auto [w, bottom] = desk::ClientSize(window);
    constexpr int kHeight = 156;  // down to the first control
    const HDC dc = CreateCompatibleDC(nullptr);
    const BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), w, -kHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    DWORD* pixels = nullptr;
    SelectObject(dc,
                 CreateDIBSection(dc, &info, DIB_RGB_COLORS, reinterpret_cast<void**>(&pixels), nullptr, 0));
    SetBkMode(dc, TRANSPARENT);
    for (const auto& [top, end, colour] : {std::tuple(0, 67, kWhite),
                                           {67, 68, RGB(215, 225, 235)},
                                           {68, 122, RGB(42, 78, 114)},
                                           {122, kHeight, kBody}}) {
        SetDCBrushColor(dc, colour);
        const RECT area = {0, top, w, end};
        FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    const HICON icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(101));
    DrawIconEx(dc, 18, 10, icon, 26, 26, 0, nullptr, DI_NORMAL);
    // A height of zero asks for the system's own font.
    const auto line = [dc](const wchar_t* text, int height, COLORREF colour, RECT area, UINT format = 0) {
        const HFONT font = CreateFontW(height, 0, 0, 0, height == -17 ? 600 : 400, 0, 0, 0, DEFAULT_CHARSET,
                                       0, 0, CLEARTYPE_QUALITY, 0, L"Microsoft YaHei");
        SelectObject(dc, height ? static_cast<HGDIOBJ>(font) : GetStockObject(DEFAULT_GUI_FONT));
        SetTextColor(dc, colour);
        DrawTextW(dc, text, -1, &area, DT_SINGLELINE | DT_VCENTER | format);
    };
    line(L"Velkor版合区ID重复查询工具", -17, RGB(48, 83, 116), {58, 2, 330, 35}, DT_END_ELLIPSIS);
    line(L"V2.4.1", -12, kGrey, {338, 3, 420, 34});
    line(L"合区运维工具：查账号归属，修角色与行会 ID；查询只读，修复须确认", -12, kGrey,
         {58, 37, w - 140, 64}, DT_END_ELLIPSIS);
    for (const auto& [glyph, x] : {std::pair(L"—", w - 132), {L"□", w - 88}, {L"×", w - 44}})
        line(glyph, 0, glyphs, {x, 0, x + 44, 67}, DT_CENTER);
    line(heading, -17, kWhite, {22, 75, w - 20, 99});
    line(subtitle, -16, RGB(207, 222, 236), {23, 99, w - 20, 122});
    line(section, -16, RGB(45, 64, 80), {left, 130, w - left, kHeight});
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    const HDC shown = GetDC(window);
    BitBlt(dc, 0, 0, w, kHeight, shown, 0, 0, SRCINVERT);
    GdiFlush();
    int first = 0;
    while (first < w * kHeight && (pixels[first] & 0xFFFFFF) == 0) ++first;
    CHECK(first == w * kHeight);  // else the first pixel of another colour, row by row
    const RECT label = desk::RectInParent(GetWindow(window, GW_CHILD));
    CHECK((GetPixel(shown, 3, bottom - 3) == kBody &&
           GetPixel(shown, label.right - 1, label.bottom - 1) == kBody));
    ReleaseDC(window, shown);
}

// The window's outer size and its children in the order of creation: ID, initial of the class, lower half of
// the style, "+" for a sunken edge, text; a list's text is its columns.
std::wstring Described(HWND window) {
    const RECT outer = desk::ScreenRect(window);
    std::wstring text =
        std::to_wstring(outer.right - outer.left) + L"*" + std::to_wstring(outer.bottom - outer.top) + L": ";
    for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        const std::wstring kind = desk::ClassName(child);
        text += std::to_wstring(GetDlgCtrlID(child)) + kind[0] +
                std::to_wstring(desk::Style(child) & 0xFFFF) +
                (desk::ExStyle(child) & WS_EX_CLIENTEDGE ? L"+ " : L" ") + desk::Text(child);
        if (kind == WC_LISTVIEWW) {
            for (const auto& [title, width] : desk::ListColumns(child))
                text += title + std::to_wstring(width) + L",";
            constexpr LRESULT kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
            CHECK((desk::Send(child, LVM_GETEXTENDEDLISTVIEWSTYLE) & kStyles) == kStyles);
        }
        LOGFONTW font = {};
        GetObjectW(reinterpret_cast<HFONT>(desk::Send(child, WM_GETFONT)), sizeof font, &font);
        CHECK(font.lfHeight == -16);
        text += L";";
    }
    return text;
}

// Checks where controls really stand. A combo box is as high as its font makes it.
void CheckPlaces(HWND window, std::span<const ControlPlace> places) {
    for (const ControlPlace& place : places) {
        CAPTURE(place.id);
        const auto& [id, x, y, width, height] = place;
        RECT rect = desk::RectInParent(desk::Child(window, id));
        if (id == kZoneCombo || id == kTargetCombo) rect.bottom = y + height;
        const RECT expected = {x, y, x + width, y + height};
        CHECK(EqualRect(&rect, &expected));
    }
}

}  // namespace

TEST_CASE("both windows have their paint title sizes and controls") {
    const Windows windows;
    const HWND query = windows.query, repair = windows.repair;
    CheckFrame(query, L"区服账号查询", L"查询账号归属区服，核对合区数据库中的账号记录", L"查询条件", 16,
               kGrey);
    CheckFrame(repair, L"角色 / 行会 ID 修复", L"检测重复 ID，检查关联表，并在事务中完成统一修复",
               L"数据库连接", 14, RGB(90, 103, 116));
    const HDC box = GetDC(desk::Child(repair, kSelectedIdEdit));  // read-only boxes are told apart
    CHECK(GetPixel(box, 5, 5) == GetSysColor(COLOR_3DFACE));
    CHECK(Described(query) ==
          L"980*620: 2001S12 区服：;1001C3 ;1003B0 刷新区服;2002S12 关键字：;1002E128+ ;1004B0 "
          L"查询账号;2003S12 账号表：;1007E128+ AUTO;2004S12 账号字段：;1008E128+ F;1009B0 保存设置;1010B0 "
          L"合区 ID 工具;1005S5+ 区服220,数据库220,账号（已隐藏）180,;1006S0 检测到 0 个已启动 M2。;");
    CHECK(
        Described(repair) ==
        L"1160*860: 3101S12 服务器：;3001E128+ ;3102S12 端口：;3002E8320+ 1433;3103S12 用户：;3003E128+ "
        L";3104S12 密码：;3004E160+ ;3105S12 库 A：;3005E128+ ;3106S12 库 B：;3006E128+ ;3007B0 检测重复唯一 "
        L"ID;3016B0 自动修复全部重复 ID;3008S5+ 重复唯一 ID210,库 A 角色160,库 B 角色160,库 A 账号150,库 B "
        L"账号150,;3017S5+ 重复行会 ID280,库 A 行会220,库 B 行会220,;3107S12 选中 ID：;3015E2176+ ;3108S12 "
        L"修复库：;3009C3 ;3109S12 新 ID：;3010E8320+ ;3011B0 分析关联数据;3013B0 执行修复;3012S5+ "
        L"表260,字段180,类型100,命中行数100,;3014S12 默认只读；检测和分析不会修改数据库。;");
    for (const HWND window : {query, repair}) {
        CHECK(desk::Text(window) == L"Velkor版合区ID重复查询工具");
        constexpr DWORD kStyles = WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME |
                                  WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
        CHECK((desk::Style(window) & ~static_cast<DWORD>(WS_CLIPSIBLINGS)) == kStyles);
        CHECK(GetClassLongPtrW(window, GCLP_HICON) != 0);
        desk::Resize(window, 500, 300);
    }
    CHECK(Described(query).starts_with(L"980*620: "));
    CHECK(Described(repair).starts_with(L"1000*860: "));
    RedrawWindow(query, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    desk::Resize(query, 1281, 777);
    const SIZE client = desk::ClientSize(query);
    RECT stale = {};  // everything is to be drawn again, and the controls that stay where they are
    CHECK((GetUpdateRect(query, &stale, FALSE) && stale.right == client.cx && stale.bottom == client.cy));
    CHECK(GetUpdateRect(desk::Child(query, kZoneLabel), nullptr, FALSE));
    CheckPlaces(query, QueryLayout(client.cx, client.cy));
    CheckPlaces(repair, RepairLayout(desk::ClientSize(repair).cx));
}

TEST_CASE("a second press finds the repair window that glyphs and double clicks on the caption change") {
    const Windows windows;
    const HWND query = windows.query, window = windows.repair;
    CHECK(GetWindow(window, GW_OWNER) == query);
    desk::SetText(desk::Child(window, kPortEdit), L"7");
    desk::BringToFront(query);
    desk::Press(desk::Child(query, kRepairToolButton));
    desk::WaitUntil("in front", [&] { return GetForegroundWindow() == window; });
    CHECK(desk::Text(desk::Child(window, kPortEdit)) == L"7");
    // What the window looks like after a message at a point that is told from the client area's right edge.
    const auto after = [&](UINT message, WPARAM code, int left, int y) -> std::string {
        const int x = desk::ClientSize(window).cx - left;
        SendMessageW(window, message, code, MAKELPARAM(x, y));
        if (!IsWindow(window)) return "gone";
        if (!IsIconic(window)) return IsZoomed(window) ? "large" : "usual";
        ShowWindow(window, SW_RESTORE);
        return "small";
    };
    std::string states, areas;
    for (const auto& [left, y] :
         {std::pair(133, 30), {20, 68}, {20, -1}, {0, 30}, {132, 0}, {88, 67}, {45, 67}})
        states += after(WM_LBUTTONUP, 0, left, y) + " ";
    CHECK(states == "usual usual usual usual small large usual ");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCLIENT, 20, 30) == "usual");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 30) == "large");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 30) == "usual");
    const int width = desk::ClientSize(window).cx;
    for (const auto& [x, y] : {std::pair(width - 133, 67), {width - 132, 67}, {width - 20, -1}, {300, 68}})
        areas += desk::HitTest(window, x, y) == HTCAPTION ? "caption " : "client ";
    CHECK(areas == "caption client client client ");
    CHECK(after(WM_LBUTTONUP, 0, 44, 67) == "gone");
    desk::Press(desk::Child(query, kRepairToolButton));
    const HWND again = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    CHECK(desk::Text(desk::Child(again, kPortEdit)) == L"1433");
}

TEST_CASE("keys lists and a status that does not fit behave as everywhere in Windows") {
    const Windows windows(std::wstring(75, L'长'));
    const HWND box = desk::Child(windows.query, kKeywordEdit),
               line = desk::Child(windows.query, kQueryStatus);
    const auto statusAfterEnter = [&](LPARAM details) {
        desk::SetText(line, L"");
        SendMessageW(box, WM_CHAR, VK_RETURN, details);
        return desk::Text(line);
    };
    CHECK(statusAfterEnter(0) == L"请先启动 M2 并刷新区服。");
    CHECK(statusAfterEnter(KF_REPEAT << 16) == L"");  // a key that is held down
    EnableWindow(desk::Child(windows.query, kQueryButton), FALSE);
    CHECK(statusAfterEnter(0) == L"");
    desk::SetText(box, L"玩家");
    SendMessageW(box, WM_CHAR, 1, 0);  // Ctrl+A
    CHECK(SendMessageW(box, EM_GETSEL, 0, 0) == MAKELONG(0, 2));

    const HWND list = desk::Child(windows.query, kAccountList);
    {
        ListFill rows(list, 2);
        rows.AddRow({L"一区", L"G", L"玩家**三"});
        rows.AddRow({L"二区", L"\"张\t三\r\n", L""});
    }
    desk::SelectListRow(list, 0);
    const auto copied = [&](BYTE control, BYTE shift) {
        BYTE keys[256] = {};
        keys[VK_CONTROL] = control;
        keys[VK_SHIFT] = shift;
        SetKeyboardState(keys);
        REQUIRE((OpenClipboard(windows.query) && EmptyClipboard()));
        SetClipboardData(CF_PRIVATEFIRST, GlobalAlloc(GMEM_MOVEABLE, 1));  // what was copied before
        CloseClipboard();
        SendMessageW(list, WM_KEYDOWN, 'C', 0);
        if (IsClipboardFormatAvailable(CF_PRIVATEFIRST)) return std::wstring(L"(as before)");
        REQUIRE(OpenClipboard(windows.query));
        const auto text = static_cast<const wchar_t*>(GlobalLock(GetClipboardData(CF_UNICODETEXT)));
        const std::wstring copy = text ? text : L"";
        CloseClipboard();
        return copy;
    };
    CHECK(copied(0, 0) == L"(as before)");
    CHECK(copied(0x80, 0) == L"一区\tG\t玩家**三");
    CHECK(copied(0x80, 0x80) ==
          L"区服\t数据库\t账号（已隐藏）\r\n一区\tG\t玩家**三\r\n二区\t\"\"\"张 三  \"\t\r\n");

    desk::Press(desk::Child(windows.query, kSaveButton));
    for (const int width : {0, 1900, 990}) {
        if (width > 0) desk::Resize(windows.query, width, 700);
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
