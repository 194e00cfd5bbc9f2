#include "window_driver.h"

#include <algorithm>
#include <thread>

#include "failure.h"

namespace desk {
namespace {

constexpr wchar_t kMessageBoxClass[] = L"#32770";

/// Reads the parts of a box. The text is distinguished from the icon by its style: the control IDs are not
/// documented.
MessageBoxView ReadMessageBox(HWND window) {
    MessageBoxView box;
    box.window = window;
    box.title = Text(window);
    std::vector<HWND> children;
    for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        children.push_back(child);
    }
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
    HWND box = nullptr;
    do {
        box = FindWindowExW(nullptr, box, kMessageBoxClass, nullptr);
    } while (box && (GetWindow(box, GW_OWNER) != owner || !IsWindowVisible(box)));
    return box ? ReadMessageBox(box) : MessageBoxView{};
}

}  // namespace

MessageBoxView WaitForMessageBox(HWND owner, Milliseconds timeout) {
    MessageBoxView box;
    WaitUntil(
        "a message box over " + Describe(owner),
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

Milliseconds ReadingTime() {
    constexpr Milliseconds kUntilDrawn{100};
    return kUntilDrawn + Milliseconds{GetDoubleClickTime()};
}

void ReadBox() {
    std::this_thread::sleep_for(ReadingTime());
}

bool AnswerByKey(const MessageBoxView& box, WORD virtualKey, Milliseconds timeout) {
    BringToFront(box.window);
    ReadBox();
    TapKey(virtualKey);
    return HappensWithin(timeout, [&] { return !IsWindow(box.window); });
}

bool AnswerByCloseBox(const MessageBoxView& box, Milliseconds timeout) {
    Close(box.window);
    return HappensWithin(timeout, [&] { return !IsWindow(box.window); });
}

}  // namespace desk
