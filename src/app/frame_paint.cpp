#include "app/frame_paint.h"

#include "app/caption.h"
#include "app/resource.h"

namespace {

constexpr int kBannerTop = kCaptionBottom + 1;
constexpr int kBannerBottom = 122;

constexpr COLORREF kCaptionColour = RGB(255, 255, 255);
constexpr COLORREF kRuleColour = RGB(215, 225, 235);
constexpr COLORREF kBannerColour = RGB(42, 78, 114);
constexpr COLORREF kTitleColour = RGB(48, 83, 116);
constexpr COLORREF kCreditColour = RGB(92, 110, 128);
constexpr COLORREF kHeadingColour = RGB(255, 255, 255);
constexpr COLORREF kSubtitleColour = RGB(207, 222, 236);
constexpr COLORREF kSectionColour = RGB(45, 64, 80);

constexpr UINT kOneLine = DT_SINGLELINE | DT_VCENTER;

HFONT FrameFont(int height, int weight) noexcept {
    return CreateFontW(height, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE,
                       L"Microsoft YaHei");
}

void Fill(HDC dc, RECT area, COLORREF colour) noexcept {
    const Brush brush(CreateSolidBrush(colour));
    FillRect(dc, &area, brush.Get());
}

void DrawLine(HDC dc, HGDIOBJ font, COLORREF colour, const wchar_t* text, RECT area, UINT format) noexcept {
    // Without a font (its creation failed) the current one is used.
    const Selected selected(dc, font ? font : GetCurrentObject(dc, OBJ_FONT));
    SetTextColor(dc, colour);
    DrawTextW(dc, text, -1, &area, format);
}

void PaintBackground(HDC dc, int width, int height) noexcept {
    Fill(dc, {0, kBannerTop, width, height}, kBodyColour);
    Fill(dc, {0, kBannerTop, width, kBannerBottom}, kBannerColour);
    Fill(dc, {0, 0, width, kBannerTop}, kCaptionColour);
    const Pen pen(CreatePen(PS_SOLID, 1, kRuleColour));
    const Selected selected(dc, pen.Get());
    MoveToEx(dc, 0, kCaptionBottom, nullptr);
    LineTo(dc, width, kCaptionBottom);
}

void PaintCaption(HWND window, HDC dc, int width, const FrameFonts& fonts, COLORREF glyphColour) noexcept {
    const auto instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(window, GWLP_HINSTANCE));
    if (const HICON icon = LoadIconW(instance, MAKEINTRESOURCEW(kAppIcon))) {
        DrawIconEx(dc, 18, 10, icon, 26, 26, 0, nullptr, DI_NORMAL);
    }
    SetBkMode(dc, TRANSPARENT);
    wchar_t title[256] = {};
    GetWindowTextW(window, title, 256);
    DrawLine(dc, fonts.title.Get(), kTitleColour, title, {58, 2, 330, 35}, kOneLine | DT_END_ELLIPSIS);
    DrawLine(dc, fonts.small.Get(), kCreditColour, L"V2.4.1", {338, 3, 420, 34}, kOneLine);
    DrawLine(dc, fonts.small.Get(), kCreditColour,
             L"合区运维工具：查账号归属，修角色与行会 ID；查询只读，修复须确认", {58, 37, width - 140, 64},
             kOneLine | DT_END_ELLIPSIS);
    constexpr const wchar_t* kGlyphs[kGlyphCount] = {L"—", L"□", L"×"};
    int left = width - kGlyphsWidth;
    for (const wchar_t* glyph : kGlyphs) {
        DrawLine(dc, GetStockObject(DEFAULT_GUI_FONT), glyphColour, glyph,
                 {left, 0, left + kGlyphCellWidth, kCaptionBottom}, kOneLine | DT_CENTER);
        left += kGlyphCellWidth;
    }
}

}  // namespace

void FrameFonts::Create() noexcept {
    body.Reset(FrameFont(-16, FW_NORMAL));
    title.Reset(FrameFont(-17, FW_SEMIBOLD));
    small.Reset(FrameFont(-12, FW_NORMAL));
}

void FrameFonts::Delete() noexcept {
    body.Reset();
    title.Reset();
    small.Reset();
}

void PaintFrame(HWND window, HDC dc, const FrameFonts& fonts, const FrameStyle& style) {
    RECT client;
    GetClientRect(window, &client);
    const int width = client.right;
    PaintBackground(dc, width, client.bottom);
    PaintCaption(window, dc, width, fonts, style.glyphColour);
    DrawLine(dc, fonts.title.Get(), kHeadingColour, style.heading, {22, 75, width - 20, 99}, kOneLine);
    DrawLine(dc, fonts.body.Get(), kSubtitleColour, style.subtitle, {23, 99, width - 20, kBannerBottom},
             kOneLine);
    DrawLine(dc, fonts.body.Get(), kSectionColour, style.section,
             {style.sectionLeft, 130, width - style.sectionLeft, 156}, kOneLine);
}
