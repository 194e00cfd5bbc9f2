#include "app/controls.h"
#include "support/own_windows.h"
#include "support/replaced_functions.h"

static constexpr COLORREF kWhite = RGB(255, 255, 255), kBody = RGB(246, 248, 251), kGrey = RGB(92, 110, 128);
static constexpr wchar_t kTitle[] = L"Velkor版合区ID重复查询工具";

// Gives a window a client area, also one below its smallest size.
static void Resize(HWND window, int width, int height) {
    RECT area = {0, 0, width, height};
    AdjustWindowRect(&area, desk::Style(window), FALSE);
    SetWindowPos(window, nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOSENDCHANGING);
}

static std::string Size(HWND window) {
    const auto [left, top, right, bottom] = desk::ScreenRect(window);
    return std::to_string(right - left) + "*" + std::to_string(bottom - top);
}

// What a frame shows beside its title.
struct Frame {
    const wchar_t *heading, *subtitle, *section;
    int left;  // of the section
    COLORREF glyphs;
};
static constexpr Frame kQueryFrame = {L"区服账号查询", L"查询账号归属区服，核对合区数据库中的账号记录",
                                      L"查询条件", 16, kGrey};
static constexpr Frame kRepairFrame = {L"角色 / 行会 ID 修复",
                                       L"检测重复 ID，检查关联表，并在事务中完成统一修复", L"数据库连接", 14,
                                       RGB(90, 103, 116)};
static constexpr int kFrameHeight = 156;  // down to the first control

static void PaintTexts(HDC dc, int w, const std::wstring& title, const Frame& frame) {
    // A height of zero asks for the system's own font.
    const auto line = [dc](const wchar_t* text, int height, COLORREF colour, RECT area, UINT format = 0) {
        const HFONT font = CreateFontW(height, 0, 0, 0, height == -17 ? 600 : 400, 0, 0, 0, DEFAULT_CHARSET,
                                       0, 0, CLEARTYPE_QUALITY, 0, L"Microsoft YaHei");
        SelectObject(dc, height ? static_cast<HGDIOBJ>(font) : GetStockObject(DEFAULT_GUI_FONT));
        SetTextColor(dc, colour);
        DrawTextW(dc, text, -1, &area, DT_SINGLELINE | DT_VCENTER | format);
    };
    line(title.c_str(), -17, RGB(48, 83, 116), {58, 2, 330, 35}, DT_END_ELLIPSIS);
    line(L"V2.4.1", -12, kGrey, {338, 3, 420, 34});
    line(L"合区运维工具：查账号归属，修角色与行会 ID；查询只读，修复须确认", -12, kGrey,
         {58, 37, w - 140, 64}, DT_END_ELLIPSIS);
    for (const auto& [glyph, x] : {std::pair(L"—", w - 132), {L"□", w - 88}, {L"×", w - 44}})
        line(glyph, 0, frame.glyphs, {x, 0, x + 44, 67}, DT_CENTER);
    line(frame.heading, -17, kWhite, {22, 75, w - 20, 99});
    line(frame.subtitle, -16, RGB(207, 222, 236), {23, 99, w - 20, 122});
    line(frame.section, -16, RGB(45, 64, 80), {frame.left, 130, w - frame.left, kFrameHeight});
}

// Paints the expected top of a window. @return the first pixel, row by row, that the window shows otherwise.
static std::string FirstPixelThatDiffers(HWND window, const Frame& frame) {
    const int w = desk::ClientSize(window).cx;
    const HDC dc = CreateCompatibleDC(nullptr);
    const BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), w, -kFrameHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    DWORD* pixels = nullptr;
    SelectObject(dc, CreateDIBSection(dc, &info, 0, reinterpret_cast<void**>(&pixels), nullptr, 0));
    REQUIRE(pixels);
    SetBkMode(dc, TRANSPARENT);
    for (const auto& [top, end, colour] : {std::tuple(0, 67, kWhite),
                                           {67, 68, RGB(215, 225, 235)},
                                           {68, 122, RGB(42, 78, 114)},
                                           {122, kFrameHeight, kBody}}) {
        SetDCBrushColor(dc, colour);
        const RECT area = {0, top, w, end};
        FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    const HICON icon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(101));
    DrawIconEx(dc, 18, 10, icon, 26, 26, 0, nullptr, DI_NORMAL);
    PaintTexts(dc, w, desk::Text(window), frame);
    RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    const HDC shown = GetDC(window);
    BitBlt(dc, 0, 0, w, kFrameHeight, shown, 0, 0, SRCINVERT);
    ReleaseDC(window, shown);
    GdiFlush();
    const auto differs = [](DWORD pixel) { return (pixel & 0xFFFFFF) != 0; };
    const auto at = std::find_if(pixels, pixels + w * kFrameHeight, differs) - pixels;
    if (at == w * kFrameHeight) return "none";
    return std::to_string(at % w) + "," + std::to_string(at / w);
}

