#pragma once

#include <windows.h>

#include <string>

class TaskbarProgress;

/// The initial values of the repair window's form, from the query window.
struct RepairWindowParams {
    std::wstring server;
    int port = 1433;
    std::wstring user;
    std::wstring password;
    std::wstring database;  // becomes database A
};

/// Opens the role / guild ID repair window, owned by `queryWindow` and filled in from `params`. When it is
/// open already it is only brought to the front, its form unchanged.
/// @param taskbar  shows the window's work; must outlive the window.
void OpenRepairWindow(HWND queryWindow, const RepairWindowParams& params, TaskbarProgress& taskbar);
