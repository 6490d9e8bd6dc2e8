// RecordingWriters: the formats `rksignal convert` writes, chosen by the end
// of the output's name: ".log" (candump log), ".asc", ".blf", ".pcapng".
//
// Thread safety: the table is constant; calls are independent.
#pragma once

#include "recordings/RecordingWriter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace rksignal {

class RecordingWriters {
public:
    // The writer of `path` (created or truncated); null, with the reason in
    // `error`, for an unknown ending or a file that cannot be created.
    // `interfaceNames`: candump interface names of channels.
    static std::unique_ptr<RecordingWriter> create(const std::string& path,
                                                   const std::map<uint8_t, std::string>& interfaceNames,
                                                   std::string& error);
    // "FILE.log (candump), FILE.asc, FILE.blf or FILE.pcapng", for messages.
    static const char* endingsText();
};

} // namespace rksignal
