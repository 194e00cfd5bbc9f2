#include "window_driver.h"

#include <array>
#include <thread>

#include "utf8.h"

namespace desk {
namespace {

constexpr Milliseconds kPollInterval{20};

struct TopWindowSearch {
    DWORD processId;
    const std::wstring& windowClass;
    HWND found;
};

BOOL CALLBACK OnTopWindow(HWND window, LPARAM parameter) noexcept {
    auto& search = *reinterpret_cast<TopWindowSearch*>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != search.processId || ClassName(window) != search.windowClass) return TRUE;
    search.found = window;
    return FALSE;
}

void RequirePressable(HWND button) {
    if (!IsWindowVisible(button) || !IsEnabled(button)) {
        throw DeskError("the button \"" + ToUtf8(Text(button)) + "\" cannot be pressed now");
    }
}

std::string Describe(HWND window) {
    if (!IsWindow(window)) return "a window that is gone";
    return ToUtf8(ClassName(window)) + " " + std::to_string(GetDlgCtrlID(window));
}

}  // namespace

void WaitUntil(const std::string& what, const std::function<bool()>& question, Milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!question()) {
        if (std::chrono::steady_clock::now() >= end) throw DeskError("timed out waiting for " + what);
        std::this_thread::sleep_for(kPollInterval);
    }
}

Program::Program(const std::wstring& exePath, const std::wstring& directory) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    std::wstring commandLine = L"\"" + exePath + L"\"";
    if (!CreateProcessW(exePath.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        directory.empty() ? nullptr : directory.c_str(), &startup, &info_)) {
        throw DeskError("cannot start " + ToUtf8(exePath) + ": error " + std::to_string(GetLastError()));
    }
}

Program::~Program() {
    Kill();
    CloseHandle(info_.hThread);
    CloseHandle(info_.hProcess);
}

bool Program::IsRunning() const noexcept {
    return WaitForSingleObject(info_.hProcess, 0) == WAIT_TIMEOUT;
}

DWORD Program::WaitForEnd(Milliseconds timeout) {
    if (WaitForSingleObject(info_.hProcess, static_cast<DWORD>(timeout.count())) != WAIT_OBJECT_0) {
        throw DeskError("the program did not end");
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(info_.hProcess, &exitCode);
    return exitCode;
}

void Program::Kill() noexcept {
    if (!IsRunning()) return;
    TerminateProcess(info_.hProcess, 1);
    WaitForSingleObject(info_.hProcess, static_cast<DWORD>(kWindowTimeout.count()));
}

HWND FindTopWindow(DWORD processId, const std::wstring& windowClass) {
    TopWindowSearch search{processId, windowClass, nullptr};
    EnumWindows(OnTopWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
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
    if (!child) throw DeskError("no control " + std::to_string(id) + " in " + Describe(window));
    return child;
}

std::wstring ClassName(HWND window) {
    std::array<wchar_t, 256> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return std::wstring(name.data(), static_cast<std::size_t>(length));
}

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam, Milliseconds timeout) {
    DWORD_PTR answer = 0;
    SetLastError(ERROR_SUCCESS);
    if (!SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, static_cast<UINT>(timeout.count()),
                             &answer)) {
        throw DeskError("no answer to message " + std::to_string(message) + " from " + Describe(window) +
                        ": error " + std::to_string(GetLastError()));
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
    if (!GetWindowRect(window, &rect)) throw DeskError("no rectangle of " + Describe(window));
    return rect;
}

RECT RectInParent(HWND child) {
    RECT rect = ScreenRect(child);
    MapWindowPoints(HWND_DESKTOP, GetParent(child), reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

SIZE ClientSize(HWND window) {
    RECT rect{};
    if (!GetClientRect(window, &rect)) throw DeskError("no client area of " + Describe(window));
    return {rect.right, rect.bottom};
}

void Resize(HWND window, int width, int height) {
    if (!SetWindowPos(window, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE)) {
        throw DeskError("cannot resize " + Describe(window));
    }
}

void Close(HWND window) {
    PostMessageW(window, WM_CLOSE, 0, 0);
}

void Press(HWND button, Milliseconds timeout) {
    RequirePressable(button);
    Send(button, BM_CLICK, 0, 0, timeout);
}

void PressWithoutWaiting(HWND button) {
    RequirePressable(button);
    PostMessageW(button, BM_CLICK, 0, 0);
}

}  // namespace desk
