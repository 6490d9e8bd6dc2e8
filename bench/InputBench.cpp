// The input decoders on the per-message path: GPIO and analog readings with
// 16 signals on one key, and a GPS message with RMC and GGA sentences.
// The "allocs" counter is the number of heap allocations per message.
#include "AllocationCount.h"
#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/GPSSignal.h"
#include "trace/AnalogTraceMessage.h"
#include "trace/GPSTraceMessage.h"
#include "trace/GpioTraceMessage.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

constexpr int signalsOnKey = 16;

inputSignalDef_t definition(const std::string& instance, uint8_t bits, signalValue_t type, uint16_t startbit)
{
    inputSignalDef_t def;
    def.instance = instance;
    def.signal = instance;
    def.bits = bits;
    def.type = type;
    def.startbit = startbit;
    def.tslId = 1;
    def.channel = 4;
    return def;
}

void BM_gpio16(benchmark::State& state)
{
    SignalStorage storage;
    std::vector<std::unique_ptr<DigitalSignal>> signals;
    for (int line = 0; line < signalsOnKey; ++line)
        signals.push_back(std::make_unique<DigitalSignal>(
            definition("gpio" + std::to_string(line), 1, SIGNAL_UNSIGNED, uint16_t(line)), false, &storage));
    GpioTraceMessage msg;
    msg.elements.push_back({4, {}, 0x5a5a, 0xffff});
    std::vector<unsigned long> ids;
    ids.reserve(signalsOnKey);
    const long before = allocationCount();
    for (auto _ : state) {
        ++msg.timestamp;
        msg.elements[0].value ^= 0xffff;
        benchmark::DoNotOptimize(InputSignal::decodeMessage(msg, ids, 1, &storage));
    }
    state.counters["allocs"] = allocationsSince(before);
}

// Argument: value type of the 16 signals.
void BM_analog16(benchmark::State& state)
{
    const auto type = static_cast<signalValue_t>(state.range(0));
    const uint8_t bits = type == SIGNAL_DOUBLE ? 64 : 32;
    SignalStorage storage;
    std::vector<std::unique_ptr<AnalogSignal>> signals;
    for (int n = 0; n < signalsOnKey; ++n)
        signals.push_back(
            std::make_unique<AnalogSignal>(definition("analog" + std::to_string(n), bits, type, 0), false, &storage));
    AnalogTraceMessage msg;
    analogData_t element;
    element.input = 4;
    element.mantissa = 123456;
    element.exponent = -3;
    msg.elements.push_back(element);
    std::vector<unsigned long> ids;
    ids.reserve(signalsOnKey);
    const long before = allocationCount();
    for (auto _ : state) {
        ++msg.timestamp;
        ++msg.elements[0].mantissa;
        benchmark::DoNotOptimize(InputSignal::decodeMessage(msg, ids, 1));
    }
    state.counters["allocs"] = allocationsSince(before);
}

void BM_gpsRmcGga(benchmark::State& state)
{
    SignalStorage storage;
    std::vector<std::unique_ptr<GPSSignal>> signals;
    for (const auto& entry : GPSSignal::gps_ids)
        signals.push_back(
            std::make_unique<GPSSignal>(definition(entry.first, 64, SIGNAL_UNSIGNED, 0), false, &storage));
    GPSTraceMessage msg;
    msg.nmea = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n"
               "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
    std::vector<unsigned long> ids;
    ids.reserve(GPSSignal::gps_ids.size());
    const long before = allocationCount();
    for (auto _ : state) {
        ++msg.timestamp;
        benchmark::DoNotOptimize(GPSSignal::decodeMessage(msg, ids, &storage));
    }
    state.counters["allocs"] = allocationsSince(before);
}

} // namespace

BENCHMARK(BM_gpio16);
BENCHMARK(BM_analog16)->Arg(SIGNAL_SIGNED)->Arg(SIGNAL_FLOAT)->Arg(SIGNAL_DOUBLE)->ArgName("type");
BENCHMARK(BM_gpsRmcGga);
