#include "tests/support/process_watch.h"

// after windows.h, which it needs
#include <winternl.h>

#include <functional>
#include <string_view>

namespace {

HANDLE Open(DWORD processId) {
    return OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE,
                       processId);  // for the test's short life
}

std::string Read(HANDLE process, const void* at, size_t size) {
    std::string bytes(size, '\0');
    SIZE_T read = 0;
    ReadProcessMemory(process, at, bytes.data(), size, &read);
    return bytes.substr(0, read);
}

void ForPrivateRegions(HANDLE process, const std::function<void(const MEMORY_BASIC_INFORMATION&)>& action) {
    MEMORY_BASIC_INFORMATION region;
    for (const char* at = nullptr; VirtualQueryEx(process, at, &region, sizeof region) != 0;
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) action(region);
    }
}

}  // namespace

size_t PrivateBytes(DWORD processId) {
    size_t bytes = 0;
    ForPrivateRegions(Open(processId),
                      [&](const MEMORY_BASIC_INFORMATION& region) { bytes += region.RegionSize; });
    return bytes;
}

size_t GdiObjects(DWORD processId) {
    const HANDLE process = Open(processId);
    if (const DWORD counted = GetGuiResources(process, GR_GDIOBJECTS)) return counted;
    // Wine does not count them, but keeps each process's handle table where Windows has it: entries of 24
    // bytes with the kind of object, zero for a free entry, in the fifteenth.
    constexpr size_t kEntry = 24, kKind = 14, kEntries = 0x4000, kTableOfEnvironmentBlock = 0xF8;
    PROCESS_BASIC_INFORMATION basic = {};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr);
    const char* block = reinterpret_cast<const char*>(basic.PebBaseAddress);
    const std::string pointer = Read(process, block + kTableOfEnvironmentBlock, sizeof(void*));
    const std::string entries =
        Read(process, *reinterpret_cast<void* const*>(pointer.data()), kEntry * kEntries);
    size_t objects = 0;
    for (size_t i = kKind; i < entries.size(); i += kEntry) objects += entries[i] != 0;
    return objects;
}

size_t CountInMemory(DWORD processId, const std::wstring& text) {
    const HANDLE process = Open(processId);
    const std::string_view units(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
    size_t found = 0;
    ForPrivateRegions(process, [&](const MEMORY_BASIC_INFORMATION& region) {
        const std::string memory = Read(process, region.BaseAddress, region.RegionSize);
        for (size_t i = memory.find(units); i != memory.npos; i = memory.find(units, i + 1)) ++found;
    });
    return found;
}
