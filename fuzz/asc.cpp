// Fuzz target: lines of ASC logs through the tool's ASC reader and, for every
// frame it returns, CANSignal::decodeMessage.
#include "LineParserFuzz.h"

#include "recordings/AscReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzLines<AscReader>(data, size);
}
