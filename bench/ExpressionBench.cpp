// Trigger expressions: evaluation, edge triggering and construction.
// The "allocs" counter is the number of heap allocations per iteration.
#include "AllocationCount.h"
#include "expression/ExpParser.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

struct BenchSignals {
    explicit BenchSignals(int count)
    {
        for (int i = 0; i < count; ++i) {
            baseSignalDef_t def;
            def.instance = "s" + std::to_string(i);
            def.signal = def.instance;
            def.bits = 16;
            def.scale = 0.5;
            signals.push_back(std::make_unique<BaseSignal>(def, false, &storage));
            signals.back()->write(static_cast<unsigned long>(10 * i + 3), 1000 + i);
        }
    }
    SignalStorage storage;
    std::vector<std::unique_ptr<BaseSignal>> signals;
};

// Ten signal reads, twenty operators.
const char* const tenSignals = "s0 + s1 * 2 > s2 - 3 && s3 / 4 <= 100 - 1 || -s4 + s5 % 7 == 0 && !(s6 >= 1) || "
                               "s7 * s8 - s9 != 5";

void reportAllocations(benchmark::State& state, long before)
{
    state.counters["allocs"] = allocationsSince(before);
}

void BM_getExpResult(benchmark::State& state)
{
    BenchSignals s(10);
    ExpParser parser(tenSignals, false, &s.storage);
    bool result = false;
    const long before = allocationCount();
    for (auto _ : state) {
        benchmark::DoNotOptimize(parser.getExpResult(result));
        benchmark::DoNotOptimize(result);
    }
    reportAllocations(state, before);
    state.counters["steps"] = static_cast<double>(parser.program.size());
}

// getTrigger on the same expression, in level mode (0) and edge mode (1).
void BM_getTrigger(benchmark::State& state)
{
    BenchSignals s(10);
    ExpParser parser(tenSignals, state.range(0) != 0, &s.storage);
    const long before = allocationCount();
    for (auto _ : state)
        benchmark::DoNotOptimize(parser.getTrigger());
    reportAllocations(state, before);
}

void BM_getTriggerEdge(benchmark::State& state)
{
    BenchSignals s(1);
    ExpParser parser("s0 > 50", true, &s.storage);
    unsigned long value = 0;
    const long before = allocationCount();
    for (auto _ : state) {
        s.signals[0]->write(value, value);
        value ^= 200; // rises on every other evaluation
        benchmark::DoNotOptimize(parser.getTrigger());
    }
    reportAllocations(state, before);
}

void BM_construct(benchmark::State& state)
{
    BenchSignals s(2);
    const long before = allocationCount();
    for (auto _ : state) {
        ExpParser parser("s0 > 50 && s1 == 1", false, &s.storage);
        benchmark::DoNotOptimize(parser.program.data());
    }
    reportAllocations(state, before);
}

} // namespace

BENCHMARK(BM_getExpResult);
BENCHMARK(BM_getTrigger)->Arg(0)->Arg(1)->ArgName("edge");
BENCHMARK(BM_getTriggerEdge);
BENCHMARK(BM_construct);
