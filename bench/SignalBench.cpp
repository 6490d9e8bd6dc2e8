// The codec's per-message operations on private and shared-memory slots.
// Arguments: field width, byte order (0 little, 1 big), slot (0 private, 1 shared).
#include "signal/BaseSignal.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <memory>

namespace {

struct BenchSignal {
    BenchSignal(int bits, bool bigEndian, bool shared)
    {
        baseSignalDef_t def;
        def.instance = "rkbench_" + std::to_string(getpid()) + "_" + std::to_string(bits) +
                       (bigEndian ? "_be" : "_le") + (shared ? "_shm" : "");
        def.signal = "bench";
        def.bits = static_cast<uint8_t>(bits);
        def.endian = bigEndian;
        // Big endian: msb at bit 7 of byte 0, so every width fits.
        def.startbit = bigEndian ? 7 : 0;
        def.scale = 0.1;
        signal = std::make_unique<BaseSignal>(def, shared, &storage);
    }
    ~BenchSignal()
    {
        const std::string path = "/tmp/" + signal->def.instance;
        const bool shared = signal->shmem;
        signal.reset();
        if (shared)
            std::remove(path.c_str());
    }
    SignalStorage storage;
    std::unique_ptr<BaseSignal> signal;
};

void slotArguments(benchmark::internal::Benchmark* b)
{
    for (int shared : {0, 1})
        for (int bigEndian : {0, 1})
            for (int bits : {8, 16, 32, 64})
                b->Args({bits, bigEndian, shared});
}

void BM_decode(benchmark::State& state)
{
    BenchSignal s(int(state.range(0)), state.range(1) != 0, state.range(2) != 0);
    uint64_t payload = 0x0123456789abcdefULL;
    for (auto _ : state) {
        s.signal->decode(payload);
        payload += 0x0101010101010101ULL;
        benchmark::DoNotOptimize(s.signal->slot->raw);
    }
}

void BM_writePayload(benchmark::State& state)
{
    BenchSignal s(int(state.range(0)), state.range(1) != 0, state.range(2) != 0);
    uint64_t payload = 0x0123456789abcdefULL;
    unsigned long timestamp = 0;
    for (auto _ : state) {
        s.signal->write(payload, ++timestamp);
        payload += 0x0101010101010101ULL;
    }
    benchmark::DoNotOptimize(s.signal->slot->raw);
}

void BM_readDouble(benchmark::State& state)
{
    BenchSignal s(int(state.range(0)), state.range(1) != 0, state.range(2) != 0);
    s.signal->write(0x0123456789abcdefULL, 1);
    double value = 0;
    unsigned long timestamp = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(s.signal->read(value, timestamp));
        benchmark::DoNotOptimize(value);
    }
}

} // namespace

BENCHMARK(BM_decode)->Apply(slotArguments)->ArgNames({"bits", "big", "shm"});
BENCHMARK(BM_writePayload)->Apply(slotArguments)->ArgNames({"bits", "big", "shm"});
BENCHMARK(BM_readDouble)->Apply(slotArguments)->ArgNames({"bits", "big", "shm"});
