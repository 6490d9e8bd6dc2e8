// RecordingFiles: opens recordings by name with the reader of their format,
// recognised by content first and by name second (RecordingFormats lists
// them: pcap/pcapng captures, BLF, ASC and TRC logs, NMEA logs, trace
// lines, candump logs, each possibly compressed; "-" is standard input), and several at once as one reader in time order.
//
// It also holds what the readers need from the caller: the channel of each
// capture and of each candump interface (`--channel NAME=N`), and the
// FlexRay slots of the static segment.
//
// Not thread-safe; one per run. It must outlive the readers it opened, and
// the report must outlive it.
#pragma once

#include "recordings/RecordingReader.h"
#include "recordings/RecordingReport.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace rksignal {

struct DefinitionSet;

class RecordingFiles {
public:
    explicit RecordingFiles(RecordingReport& report);
    ~RecordingFiles();
    RecordingFiles(const RecordingFiles&) = delete;
    RecordingFiles& operator=(const RecordingFiles&) = delete;

    // The name of the format `path` is read as: "pcap", "blf", "asc", "trc",
    // "nmea", "trace", "candump", or "unknown compressed".
    static const char* formatOf(const std::string& path);
    // "NAME=N" into its parts; false unless N is a number from 0 to 255
    // (the last '=' separates, as a file name may hold one).
    static bool parseChannelMap(const std::string& text, std::string& name, uint8_t& channel);

    // `--channel NAME=N`: when NAME names a capture among `recordings` (as
    // given, or by its file name), the capture's messages get channel N
    // (default 1); NAME#I names interface I of a pcapng capture alone
    // (default: the capture's channel + I); otherwise candump interface NAME
    // gets channel N.
    void mapChannel(const std::string& name, uint8_t channel, const std::vector<std::string>& recordings);
    // The candump interface read (or mapped by `--channel NAME=N`) as
    // `channel` so far; empty when none is. For writing candump logs with
    // the names read.
    std::string candumpInterface(uint8_t channel) const;
    // Takes the static FlexRay slots from the definitions' positions.
    void useFlexRaySegments(const DefinitionSet& definitions);

    // The reader of `path`; null, with what went wrong in `error` (without
    // the path), when the file cannot be opened.
    std::unique_ptr<RecordingReader> open(const std::string& path, std::string& error);
    // One reader over all `paths`: the recording itself when there is one,
    // their time-ordered merge when there are several. Each recording that
    // cannot be opened is reported as an error and left out; null when
    // none could be opened.
    std::unique_ptr<RecordingReader> openAll(const std::vector<std::string>& paths);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace rksignal
