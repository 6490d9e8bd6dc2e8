// LINSignal: a signal carried in the data of one LIN frame.
//
// Signals are filed in the process-wide `linContainer` under their frame's
// key (trace source, channel, the six identifier bits), so `decodeMessage`
// finds all signals of a received frame with one lookup. LIN has no byte
// ranges, PDUs or multiplexing: every signal is decoded from the first eight
// data bytes.
//
// Thread safety: construction, destruction and `linContainer` are not
// synchronised; build and destroy signals while nothing decodes. Each value
// operation holds the slot lock of its signal.
#pragma once

#include "signal/BaseSignal.h"
#include "trace/LINTraceMessage.h"

#include <cstdint>
#include <map>
#include <ostream>
#include <vector>

struct linSignalDef_t : baseSignalDef_t {
    uint32_t msgId = 0; // frame identifier; only its low six bits select the frame
};

class LINSignal : public BaseSignal {
public:
    LINSignal(const linSignalDef_t& def, bool shm = false, SignalStorage* storage = nullptr);
    ~LINSignal() override;

    // Whether a stored raw LIN record (channel in byte 14, identifier in byte
    // 26) belongs to a frame that carries signals. `record` must hold at
    // least 27 bytes; the second pointer is ignored.
    static bool signalsInUse(const unsigned char* record, const unsigned char* ignored, unsigned char tslId,
                             SignalStorage* storage = nullptr);

    // Writes every signal of the frame and fills `ids` (emptied first) with
    // the identifiers written; true when there is at least one. A frame whose
    // byte count is a multiple of 256 writes nothing.
    static bool decodeMessage(const LINTraceMessage& ltm, std::vector<unsigned long>& ids, unsigned char tslId,
                              SignalStorage* storage = nullptr);

    // The frame key; the parity bits of a protected identifier drop out.
    static uint64_t linKey(uint8_t tslId, uint8_t channel, uint32_t msgId)
    {
        return kindBit + (uint64_t(tslId) << 16) + (uint64_t(channel) << 8) + (msgId & 63u);
    }
    // The kind bit of LIN identifiers and frame keys.
    static constexpr uint64_t kindBit = 0x4000000000000000ULL;

    // Read by decodeMessage through a FramePlan, as CANSignal::canContainer.
    static std::map<uint64_t, std::vector<LINSignal*>> linContainer;

    linSignalDef_t definition;
};

// Definition items of the base record, then ",msgId=". No line end.
std::ostream& operator<<(std::ostream& os, const linSignalDef_t& def);
// The signal, ";", its definition, ";index=" and the identifier in hex; the
// stream is left in hexadecimal mode.
std::ostream& operator<<(std::ostream& os, const LINSignal& signal);
