// Fuzz target: BLF bytes (file header, objects, zlib containers) through the
// tool's BLF reader, and every message it returns through the decoder of its
// kind.
#include "FuzzInput.h"
#include "FuzzSession.h"
#include "MemoryFile.h"
#include "ToolSignals.h"

#include "recordings/BlfReader.h"

#include <sstream>
#include <string>
#include <vector>

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalSet& signals = fuzz::toolSignals();
    BaseSignal::clearAll(&signals.storage());
    FuzzInput in(data, size);
    const fuzz::Session session(in.byte());
    const std::string bytes = in.rest();

    const fuzz::MemoryFile file(bytes);
    {
        std::ostringstream messages;
        RecordingReport report(messages);
        BlfReader reader(file.path(), 1, report);
        std::vector<unsigned long> ids;
        ids.reserve(64);
        for (int n = 0; n < 4096 && reader.isOpen() && reader.next(); ++n) {
            const RecordedMessage& message = reader.message();
            fuzz::require(message.kind != RecordedMessage::Can || message.can.length <= 64,
                          "a CAN frame holds at most 64 bytes");
            fuzz::requireWritten(message.decode(ids, signals.storage()), ids, message.timestamp(),
                                 &signals.storage());
        }
    }
    return 0;
}
