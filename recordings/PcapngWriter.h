// PcapngWriter: messages as a pcapng capture with one interface per link
// type and channel, made when its first message comes: Ethernet frames
// (link type 1), CAN and CAN FD frames with the SocketCAN header (227),
// FlexRay frames with the measurement header (210) and LIN frames with the
// LIN header (212). Each interface is named "<kind><channel>" (e.g.
// "can1"); time stamps are microseconds.
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordingWriter.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace rksignal {

class PcapngWriter : public RecordingWriter {
public:
    explicit PcapngWriter(FILE* file);

    bool write(const RecordedMessage& message) override;

private:
    uint32_t interfaceFor(uint16_t linkType, uint8_t channel);
    void block(uint32_t type, const std::vector<unsigned char>& body);

    std::map<std::pair<uint16_t, uint8_t>, uint32_t> interfaces_;
    std::vector<unsigned char> packet_;
    std::vector<unsigned char> body_;
};

} // namespace rksignal
