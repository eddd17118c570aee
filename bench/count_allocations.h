// Counts what a benchmark takes from the heap. Include in one source of a program: it replaces the
// program's operators.
#pragma once
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {
std::atomic<uint64_t> allocations{0};
}

// Out of line: the compiler would otherwise see malloc and free behind a pair that it knows.
__attribute__((noinline)) void* operator new(size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* at = std::malloc(size ? size : 1)) return at;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* at) noexcept {
    std::free(at);
}
__attribute__((noinline)) void operator delete(void* at, size_t) noexcept {
    std::free(at);
}
