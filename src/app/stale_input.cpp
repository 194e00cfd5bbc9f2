#include "app/stale_input.h"

#include <algorithm>
#include <bitset>

#include "text/owner.h"

namespace {

struct HookTrait {
    using Handle = HHOOK;
    static constexpr Handle kNone = nullptr;
    static void Close(Handle hook) noexcept { UnhookWindowsHookEx(hook); }
};

struct TimerTrait {
    using Handle = UINT_PTR;
    static constexpr Handle kNone = 0;
    static void Close(Handle timer) noexcept { KillTimer(nullptr, timer); }
};

ULONGLONG staleUntil = 0;  // milliseconds of the system's clock
bool boxIsToCome = false;  // and to be painted; until then everything is stale
std::bitset<256> held;     // keys, and the mouse's main button, that went down in vain and are not up yet

bool IsInput(UINT message) noexcept {
    return (message >= WM_KEYFIRST && message <= WM_KEYLAST) ||
           (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST) ||
           (message >= WM_NCMOUSEMOVE && message <= WM_NCXBUTTONDBLCLK);
}

// A message has the lower half of the clock, which begins anew every 50 days; it is never nearly as old.
ULONGLONG TimeOf(const MSG& message) noexcept {
    const ULONGLONG now = GetTickCount64();
    const auto age = static_cast<LONG>(static_cast<DWORD>(now) - message.time);
    return now - static_cast<ULONGLONG>(static_cast<LONGLONG>(age));
}

// A key that is held repeats, and the release of the mouse is enough for a glyph of the caption: what began
// in vain ends in vain. Only a message that is taken out counts as come.
bool IsStale(const MSG& message, bool isTaken) noexcept {
    const bool isOld = boxIsToCome || TimeOf(message) <= staleUntil;
    const auto staleWhile = [&](WPARAM key, bool wasHeld, bool isHeld) {
        if (isTaken) held[key] = isHeld;
        return isOld || wasHeld;
    };
    const WPARAM key = message.wParam % held.size();
    switch (message.message) {
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
            return staleWhile(key, held[key], isOld || held[key]);
        case WM_KEYUP:
        case WM_SYSKEYUP:
            return staleWhile(key, held[key], false);
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
        case WM_NCLBUTTONDOWN:
        case WM_NCLBUTTONDBLCLK:
            return staleWhile(VK_LBUTTON, false, isOld);
        case WM_LBUTTONUP:
        case WM_NCLBUTTONUP:
            return staleWhile(VK_LBUTTON, held[VK_LBUTTON], false);
        default:
            return isOld;
    }
}

LRESULT CALLBACK OnRetrieved(int code, WPARAM removed, LPARAM parameter) noexcept {
    MSG& message = *reinterpret_cast<MSG*>(parameter);
    if (code == HC_ACTION && IsInput(message.message) && IsStale(message, removed == PM_REMOVE)) {
        message.message = WM_NULL;
    }
    return CallNextHookEx(nullptr, code, removed, parameter);
}

// @return whether the thread's messages are looked at. Asked for with the first work, as long as the program
// runs.
bool Watch() noexcept {
    static const Owner<HookTrait> hook(
        SetWindowsHookExW(WH_GETMESSAGE, OnRetrieved, nullptr, GetCurrentThreadId()));
    return static_cast<bool>(hook);
}

// A timer's turn comes when neither input waits nor anything is to be painted.
void CALLBACK OnBoxShown(HWND, UINT, UINT_PTR timer, DWORD) noexcept {
    KillTimer(nullptr, timer);
    staleUntil = GetTickCount64() + GetDoubleClickTime();
    boxIsToCome = false;
}

}  // namespace

void DropInputSoFar() noexcept {
    Watch();
    // The other window can work while a box has just come up.
    staleUntil = std::max(staleUntil, GetTickCount64());
}

int ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* title, UINT flags) noexcept {
    const Owner<TimerTrait> shown(SetTimer(nullptr, 0, USER_TIMER_MINIMUM, OnBoxShown));
    if (!shown || !Watch()) return 0;
    boxIsToCome = true;
    const int answer = MessageBoxW(owner, text, title, flags);
    boxIsToCome = false;
    staleUntil = GetTickCount64();
    return answer;
}
