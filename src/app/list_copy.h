#pragma once

#include <windows.h>

/// What became of a copy. One that failed has left the clipboard's old content as it was, as far as Windows
/// itself did not lose it.
enum class CopyResult { NothingToCopy, Copied, Failed };

/// Copies the selected row of a list view to the clipboard, its columns separated by tabs. Without a selected
/// row the clipboard is left alone. Another program that has the clipboard open is waited for, for about a
/// tenth of a second.
CopyResult CopySelectedRow(HWND list);

/// Copies all rows of a list view below its column titles, as a spreadsheet takes them: columns separated by
/// tabs, every line ended by CR LF, a blank for each tab or line break inside a cell. An empty list leaves
/// the clipboard alone. Waits as CopySelectedRow.
CopyResult CopyAllRows(HWND list);
