#pragma once

#include <windows.h>

#include <memory>
#include <optional>

#include "app/frame_paint.h"
#include "app/list_copy.h"
#include "app/status_line.h"
#include "app/taskbar_progress.h"

/// A top-level window with the painted frame that both windows of the program share: a caption strip that
/// moves the window and holds three glyphs, a banner, a section heading. It answers the frame's messages
/// itself, copies rows of its lists on Ctrl+C and Ctrl+Shift+C, and hands the others to the functions below,
/// which run on the one user-interface thread.
///
/// The object is attached at WM_NCCREATE and detached at WM_NCDESTROY. Whoever creates it keeps a shared
/// pointer at least until OnDetached; a message that is being handled keeps the object alive by itself, so a
/// window that is destroyed under an open message box does not take its object away from the code that waits
/// for the box.
class FramedWindow : public std::enable_shared_from_this<FramedWindow> {
public:
    virtual ~FramedWindow() = default;
    FramedWindow(const FramedWindow&) = delete;
    FramedWindow& operator=(const FramedWindow&) = delete;

    /// Registers the window class (a class that exists already is fine) and creates the window, not yet
    /// visible, `width` by `height` pixels. The object must be owned by a shared pointer.
    /// @return false when the window could not be created.
    bool Create(HINSTANCE instance, const wchar_t* windowClass, HWND owner, int width, int height);

    /// Null before creation and after destruction.
    HWND Handle() const noexcept { return handle_; }

protected:
    /// @param statusControl  ID of the child that is the window's status line.
    /// @param taskbar        of the program; must outlive the object.
    FramedWindow(const FrameStyle& style, int statusControl, TaskbarProgress& taskbar) noexcept
        : style_(style), statusControl_(statusControl), taskbar_(taskbar) {}

    /// Creates the children in their places for ClientSize(); the fonts exist already.
    virtual void OnCreate() = 0;
    /// Places the children again, in a client area that is now `width` by `height` pixels.
    virtual void Layout(int width, int height) = 0;
    /// A child's notification; false leaves it to the system.
    virtual bool OnCommand(int controlId) = 0;
    virtual void OnNotify(const NMHDR&) {}
    /// Runs when the children of a new window are in their places and its status line can be used.
    virtual void OnCreated() {}
    virtual void OnDestroy() = 0;
    virtual void OnDetached() {}

    SIZE ClientSize() const noexcept;
    HFONT BodyFont() const noexcept { return fonts_.body.Get(); }
    HWND Control(int id) const noexcept { return GetDlgItem(handle_, id); }
    TaskbarProgress& Taskbar() const noexcept { return taskbar_; }

    /// Shows a text in the status line. A failure told before it is no longer shown on the taskbar either.
    void ShowStatus(const std::wstring& text);

private:
    static LRESULT CALLBACK Procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> OnFrameMessage(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> OnHitTest(LPARAM screenPoint) const;
    std::optional<LRESULT> OnRelease(LPARAM clientPoint);
    LRESULT OnPaint();
    LRESULT OnColourLabel(HDC dc, HWND control);
    void OnWindowCreated();
    void OnNotification(const NMHDR& header);
    void TellCopy(CopyResult result);
    void OnSize(WPARAM kind);
    void ToggleMaximized();

    HWND handle_ = nullptr;
    const FrameStyle style_;
    const int statusControl_;
    TaskbarProgress& taskbar_;
    SIZE placedFor_ = {};  // the client area that the children are in their places for
    FrameFonts fonts_;
    StatusLine status_;
};
