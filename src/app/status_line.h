#pragma once

#include <windows.h>

#include <string>

/// A window's status line: a label of fixed height. A text that does not fit is also shown in full in a
/// tooltip: a diagnostic of several records can be wider than the window.
class StatusLine {
public:
    /// Uses `label`, a child of `window`. Both outlive the object's use.
    void Attach(HWND window, HWND label) noexcept;

    /// Shows a text and paints it at once: the action that follows blocks the thread.
    void Show(const std::wstring& text);

    /// Follows the label after it has been moved or sized.
    void OnMoved();

private:
    void UpdateTip(const std::wstring& text);

    HWND window_ = nullptr;
    HWND label_ = nullptr;
    HWND tip_ = nullptr;  // created for the first text that needs it; owned by the window
};
