// Heap allocations made by the program, counted by replacements of the
// global operator new that every benchmark program links: the per-message
// paths must allocate nothing, and each benchmark reports its count per
// iteration as the "allocs" counter.
#pragma once

#include <benchmark/benchmark.h>

// Allocations since the program started.
long allocationCount();

// The "allocs" counter: allocations since `before` per iteration.
inline benchmark::Counter allocationsSince(long before)
{
    return benchmark::Counter(double(allocationCount() - before), benchmark::Counter::kAvgIterations);
}
