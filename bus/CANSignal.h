// CANSignal: a signal carried in one classic CAN or CAN FD frame, optionally
// inside one PDU of a CAN FD payload.
//
// Every signal is filed in the process-wide `canContainer` under its frame's
// key (trace source, channel, extended and FD flags, identifier), so that
// `decodeMessage` finds all signals of a received frame with one lookup.
// Classic signals are decoded from the first eight payload bytes; CAN FD
// signals from a byte range of at most eight bytes found at construction.
// The decoder writes signals of exactly this class without the virtual calls
// of write; a subclass that overrides write is called as always (so do the
// LIN, FlexRay and Ethernet decoders).
//
// Thread safety: construction, destruction and `canContainer` are not
// synchronised; build and destroy signals while nothing decodes. Decoding may
// run on one receiving thread while other threads and processes read the
// values; each value operation holds the slot lock of its signal.
#pragma once

#include "signal/BaseSignal.h"
#include "trace/CANExtTraceMessage.h"

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

struct canSignalDef_t : baseSignalDef_t {
    uint32_t msgId = 0;       // 11 or 29-bit identifier; bits 29 to 31 clear
    bool extended = false;    // 29-bit identifier
    bool canFD = false;       // decoded from the byte range startByte/numBytes
    std::string message;      // frame name, printed only
    std::string sender;       // sending node, printed only
    std::optional<uint32_t> pduId; // 24-bit PDU identifier inside a CAN FD payload
    uint8_t startByte = 0;    // first byte of the range (of the PDU data with pduId)
    uint8_t numBytes = 0;     // bytes of the range
};

class CANSignal : public BaseSignal {
public:
    // Builds and registers the signal. A CAN FD definition whose field does
    // not fit into eight bytes is rejected: the signal gets identifier all
    // ones, stays registered by name and is never decoded.
    CANSignal(const canSignalDef_t& def, bool shm = false, SignalStorage* storage = nullptr);
    ~CANSignal() override;

    // Computes startByte and numBytes of a CAN FD field into `def`; true when
    // the field spans at most eight bytes and at most 64 bits.
    static bool checkSignalDefinition(canSignalDef_t& def);

    // Whether a stored raw CAN record (channel in byte 14, identifier word with
    // the extended and FD flags in bytes 18 to 21, big endian) belongs to a
    // frame that carries signals. `record` must hold at least 22 bytes; the
    // second pointer is ignored.
    static bool signalsInUse(const unsigned char* record, const unsigned char* ignored, unsigned char tslId,
                             SignalStorage* storage = nullptr);

    // Writes every signal of the frame and fills `ids` (emptied first) with
    // the identifiers written; true when there is at least one. Allocates
    // nothing once `ids` has the capacity.
    static bool decodeMessage(const CANExtTraceMessage& ctm, std::vector<unsigned long>& ids, unsigned char tslId,
                              SignalStorage* storage = nullptr);

    // The frame key. The terms are added, not or-ed: a tslId of 128 or more
    // carries out of bit 63, an identifier with bit 30 or 31 adds into the
    // flags. Clients that file signals under a multiplexer value add
    // multiplexerTerm(value) to it.
    static uint64_t canKey(uint8_t tslId, uint8_t channel, uint32_t msgId, bool extended, bool canFD)
    {
        return kindBit + (uint64_t(tslId) << 56) + (uint64_t(channel) << 32) + (extended ? uint64_t(1) << 31 : 0) +
               (canFD ? uint64_t(1) << 30 : 0) + msgId;
    }
    // The kind bit of CAN identifiers and frame keys.
    static constexpr uint64_t kindBit = 0x8000000000000000ULL;
    static uint64_t multiplexerTerm(uint64_t multiplexerValue) { return (multiplexerValue + 1) << 40; }

    // decodeMessage reads this table through a FramePlan: a client that
    // changes the vector of a key in place after decoding has started calls
    // FrameTableEdits::note() (other edits are seen by themselves).
    static std::map<uint64_t, std::vector<CANSignal*>> canContainer;

    // What the decoder reads of `definition` (after the CAN FD check), kept
    // next to the codec's fields so that the signals of a frame are decoded
    // from few cache lines.
    struct FrameLayout {
        bool canFD = false;
        bool multiplexer = false;
        bool hasPduId = false;
        uint8_t startByte = 0;
        uint8_t numBytes = 0;
        uint32_t pduId = 0;
    };
    FrameLayout d_layout;

    canSignalDef_t definition;

private:
    void traceCreated(const canSignalDef_t& def, bool newKey, uint64_t key) const;
};

// Definition items of the base record, then msgId to numBytes. No line end.
std::ostream& operator<<(std::ostream& os, const canSignalDef_t& def);
// The signal, ";", its definition, ";index=" and the identifier in hex; the
// stream is left in hexadecimal mode.
std::ostream& operator<<(std::ostream& os, const CANSignal& signal);