static COLORREF PixelOf(HWND window, int x, int y) {
    const HDC dc = GetDC(window);
    const COLORREF colour = GetPixel(dc, x, y);
    ReleaseDC(window, dc);
    return colour;
}

// One child: ID, initial of the class, lower half of the style, "+" for a sunken edge, place, text; a list's
// text is its columns. A combo box is as high as its font makes it.
static std::wstring Described(HWND child) {
    std::wostringstream text;
    const std::wstring kind = desk::ClassName(child);
    const auto [left, top, right, bottom] = desk::RectInParent(child);
    text << GetDlgCtrlID(child) << kind[0] << (desk::Style(child) & 0xFFFF)
         << (desk::ExStyle(child) & WS_EX_CLIENTEDGE ? L"+ " : L" ") << left << L"," << top << L" "
         << right - left;
    if (kind != WC_COMBOBOXW) text << L"*" << bottom - top << L" " << desk::Text(child);
    if (kind == WC_LISTVIEWW)
        for (const auto& [title, width] : desk::ListColumns(child)) text << title << width << L",";
    return text.str();
}

// What all controls have in common, and lists among themselves.
static void CheckCommonParts(HWND child) {
    constexpr DWORD kByItself = WS_CLIPSIBLINGS | WS_HSCROLL | WS_VSCROLL;
    CHECK((desk::Style(child) & ~kByItself & 0xFFFF0000) == (WS_CHILD | WS_VISIBLE));
    CHECK((desk::ExStyle(child) | WS_EX_CLIENTEDGE) == WS_EX_CLIENTEDGE);
    LOGFONTW font = {};
    GetObjectW(reinterpret_cast<HFONT>(desk::Send(child, WM_GETFONT)), sizeof font, &font);
    CHECK(font.lfHeight == -16);
    CHECK(font.lfWeight == 400);
    CHECK(font.lfQuality == CLEARTYPE_QUALITY);
    if (desk::ClassName(child) != WC_LISTVIEWW) return;
    constexpr LRESULT kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
    CHECK((desk::Send(child, LVM_GETEXTENDEDLISTVIEWSTYLE) & kStyles) == kStyles);
}

// Child by child in the order of creation; one that is too much or missing differs from nothing.
static void CheckChildren(HWND window, const std::vector<std::wstring>& expected) {
    HWND child = nullptr;
    for (const std::wstring& description : expected) {
        child = FindWindowExW(window, child, nullptr, nullptr);
        REQUIRE(child);
        CHECK(Described(child) == description);
        CheckCommonParts(child);
    }
    CHECK(!FindWindowExW(window, child, nullptr, nullptr));
}

// The tooltip of a window's label, with the tool that it is for.
struct Tip {
    HWND window = nullptr;
    wchar_t text[400] = {};
    TTTOOLINFOW tool = {};

    explicit Tip(HWND owner) {
        tool = {sizeof tool, 0, owner, 0, {}, nullptr, text, 0, nullptr};
        do window = FindWindowExW(nullptr, window, TOOLTIPS_CLASSW, nullptr);
        while (window && (GetWindow(window, GW_OWNER) != owner ||
                          !SendMessageW(window, TTM_GETTOOLINFOW, 0, reinterpret_cast<LPARAM>(&tool))));
        REQUIRE(window);
    }
};

TEST_CASE("both windows have their title style class and size") {
    const Windows windows;
    for (const auto& [name, window, size, smallest] :
         Table({std::tuple("query", windows.query, "980*620", "980*620"),
                {"repair", windows.repair, "1160*860", "1000*860"}})) {
        CHECK(desk::Text(window) == kTitle);
        constexpr DWORD kStyles = WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME |
                                  WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
        CHECK((desk::Style(window) & ~static_cast<DWORD>(WS_CLIPSIBLINGS)) == kStyles);
        CHECK((desk::ExStyle(window) | WS_EX_WINDOWEDGE) == WS_EX_WINDOWEDGE);
        CHECK(GetClassLongPtrW(window, GCLP_HCURSOR) ==
              reinterpret_cast<ULONG_PTR>(LoadCursorW(nullptr, IDC_ARROW)));
        CHECK(GetClassLongPtrW(window, GCLP_HBRBACKGROUND) == COLOR_WINDOW + 1);
        CHECK(GetClassLongPtrW(window, GCLP_HICON) != 0);
        CHECK(GetClassLongPtrW(window, GCL_STYLE) == 0);
        CHECK(GetUpdateRect(window, nullptr, FALSE) == FALSE);  // painted when it came up
        CHECK(Size(window) == size);
        desk::Resize(window, 500, 300);
        CHECK(Size(window) == smallest);
    }
}

