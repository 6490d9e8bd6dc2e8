// J1939Transport: reassembles the parameter groups of more than eight bytes
// that J1939 senders split over several frames with the transport protocol:
// an announcement (TP.CM, PGN 0xEC00) of size, packet count and PGN, either
// broadcast (BAM) or as a request to send to one destination (RTS, answered
// by clear-to-send frames), then numbered data packets (TP.DT, PGN 0xEB00)
// of seven bytes each.
//
// Reassembly listens only: it never answers. A packet out of order, a packet
// missing when the next announcement comes, or an announcement that does not
// add up ends the transfer without a message and counts an error. A
// clear-to-send that asks for packets again (a retransmission) rewinds the
// transfer to them.
//
// Not thread-safe; one per decoder.
#pragma once

#include "trace/CANExtTraceMessage.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace rksignal {

class J1939Transport {
public:
    // Feeds a received extended frame; true when it completed a transfer.
    // `assembled` then holds the group's data as an extended CAN FD frame
    // (its first 64 bytes; `length` the group's size up to 64), the time,
    // channel and, as identifier, the PGN with the sender's source address.
    bool feed(const CANExtTraceMessage& frame, CANExtTraceMessage& assembled);
    // Transfers that ended without a message.
    uint64_t errors() const { return errors_; }

private:
    struct Transfer {
        bool open = false;
        uint32_t pgn = 0;
        uint16_t size = 0;
        uint8_t packets = 0;
        uint8_t next = 1; // number of the packet expected next
        std::vector<uint8_t> data;
    };

    static uint32_t keyOf(uint8_t channel, uint8_t source, uint8_t destination)
    {
        return uint32_t(channel) << 16 | uint32_t(source) << 8 | destination;
    }
    void announce(Transfer& transfer, const uint8_t* control);
    void clearToSend(Transfer& transfer, const uint8_t* control);
    bool dataPacket(Transfer& transfer, const CANExtTraceMessage& frame, uint8_t source,
                    CANExtTraceMessage& assembled);
    void fail(Transfer& transfer);

    std::unordered_map<uint32_t, Transfer> transfers_;
    uint64_t errors_ = 0;
};

} // namespace rksignal
