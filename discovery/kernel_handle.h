#pragma once

#include <windows.h>

#include "text/owner.h"

/// The kernel objects whose functions answer INVALID_HANDLE_VALUE for "none": files and snapshots. (Processes
/// answer null.)
struct KernelHandleTrait {
    using Handle = HANDLE;
    static inline const Handle kNone = INVALID_HANDLE_VALUE;
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};
using FileHandle = Owner<KernelHandleTrait>;
using SnapshotHandle = Owner<KernelHandleTrait>;
