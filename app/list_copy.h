#pragma once

#include <windows.h>

/// Copies the selected row of a list view to the clipboard, its columns separated by tabs. Without a selected
/// row the clipboard is left alone.
void CopySelectedRow(HWND list);
