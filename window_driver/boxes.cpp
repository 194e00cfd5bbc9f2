#include "window_driver.h"

#include <algorithm>
#include <utility>

namespace desk {
namespace {

constexpr wchar_t kMessageBoxClass[] = L"#32770";

BOOL CALLBACK OnOwnedWindow(HWND window, LPARAM parameter) noexcept {
    auto& search = *reinterpret_cast<std::pair<HWND, HWND>*>(parameter);  // owner, found
    if (GetWindow(window, GW_OWNER) != search.first || !IsWindowVisible(window)) return TRUE;
    if (ClassName(window) != kMessageBoxClass) return TRUE;
    search.second = window;
    return FALSE;
}

BOOL CALLBACK OnChild(HWND window, LPARAM parameter) noexcept {
    reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

/// Reads the parts of a box. The text is distinguished from the icon by its style: the control IDs are not
/// documented.
MessageBoxView ReadMessageBox(HWND window) {
    MessageBoxView box;
    box.window = window;
    box.title = Text(window);
    std::vector<HWND> children;
    EnumChildWindows(window, OnChild, reinterpret_cast<LPARAM>(&children));
    std::sort(children.begin(), children.end(),
              [](HWND a, HWND b) { return ScreenRect(a).left < ScreenRect(b).left; });
    for (HWND child : children) {
        if (!(Style(child) & WS_VISIBLE)) continue;
        const std::wstring windowClass = ClassName(child);
        if (windowClass == L"Button") {
            const int id = GetDlgCtrlID(child);
            box.buttons.push_back({id, Text(child)});
            if ((Style(child) & BS_TYPEMASK) == BS_DEFPUSHBUTTON) box.defaultButton = id;
        } else if (windowClass == L"Static" && (Style(child) & SS_TYPEMASK) == SS_ICON) {
            box.hasIcon = true;
            box.icon = child;
        } else if (windowClass == L"Static") {
            box.text = Text(child);
        }
    }
    return box;
}

/// The box owned by a window; `window` is null when there is none.
MessageBoxView FindMessageBox(HWND owner) {
    std::pair<HWND, HWND> search{owner, nullptr};
    EnumWindows(OnOwnedWindow, reinterpret_cast<LPARAM>(&search));
    return search.second ? ReadMessageBox(search.second) : MessageBoxView{};
}

bool GoesAway(const MessageBoxView& box, Milliseconds timeout) {
    try {
        WaitUntilGone(box.window, timeout);
        return true;
    } catch (const DeskError&) {
        return false;
    }
}

}  // namespace

MessageBoxView WaitForMessageBox(HWND owner, Milliseconds timeout) {
    MessageBoxView box;
    WaitUntil(
        "a message box",
        [&] {
            box = FindMessageBox(owner);
            return box.window && !box.buttons.empty();
        },
        timeout);
    return box;
}

void Answer(const MessageBoxView& box, int buttonId) {
    PressWithoutWaiting(Child(box.window, buttonId));
    WaitUntilGone(box.window);
}

bool AnswerByKey(const MessageBoxView& box, WORD virtualKey, Milliseconds timeout) {
    BringToFront(box.window);
    TapKey(virtualKey);
    return GoesAway(box, timeout);
}

bool AnswerByCloseBox(const MessageBoxView& box, Milliseconds timeout) {
    Close(box.window);
    return GoesAway(box, timeout);
}

}  // namespace desk
