// Fuzz target: NMEA log lines through the tool's NMEA reader and, for every
// fix it puts together, GPSSignal::decodeMessage.
#include "LineParserFuzz.h"

#include "recordings/NmeaReader.h"

using namespace rksignal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return fuzz::fuzzLines<NmeaReader>(data, size);
}
