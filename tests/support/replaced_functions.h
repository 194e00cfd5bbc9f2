#pragma once

#include <windows.h>

// after windows.h, which they need
#include <sql.h>
#include <sqlext.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// The functions of Windows and ODBC that are replaced in database_tests and window_tests, for the program's
// code and for the tests. Each is its real self but for the life of an object of these types, which belongs
// to one case; there is at most one of a type.

/// What all of them are: on from here to the end of the scope.
template <class Kind>
struct Replaced {
    Replaced() noexcept { on = static_cast<Kind*>(this); }
    ~Replaced() { on = nullptr; }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

    static inline Kind* on = nullptr;
};

/// SQLDisconnect, SQLAllocHandle and SQLFreeHandle are counted and otherwise real; SQLGetDiagRecW.
struct ReplacedDriverManager : Replaced<ReplacedDriverManager> {
    int disconnections = 0;       // calls
    int handles = 0;              // given and not got back
    SQLSMALLINT refusedKind = 0;  // of handle
    std::vector<std::wstring> records =
        {};  // HY000 each, instead of the driver's; an empty one cannot be read
};

/// CreateToolhelp32Snapshot is real, after a call of the case's own.
struct ReplacedSnapshot : Replaced<ReplacedSnapshot> {
    std::function<void()> before = [] {};
};

/// Sleep is real, after a call of the case's own.
struct ReplacedSleep : Replaced<ReplacedSleep> {
    std::function<void(DWORD milliseconds)> before = [](DWORD) {};
};

/// CoInitializeEx, CoUninitialize and CoCreateInstance give a taskbar that writes down what it is asked for,
/// as FlashWindowEx and MessageBoxW do; GetForegroundWindow; GetTickCount64. To outlive the windows that hold
/// it.
struct ReplacedTaskbar : Replaced<ReplacedTaskbar> {
    HWND button = nullptr;                 // the window whose button is meant
    std::wstring told = {};                // a word for each request, a blank behind it; see the source
    HRESULT created = S_OK, begun = S_OK;  // what COM and the taskbar answer
    int holders = 0;                       // of COM and of the taskbar
    int answer = 0;                        // to every message box
    ULONGLONG now = 0, step = 1;           // a clock, and how far it goes each time that it is read, in ms
    std::optional<HWND> front = {};        // instead of the window in front
    ULONGLONG done = 0;                    // the last step that was told

    void Tell(HWND window, const std::wstring& word) {
        told += (window == button ? L"" : L"elsewhere: ") + word + L" ";
    }
};
