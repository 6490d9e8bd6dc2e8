// CanFrames: what the tool does with a CAN frame beyond the library's
// decoder: it selects the branches of multiplexed signals itself, as DBC
// files define them (by the raw value of the signal's own multiplexer, within
// ranges, nested multiplexers in turn), and it notices frames too short for
// the signals filed under their identifier.
//
// The library's own multiplexing (one value per signal, second-stage lookup
// keyed by the sum of the multiplexer terms) is left to library clients: the
// tool files multiplexed signals under no key of the frame table, and writes
// them here when their branch is selected.
//
// Not thread-safe; one per signal set.
#pragma once

#include "bus/CANSignal.h"

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace rksignal {

class CanFrames {
public:
    using Ranges = std::vector<std::pair<uint64_t, uint64_t>>;

    // A 64-bit CAN FD field that does not start on a byte boundary spans
    // nine bytes, more than a signal of the library decodes: the tool builds
    // the signal over eight bytes aligned to the field (little endian from
    // bit 0, big endian from bit 7) and hands it those bytes, cut out of the
    // frame here.
    struct Realigned {
        bool on = false;
        bool bigEndian = false;
        uint8_t firstByte = 0; // of the nine, in payload order
        uint8_t shift = 0;     // of the field's least significant bit in its byte
    };
    // Realignment of a definition that needs it (`on` false for the others);
    // `aligned` gets the definition the signal is built from.
    static Realigned realign(const canSignalDef_t& def, canSignalDef_t& aligned);

    // A signal the library decodes from its frame.
    void addPlain(const CANSignal& signal);
    // A signal the tool writes: when `multiplexer` (if any) was written by
    // the same frame and its raw value lies in one of `ranges`.
    void addBranch(CANSignal& signal, CANSignal* multiplexer, Ranges ranges, Realigned realigned);
    // Orders each frame's branches so that a multiplexer's own branch is
    // decided before the branches it selects. Call once all are added.
    void finish();

    // Whether a definition names this identifier.
    bool known(uint8_t channel, uint32_t canId, bool extended) const
    {
        return frames_.count(keyOf(channel, canId, extended)) != 0;
    }

    // After the library decoded `frame` into `ids`: writes the selected
    // branches and appends their identifiers. True when a signal filed under
    // the frame's identifier was left without a value because its bits lie
    // beyond the bytes received.
    // With `unbranched`, adds the multiplexers the frame wrote whose value
    // selects none of their branches.
    bool complete(const CANExtTraceMessage& frame, std::vector<unsigned long>& ids, unsigned* unbranched = nullptr);

private:
    struct Branch {
        CANSignal* signal;
        CANSignal* multiplexer; // null: always written
        Ranges ranges;
        Realigned realigned;
    };
    struct Frame {
        // Bytes needed by the signals the library decodes: CAN FD ranges are
        // always skipped when cut short, classic fields only with
        // BaseSignal::onlyReceivedBits.
        unsigned rangeBytes = 0;
        unsigned classicBytes = 0;
        std::vector<Branch> branches;
    };

    static uint64_t keyOf(uint8_t channel, uint32_t canId, bool extended)
    {
        return uint64_t(channel) << 32 | uint64_t(extended) << 31 | (canId & 0x7fffffffu);
    }
    static uint64_t keyOf(const canSignalDef_t& def) { return keyOf(def.channel, def.msgId, def.extended); }
    // Leading payload bytes the signal's field needs.
    static unsigned bytesNeeded(const CANSignal& signal);
    static bool selected(const Branch& branch, const std::vector<unsigned long>& ids);
    // The multiplexers among `branches` written by the frame (in `ids`)
    // whose value selects none of their branches.
    static unsigned unbranched(const std::vector<Branch>& branches, const std::vector<unsigned long>& ids);
    // Writes a branch's signal; false when its bits were not all received.
    static bool write(const Branch& branch, const CANExtTraceMessage& frame);
    static bool writeRealigned(const Branch& branch, const CANExtTraceMessage& frame, unsigned received);

    std::unordered_map<uint64_t, Frame> frames_;
    // Frames at least this long with no branches need no look at all.
    unsigned mostNeeded_ = 0;
    bool anyBranches_ = false;
};

} // namespace rksignal
