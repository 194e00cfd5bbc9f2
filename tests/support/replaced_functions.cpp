#include "support/replaced_functions.h"

// after windows.h, which they need
#include <objbase.h>
#include <shobjidl.h>
#include <tlhelp32.h>

// Asked for at each call: the first one may come before anything of ours is initialised.
template <class Function>
static Function* Real(const wchar_t* library, const char* name) {
    const auto found = GetProcAddress(LoadLibraryW(library), name);
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}
#define REAL(library, function) Real<decltype(function)>(library, #function)

// Declared as ordinary functions: ours are found before those of the import library.
extern "C" SQLRETURN SQL_API SQLDisconnect(SQLHDBC connection) {
    if (const auto on = ReplacedDriverManager::on) ++on->disconnections;
    return REAL(L"odbc32", SQLDisconnect)(connection);
}
extern "C" SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT kind, SQLHANDLE parent, SQLHANDLE* handle) {
    const auto on = ReplacedDriverManager::on;
    if (on && kind == on->refusedKind) return SQL_ERROR;
    const SQLRETURN result = REAL(L"odbc32", SQLAllocHandle)(kind, parent, handle);
    if (on) on->handles += SQL_SUCCEEDED(result);
    return result;
}
extern "C" SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT kind, SQLHANDLE handle) {
    if (const auto on = ReplacedDriverManager::on) --on->handles;
    return REAL(L"odbc32", SQLFreeHandle)(kind, handle);
}
extern "C" SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT number,
                                            SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
                                            SQLSMALLINT units, SQLSMALLINT* length) {
    const auto on = ReplacedDriverManager::on;
    if (!on || on->records.empty())
        return REAL(L"odbc32", SQLGetDiagRecW)(kind, handle, number, state, native, text, units, length);
    if (number > static_cast<int>(on->records.size())) return SQL_NO_DATA;
    const std::wstring& record = on->records[static_cast<size_t>(number) - 1];
    if (record.empty()) return SQL_ERROR;
    state[std::wstring(L"HY000").copy(state, 5)] = L'\0';
    text[record.copy(text, static_cast<size_t>(units) - 1)] = L'\0';
    return SQL_SUCCESS;
}
extern "C" HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD process) {
    if (const auto on = ReplacedSnapshot::on) on->before();
    return REAL(L"kernel32", CreateToolhelp32Snapshot)(flags, process);
}

// A taskbar as COM lays it out, with the functions that the program needs.
static void* FakeTaskbar() {
    static void *functions[11], **object = functions;
    const auto add = [](int at, auto function) { functions[at] = reinterpret_cast<void*>(+function); };
    add(2, [](void*) { return --ReplacedTaskbar::on->holders; });  // Release
    add(3, [](void*) { return ReplacedTaskbar::on->begun; });      // HrInit
    add(9, [](void*, HWND window, ULONGLONG step, ULONGLONG total) {
        // SetProgressValue: only the last step, and one that is not the next
        ReplacedTaskbar& taskbar = *ReplacedTaskbar::on;
        if (step != ++taskbar.done || step == total) taskbar.Tell(window, std::to_wstring(step));
    });
    add(10, [](void*, HWND window, int state) {  // SetProgressState
        constexpr const wchar_t* kStates[] = {L"rests", L"runs", L"?", L"?", L"red"};
        ReplacedTaskbar::on->Tell(window, kStates[state]);
        ReplacedTaskbar::on->done = 0;
    });
    return &object;
}

// The functions of DLLs are called through these pointers.
extern "C" {
decltype(&Sleep) __imp_Sleep = [](DWORD milliseconds) {
    if (const auto on = ReplacedSleep::on) on->before(milliseconds);
    REAL(L"kernel32", Sleep)(milliseconds);
};
decltype(&CoInitializeEx) __imp_CoInitializeEx = [](void* reserved, DWORD kind) -> HRESULT {
    const auto on = ReplacedTaskbar::on;
    if (!on) return REAL(L"ole32", CoInitializeEx)(reserved, kind);
    ++on->holders;
    return S_OK;
};
decltype(&CoUninitialize) __imp_CoUninitialize = [] {
    const auto on = ReplacedTaskbar::on;
    on ? void(--on->holders) : REAL(L"ole32", CoUninitialize)();
};
decltype(&CoCreateInstance) __imp_CoCreateInstance = [](REFCLSID id, IUnknown* outer, DWORD context,
                                                        REFIID kind, void** object) -> HRESULT {
    const auto on = ReplacedTaskbar::on;
    if (!on) return REAL(L"ole32", CoCreateInstance)(id, outer, context, kind, object);
    on->told += id == __uuidof(TaskbarList) && kind == __uuidof(ITaskbarList3) ? L"asked " : L"? ";
    if (SUCCEEDED(on->created)) {
        *object = FakeTaskbar();
        ++on->holders;
    }
    return on->created;
};
decltype(&FlashWindowEx) __imp_FlashWindowEx = [](FLASHWINFO* flash) -> BOOL {
    const auto on = ReplacedTaskbar::on;
    if (!on) return REAL(L"user32", FlashWindowEx)(flash);
    on->Tell(flash->hwnd, flash->dwFlags == FLASHW_TRAY && flash->uCount == 5 ? L"flashes" : L"?");
    return FALSE;
};
decltype(&MessageBoxW) __imp_MessageBoxW = [](HWND owner, LPCWSTR text, LPCWSTR title, UINT kind) {
    const auto on = ReplacedTaskbar::on;
    if (!on) return REAL(L"user32", MessageBoxW)(owner, text, title, kind);
    on->told += L"box ";
    return on->answer;
};
decltype(&GetForegroundWindow) __imp_GetForegroundWindow = [] {
    const auto on = ReplacedTaskbar::on;
    return on && on->front ? *on->front : REAL(L"user32", GetForegroundWindow)();
};
decltype(&GetTickCount64) __imp_GetTickCount64 = [] {
    const auto on = ReplacedTaskbar::on;
    return on ? on->now += on->step : REAL(L"kernel32", GetTickCount64)();
};
}
