#pragma once

#include <windows.h>

#include <string>

// What another process, known by its ID, holds.

/// Memory that belongs to it alone, in bytes.
size_t PrivateBytes(DWORD processId);

/// Fonts, pens, brushes, bitmaps and device contexts.
size_t GdiObjects(DWORD processId);

/// How often a text occurs in its memory as UTF-16.
size_t CountInMemory(DWORD processId, const std::wstring& text);
