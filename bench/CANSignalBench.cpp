// Decoding CAN, CAN FD (with PDUs) and LIN frames from a table of frames,
// and the raw-record pre-filter. Each iteration decodes one frame, cycling
// through the table so that the key lookup works on the whole map.
// BM_workload decodes the frames of the floor's workload into signals of the
// same layouts; its results are checked against the floor's records first.
// Counters: "per_signal" is the time per signal written, "allocs" the heap
// allocations per frame (expected 0: `ids` has its capacity).
#include "AllocationCount.h"
#include "FloorWorkload.h"
#include "bus/CANSignal.h"
#include "bus/LINSignal.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <array>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int signalsPerFrame = 8;
constexpr int privateFrames = 200;
// Every shared signal is a System V segment of its own; keep the count modest.
constexpr int sharedFrames = 25;
constexpr int pdusPerFrame = 4;
constexpr int pduDataBytes = 12;

std::string instanceName(const char* kind, int frame, int signal, bool shared)
{
    return std::string("rkbench_") + std::to_string(getpid()) + "_" + kind + "_" + std::to_string(frame) + "_" +
           std::to_string(signal) + (shared ? "_shm" : "");
}

// Keeps the shared-memory INFO lines out of the benchmark report.
struct Quiet {
    Quiet() : saved(std::cout.rdbuf(nullptr)) {}
    ~Quiet() { std::cout.rdbuf(saved); }
    std::streambuf* saved;
};

// Destroys the signals, and the key files of those in shared memory.
void destroy(std::vector<std::unique_ptr<CANSignal>>& signals)
{
    Quiet quiet;
    for (auto& signal : signals) {
        const std::string path = "/tmp/" + signal->def.instance;
        const bool shared = signal->shmem;
        signal.reset();
        if (shared)
            std::remove(path.c_str());
    }
}

// A table of frames with eight signals each: classic frames with one byte
// per signal, or 64-byte CAN FD frames with four PDUs of two 32-bit signals.
struct CanTable {
    CanTable(bool fd, bool shared)
    {
        Quiet quiet;
        const int frames = shared ? sharedFrames : privateFrames;
        for (int f = 0; f < frames; ++f) {
            const uint32_t msgId = 0x100 + f;
            for (int k = 0; k < signalsPerFrame; ++k) {
                canSignalDef_t def;
                def.instance = instanceName(fd ? "fd" : "can", f, k, shared);
                def.signal = "bench";
                def.msgId = msgId;
                def.canFD = fd;
                def.bits = fd ? 32 : 8;
                def.startbit = fd ? (k % 2) * 32 : k * 8;
                def.scale = 0.5;
                if (fd)
                    def.pduId = 0x1000 + k / 2;
                signals.push_back(std::make_unique<CANSignal>(def, shared, &storage));
            }
            messages.push_back(fd ? fdFrame(msgId) : classicFrame(msgId));
        }
    }
    ~CanTable() { destroy(signals); }

    static CANExtTraceMessage classicFrame(uint32_t msgId)
    {
        CANExtTraceMessage ctm;
        ctm.canId = msgId;
        ctm.length = 8;
        for (int i = 0; i < 8; ++i)
            ctm.payload[i] = uint8_t(msgId + i);
        return ctm;
    }

    static CANExtTraceMessage fdFrame(uint32_t msgId)
    {
        CANExtTraceMessage ctm;
        ctm.canId = msgId;
        ctm.frameFormat = 2;
        ctm.length = 64;
        for (int p = 0; p < pdusPerFrame; ++p) {
            uint8_t* header = ctm.payload + p * (4 + pduDataBytes);
            header[0] = 0, header[1] = 0x10, header[2] = uint8_t(p), header[3] = pduDataBytes;
            for (int i = 0; i < pduDataBytes; ++i)
                header[4 + i] = uint8_t(msgId + i);
        }
        return ctm;
    }

    SignalStorage storage;
    std::vector<std::unique_ptr<CANSignal>> signals;
    std::vector<CANExtTraceMessage> messages;
};

