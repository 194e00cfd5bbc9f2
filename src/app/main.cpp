#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

#include <string>

#include "account_query/query_window.h"

namespace {

// Before anything else: from here on DLLs come from the system folder alone, never from beside the program.
// The ones that are imported statically Windows takes from there by itself ("known DLLs"); the others are
// delayed imports (cmake/delayed_import.cmake).
void LoadDllsFromSystemFolderAlone() {
    const auto found = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories");
    const auto set = reinterpret_cast<BOOL(WINAPI*)(DWORD)>(reinterpret_cast<void*>(found));
    if (set && set(LOAD_LIBRARY_SEARCH_SYSTEM32)) return;
    // Windows 7 without its update KB2533623: what is loaded already is not searched for again. COMCTL32.dll
    // is not among them, because the manifest tells where that one is.
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    for (const wchar_t* name : {L"\\uxtheme.dll", L"\\odbc32.dll"})
        LoadLibraryExW((std::wstring(folder) + name).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int showCommand) {
    LoadDllsFromSystemFolderAlone();
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
