#include <algorithm>

#include "support/own_windows.h"

// after windows.h, which it needs
#include <winternl.h>

// What is in use on the heaps of this process, in bytes.
static long long HeapInUse() {
    HANDLE heaps[64];
    long long used = 0;
    for (DWORD i = std::min<DWORD>(GetProcessHeaps(64, heaps), 64); i-- > 0;)
        for (PROCESS_HEAP_ENTRY entry = {}; HeapWalk(heaps[i], &entry);)
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) used += entry.cbData;
    return used;
}

// How much stays in use after so many rounds of an action, in bytes. Of four series the first one warms up
// and of the others the least counts: a heap grows by more when it makes room for small blocks.
template <class Action>
static long long Growth(int rounds, Action action) {
    long long least = HeapInUse();
    for (int series = 0; series < 4; ++series) {
        const long long before = HeapInUse();
        for (int i = 0; i < rounds; ++i) action();
        if (series > 0) least = std::min(least, HeapInUse() - before);
    }
    return least;
}

// Fonts, pens, brushes, bitmaps and device contexts of this process.
static size_t GdiObjects() {
    if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return counted;
    // Wine does not count them, but keeps each process's handle table where Windows has it: entries of 24
    // bytes with the kind of object, zero for a free entry, in the fifteenth.
    constexpr size_t kEntry = 24, kKind = 14, kEntries = 0x4000, kTable = 0xF8;
    const auto block = reinterpret_cast<const char*>(NtCurrentTeb()->ProcessEnvironmentBlock);
    const char* const table = *reinterpret_cast<const char* const*>(block + kTable);
    REQUIRE(table);
    size_t objects = 0;
    for (size_t i = kKind; i < kEntry * kEntries; i += kEntry) objects += table[i] != 0;
    return objects;
}

// In this process: only its own heaps can be walked block by block.
TEST_CASE("queries windows and repaints leave memory flat and no drawing object behind") {
    const WindowsOfAZone story;
    const auto act = [&] {
        story.desk.Query(L"zh");
        desk::Send(story.desk.OpenRepairTool(), WM_CLOSE);
        for (int i = 0; i < 5; ++i)
            RedrawWindow(story.desk.window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    };
    act();
    const size_t objects = GdiObjects();
    REQUIRE(objects > 0);
    CHECK(Growth(10, act) < 10 * 2000);
    CHECK(GdiObjects() < objects + 20);
}
