#include "app/controls.h"
#include "support/own_windows.h"
#include "support/replaced_functions.h"

namespace {

constexpr COLORREF kWhite = RGB(255, 255, 255), kBody = RGB(246, 248, 251), kGrey = RGB(92, 110, 128);

// Gives a window a client area, also one below its smallest size.
void Resize(HWND window, int width, int height) {
    RECT area = {0, 0, width, height};
    AdjustWindowRect(&area, desk::Style(window), FALSE);
    SetWindowPos(window, nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOSENDCHANGING);
}

// Paints the expected top of a window and checks that the window shows the same, pixel by pixel.
void CheckFrame(HWND window, const wchar_t* heading, const wchar_t* subtitle, const wchar_t* section,
                int left, COLORREF glyphs) {
    const auto [w, bottom] = desk::ClientSize(window);
    constexpr int kHeight = 156;  // down to the first control
    const HDC dc = CreateCompatibleDC(nullptr);
    const BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), w, -kHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    DWORD* pixels = nullptr;
    SelectObject(dc, CreateDIBSection(dc, &info, 0, reinterpret_cast<void**>(&pixels), nullptr, 0));
    REQUIRE(pixels);
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
    line(desk::Text(window).c_str(), -17, RGB(48, 83, 116), {58, 2, 330, 35}, DT_END_ELLIPSIS);
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
    const auto differs = [](DWORD pixel) { return (pixel & 0xFFFFFF) != 0; };
    CHECK(std::find_if(pixels, pixels + w * kHeight, differs) - pixels == w * kHeight);       // row by row
    CHECK((GetPixel(shown, 3, bottom - 3) == kBody && GetPixel(shown, left, 185) == kBody));  // under a label
    ReleaseDC(window, shown);
}

// The window's children in the order of creation: ID, initial of the class, lower half of the style, "+" for
// a sunken edge, place, text; a list's text is its columns. A combo box is as high as its font makes it.
std::wstring Described(HWND window) {
    std::wostringstream text;
    for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        const std::wstring kind = desk::ClassName(child);
        const RECT place = desk::RectInParent(child);
        text << L"; " << GetDlgCtrlID(child) << kind[0] << (desk::Style(child) & 0xFFFF)
             << (desk::ExStyle(child) & WS_EX_CLIENTEDGE ? L"+ " : L" ") << place.left << L"," << place.top
             << L" " << place.right - place.left;
        if (kind != WC_COMBOBOXW) text << L"*" << place.bottom - place.top << L" " << desk::Text(child);
        if (kind == WC_LISTVIEWW) {
            for (const auto& [title, width] : desk::ListColumns(child)) text << title << width << L",";
            constexpr LRESULT kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
            CHECK((desk::Send(child, LVM_GETEXTENDEDLISTVIEWSTYLE) & kStyles) == kStyles);
        }
        constexpr DWORD kByItself = WS_CLIPSIBLINGS | WS_HSCROLL | WS_VSCROLL;
        CHECK((desk::Style(child) & ~kByItself & 0xFFFF0000) == (WS_CHILD | WS_VISIBLE));
        CHECK((desk::ExStyle(child) | WS_EX_CLIENTEDGE) == WS_EX_CLIENTEDGE);
        LOGFONTW font = {};
        GetObjectW(reinterpret_cast<HFONT>(desk::Send(child, WM_GETFONT)), sizeof font, &font);
        CHECK((font.lfHeight == -16 && font.lfWeight == 400 && font.lfQuality == CLEARTYPE_QUALITY));
    }
    return text.str();
}

}  // namespace

