// Fuzz target: lines of TRC logs through the tool's TRC reader and, for every
// frame it returns, CANSignal::decodeMessage.
#include "LineParserFuzz.h"

#include "recordings/TrcReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzLines<TrcReader>(data, size);
}
