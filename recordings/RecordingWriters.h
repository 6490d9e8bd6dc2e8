// RecordingWriters: the formats `rksignal convert` writes, chosen by the end
// of the output's name: ".log" (candump log), ".asc", ".blf", ".pcapng".
//
// Thread safety: the table is constant; calls are independent.
#pragma once

#include "recordings/RecordingWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace rksignal {

// The candump interface name of a channel, empty when it has none: asked
// when a channel is first written, so that names read along the way count.
using InterfaceNames = std::function<std::string(uint8_t channel)>;

class RecordingWriters {
public:
    // The writer of `path` (created or truncated); null, with the reason in
    // `error`, for an unknown ending or a file that cannot be created.
    // `interfaceNames`: candump interface names of channels.
    static std::unique_ptr<RecordingWriter> create(const std::string& path, const InterfaceNames& interfaceNames,
                                                   std::string& error);
    // "FILE.log (candump), FILE.asc, FILE.blf or FILE.pcapng", for messages.
    static const char* endingsText();
};

} // namespace rksignal
