#pragma once

#include <windows.h>

#include "text/owner.h"

/// Kernel objects whose functions return INVALID_HANDLE_VALUE on failure: files and snapshots. (OpenProcess
/// returns null.)
struct KernelHandleTrait {
    using Handle = HANDLE;
    static inline const Handle kNone = INVALID_HANDLE_VALUE;
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};
using FileHandle = Owner<KernelHandleTrait>;
using SnapshotHandle = Owner<KernelHandleTrait>;
