#include "app/caption.h"

bool IsDragArea(int x, int y, int width) noexcept {
    return y <= kCaptionBottom && x < width - kGlyphsWidth;
}

bool IsGlyphArea(int x, int y, int width) noexcept {
    return y <= kCaptionBottom && x >= width - kGlyphsWidth;
}

CaptionAction CaptionActionAt(int x, int width) noexcept {
    switch ((x - (width - kGlyphsWidth)) / kGlyphCellWidth) {
        case 0:
            return CaptionAction::Minimize;
        case 1:
            return CaptionAction::ToggleMaximize;
        case 2:
            return CaptionAction::Close;
        default:
            return CaptionAction::None;
    }
}
