// Starting the real program, beside a bare window that has as much.

#include <memory>

#include "measure.h"
#include "support/temp_directory.h"
#include "window_driver.h"

namespace {

// Until the program waits for input for the first time, which is when everything it shows has been painted.
double StartMilliseconds(const std::wstring& path, bool isTool) {
    std::unique_ptr<desk::Program> program;
    bool filled = false;
    const double time = Milliseconds([&] {
        program = std::make_unique<desk::Program>(path);
        const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, program->Id());
        filled = WaitForInputIdle(process, 10'000) == 0;
        CloseHandle(process);
    });
    const HWND window =
        desk::FindTopWindow(program->Id(), isTool ? L"MergeAccountQueryWindow" : L"BareWindow");
    filled = filled && window && IsWindowVisible(window);
    if (isTool) filled = filled && desk::Text(desk::Child(window, 1006)).starts_with(L"检测到 0 个");
    if (!filled) throw std::runtime_error("no filled window when the program first waits");
    return time;
}

}  // namespace

void Measure() {
    // In one folder, so that both use the same settings file.
    const TempDirectory folder;
    const std::wstring tool = folder.At(L"MergeAccountQuery.exe"), bare = folder.At(L"bare_window.exe");
    CopyFileW(Built(L"MergeAccountQuery.exe").c_str(), tool.c_str(), FALSE);
    CopyFileW(Built(L"bench\\bare_window.exe").c_str(), bare.c_str(), FALSE);
    PrintRatio("start to a painted, filled window",
               Compare(
                   61, [&] { return StartMilliseconds(tool, true); },
                   [&] { return StartMilliseconds(bare, false); }),
               1.1);
}
