// Counts the heap allocations of a benchmark program: link allocation_counter.cpp into it, which
// replaces the global operator new, and read the count around the code measured.
#ifndef MORTAR_BENCH_SUPPORT_ALLOCATION_COUNTER_H
#define MORTAR_BENCH_SUPPORT_ALLOCATION_COUNTER_H

#include <cstdint>

namespace bench {

/// Allocations made through the global operator new since the program started.
std::uint64_t Allocations();

} // namespace bench

#endif
