#include "support/allocation_counter.h"

#include <cstdlib>
#include <new>

namespace {
std::uint64_t g_allocations = 0;
}

std::uint64_t bench::Allocations() { return g_allocations; }

// Out of line, so that the compiler does not pair the malloc and free inside with the new and
// delete expressions of the callers.
__attribute__((noinline)) void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* p) noexcept { std::free(p); }
__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept { std::free(p); }
