#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

#include "account_query/query_window.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int showCommand) {
    // The status line says what runs, also when that takes minutes; Windows would put "not responding" there.
    DisableProcessWindowsGhosting();
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_LISTVIEW_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&classes);
    TaskbarProgress taskbar;
    const std::shared_ptr<QueryWindow> window = QueryWindow::Open(instance, showCommand, taskbar);
    if (!window) return 0;
    MSG message;
    // Only zero ends the loop: an error (-1) of one call must not close the program.
    while (GetMessageW(&message, nullptr, 0, 0) != 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}
