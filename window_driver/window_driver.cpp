#include "window_driver.h"

#include <array>

#include "failure.h"
#include "utf8.h"

namespace desk {
namespace {

bool IsOfThisThread(HWND window) {
    return GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId();
}

void RequirePressable(HWND button) {
    if (!IsWindowVisible(button) || !IsEnabled(button)) {
        Fail("cannot press " + Describe(button) + " now");
    }
}

}  // namespace

DWORD ProcessOf(HWND window) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    return processId;
}

HWND FindTopWindow(DWORD processId, const std::wstring& windowClass) {
    HWND window = nullptr;
    do {
        window = FindWindowExW(nullptr, window, windowClass.c_str(), nullptr);
    } while (window && ProcessOf(window) != processId);
    return window;
}

HWND WaitForTopWindow(DWORD processId, const std::wstring& windowClass, Milliseconds timeout) {
    HWND window = nullptr;
    WaitUntil(
        "a window of class " + ToUtf8(windowClass),
        [&] {
            window = FindTopWindow(processId, windowClass);
            return window && IsWindowVisible(window);
        },
        timeout);
    return window;
}

void WaitUntilGone(HWND window, Milliseconds timeout) {
    WaitUntil(
        "the end of " + Describe(window), [&] { return !IsWindow(window); }, timeout);
}

HWND Child(HWND window, int id) {
    const HWND child = GetDlgItem(window, id);
    if (!child) Fail("no control " + std::to_string(id) + " in " + Describe(window));
    return child;
}

std::wstring ClassName(HWND window) {
    std::array<wchar_t, 256> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return std::wstring(name.data(), static_cast<std::size_t>(length));
}

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam, Milliseconds timeout) {
    // With a time-out Wine would ignore a crash here, too.
    if (IsOfThisThread(window)) return SendMessageW(window, message, wParam, lParam);
    const Clock::time_point start = Clock::now();
    DWORD_PTR answer = 0;
    if (!SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, static_cast<UINT>(timeout.count()),
                             &answer)) {
        FailSince(start, "the answer to message " + std::to_string(message) + " from " + Describe(window));
    }
    return static_cast<LRESULT>(answer);
}

std::wstring Text(HWND window) {
    const auto capacity = static_cast<std::size_t>(Send(window, WM_GETTEXTLENGTH)) + 1;
    std::wstring text(capacity, L'\0');
    const LRESULT length = Send(window, WM_GETTEXT, capacity, reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

void SetText(HWND window, const std::wstring& text) {
    Send(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

bool IsEnabled(HWND window) {
    return IsWindowEnabled(window) != FALSE;
}

DWORD Style(HWND window) {
    return static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
}

DWORD ExStyle(HWND window) {
    return static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE));
}

RECT ScreenRect(HWND window) {
    RECT rect{};
    if (!GetWindowRect(window, &rect)) Fail("no rectangle of " + Describe(window));
    return rect;
}

RECT RectInParent(HWND child) {
    RECT rect = ScreenRect(child);
    MapWindowPoints(HWND_DESKTOP, GetParent(child), reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

SIZE ClientSize(HWND window) {
    RECT rect{};
    if (!GetClientRect(window, &rect)) Fail("no client area of " + Describe(window));
    return {rect.right, rect.bottom};
}

std::string Look(HWND window) {
    if (!IsWindow(window)) return "gone";
    return IsIconic(window) ? "small" : IsZoomed(window) ? "large" : "usual";
}

void Resize(HWND window, int width, int height) {
    if (!SetWindowPos(window, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE)) {
        Fail("cannot resize " + Describe(window));
    }
}

void WaitUntilInputIsTaken(HWND window) {
    constexpr int kMoreThanWait = 50;
    for (int i = 0; i < kMoreThanWait; ++i) Send(window, WM_NULL);
}

void Close(HWND window) {
    PostMessageW(window, WM_CLOSE, 0, 0);
}

void Press(HWND button, Milliseconds timeout) {
    if (IsOfThisThread(button)) {
        RequirePressable(button);
        Send(button, BM_CLICK);
        return;
    }
    const Clock::time_point start = Clock::now();
    const std::string what = "the end of what " + Describe(button) + " does";
    const DWORD style = Style(button);
    // Posted, as the system posts a person's click: Wine ignores a crash in what another process sends. The
    // new style's turn comes after the click.
    PressWithoutWaiting(button);
    PostMessageW(button, BM_SETSTYLE, LOWORD(style ^ BS_DEFPUSHBUTTON), FALSE);
    DWORD_PTR unused = 0;
    do {
        if (Clock::now() - start > timeout ||
            !SendMessageTimeoutW(button, WM_NULL, 0, 0, SMTO_NORMAL, static_cast<UINT>(timeout.count()),
                                 &unused)) {
            FailSince(start, what);
        }
    } while (Style(button) == style);
    Send(button, BM_SETSTYLE, LOWORD(style), FALSE);
}

void PressWithoutWaiting(HWND button) {
    RequirePressable(button);
    PostMessageW(button, BM_CLICK, 0, 0);
}

}  // namespace desk
