#include "discovery/server_processes.h"

#include <windows.h>

// after windows.h, which it needs
#include <tlhelp32.h>

#include "discovery/kernel_handle.h"
#include "text/text.h"

namespace {

struct ProcessTrait {
    using Handle = HANDLE;
    static constexpr Handle kNone = nullptr;
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};

constexpr DWORD kLongestPath = 32768;  // UTF-16 units, the limit of Win32 paths

// `buffer` is the caller's, so that many processes share one.
std::wstring ImagePathOf(DWORD processId, std::vector<wchar_t>& buffer) {
    const Owner<ProcessTrait> process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process) return {};
    buffer.resize(kLongestPath);
    DWORD length = kLongestPath;
    if (!QueryFullProcessImageNameW(process.Get(), 0, buffer.data(), &length)) return {};
    return std::wstring(buffer.data(), length);
}

}  // namespace

std::vector<ServerProcessEntry> EnumerateServerProcesses(const std::wstring& processName) {
    std::vector<ServerProcessEntry> processes;
    const SnapshotHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot) return processes;
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    std::vector<wchar_t> pathBuffer;
    for (BOOL more = Process32FirstW(snapshot.Get(), &entry); more;
         more = Process32NextW(snapshot.Get(), &entry)) {
        if (!EqualsNoCase(entry.szExeFile, processName)) continue;
        processes.push_back(
            {entry.th32ProcessID, entry.szExeFile, ImagePathOf(entry.th32ProcessID, pathBuffer)});
    }
    return processes;
}
