// Fuzz target: candump log lines through the tool's candump reader and, for
// every frame it returns, CANSignal::decodeMessage.
#include "LineParserFuzz.h"

#include "recordings/CandumpReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzLines<CandumpReader>(data, size);
}