TEST_CASE("each control has its place class style and text") {
    const Windows windows;
    Resize(windows.query, 981, 621);
    CheckChildren(windows.query, {L"2001S12 16,158 96*28 区服：", L"1001C3 112,156 263",
                                  L"1003B0 385,156 96*28 刷新区服", L"2002S12 499,158 96*28 关键字：",
                                  L"1002E128+ 595,156 264*28 ", L"1004B0 869,156 96*28 查询账号",
                                  L"2003S12 16,198 96*28 账号表：", L"1007E128+ 112,196 369*28 AUTO",
                                  L"2004S12 499,198 96*28 账号字段：", L"1008E128+ 595,196 369*28 F",
                                  L"1009B0 869,232 96*28 保存设置", L"1010B0 739,232 120*28 合区 ID 工具",
                                  L"1005S5+ 16,268 949*307 区服220,数据库220,账号（已隐藏）180,",
                                  L"1006S0 16,583 949*30 检测到 0 个已启动 M2。"});
    Resize(windows.repair, 1161, 800);
    CheckChildren(
        windows.repair,
        {L"3101S12 14,162 66*26 服务器：",
         L"3001E128+ 80,160 496*26 ",
         L"3102S12 584,162 66*26 端口：",
         L"3002E8320+ 650,160 90*26 1433",
         L"3103S12 748,162 66*26 用户：",
         L"3003E128+ 814,160 332*26 ",
         L"3104S12 14,196 66*26 密码：",
         L"3004E160+ 80,194 496*26 ",
         L"3105S12 584,196 66*26 库 A：",
         L"3005E128+ 650,194 496*26 ",
         L"3106S12 14,230 66*26 库 B：",
         L"3006E128+ 80,228 496*26 ",
         L"3007B0 584,228 120*26 检测重复唯一 ID",
         L"3016B0 712,228 200*26 自动修复全部重复 ID",
         L"3008S5+ 14,264 1133*180 重复唯一 ID210,库 A 角色160,库 B 角色160,库 A 账号150,库 B 账号150,",
         L"3017S5+ 14,452 1133*105 重复行会 ID280,库 A 行会220,库 B 行会220,",
         L"3107S12 14,567 88*26 选中 ID：",
         L"3015E2176+ 106,565 280*26 ",
         L"3108S12 404,567 68*26 修复库：",
         L"3009C3 476,565 280",
         L"3109S12 14,605 88*26 新 ID：",
         L"3010E8320+ 106,603 420*26 ",
         L"3011B0 899,603 120*26 分析关联数据",
         L"3013B0 1027,603 120*26 执行修复",
         L"3012S5+ 14,643 1133*150 表260,字段180,类型100,命中行数100,",
         L"3014S12 14,799 1133*42 默认只读；检测和分析不会修改数据库。"});
}

TEST_CASE("places follow the window's width and height down to their limits") {
    const Windows windows;
    for (const auto& [place, id, width] : Table({std::tuple(L"1001C3 112,156 160"s, int{kZoneCombo}, 600),
                                                 {L"1002E128+ 450,156 140*28 ", kKeywordEdit, 600},
                                                 {L"1005S5+ 16,268 568*120 ", kAccountList, 600},
                                                 {L"3009C3 476,565 180", kTargetCombo, 630},
                                                 {L"3010E8320+ 106,603 260*26 ", kNewIdEdit, 630},
                                                 {L"3010E8320+ 106,603 419*26 ", kNewIdEdit, 795},
                                                 {L"3009C3 476,565 181", kTargetCombo, 927},
                                                 {L"3009C3 476,565 279", kTargetCombo, 1025}})) {
        const HWND child = windows.Child(id);
        Resize(GetParent(child), width, width == 600 ? 400 : 800);
        CHECK(Described(child).substr(0, place.size()) == place);
        // What stays where it was is drawn again, too.
        CHECK(GetUpdateRect(GetWindow(GetParent(child), GW_CHILD), nullptr, FALSE) == TRUE);
    }
}

