// The Ethernet per-frame path: a UDP frame carrying 4 SOME/IP messages with
// 8 signals, decoded on first sight (the frame is matched against every
// position) and from the decision cache; the frame hash; the frame analysis.
// The "allocs" counter is the number of heap allocations per frame.
#include "AllocationCount.h"
#include "bus/EthernetSignal.h"
#include "support/FrameBuilder.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

constexpr uint8_t channel = 1;
constexpr int messages = 4;

std::vector<uint8_t> someIpFrame()
{
    FrameBuilder frame;
    frame.ethernet(0x020000000002, 0x020000000001).tag(0x8100, 5).ipv4(17, 0xc0a80001, 0xc0a80002)
        .udp(30000, 30501);
    for (int m = 0; m < messages; ++m)
        frame.someIp(uint16_t(0x1000 + m), 0x8001, {0x11, 0x22, 0x33, uint8_t(m)});
    return frame.fill(1).build(); // the last message needs a byte behind it
}

// Two 16-bit signals in each message's data.
struct SomeIpSignals {
    SomeIpSignals()
    {
        for (int m = 0; m < messages; ++m)
            for (uint16_t startBit : {0, 16}) {
                ethernetSignalDef_t def;
                def.instance = def.signal = "bench_" + std::to_string(m) + "_" + std::to_string(startBit);
                def.channel = channel;
                def.bits = 16;
                ethernetPosition_t pos;
                pos.ethSignalType = ETH_SOMEIP;
                pos.startBit = startBit;
                pos.destinationPort = 30501;
                pos.serviceId = uint32_t(0x1000 + m);
                pos.methodEventId = 0x8001;
                def.positions.push_back(pos);
                signals.push_back(std::make_unique<EthernetSignal>(def, false, &storage));
            }
        ids.reserve(16);
    }
    SignalStorage storage;
    std::vector<std::unique_ptr<EthernetSignal>> signals;
    std::vector<unsigned long> ids;
};

// Argument 0: from the decision cache. 1: on first sight, every time; this
// includes dropping the cached decision again (one map node and vector:
// allocations by design).
void BM_decodeSomeIp(benchmark::State& state)
{
    SomeIpSignals s;
    MIITraceMessage msg;
    msg.frame = someIpFrame();
    msg.channel = channel;
    const bool firstSight = state.range(0) != 0;
    EthernetSignal::decodeMessage(msg, s.ids, &s.storage); // the decision cache holds the frame
    const long before = allocationCount();
    for (auto _ : state) {
        if (firstSight)
            EthernetSignal::positiveList.clear();
        ++msg.timestamp;
        benchmark::DoNotOptimize(EthernetSignal::decodeMessage(msg, s.ids, &s.storage));
    }
    state.counters["allocs"] = allocationsSince(before);
    if (s.ids.size() != 2 * messages)
        state.SkipWithError("not every signal was written");
}
BENCHMARK(BM_decodeSomeIp)->Arg(0)->Arg(1);

void BM_hashFrame(benchmark::State& state)
{
    miiFrameInfo_t info;
    MIITraceMessage::analyzeFrame(someIpFrame().data(), someIpFrame().size(), info);
    for (auto _ : state) {
        benchmark::DoNotOptimize(info);
        benchmark::DoNotOptimize(hashFrame(info, channel));
    }
}
BENCHMARK(BM_hashFrame);

// Argument: 0 the tagged UDP frame, 1 TCP with options behind two tags.
void BM_analyzeFrame(benchmark::State& state)
{
    const std::vector<uint8_t> frame = state.range(0) == 0
        ? someIpFrame()
        : FrameBuilder().ethernet(1, 2).tag(0x88a8, 100).tag(0x8100, 200).ipv4(6, 1, 2, {0x94, 0x04, 0, 0})
              .tcp(1234, 80, {1, 1, 8, 10, 0, 0, 0, 1, 0, 0, 0, 0}).fill(64).build();
    for (auto _ : state) {
        miiFrameInfo_t info;
        benchmark::DoNotOptimize(MIITraceMessage::analyzeFrame(frame.data(), frame.size(), info));
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(BM_analyzeFrame)->Arg(0)->Arg(1);

} // namespace
