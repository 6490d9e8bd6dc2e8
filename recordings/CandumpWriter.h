// CandumpWriter: CAN and CAN FD frames as a candump log ("candump -l"):
// "(<sec>.<usec>) <interface> <id>#<data>", "<id>##<flags><data>" for
// CAN FD. Channel c is written as interface "can<c-1>" unless named.
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordingWriter.h"

#include <map>
#include <string>

namespace rksignal {

class CandumpWriter : public RecordingWriter {
public:
    // `names`: the interface name of a channel, where not "can<c-1>".
    CandumpWriter(FILE* file, std::map<uint8_t, std::string> names);

    bool write(const RecordedMessage& message) override;

private:
    const std::string& nameOf(uint8_t channel);

    std::map<uint8_t, std::string> names_;
};

} // namespace rksignal
