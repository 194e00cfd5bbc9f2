#include "app/status_line.h"

// after windows.h, which it needs
#include <commctrl.h>

#include "app/controls.h"
#include "app/gdi.h"

namespace {

class WindowDc {
public:
    explicit WindowDc(HWND window) noexcept : window_(window), dc_(GetDC(window)) {}
    ~WindowDc() { ReleaseDC(window_, dc_); }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    HDC Get() const noexcept { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

bool Fits(HWND label, const std::wstring& text) {
    RECT available;
    GetClientRect(label, &available);
    RECT needed = available;
    const bool wraps = (GetWindowLongPtrW(label, GWL_STYLE) & SS_TYPEMASK) == SS_LEFT;
    const WindowDc dc(label);
    const Selected font(dc.Get(), reinterpret_cast<HFONT>(SendMessageW(label, WM_GETFONT, 0, 0)));
    DrawTextW(dc.Get(), text.c_str(), -1, &needed, DT_CALCRECT | DT_EXPANDTABS | (wraps ? DT_WORDBREAK : 0));
    return needed.right <= available.right && needed.bottom <= available.bottom;
}

}  // namespace

void StatusLine::Attach(HWND window, HWND label) noexcept {
    window_ = window;
    label_ = label;
}

void StatusLine::Show(const std::wstring& text) {
    SetWindowTextW(label_, text.c_str());
    UpdateWindow(label_);
    UpdateTip(text);
}

void StatusLine::OnMoved() {
    UpdateTip(ControlText(label_));
}

void StatusLine::UpdateTip(const std::wstring& text) {
    const bool needed = !Fits(label_, text);
    if (!tip_ && !needed) return;
    TTTOOLINFOW tool = {};
    tool.cbSize = sizeof tool;
    // A label passes mouse messages on to its window, so the tooltip belongs to a rectangle of the window.
    tool.uFlags = TTF_SUBCLASS;
    tool.hwnd = window_;
    if (!tip_) {
        tip_ =
            CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                            0, 0, 0, 0, window_, nullptr, nullptr, nullptr);
        SendMessageW(tip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
        SendMessageW(tip_, TTM_SETDELAYTIME, TTDT_AUTOPOP, MAXSHORT);  // long texts take long to read
    }
    GetClientRect(label_, &tool.rect);
    MapWindowPoints(label_, window_, reinterpret_cast<POINT*>(&tool.rect), 2);
    SendMessageW(tip_, TTM_NEWTOOLRECTW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(tip_, TTM_SETMAXTIPWIDTH, 0, tool.rect.right - tool.rect.left);
    // A tool without a text shows no tooltip.
    tool.lpszText = const_cast<wchar_t*>(needed ? text.c_str() : L"");  // the control copies it
    SendMessageW(tip_, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
}
