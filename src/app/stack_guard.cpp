// The two things that code compiled with -fstack-protector-strong wants from its run-time library. GCC's own
// makes the secret with the CryptoAPI, which loads DLLs by their plain names before wWinMain can say from
// where.

#include <windows.h>

#include <cstdint>

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler has chosen the names
extern "C" std::uintptr_t __stack_chk_guard;
std::uintptr_t __stack_chk_guard = 0;

// As Microsoft's run-time library makes its own secret: from clocks, IDs and an address, all mixed. Before
// any other constructor; a protected function that ran meanwhile would find another secret at its end.
extern "C" __attribute__((constructor(101), no_stack_protector)) void MakeStackGuard() {
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    FILETIME time;
    LARGE_INTEGER counter;
    GetSystemTimeAsFileTime(&time);
    QueryPerformanceCounter(&counter);
    const std::uint64_t parts[] = {std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime,
                                   static_cast<std::uint64_t>(counter.QuadPart), GetTickCount64(),
                                   std::uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId()};
    std::uint64_t secret = reinterpret_cast<std::uintptr_t>(parts);
    for (const std::uint64_t part : parts) {
        secret = (secret ^ part) * kOdd;
        secret ^= secret >> 32;
    }
    // Its first two bytes in memory end a text: one that runs over its own end cannot contain them.
    __stack_chk_guard = secret & ~std::uintptr_t{0xFFFF};
}

// Ends the process at once, without running anything that could use the stack (since Windows 8; before, it
// crashes).
extern "C" [[noreturn]] void __stack_chk_fail() {
    constexpr unsigned kStackCookieCheckFailure = 2;
    __asm__ volatile("int $0x29" : : "c"(kStackCookieCheckFailure));
    __builtin_unreachable();
}
// NOLINTEND(bugprone-reserved-identifier)
