// FlexRaySignal: a signal carried in FlexRay frames, identified by channel,
// slot, segment (static or dynamic) and communication cycle.
//
// One signal may sit at different places in different cycles of its frame.
// The first position belongs to the signal itself; every further position
// gets a child: a mirror that shares the parent's slot and identifier and is
// filed for its own cycles, so decoding a child updates the parent's value.
// All of them are filed in the class-wide table flexrayFrames under one key
// per cycle, which makes the per-frame lookup the cycle match.
//
// Thread safety: construction and destruction touch flexrayFrames and the
// storage without locks; build and destroy signals while no thread decodes.
// decodeMessage and signalsInUse only read the tables and may run on several
// threads at once; each value write takes the slot lock.
#pragma once

#include "signal/BaseSignal.h"
#include "trace/FlexRayExtTraceMessage.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <vector>

// Where a signal lies in the frames of one slot.
struct flexRayPosition_t {
    uint16_t startBit = 0;   // relative to the payload, or to the PDU's data when pduId is set
    bool type = false;       // true static segment, false dynamic segment
    uint16_t slot = 0;       // 11 bits used
    uint8_t baseCycle = 0;   // first cycle the position occurs in
    uint8_t repetition = 0;  // cycle repetition; 0 is taken as 1
    std::optional<uint16_t> updateBit; // bit over the whole payload that marks fresh data
    std::optional<uint32_t> pduId;     // PDU holding the field
    uint8_t startByte = 0;   // computed by checkSignalDefinition
    uint8_t numBytes = 0;    // computed by checkSignalDefinition
    std::array<bool, 64> cycle{}; // cycle[c]: the position occurs in cycle c; computed at construction
};

struct flexRaySignalDef_t : baseSignalDef_t {
    std::vector<flexRayPosition_t> positions; // the base startbit is not used
};

class FlexRaySignal : public BaseSignal {
public:
    using FrameMap = std::map<uint64_t, std::vector<FlexRaySignal*>>;

    // Builds the signal for the first position and one child per further
    // position. A rejected definition leaves identifier all ones and nothing
    // filed; the signal is still registered by name.
    FlexRaySignal(const flexRaySignalDef_t& def, bool shm = false, SignalStorage* storage = nullptr);

    // A child for the single position of `def` (with its cycle table filled),
    // keyed by `parent`'s channel, slot and segment. Built by the ordinary
    // constructor only; it must not outlive its parent.
    FlexRaySignal(FlexRaySignal* parent, const flexRaySignalDef_t& def);

    ~FlexRaySignal() override;

    // Computes startByte and numBytes of every position, corrects repetition
    // 0 to 1; false when bits exceed 64 or a position spans more than 8 bytes.
    static bool checkSignalDefinition(flexRaySignalDef_t& def);

    // Whether the stored raw FlexRay record [record, recordEnd) belongs to a
    // frame with signals of `tslId`.
    static bool signalsInUse(const unsigned char* record, const unsigned char* recordEnd, unsigned char tslId,
                             SignalStorage* storage = nullptr);

    // Writes every signal of `frm`'s frame and cycle; fills `ids` (emptied
    // first) with the identifiers written and returns whether there are any.
    // `storage` is not used: the frame table is process-wide.
    static bool decodeMessage(const FlexRayExtTraceMessage& frm, std::vector<unsigned long>& ids,
                              unsigned char tslId, SignalStorage* storage = nullptr);

    // The frame key: kind bit, tslId, cycle, slot, segment and channel added
    // into their bit fields.
    static uint64_t frameKey(uint8_t tslId, uint8_t channel, uint16_t slot, uint8_t cycle, bool isStatic);

    // Read by decodeMessage through a FramePlan, as CANSignal::canContainer.
    static FrameMap flexrayFrames;

    std::vector<FlexRaySignal*> children; // owned
    flexRaySignalDef_t definition;        // a child's copy holds its one position
    uint64_t d_frameKeyBase;              // frame key of the first position without its cycle

private:
    // Files this signal under every cycle of `position` from its base cycle on.
    void fileCycles(const flexRayPosition_t& position);
    // Points the codec at the position's byte range.
    void useByteRange(const flexRayPosition_t& position);
    void buildChildren();
    // The payload offset of this signal's field, or false when it is not in
    // this frame (PDU missing, update bit clear).
    bool locateField(const FlexRayExtTraceMessage& frm, unsigned& offset) const;
    bool locatePdu(const FlexRayExtTraceMessage& frm, uint32_t pduId, unsigned& offset) const;
    // The debug line of a signal passed over: its instance, then `why`.
    void traceSkipped(const char* why) const;
};

std::ostream& operator<<(std::ostream& os, const flexRayPosition_t& position);
std::ostream& operator<<(std::ostream& os, const flexRaySignalDef_t& def);
// Leaves the stream in hexadecimal mode, as the other bus signals do.
std::ostream& operator<<(std::ostream& os, const FlexRaySignal& signal);
