#pragma once

#include <optional>

#include "account_query/query_window.h"
#include "support/desk_fixture.h"

// after windows.h, which it needs
#include <commctrl.h>

/// Both windows of the program inside this process, for what no other process can read or replace; by default
/// no server has the name that they look for. They come from the build's libraries: a case that uses them
/// does not belong to a unit that starts the program's file (STARTING in tests/CMakeLists.txt).
struct Windows {
    TempDirectory place;
    TaskbarProgress taskbar;
    std::shared_ptr<QueryWindow> object;
    HWND query = nullptr, repair = nullptr;

    explicit Windows(const std::wstring& folder = L"folder",
                     const std::string& settings = "M2ProcessName=nobody.exe\nAccountField=F\n") {
        // As the program does: a case takes no input for longer than Windows waits before it covers a window.
        DisableProcessWindowsGhosting();
        place.Write(folder + L"\\QuerySettings.ini", "[Query]\n" + settings);
        std::filesystem::current_path(place.At(folder));
        object = QueryWindow::Open(GetModuleHandleW(nullptr), SW_SHOW, taskbar);
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        REQUIRE(object);
        query = object->Handle();
        desk::Press(desk::Child(query, kRepairToolButton));
        repair = desk::WaitForTopWindow(GetCurrentProcessId(), L"RoleIdRepairWindow");
    }
    ~Windows() { DestroyWindow(query); }
    /// A control of either window: their IDs differ.
    HWND Child(int id) const { return desk::Child(id < kServerEdit ? query : repair, id); }
    void SetText(int id, const std::wstring& text) const { desk::SetText(Child(id), text); }
};

/// The same beside a running zone of the fixture, which they have found.
struct WindowsOfAZone {
    MergeFixture zones;
    Desk desk;
    std::optional<Windows> windows;

    WindowsOfAZone() {
        desk.StartZone(L"一区", ZoneJson("青龙一区", zones.A()));
        windows.emplace(L"folder", "");
        desk.window = windows->query;
    }
};
