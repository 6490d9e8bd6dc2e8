// Fuzz target: NMEA text through GPSTraceMessage::getGPRMC and getGPGGA, and
// through GPSSignal::decodeMessage into the nine GPS signals, whose value
// descriptions (dates, times, coordinates) are then formed.
//
// Input: a debug selector byte, then up to four messages separated by NUL
// bytes, decoded in order, since a fix carries over from one message to the
// next; after a fourth NUL, 8 bytes of a raw value whose description every
// signal forms (so that dates, times and coordinates see any bit pattern).
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "input/GPSSignal.h"
#include "trace/GPSTraceMessage.h"

namespace {

constexpr size_t maxMessages = 4;

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        for (const auto& entry : GPSSignal::gps_ids) {
            inputSignalDef_t def;
            def.instance = entry.first;
            def.signal = entry.first;
            def.bits = 64;
            new GPSSignal(def, false, built); // kept for the whole process
        }
        return built;
    }();
    return *storage;
}

void parseAlone(const GPSTraceMessage& message)
{
    GPSTraceMessage::numeric_gprmc_t rmc;
    if (message.getGPRMC(rmc))
        fuzz::require(rmc.status <= 1, "an RMC status is active or void");
    GPSTraceMessage::numeric_gpgga_t gga;
    message.getGPGGA(gga);
}

void describe(uint64_t raw, SignalStorage& storage)
{
    for (const auto& entry : storage.instancesByName)
        entry.second->getValueDescription(raw);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    GPSSignal::gpsStatus = 0; // every input starts without a fix
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxMessages, [&](uint64_t timestamp, auto& ids) {
        GPSTraceMessage message;
        message.timestamp = timestamp;
        message.nmea = in.line();
        parseAlone(message);
        const bool written = GPSSignal::decodeMessage(message, ids, &storage);
        fuzz::requireWritten(written, ids, message.timestamp, &storage);
        fuzz::describeValues(storage);
    });
    describe(in.number<uint64_t>(), storage);
    return 0;
}
