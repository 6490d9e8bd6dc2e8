// J1939Matcher: finds the definition of a received J1939 frame by its
// parameter group number (PGN). The identifier of a J1939 frame carries a
// priority, the sender's source address and, for PDU1 groups (PDU format
// below 240), the destination address: none of these names the message, so
// a frame matches a definition of its PGN whatever they are.
//
// Not thread-safe; built once, then only read.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

namespace rksignal {

class J1939Matcher {
public:
    // A J1939 definition on `channel` with 29-bit identifier `msgId`. The
    // first definition of a PGN is the one frames of that PGN match.
    void add(uint8_t channel, uint32_t msgId);
    bool empty() const { return exact_.empty(); }

    // The PGN of a 29-bit identifier: data pages and PDU format, and the PDU
    // specific byte only for PDU2 groups (for PDU1 it is a destination).
    static uint32_t pgnOf(uint32_t canId)
    {
        const uint32_t pdu = (canId >> 8) & 0x3ffff;
        return ((pdu >> 8) & 0xff) < 240 ? pdu & 0x3ff00 : pdu;
    }
    static uint8_t sourceOf(uint32_t canId) { return uint8_t(canId); }

    // Whether a J1939 definition has exactly this identifier.
    bool exact(uint8_t channel, uint32_t canId) const { return exact_.count(keyOf(channel, canId)) != 0; }
    // The identifier of the definition of `pgn` on `channel`; false when none.
    bool byPgn(uint8_t channel, uint32_t pgn, uint32_t& msgId) const;

private:
    static uint64_t keyOf(uint8_t channel, uint32_t number) { return uint64_t(channel) << 32 | number; }

    std::unordered_set<uint64_t> exact_;
    std::unordered_map<uint64_t, uint32_t> byPgn_;
};

} // namespace rksignal
