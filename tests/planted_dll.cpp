#include <windows.h>

// Ends the program that loads it: a wait for that program then tells the code.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    constexpr UINT kLoaded = 4711;
    if (reason == DLL_PROCESS_ATTACH) TerminateProcess(GetCurrentProcess(), kLoaded);
    return TRUE;
}
