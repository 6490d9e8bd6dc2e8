// RecordingFiles: opens the recordings given to `rksignal decode` with the
// reader of their format:
//
//   pcap or pcapng capture   by its magic number, whatever the file's name
//   NMEA log                 name ending in .nmea
//   trace lines              name ending in .trace (docs/trace-lines.md)
//   candump log              anything else, and "-" (standard input)
//
// It also holds what the readers need from the command line: the channel of
// each capture and of each candump interface (--channel NAME=N), and the
// FlexRay slots of the static segment.
//
// Not thread-safe; one per run. It must outlive the readers it opened.
#pragma once

#include "definitions/DefinitionSet.h"
#include "recordings/CandumpReader.h"
#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

class RecordingFiles {
public:
    enum Format { Candump, Capture, Nmea, TraceLines };

    explicit RecordingFiles(RecordingReport& report) : report_(report) {}

    static Format formatOf(const std::string& path);

    // `--channel NAME=N`: when NAME names a capture among `recordings` (as
    // given, or by its file name), the capture's messages get channel N
    // (default 1); otherwise candump interface NAME gets channel N.
    void mapChannel(const std::string& name, uint8_t channel, const std::vector<std::string>& recordings);
    // Takes the static FlexRay slots from the definitions' positions.
    void useFlexRaySegments(const DefinitionSet& definitions);

    // The reader of `path`; null, with what went wrong in `error` (without
    // the path), when the file cannot be opened.
    std::unique_ptr<RecordingReader> open(const std::string& path, std::string& error);

private:
    RecordingReport& report_;
    CandumpReader candump_;
    std::map<std::string, uint8_t> captureChannels_;
    std::vector<bool> staticSlots_;
};

} // namespace rksignal
