// Decoding one static FlexRay frame that carries 8 one-byte signals.
// Argument: layout (0 plain byte ranges, 1 with update bits, 2 one PDU per signal).
// The "allocs" counter is the number of heap allocations per frame.
#include "AllocationCount.h"
#include "bus/FlexRaySignal.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int signalCount = 8;
constexpr uint16_t slot = 42;
constexpr uint8_t cycle = 3;
constexpr uint32_t firstPduId = 0x100;
constexpr unsigned pduLength = 4;

enum Layout { Plain, UpdateBits, Pdus };

struct BenchFrame {
    explicit BenchFrame(Layout layout)
    {
        for (int i = 0; i < signalCount; ++i) {
            flexRaySignalDef_t def;
            def.instance = "flexray_bench_" + std::to_string(i);
            def.signal = def.instance;
            def.channel = 1;
            def.bits = 8;
            flexRayPosition_t position;
            position.type = true;
            position.slot = slot;
            position.baseCycle = 1;
            position.repetition = 2;
            if (layout == Pdus) {
                position.pduId = firstPduId + i;
            } else {
                position.startBit = static_cast<uint16_t>(8 * i);
                // Update bits live in byte 8, one per signal.
                if (layout == UpdateBits)
                    position.updateBit = static_cast<uint16_t>(64 + i);
            }
            def.positions.push_back(position);
            signals.push_back(std::make_unique<FlexRaySignal>(def, false, &storage));
        }

        frm.frameKind = 16;
        frm.channel = 1;
        frm.slot = slot;
        frm.cycle = cycle;
        if (layout == Pdus) {
            for (int i = 0; i < signalCount; ++i) {
                const uint32_t id = firstPduId + i;
                frm.payload.insert(frm.payload.end(), {uint8_t(id >> 16), uint8_t(id >> 8), uint8_t(id), pduLength,
                                                       uint8_t(i), 0, 0, 0});
            }
            frm.payload.resize(frm.payload.size() + 4); // the last PDU must not end the data
        } else {
            for (int i = 0; i < signalCount; ++i)
                frm.payload.push_back(uint8_t(i));
            frm.payload.push_back(0xff);
            frm.payload.resize(16);
        }
        frm.data = frm.payload;
    }

    SignalStorage storage;
    std::vector<std::unique_ptr<FlexRaySignal>> signals;
    FlexRayExtTraceMessage frm;
};

void BM_decodeStaticFrame(benchmark::State& state)
{
    BenchFrame bench(static_cast<Layout>(state.range(0)));
    std::vector<unsigned long> ids;
    ids.reserve(signalCount);
    FlexRaySignal::decodeMessage(bench.frm, ids, 0);
    if (ids.size() != signalCount)
        state.SkipWithError("not every signal was decoded");
    // The first signal's byte changes on every frame, so one write a frame
    // reports a change.
    uint8_t& changing = bench.frm.payload[state.range(0) == Pdus ? 4 : 0];
    const long before = allocationCount();
    for (auto _ : state) {
        ++changing;
        ++bench.frm.timestamp;
        benchmark::DoNotOptimize(FlexRaySignal::decodeMessage(bench.frm, ids, 0));
    }
    state.counters["allocs"] = allocationsSince(before); // first: adding a counter allocates itself
    state.SetItemsProcessed(state.iterations() * signalCount);
}

} // namespace

BENCHMARK(BM_decodeStaticFrame)->Arg(Plain)->Arg(UpdateBits)->Arg(Pdus)->ArgNames({"layout"});
