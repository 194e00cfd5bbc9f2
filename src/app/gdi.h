#pragma once

#include <windows.h>

#include "text/owner.h"

/// A font, pen or brush, deleted at the end of its scope.
template <class ObjectHandle>
struct GdiTrait {
    using Handle = ObjectHandle;
    static constexpr Handle kNone = nullptr;
    static void Close(Handle handle) noexcept { DeleteObject(handle); }
};
using Font = Owner<GdiTrait<HFONT>>;
using Pen = Owner<GdiTrait<HPEN>>;
using Brush = Owner<GdiTrait<HBRUSH>>;

/// Selects an object into a device context and restores the previous one at the end of its scope.
class Selected {
public:
    Selected(HDC dc, HGDIOBJ object) noexcept : dc_(dc), previous_(SelectObject(dc, object)) {}
    ~Selected() {
        if (previous_) SelectObject(dc_, previous_);
    }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;

private:
    HDC dc_;
    HGDIOBJ previous_;
};
