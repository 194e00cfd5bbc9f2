// Starting the real program, beside the bare windows.

#include <memory>

#include "bench/measure.h"
#include "demo/desk_driver.h"
#include "tests/support/temp_directory.h"

namespace {

// Until the program waits for input for the first time, which is when everything it shows has been painted.
void WaitUntilIdle(const desk::Program& program) {
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, program.Id());
    const DWORD result = WaitForInputIdle(process, 10'000);
    CloseHandle(process);
    if (result != 0) throw std::runtime_error("never idle");
}

double StartMilliseconds(const std::wstring& path, bool isTool) {
    std::unique_ptr<desk::Program> program;
    const double time = Milliseconds([&] {
        program = std::make_unique<desk::Program>(path);
        WaitUntilIdle(*program);
    });
    const HWND window =
        desk::FindTopWindow(program->Id(), isTool ? L"MergeAccountQueryWindow" : L"BareWindow");
    if (!window || !IsWindowVisible(window)) throw std::runtime_error("idle, but nothing to see");
    if (isTool && !desk::Text(desk::Child(window, 1006)).starts_with(L"检测到 0 个")) {
        throw std::runtime_error("idle, but not filled");
    }
    return time;
}

double PrivateAfterStart(const TempDirectory& folder, const std::string& fileName) {
    const desk::Program program(folder.At(std::wstring(fileName.begin(), fileName.end())));
    WaitUntilIdle(program);
    Sleep(300);
    return PrivateKilobytes(fileName);
}

}  // namespace

void Measure() {
    // In one folder, so that all use the same settings file.
    const TempDirectory folder;
    const std::wstring tool = folder.At(L"MergeAccountQuery.exe"), bare = folder.At(L"bare_window.exe");
    CopyFileW(Built(L"..\\MergeAccountQuery.exe").c_str(), tool.c_str(), FALSE);
    CopyFileW(Built(L"bare_window.exe").c_str(), bare.c_str(), FALSE);
    CopyFileW(Built(L"bare_list.exe").c_str(), folder.At(L"bare_list.exe").c_str(), FALSE);
    PrintRatio("start to a painted, filled window",
               Compare(
                   31, [&] { return StartMilliseconds(tool, true); },
                   [&] { return StartMilliseconds(bare, false); }),
               1.1);
    PrintDifference("private memory after the start",
                    Compare(
                        7, [&] { return PrivateAfterStart(folder, "MergeAccountQuery.exe"); },
                        [&] { return PrivateAfterStart(folder, "bare_list.exe"); }),
                    3 * 1024);
}
