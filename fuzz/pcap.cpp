// Fuzz target: pcap bytes through libpcap, pcapng bytes through our block
// reader, the tool's capture reader (Ethernet, SocketCAN, FlexRay and LIN
// link types, host-order identifiers), and every message it returns through
// the decoder of its kind, in either container framing.
#include "FuzzInput.h"
#include "FuzzSession.h"
#include "MemoryFile.h"
#include "ToolSignals.h"

#include "bus/EthernetSignal.h"
#include "recordings/PcapRecording.h"

#include <string>
#include <vector>

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalSet& signals = fuzz::toolSignals();
    BaseSignal::clearAll(&signals.storage());
    FuzzInput in(data, size);
    const uint8_t selector = in.byte();
    const fuzz::Session session(selector);
    // Both walks of the containers: the library's default and the tool's.
    EthernetSignal::containerFraming = (selector & 1) ? EthernetSignal::ProtocolFraming : EthernetSignal::LoggerFraming;
    const std::string bytes = in.rest();

    // libpcap reads files: hand it the bytes as one that lives in memory.
    const fuzz::MemoryFile file(bytes);
    {
        RecordingReport report;
        PcapRecording capture(file.path(), 1, std::vector<bool>(2048, true), report);
        std::vector<unsigned long> ids;
        ids.reserve(64);
        for (int n = 0; n < 512 && capture.isOpen() && capture.next(); ++n) {
            const RecordedMessage& message = capture.message();
            fuzz::requireWritten(message.decode(ids, signals.storage()), ids, message.timestamp(),
                                 &signals.storage());
        }
    }
    return 0;
}
