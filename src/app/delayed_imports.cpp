// A function of a delayed import is entered into the import table when it is first called. The linker of
// Debian 13 puts that table into memory that cannot be written to, that of Debian 12 does not.

#include <windows.h>

// after windows.h, which it needs
#include <delayimp.h>

namespace {

FARPROC WINAPI MakeWritable(unsigned event, DelayLoadInfo* import) noexcept {
    static DWORD usual = PAGE_READONLY;
    DWORD unused = 0;
    if (event == dliStartProcessing) {
        VirtualProtect(import->ppfn, sizeof *import->ppfn, PAGE_READWRITE, &usual);
    } else if (event == dliNoteEndProcessing) {
        VirtualProtect(import->ppfn, sizeof *import->ppfn, usual, &unused);
    }
    return nullptr;  // go on
}

}  // namespace

// NOLINTNEXTLINE(bugprone-reserved-identifier): the run-time library has chosen the name
PfnDliHook __pfnDliNotifyHook2 = MakeWritable;
