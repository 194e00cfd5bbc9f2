#pragma once

#include <windows.h>

#include <string>

// What another process, known by its ID, holds.

/// Memory that belongs to it alone, in bytes.
size_t PrivateBytes(DWORD processId);

/// How much of it a process gains while an action runs so often, in bytes; what is made once and kept has
/// been made in rounds before, which do not count. The driver manager and the system may gain as well:
/// compare with a bare loop of the same calls.
template <class Action>
long long Growth(DWORD processId, int rounds, Action action) {
    for (int i = 0; i < rounds / 5; ++i) action();
    const auto before = static_cast<long long>(PrivateBytes(processId));
    for (int i = 0; i < rounds; ++i) action();
    return static_cast<long long>(PrivateBytes(processId)) - before;
}

/// Fonts, pens, brushes, bitmaps and device contexts.
size_t GdiObjects(DWORD processId);

/// How often a text occurs in its memory as UTF-16.
size_t CountInMemory(DWORD processId, const std::wstring& text);
