// CandumpWriter: CAN and CAN FD frames as a candump log ("candump -l"):
// "(<sec>.<usec>) <interface> <id>#<data>", "<id>##<flags><data>" for
// CAN FD. Channel c is written as the interface `names` gives it, else
// "can<c-1>".
//
// Not thread-safe; one per output file.
#pragma once

#include "recordings/RecordingWriter.h"
#include "recordings/RecordingWriters.h"

#include <map>
#include <string>

namespace rksignal {

class CandumpWriter : public RecordingWriter {
public:
    // `names`: asked once per channel, when it is first written.
    CandumpWriter(FILE* file, InterfaceNames names);

    bool write(const RecordedMessage& message) override;

private:
    const std::string& nameOf(uint8_t channel);

    InterfaceNames interfaceNames_;
    std::map<uint8_t, std::string> names_; // each channel's name, once written
};

} // namespace rksignal
