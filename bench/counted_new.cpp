#include "bench/counted_new.h"

#include <cstdlib>
#include <new>

namespace {

Allocations total;

}  // namespace

Allocations AllocationsSoFar() noexcept {
    return total;
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
