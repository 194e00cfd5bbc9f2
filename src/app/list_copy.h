#pragma once

#include <windows.h>

/// Copies the selected row of a list view to the clipboard, its columns separated by tabs. Without a selected
/// row the clipboard is left alone.
void CopySelectedRow(HWND list);

/// Copies all rows of a list view below its column titles, as a spreadsheet takes them: columns separated by
/// tabs, every line ended by CR LF, a blank for each tab or line break inside a cell. An empty list leaves
/// the clipboard alone.
void CopyAllRows(HWND list);