// Allocations first: adding a counter allocates itself.
void countPerSignal(benchmark::State& state, long allocationsBefore)
{
    state.counters["allocs"] = allocationsSince(allocationsBefore);
    state.counters["per_signal"] =
        benchmark::Counter(signalsPerFrame, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_CANDecode(benchmark::State& state)
{
    CanTable table(state.range(0) != 0, state.range(1) != 0);
    std::vector<unsigned long> ids;
    ids.reserve(64);
    size_t next = 0;
    unsigned long timestamp = 0;
    CANSignal::decodeMessage(table.messages[0], ids, 0, &table.storage); // the decode plan is built once
    const long before = allocationCount();
    for (auto _ : state) {
        CANExtTraceMessage& ctm = table.messages[next];
        ctm.timestamp = ++timestamp;
        ++ctm.payload[4]; // keep the values changing
        benchmark::DoNotOptimize(CANSignal::decodeMessage(ctm, ids, 0, &table.storage));
        next = next + 1 == table.messages.size() ? 0 : next + 1;
    }
    countPerSignal(state, before);
}

// The workload's 100 messages x 8 signals as CAN signals, with a table from
// identifier to signal such as a client keeps to act on the ids reported.
struct WorkloadSignals {
    explicit WorkloadSignals(bool shared)
    {
        Quiet quiet;
        const FloorWorkload& workload = FloorWorkload::get();
        for (size_t m = 0; m < workload.messages.size(); ++m) {
            const WorkloadMessage& message = workload.messages[m];
            for (size_t k = 0; k < message.signals.size(); ++k) {
                const WorkloadSignal& field = message.signals[k];
                canSignalDef_t def;
                def.instance = instanceName("workload", int(m), int(k), shared);
                def.signal = "bench";
                def.msgId = message.canId;
                def.extended = message.extended;
                def.startbit = field.startbit;
                def.bits = field.bits;
                def.endian = field.bigEndian;
                def.type = field.isSigned ? SIGNAL_SIGNED : SIGNAL_UNSIGNED;
                def.scale = field.factor;
                def.offset = field.offset;
                signals.push_back(std::make_unique<CANSignal>(def, shared, &storage));
            }
        }
        firstId = signals.front()->id;
        for (auto& signal : signals)
            byId.push_back(signal.get());
    }
    ~WorkloadSignals() { destroy(signals); }

    BaseSignal* signalOf(unsigned long id) const { return byId[id - firstId]; }

    // Whether decoding the first `frames` frames gives every signal the
    // floor's value and time stamp.
    bool agreesWithFloor(size_t frames)
    {
        const FloorWorkload& workload = FloorWorkload::get();
        FloorDecoder floor(workload);
        std::vector<unsigned long> ids;
        for (size_t f = 0; f < frames; ++f) {
            floor.decode(workload.frames[f]);
            CANSignal::decodeMessage(workload.frames[f], ids, 0, &storage);
        }
        for (size_t i = 0; i < signals.size(); ++i) {
            const FloorDecoder::Record& expected =
                floor.record(int(i / FloorWorkload::signalsPerMessage), int(i % FloorWorkload::signalsPerMessage));
            double value = 0;
            unsigned long timestamp = 0;
            const bool valid = signals[i]->read(value, timestamp);
            if (valid != expected.valid || (valid && (value != expected.value || timestamp != expected.timestamp)))
                return false;
        }
        return true;
    }

    SignalStorage storage;
    std::vector<std::unique_ptr<CANSignal>> signals;
    std::vector<BaseSignal*> byId;
    unsigned long firstId = 0;
};

// Arguments: shm (0 private slots, 1 shared-memory slots), read (1: also
// read the physical value of every signal reported, as a client does).
void BM_workload(benchmark::State& state)
{
    const bool readBack = state.range(1) != 0;
    WorkloadSignals table(state.range(0) != 0);
    if (!table.agreesWithFloor(10000)) {
        state.SkipWithError("the library's values differ from the floor's");
        return;
    }
    const std::vector<CANExtTraceMessage>& frames = FloorWorkload::get().frames;
    std::vector<unsigned long> ids;
    ids.reserve(64);
    size_t next = 0;
    double sum = 0;
    const long before = allocationCount();
    for (auto _ : state) {
        CANSignal::decodeMessage(frames[next], ids, 0, &table.storage);
        if (readBack)
            for (unsigned long id : ids) {
                double value = 0;
                unsigned long timestamp = 0;
                if (table.signalOf(id)->read(value, timestamp))
                    sum += value;
            }
        next = next + 1 == frames.size() ? 0 : next + 1;
    }
    benchmark::DoNotOptimize(sum);
    countPerSignal(state, before);
}

void BM_CANSignalsInUse(benchmark::State& state)
{
    CanTable table(false, false);
    // Half of the records name frames of the table, half do not.
    std::vector<std::array<unsigned char, 22>> records(2 * privateFrames);
    for (size_t r = 0; r < records.size(); ++r) {
        records[r].fill(0);
        const uint32_t msgId = 0x100 + uint32_t(r);
        records[r][20] = uint8_t(msgId >> 8), records[r][21] = uint8_t(msgId);
    }
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(CANSignal::signalsInUse(records[next].data(), nullptr, 0, &table.storage));
        next = next + 1 == records.size() ? 0 : next + 1;
    }
}

void BM_LINDecode(benchmark::State& state)
{
    SignalStorage storage;
    std::vector<std::unique_ptr<LINSignal>> signals;
    std::vector<LINTraceMessage> messages(64);
    for (uint8_t id = 0; id < 64; ++id) {
        for (int k = 0; k < signalsPerFrame; ++k) {
            linSignalDef_t def;
            def.instance = instanceName("lin", id, k, false);
            def.msgId = id;
            def.bits = 8;
            def.startbit = uint16_t(k * 8);
            signals.push_back(std::make_unique<LINSignal>(def, false, &storage));
        }
        messages[id].protectedId = id;
        messages[id].data.assign(8, id);
    }
    std::vector<unsigned long> ids;
    ids.reserve(64);
    size_t next = 0;
    LINSignal::decodeMessage(messages[0], ids, 0, &storage); // the decode plan is built once
    const long before = allocationCount();
    for (auto _ : state) {
        benchmark::DoNotOptimize(LINSignal::decodeMessage(messages[next], ids, 0, &storage));
        next = (next + 1) % messages.size();
    }
    countPerSignal(state, before);
}

} // namespace

BENCHMARK(BM_workload)->ArgsProduct({{0, 1}, {0, 1}})->ArgNames({"shm", "read"});
BENCHMARK(BM_CANDecode)->ArgsProduct({{0, 1}, {0, 1}})->ArgNames({"fd_pdu", "shm"});
BENCHMARK(BM_CANSignalsInUse);
BENCHMARK(BM_LINDecode);
