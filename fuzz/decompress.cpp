// Fuzz target: compressed bytes (gzip, zstd, xz, or none) through the
// decompressing stream and the recognition of the format inside, read to
// the end or to the first error.
#include "FuzzInput.h"
#include "FuzzSession.h"
#include "MemoryFile.h"

#include "recordings/ByteStream.h"
#include "recordings/RecordingFormats.h"

#include <string>
#include <vector>

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    const fuzz::Session session(in.byte());
    const std::string bytes = in.rest();

    const fuzz::MemoryFile file(bytes);
    const std::string path = file.path();
    {
        ByteStream stream(path);
        std::vector<unsigned char> block(4096);
        uint64_t total = 0;
        // A small input may expand a lot: stop well before it takes long.
        for (size_t got; total < (64u << 20) && (got = stream.read(block.data(), block.size())) > 0;)
            total += got;
        fuzz::require(stream.compression() != ByteStream::None || total == bytes.size() || !stream.error().empty(),
                      "uncompressed bytes come through unchanged in length");
        RecordingFormats::of(path);
    }
    return 0;
}
