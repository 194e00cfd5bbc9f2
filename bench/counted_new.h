#pragma once

#include <cstddef>

/// What operator new has handed out since the program began; the program that links this counts all of it.
struct Allocations {
    std::size_t calls = 0;
    std::size_t bytes = 0;
};
Allocations AllocationsSoFar() noexcept;

/// The allocations of one action.
template <class Action>
Allocations CountAllocations(const Action& action) {
    const Allocations before = AllocationsSoFar();
    action();
    const Allocations after = AllocationsSoFar();
    return {after.calls - before.calls, after.bytes - before.bytes};
}
