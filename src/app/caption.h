#pragma once

// The painted caption strip's geometry: the top 68 rows of the client area, three glyph cells of 44 pixels at
// its right end. All coordinates are client pixels, `width` is the client area's.

inline constexpr int kCaptionBottom = 67;  // last row of the strip
inline constexpr int kGlyphCellWidth = 44;
inline constexpr int kGlyphCount = 3;
inline constexpr int kGlyphsWidth = kGlyphCount * kGlyphCellWidth;

/// True in the strip left of the glyphs, also beyond the client area's left and top edge: there the mouse
/// moves the window.
bool IsDragArea(int x, int y, int width) noexcept;

/// True in the strip from the first glyph on.
bool IsGlyphArea(int x, int y, int width) noexcept;

enum class CaptionAction { None, Minimize, ToggleMaximize, Close };

/// What a mouse release at `x`, which is in the glyph area, asks for; None right of the last cell.
CaptionAction CaptionActionAt(int x, int width) noexcept;