TEST_CASE("frames are painted pixel by pixel and texts end where their places end") {
    const Windows windows;
    // A box that cannot be filled in is told apart.
    CHECK(PixelOf(windows.Child(kSelectedIdEdit), 5, 5) == GetSysColor(COLOR_3DFACE));
    for (const auto& [width, title] :
         Table({std::pair(1000, L"短"), {345, L"比它的位置更长的一个窗口标题比它的位置更长"}, {90, L""}}))
        for (const auto& [heading, window, frame] :
             Table({std::tuple(kQueryFrame.heading, windows.query, kQueryFrame),
                    {kRepairFrame.heading, windows.repair, kRepairFrame}})) {
            Resize(window, width, 700);
            SetWindowTextW(window, title);
            CHECK(FirstPixelThatDiffers(window, frame) == "none");
            CHECK(PixelOf(window, 3, desk::ClientSize(window).cy - 3) == kBody);
            CHECK(PixelOf(window, frame.left, 185) == kBody);  // under a label
        }
}

TEST_CASE("a second press finds the repair window and one that was closed opens as new") {
    const Windows windows;
    desk::SetText(windows.Child(kPortEdit), L"7");
    desk::BringToFront(windows.query);
    desk::Press(windows.Child(kRepairToolButton));
    desk::WaitUntil("in front", [&] { return GetForegroundWindow() == windows.repair; });
    CHECK(desk::Text(windows.Child(kPortEdit)) == L"7");
    for (const auto& [look, command] : Table({std::pair("usual", SW_RESTORE), {"large", SW_MAXIMIZE}})) {
        ShowWindow(windows.repair, command);
        ShowWindow(windows.repair, SW_MINIMIZE);
        desk::Press(windows.Child(kRepairToolButton));
        CHECK(desk::Look(windows.repair) == look);
    }
    desk::Send(windows.repair, WM_CLOSE);
    CHECK(desk::Look(windows.repair) == "gone");
    desk::Press(windows.Child(kRepairToolButton));
    const HWND again = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    CHECK(desk::Text(desk::Child(again, kPortEdit)) == L"1433");
}

// Windows gives the text of a password box to its own process alone.
TEST_CASE("the repair window opens with the values of the chosen zone") {
    Desk zone;
    zone.StartZone(L"一区", ZoneJson("一区", L"甲库"));
    const Windows windows(L"folder", "");
    for (const auto& [name, id, text] : Table({std::tuple("server", int{kServerEdit}, Server().host),
                                               {"port", kPortEdit, std::to_wstring(Server().port)},
                                               {"user", kUserEdit, Server().user},
                                               {"password", kPasswordEdit, Server().password},
                                               {"database A", kDatabaseAEdit, L"甲库"},
                                               {"database B", kDatabaseBEdit, L""}}))
        CHECK(desk::Text(windows.Child(id)) == text);
}

TEST_CASE("the caption moves the window and its edges size it but for the upper one") {
    const Windows windows;
    const int right = desk::ClientSize(windows.repair).cx;
    const auto hitName = [&](int x, int y) {
        const LRESULT code = desk::HitTest(windows.repair, x, y);
        return code == HTCAPTION  ? "caption"s
               : code == HTCLIENT ? "client"
               : code == HTLEFT   ? "left"
                                  : std::to_string(code);
    };
    for (const auto& [name, x, y, hit] : Table({std::tuple("left of the glyphs", right - 133, 67, "caption"),
                                                {"the first glyph", right - 132, 67, "client"},
                                                {"the last glyph", right - 1, 0, "client"},
                                                {"above the upper edge", 500, -2, "caption"},
                                                {"below the strip", right - 133, 68, "client"},
                                                {"beyond the left edge, in the strip", -2, 30, "caption"},
                                                {"beyond the left edge, below it", -2, 300, "left"}}))
        CHECK(hitName(x, y) == hit);
}

