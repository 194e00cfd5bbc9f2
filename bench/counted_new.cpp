#include <cstdlib>
#include <new>

#include "bench/measure.h"

namespace {

Allocations total;

}  // namespace

Allocations AllocationsOf(const std::function<void()>& action) {
    const Allocations before = total;
    action();
    return {total.calls - before.calls, total.bytes - before.bytes};
}

void* operator new(std::size_t size) {
    ++total.calls;
    total.bytes += size;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
