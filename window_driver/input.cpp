#include "window_driver.h"

#include <thread>

#include "failure.h"

namespace desk {
namespace {

constexpr Milliseconds kInputPause{30};

void SendInputs(std::vector<INPUT> inputs) {
    const auto count = static_cast<UINT>(inputs.size());
    if (SendInput(count, inputs.data(), static_cast<int>(sizeof(INPUT))) != count) {
        Fail("the system refused an input event");
    }
}

INPUT MouseInput(DWORD flags) {
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    return input;
}

INPUT KeyInput(WORD virtualKey, DWORD flags) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = virtualKey;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flags;
    return input;
}

void MovePointer(POINT point) {
    if (!SetCursorPos(point.x, point.y)) Fail("cannot move the mouse pointer");
    std::this_thread::sleep_for(kInputPause);
}

}  // namespace

void BringToFront(HWND window) {
    SetForegroundWindow(window);
    WaitUntil(Describe(window) + " in front", [&] { return GetForegroundWindow() == window; });
}

LRESULT HitTest(HWND window, int x, int y) {
    POINT point{x, y};
    ClientToScreen(window, &point);
    return Send(window, WM_NCHITTEST, 0, MAKELPARAM(point.x, point.y));
}

void Click(HWND window, int x, int y) {
    BringToFront(window);
    POINT point{x, y};
    ClientToScreen(window, &point);
    ClickScreen(point);
}

POINT Middle(HWND window) {
    const RECT place = ScreenRect(window);
    return {(place.left + place.right) / 2, (place.top + place.bottom) / 2};
}

void ClickScreen(POINT point, int times) {
    for (int i = 0; i < times; ++i) {
        PressMouse(point);
        ReleaseMouse(point);
    }
}

void PressMouse(POINT point) {
    MovePointer(point);
    SendInputs({MouseInput(MOUSEEVENTF_LEFTDOWN)});
}

void ReleaseMouse(POINT point) {
    MovePointer(point);
    SendInputs({MouseInput(MOUSEEVENTF_LEFTUP)});
}

void HoldKey(WORD virtualKey, Milliseconds time) {
    for (const Clock::time_point end = Clock::now() + time; Clock::now() < end;) {
        SendInputs({KeyInput(virtualKey, 0)});
        std::this_thread::sleep_for(kInputPause);
    }
}

void ReleaseKey(WORD virtualKey) {
    SendInputs({KeyInput(virtualKey, KEYEVENTF_KEYUP)});
}

void TapKey(WORD virtualKey, std::initializer_list<WORD> held) {
    std::vector<INPUT> inputs;
    for (const WORD key : held) inputs.push_back(KeyInput(key, 0));
    inputs.push_back(KeyInput(virtualKey, 0));
    inputs.push_back(KeyInput(virtualKey, KEYEVENTF_KEYUP));
    for (const WORD key : held) inputs.push_back(KeyInput(key, KEYEVENTF_KEYUP));
    SendInputs(inputs);
}

}  // namespace desk