TEST_CASE("the glyphs act on release and double clicks on the caption alone change the size") {
    const Windows windows;
    const HWND window = windows.repair;
    // A message at a point, from the client area's right edge and upper one, and how the window stands then.
    for (const auto& [name, message, code, left, y, look] :
         Table({std::tuple("left of the glyphs", UINT{WM_LBUTTONUP}, 0, 133, 67, "usual"),
                {"below the strip", WM_LBUTTONUP, 0, 133, 68, "usual"},
                {"below a glyph", WM_LBUTTONUP, 0, 20, 68, "usual"},
                {"above a glyph", WM_LBUTTONUP, 0, 20, -1, "usual"},
                {"right of the last glyph", WM_LBUTTONUP, 0, 0, 30, "usual"},
                {"minimise, first pixel", WM_LBUTTONUP, 0, 132, 0, "small"},
                {"minimise, last pixel", WM_LBUTTONUP, 0, 89, 67, "small"},
                {"maximise, first pixel", WM_LBUTTONUP, 0, 88, 67, "large"},
                {"maximise, last pixel", WM_LBUTTONUP, 0, 45, 67, "large"},
                {"caption, double click", WM_NCLBUTTONDBLCLK, HTCAPTION, 200, 0, "large"},
                {"client area, double click", WM_NCLBUTTONDBLCLK, HTCLIENT, 20, 30, "usual"},
                {"border, double click", WM_NCLBUTTONDBLCLK, HTLEFT, 200, 0, "usual"},
                {"close, first pixel", WM_LBUTTONUP, 0, 44, 67, "gone"}})) {
        const auto act = [&, message = message, code = code, left = left, y = y] {
            SendMessageW(window, message, static_cast<WPARAM>(code),
                         MAKELPARAM(desk::ClientSize(window).cx - left, y));
        };
        act();
        CHECK(desk::Look(window) == look);
        if (desk::Look(window) == "large") act();  // the same again is the way back
        ShowWindow(window, SW_RESTORE);
        if (IsWindow(window)) CHECK(desk::Look(window) == "usual");
    }
}

TEST_CASE("Enter in the keyword box presses the query's button unless that or the key is held") {
    const Windows windows;
    const HWND box = windows.Child(kKeywordEdit), line = windows.Child(kQueryStatus);
    const auto statusAfterEnter = [&](LPARAM details) {
        desk::SetText(line, L"");
        SendMessageW(box, WM_CHAR, VK_RETURN, details);
        return desk::Text(line);
    };
    CHECK(statusAfterEnter(0) == L"请先启动 M2 并刷新区服。");
    CHECK(statusAfterEnter(KF_REPEAT << 16) == L"");
    EnableWindow(windows.Child(kQueryButton), FALSE);
    CHECK(statusAfterEnter(0) == L"");
}

TEST_CASE("Ctrl+A selects everything in a box") {
    const Windows windows;
    const HWND box = windows.Child(kKeywordEdit);
    desk::SetText(box, L"玩家");
    SendMessageW(box, WM_CHAR, 1, 0);
    CHECK(SendMessageW(box, EM_GETSEL, 0, 0) == MAKELONG(0, 2));
}

TEST_CASE("a refresh shows its text before it looks for servers") {
    const Windows windows;
    const HWND line = windows.Child(kQueryStatus);
    bool looked = false;
    ReplacedSnapshot refresh;
    refresh.before = [&] {
        looked = true;
        CHECK(desk::Text(line) == L"正在检测 M2...");
        CHECK(GetUpdateRect(line, nullptr, FALSE) == FALSE);
    };
    desk::Press(windows.Child(kRefreshButton));
    CHECK(looked);
}

TEST_CASE("a status that does not fit is shown in full under the mouse") {
    const Windows windows(std::wstring(75, L'长'));
    desk::Press(windows.Child(kSaveButton));  // tells the path
    const std::wstring status = desk::Text(windows.Child(kQueryStatus));
    windows.SetText(kRepairStatus, status);
    for (const auto& [width, id, shown] : Table({std::tuple(980, int{kQueryStatus}, status),
                                                 {1900, kQueryStatus, L""},
                                                 {1200, kRepairStatus, status},
                                                 {1901, kRepairStatus, L""},
                                                 {1101, kRepairStatus, status}})) {
        const HWND label = windows.Child(id);
        desk::Resize(GetParent(label), width, 860);
        const Tip tip(GetParent(label));
        CHECK(tip.text == shown);
        const RECT place = desk::RectInParent(label);
        CHECK(EqualRect(&tip.tool.rect, &place) == TRUE);
        CHECK(tip.tool.uFlags == TTF_SUBCLASS);
        CHECK(SendMessageW(tip.window, TTM_GETMAXTIPWIDTH, 0, 0) == place.right - place.left);
        CHECK(SendMessageW(tip.window, TTM_GETDELAYTIME, TTDT_AUTOPOP, 0) == MAXSHORT);
        CHECK(desk::Style(tip.window) % 4 == (TTS_ALWAYSTIP | TTS_NOPREFIX));
    }
}
