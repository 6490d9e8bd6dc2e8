// RecordingSetup: what the reader of one recording gets from the run that
// opens it: where to report, the recording's channel, the FlexRay slots of
// the static segment, and the readers' shared state.
#pragma once

#include "recordings/RecordingReport.h"

#include <cstdint>
#include <map>
#include <vector>

namespace rksignal {

class CandumpReader;

struct RecordingSetup {
    RecordingReport& report;
    // The file's channel: `--channel FILE=N`, or 1. Formats that name their
    // interfaces inside the file (candump) number those instead.
    uint8_t channel;
    // staticSlots[slot]: FlexRay slots of the static segment (2048 long).
    const std::vector<bool>& staticSlots;
    // One parser for every candump log of a run, so that they share the
    // numbering of their interfaces.
    CandumpReader& candump;
    // Channels of the file's capture interfaces by number (`--channel
    // FILE#N=CHANNEL`); an interface not listed gets channel + N.
    const std::map<uint32_t, uint8_t>& interfaceChannels;
};

} // namespace rksignal