TEST_CASE("both windows have their paint title sizes and controls") {
    const Windows windows;
    const HWND query = windows.query, repair = windows.repair;
    const HDC box = GetDC(windows.Child(kSelectedIdEdit));  // read-only boxes are told apart
    CHECK(GetPixel(box, 5, 5) == GetSysColor(COLOR_3DFACE));
    CHECK_FALSE((GetUpdateRect(query, nullptr, FALSE) || GetUpdateRect(repair, nullptr, FALSE)));
    std::string sizes;
    for (const HWND window : {query, query, repair, repair}) {
        const auto [left, top, right, bottom] = desk::ScreenRect(window);
        sizes += std::to_string(right - left) + "*" + std::to_string(bottom - top) + " ";
        CHECK(desk::Text(window) == L"Velkor版合区ID重复查询工具");
        constexpr DWORD kStyles = WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME |
                                  WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
        CHECK((desk::Style(window) & ~static_cast<DWORD>(WS_CLIPSIBLINGS)) == kStyles);
        CHECK((desk::ExStyle(window) | WS_EX_WINDOWEDGE) == WS_EX_WINDOWEDGE);
        const auto cursor = reinterpret_cast<ULONG_PTR>(LoadCursorW(nullptr, IDC_ARROW));
        CHECK(GetClassLongPtrW(window, GCLP_HCURSOR) == cursor);
        CHECK((GetClassLongPtrW(window, GCLP_HICON) != 0 && GetClassLongPtrW(window, GCL_STYLE) == 0));
        desk::Resize(window, 500, 300);
    }
    CHECK(sizes == "980*620 980*620 1160*860 1000*860 ");
    Resize(query, 981, 621);
    CHECK(
        Described(query) ==
        L"; 2001S12 16,158 96*28 区服：; 1001C3 112,156 263; 1003B0 385,156 96*28 刷新区服; 2002S12 499,158 "
        L"96*28 关键字：; 1002E128+ 595,156 264*28 ; 1004B0 869,156 96*28 查询账号; 2003S12 16,198 96*28 "
        L"账号表：; 1007E128+ 112,196 369*28 AUTO; 2004S12 499,198 96*28 账号字段：; 1008E128+ 595,196 "
        L"369*28 F; 1009B0 869,232 96*28 保存设置; 1010B0 739,232 120*28 合区 ID 工具; 1005S5+ 16,268 "
        L"949*307 区服220,数据库220,账号（已隐藏）180,; 1006S0 16,583 949*30 检测到 0 个已启动 M2。");
    Resize(repair, 1161, 800);
    CHECK(
        Described(repair) ==
        L"; 3101S12 14,162 66*26 服务器：; 3001E128+ 80,160 496*26 ; 3102S12 584,162 66*26 端口：; "
        L"3002E8320+ "
        L"650,160 90*26 1433; 3103S12 748,162 66*26 用户：; 3003E128+ 814,160 332*26 ; 3104S12 14,196 66*26 "
        L"密码：; 3004E160+ 80,194 496*26 ; 3105S12 584,196 66*26 库 A：; 3005E128+ 650,194 496*26 ; 3106S12 "
        L"14,230 66*26 库 B：; 3006E128+ 80,228 496*26 ; 3007B0 584,228 120*26 检测重复唯一 ID; 3016B0 "
        L"712,228 200*26 自动修复全部重复 ID; 3008S5+ 14,264 1133*180 重复唯一 ID210,库 A 角色160,库 B "
        L"角色160,库 A 账号150,库 B 账号150,; 3017S5+ 14,452 1133*105 重复行会 ID280,库 A 行会220,库 B "
        L"行会220,; 3107S12 14,567 88*26 选中 ID：; 3015E2176+ 106,565 280*26 ; 3108S12 404,567 68*26 "
        L"修复库：; 3009C3 476,565 280; 3109S12 14,605 88*26 新 ID：; 3010E8320+ 106,603 420*26 ; 3011B0 "
        L"899,603 120*26 分析关联数据; 3013B0 1027,603 120*26 执行修复; 3012S5+ 14,643 1133*150 "
        L"表260,字段180,类型100,命中行数100,; 3014S12 14,799 1133*42 默认只读；检测和分析不会修改数据库。");
    RedrawWindow(query, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    Resize(query, 600, 400);
    RECT stale = {};  // everything is to be drawn again, and the controls that stay where they are
    CHECK((GetUpdateRect(query, &stale, FALSE) && stale.right == 600 && stale.bottom == 400));
    CHECK(GetUpdateRect(windows.Child(kZoneLabel), nullptr, FALSE));
    std::wstring limits = Described(query);  // every lower one at work
    for (const int width : {630, 795, 927, 1025}) Resize(repair, width, 800), limits += Described(repair);
    for (const wchar_t* place :
         {L"1001C3 112,156 160;", L"1002E128+ 450,156 140*28", L"1005S5+ 16,268 568*120",
          L"3009C3 476,565 180; 3109S12 14,605 88*26 新 ID：; 3010E8320+ 106,603 260*26",
          L"3010E8320+ 106,603 419*26", L"3009C3 476,565 181;", L"3009C3 476,565 279;"})
        CHECK(limits.find(place) != limits.npos);
    // Texts end where their places end, also those that are wider.
    for (const auto& [width, title] :
         {std::pair(1000, L"短"), {345, L"比它的位置更长的一个窗口标题比它的位置更长"}, {90, L""}}) {
        for (const HWND window : {query, repair}) Resize(window, width, 700), SetWindowTextW(window, title);
        CheckFrame(query, L"区服账号查询", L"查询账号归属区服，核对合区数据库中的账号记录", L"查询条件", 16,
                   kGrey);
        CheckFrame(repair, L"角色 / 行会 ID 修复", L"检测重复 ID，检查关联表，并在事务中完成统一修复",
                   L"数据库连接", 14, RGB(90, 103, 116));
    }
}

TEST_CASE("a second press finds the repair window that glyphs and double clicks on the caption change") {
    const Windows windows;
    const HWND query = windows.query, window = windows.repair;
    desk::SetText(windows.Child(kPortEdit), L"7");
    desk::BringToFront(query);
    desk::Press(windows.Child(kRepairToolButton));
    desk::WaitUntil("in front", [&] { return GetForegroundWindow() == window; });
    CHECK(desk::Text(windows.Child(kPortEdit)) == L"7");
    // What the window looks like after a message at a point that is told from the client area's right edge.
    const auto after = [&](UINT message, WPARAM code, int left, int y) -> std::string {
        const int x = desk::ClientSize(window).cx - left;
        const std::string held = desk::HitTest(window, x, y) == HTCAPTION ? "held " : "";  // to be moved
        SendMessageW(window, message, code, MAKELPARAM(x, y));
        if (!IsWindow(window)) return "gone";
        if (!IsIconic(window)) return held + (IsZoomed(window) ? "large" : "usual");
        ShowWindow(window, SW_RESTORE);
        return held + "small";
    };
    std::string states;
    for (const auto& [left, y] :
         {std::pair(133, 67), {133, 68}, {20, 68}, {20, -1}, {0, 30}, {132, 0}, {89, 67}, {88, 67}, {45, 67}})
        states += after(WM_LBUTTONUP, 0, left, y) + " ";
    CHECK(states == "held usual usual usual usual usual small small large usual ");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCLIENT, 20, 30) == "usual");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 0) == "held large");
    CHECK(after(WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 0) == "held usual");
    CHECK(after(WM_LBUTTONUP, 0, 44, 67) == "gone");
    desk::Press(windows.Child(kRepairToolButton));
    const HWND again = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    CHECK(desk::Text(desk::Child(again, kPortEdit)) == L"1433");
}

