#pragma once

#include <windows.h>

#include <string>

class TaskbarProgress;

/// What the query window hands to the ID repair window to start with.
struct RepairWindowParams {
    std::wstring server;
    int port = 1433;
    std::wstring user;
    std::wstring password;
    std::wstring database;  // becomes database A
};

/// Opens the role / guild ID repair window, owned by `queryWindow` and filled in from `params`. When it is
/// open already it only comes to the front and keeps what the operator has typed.
/// @param taskbar  shows the window's work; must outlive the window.
void OpenRepairWindow(HWND queryWindow, const RepairWindowParams& params, TaskbarProgress& taskbar);
