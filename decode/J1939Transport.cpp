#include "decode/J1939Transport.h"

#include <algorithm>
#include <cstring>

namespace rksignal {

namespace {

constexpr uint8_t connectionManagement = 0xEC; // PDU format of TP.CM
constexpr uint8_t dataTransfer = 0xEB;         // PDU format of TP.DT
constexpr uint8_t requestToSend = 0x10;
constexpr uint8_t clearToSendControl = 0x11;
constexpr uint8_t broadcastAnnounce = 0x20;
constexpr uint8_t abortControl = 0xFF;
constexpr unsigned bytesPerPacket = 7;

} // namespace

void J1939Transport::fail(Transfer& transfer)
{
    transfer.open = false;
    ++errors_;
}

void J1939Transport::announce(Transfer& transfer, const uint8_t* control)
{
    if (transfer.open)
        fail(transfer); // the transfer before never completed
    transfer.size = uint16_t(control[1] | control[2] << 8);
    transfer.packets = control[3];
    transfer.pgn = uint32_t(control[5]) | uint32_t(control[6]) << 8 | uint32_t(control[7] & 0x03) << 16;
    transfer.next = 1;
    transfer.data.clear();
    transfer.open = true;
    // A transfer carries 9 to 1785 bytes in just enough packets.
    if (transfer.size < 9 || transfer.size > 255 * bytesPerPacket ||
        transfer.packets != (transfer.size + bytesPerPacket - 1) / bytesPerPacket)
        fail(transfer);
}

void J1939Transport::clearToSend(Transfer& transfer, const uint8_t* control)
{
    const uint8_t from = control[2];
    // Zero packets means "wait"; asking again for packets already received
    // rewinds to them.
    if (!transfer.open || control[1] == 0 || from == 0 || from >= transfer.next)
        return;
    transfer.next = from;
    transfer.data.resize((from - 1u) * bytesPerPacket);
}

bool J1939Transport::dataPacket(Transfer& transfer, const CANExtTraceMessage& frame, uint8_t source,
                                CANExtTraceMessage& assembled)
{
    if (!transfer.open)
        return false; // a packet of no transfer we saw announced
    if (frame.payload[0] != transfer.next) {
        fail(transfer);
        return false;
    }
    transfer.data.insert(transfer.data.end(), frame.payload + 1, frame.payload + 1 + bytesPerPacket);
    if (transfer.next++ < transfer.packets)
        return false;
    transfer.open = false;
    assembled = CANExtTraceMessage{};
    assembled.timestamp = frame.timestamp;
    assembled.channel = frame.channel;
    assembled.frameFormat = 3;
    assembled.length = uint8_t(std::min<unsigned>(transfer.size, sizeof assembled.payload));
    assembled.canId = transfer.pgn << 8 | source;
    std::memcpy(assembled.payload, transfer.data.data(), assembled.length);
    return true;
}

bool J1939Transport::feed(const CANExtTraceMessage& frame, CANExtTraceMessage& assembled)
{
    const uint8_t format = uint8_t(frame.canId >> 16);
    if ((frame.frameFormat != 1 && frame.frameFormat != 3) || frame.length < 8 ||
        (format != connectionManagement && format != dataTransfer))
        return false;
    const uint8_t destination = uint8_t(frame.canId >> 8);
    const uint8_t source = uint8_t(frame.canId);
    if (format == dataTransfer)
        return dataPacket(transfers_[keyOf(frame.channel, source, destination)], frame, source, assembled);

    const uint8_t* control = frame.payload;
    switch (control[0]) {
    case broadcastAnnounce:
    case requestToSend:
        announce(transfers_[keyOf(frame.channel, source, destination)], control);
        break;
    case clearToSendControl: // sent by the receiver: the transfer runs the other way
        clearToSend(transfers_[keyOf(frame.channel, destination, source)], control);
        break;
    case abortControl:
        transfers_[keyOf(frame.channel, source, destination)].open = false;
        transfers_[keyOf(frame.channel, destination, source)].open = false;
        break;
    default:
        break;
    }
    return false;
}

} // namespace rksignal
