// Fuzz target: trace lines (LIN, FlexRay, GPIO, analog, key, system and
// usage messages) through the tool's reader and the decoder of each kind.
#include "LineParserFuzz.h"

#include "recordings/TraceLineReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzLines<TraceLineReader>(data, size);
}
