// Starting the real program, beside the bare window.

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "bench/private_memory.h"
#include "bench/table.h"
#include "demo/desk_driver.h"
#include "tests/support/temp_directory.h"
#include "text/text.h"

namespace {

std::wstring Built(const wchar_t* relativePath) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\'));
    return path + L"\\" + relativePath;
}

struct Process {
    PROCESS_INFORMATION info = {};

    // `arguments` begins with a blank when there are any.
    explicit Process(const std::wstring& program, const std::wstring& arguments = {}) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        std::wstring commandLine = L"\"" + program + L"\"" + arguments;
        if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                            &startup, &info)) {
            throw std::runtime_error("cannot start a program");
        }
    }
    ~Process() {
        TerminateProcess(info.hProcess, 0);
        WaitForSingleObject(info.hProcess, 10'000);
        CloseHandle(info.hThread);
        CloseHandle(info.hProcess);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
};

// ---- start ----------------------------------------------------------------------------------------------

struct Start {
    std::wstring program;
    std::string fileName;
    const wchar_t* windowClass;
    int statusId;  // 0 for a program without a status line
    std::wstring arguments = {};
};

bool IsFilled(const Start& start, HWND window) {
    if (!window || !IsWindowVisible(window)) return false;
    if (start.statusId == 0) return true;
    return desk::Text(desk::Child(window, start.statusId)).starts_with(L"检测到 0 个");
}

// From the order to start until the program waits for input for the first time, which is when everything it
// shows has been painted.
double StartMilliseconds(const Start& start) {
    std::unique_ptr<Process> process;
    const double time = Milliseconds([&] {
        process = std::make_unique<Process>(start.program, start.arguments);
        if (WaitForInputIdle(process->info.hProcess, 10'000) != 0) throw std::runtime_error("never idle");
    });
    const HWND window = desk::FindTopWindow(process->info.dwProcessId, start.windowClass);
    if (!IsFilled(start, window)) throw std::runtime_error("idle, but not filled");
    return time;
}

// ---- memory ---------------------------------------------------------------------------------------------

void WaitUntilIdle(const Process& process) {
    WaitForInputIdle(process.info.hProcess, 10'000);
    Sleep(300);
}

double PrivateAfterStart(const Start& start) {
    const Process process(start.program);
    WaitUntilIdle(process);
    return PrivateKilobytes(start.fileName);
}

}  // namespace

int wmain() {
    try {
        const TempDirectory directory;
        const std::wstring tool = directory.At(L"MergeAccountQuery.exe");
        CopyFileW(Built(L"..\\MergeAccountQuery.exe").c_str(), tool.c_str(), FALSE);
        const Start ours = {tool, "MergeAccountQuery.exe", L"MergeAccountQueryWindow", 1006};
        const Start bare = {Built(L"bare_window.exe"), "bare_window.exe", L"BareWindow", 0};
        PrintRatio("start to a painted, filled window", "ms",
                   Compare(
                       31, [&] { return StartMilliseconds(ours); }, [&] { return StartMilliseconds(bare); }),
                   1.25);
        const Start controls = {bare.program, bare.fileName, bare.windowClass, 0, L" controls"};
        PrintRatio(
            "  against a bare window with as many controls", "ms",
            Compare(
                21, [&] { return StartMilliseconds(ours); }, [&] { return StartMilliseconds(controls); }));
        PrintDifference(
            "private memory after the start", "KB",
            Compare(
                7, [&] { return PrivateAfterStart(ours); }, [&] { return PrivateAfterStart(bare); }),
            3 * 1024);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