TEST_CASE("keys a refresh and a status that does not fit behave as everywhere in Windows") {
    const Windows windows(std::wstring(75, L'长'));
    const HWND box = windows.Child(kKeywordEdit), line = windows.Child(kQueryStatus);
    const auto statusAfterEnter = [&](LPARAM details) {
        desk::SetText(line, L"");
        SendMessageW(box, WM_CHAR, VK_RETURN, details);
        return desk::Text(line);
    };
    CHECK(statusAfterEnter(0) == L"请先启动 M2 并刷新区服。");
    CHECK(statusAfterEnter(KF_REPEAT << 16) == L"");  // a key that is held down
    EnableWindow(windows.Child(kQueryButton), FALSE);
    CHECK(statusAfterEnter(0) == L"");
    desk::SetText(box, L"玩家");
    SendMessageW(box, WM_CHAR, 1, 0);  // Ctrl+A
    CHECK(SendMessageW(box, EM_GETSEL, 0, 0) == MAKELONG(0, 2));
    ReplacedSnapshot refresh;
    refresh.before = [line] {
        CHECK((desk::Text(line) == L"正在检测 M2..." && !GetUpdateRect(line, nullptr, FALSE)));
    };
    desk::Press(windows.Child(kRefreshButton));
    desk::Press(windows.Child(kSaveButton));
    windows.SetText(kRepairStatus, desk::Text(line));
    for (const int id : {int{kQueryStatus}, int{kRepairStatus}})
        for (const int width : {id == kQueryStatus ? 0 : 1200, 1900, 1100}) {
            const HWND label = windows.Child(id), window = GetParent(label);
            if (width > 0) desk::Resize(window, width, 860);
            wchar_t text[400] = {};
            TTTOOLINFOW tool = {sizeof tool, 0, window, 0, {}, nullptr, text, 0, nullptr};
            HWND tip = nullptr;
            do tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr);
            while (tip && (GetWindow(tip, GW_OWNER) != window ||
                           !SendMessageW(tip, TTM_GETTOOLINFOW, 0, reinterpret_cast<LPARAM>(&tool))));
            REQUIRE(tip);
            CHECK(text == (width == 1900 ? L"" : desk::Text(label)));
            const RECT place = desk::RectInParent(label);
            CHECK((EqualRect(&tool.rect, &place) && tool.uFlags == TTF_SUBCLASS));  // shown under the mouse
            CHECK(SendMessageW(tip, TTM_GETMAXTIPWIDTH, 0, 0) == place.right - place.left);
            const bool anywhere = desk::Style(tip) % 4 == (TTS_ALWAYSTIP | TTS_NOPREFIX);
            CHECK((anywhere && SendMessageW(tip, TTM_GETDELAYTIME, TTDT_AUTOPOP, 0) == MAXSHORT));
        }
}
