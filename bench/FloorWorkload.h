// The workload every decoding benchmark is judged on, and the hand-written
// decoder that sets the floor for it.
//
// 100 classic CAN messages of 8 signals each, with random layouts (either
// byte order, signed and unsigned, 1 to 32 bits, factors and offsets), and
// 1,000,000 random 8-byte frames over them. The frames and layouts come from
// a fixed seed, so every benchmark of a comparison, in any program, decodes
// the same frames into the same records.
//
// The floor does what a decoder written for exactly this workload needs and
// nothing else: an identifier table, shift, mask and sign precomputed per
// signal, and the physical value, time stamp and valid flag stored per
// signal. The library does more per signal (slot lock test, change
// detection, the identifier list, the virtual write); its figures are read as
// ratios to this one, measured in the same run.
#pragma once

#include "trace/CANExtTraceMessage.h"

#include <cstdint>
#include <vector>

struct WorkloadSignal {
    uint16_t startbit;  // lsb for little endian, msb for big endian
    uint8_t bits;
    bool bigEndian;
    bool isSigned;
    double factor;
    double offset;
};

struct WorkloadMessage {
    uint32_t canId;
    bool extended;
    std::vector<WorkloadSignal> signals;
};

struct FloorWorkload {
    static constexpr int messageCount = 100;
    static constexpr int signalsPerMessage = 8;
    static constexpr int frameCount = 1000000;

    std::vector<WorkloadMessage> messages;
    std::vector<CANExtTraceMessage> frames; // channel 0, time stamps 1, 2, ...

    // Built once per process, on first use.
    static const FloorWorkload& get();
};

// The hand-written decoder of the workload.
class FloorDecoder {
public:
    struct Record {
        double value;
        uint64_t timestamp;
        bool valid;
    };

    explicit FloorDecoder(const FloorWorkload& workload);

    void decode(const CANExtTraceMessage& frame);

    // Record of signal `signal` of message `message`.
    const Record& record(int message, int signal) const
    {
        return records_[message * FloorWorkload::signalsPerMessage + signal];
    }

private:
    struct Field {
        uint8_t shift;     // of the little-endian or byte-swapped word
        bool bigEndian;
        uint64_t mask;
        uint64_t signBit;  // 0 for unsigned fields
        double factor;
        double offset;
    };
    static constexpr unsigned tableSize = 256; // power of two, well above the message count

    static unsigned hash(uint32_t key) { return (key * 0x9e3779b1u) >> 24; }
    int find(uint32_t key) const;

    uint32_t keys_[tableSize];
    int16_t messageOf_[tableSize]; // -1: empty
    std::vector<Field> fields_;
    std::vector<Record> records_;
};
