#pragma once

#include <windows.h>

#include "app/gdi.h"

/// The three fonts of one window: Microsoft YaHei at 16, 17 (semibold) and 12 pixels.
struct FrameFonts {
    Font body;
    Font title;
    Font small;

    void Create() noexcept;
    void Delete() noexcept;
};

/// What differs between the frames of the two windows.
struct FrameStyle {
    const wchar_t* heading;   // in the banner
    const wchar_t* subtitle;  // under it
    const wchar_t* section;   // heading of the body
    int sectionLeft;          // pixels, its distance from both sides
    COLORREF glyphColour;     // of the three caption glyphs
    SIZE smallestWindow;      // pixels, the minimum tracking size
};

inline constexpr COLORREF kBodyColour = RGB(246, 248, 251);

/// Paints caption strip, banner, body and section heading over the whole client area of `window`.
void PaintFrame(HWND window, HDC dc, const FrameFonts& fonts, const FrameStyle& style);
