// The per-message path of the input signals: writing a value under an input
// key and the GPIO, keyboard and analog decoders.
//
// Runs for every received message: no allocation (once ids has capacity),
// and debug lines only behind one test of the debug level.
#include "input/InputSignal.h"

#include "input/LoggerStatusSignal.h"
#include "signal/MessageLine.h"
#include "trace/AnalogTraceMessage.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// 10^exponent for every exponent an analog reading can carry, computed once.
// Read from decimal text, so each is the nearest double (pow may be off by a
// last place).
const std::array<double, 256>& powersOfTen()
{
    static const std::array<double, 256> table = [] {
        std::array<double, 256> powers{};
        for (int exponent = -128; exponent <= 127; ++exponent) {
            char text[8];
            const int length = std::snprintf(text, sizeof text, "1e%d", exponent);
            std::from_chars(text, text + length, powers[size_t(exponent + 128)]);
        }
        return powers;
    }();
    return table;
}

double scaledReading(int32_t mantissa, int8_t exponent)
{
    return double(mantissa) * powersOfTen()[size_t(int(exponent) + 128)];
}

// Narrows to single precision the way the hardware rounds, without the
// undefined behaviour of converting a double beyond the float range: from
// FLT_MAX plus half its last place upwards the result is infinite.
float toFloat(double value)
{
    constexpr double overflowThreshold = 0x1.ffffffp+127;
    if (std::fabs(value) >= overflowThreshold)
        return std::signbit(value) ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

uint64_t doubleBits(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

uint32_t floatBits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// The payload an analog reading gives a signal of `type`. A float reading
// replaces only the low 32 bits: the upper half keeps what the previous
// signal of the same key left there, which readers of the whole word have
// come to see, so it is kept.
uint64_t analogPayload(signalValue_t type, int32_t mantissa, int8_t exponent, uint64_t previous)
{
    switch (type) {
    case SIGNAL_UNSIGNED:
    case SIGNAL_SIGNED:
        return static_cast<uint64_t>(int64_t(mantissa));
    case SIGNAL_FLOAT:
        return (previous & 0xffffffff00000000UL) | floatBits(toFloat(scaledReading(mantissa, exponent)));
    case SIGNAL_DOUBLE:
        return doubleBits(scaledReading(mantissa, exponent));
    }
    return previous;
}

double bitsAsDouble(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

bool InputSignal::writeValue(uint64_t key, unsigned long payload, unsigned long timestamp,
                             std::vector<unsigned long>& ids, SignalStorage* /*storage*/, const char* instance)
{
    const auto entry = inputContainer.find(key);
    if (entry == inputContainer.end()) {
        if (debug)
            MessageLine::debug("InputSignal", "writeValue", "signal not found, index = ", std::hex, key, std::dec);
        return false;
    }
    bool written = false;
    for (InputSignal* signal : entry->second) {
        if (instance != nullptr && signal->def.instance != instance)
            continue;
        if (debug)
            MessageLine::debug("InputSignal", "writeValue", "Signal = ", signal->def.instance);
        signal->write(payload, timestamp);
        ids.push_back(signal->id);
        written = true;
    }
    return written;
}

bool InputSignal::decodeMessage(const GpioTraceMessage& msg, std::vector<unsigned long>& ids, unsigned char channel,
                                SignalStorage* storage)
{
    ids.clear();
    uint64_t key = digitalKind + (uint64_t(channel) << 16);
    unsigned long payload = 0;
    // Only the first element counts; a message without elements reads as
    // input 0 at level 0.
    if (!msg.elements.empty()) {
        const gpioData_t& element = msg.elements.front();
        key += element.input;
        payload = element.value & element.mask;
    }
    return writeValue(key, payload, msg.timestamp, ids, storage);
}

bool InputSignal::decodeMessage(const KeyboardMessage& msg, std::vector<unsigned long>& ids, SignalStorage* storage)
{
    ids.clear();
    // Code and value are widened with their sign; the key wraps modulo 2^64.
    const uint64_t key = keyboardKind + static_cast<uint64_t>(int64_t(msg.keyCode));
    return writeValue(key, static_cast<uint64_t>(int64_t(msg.value)), msg.timestamp, ids, storage);
}

bool InputSignal::decodeMessage(const AnalogTraceMessage& msg, std::vector<unsigned long>& ids, unsigned char channel)
{
    ids.clear();
    analogData_t reading; // input 0, mantissa 0, exponent 0 without elements
    if (!msg.elements.empty())
        reading = msg.elements.front();

    const uint64_t key = analogKind + (uint64_t(channel) << 16) + reading.input;
    const auto entry = inputContainer.find(key);
    if (entry == inputContainer.end()) {
        if (debug)
            MessageLine::debug("InputSignal", "decodeMessage", "analog signal not found, index = ", std::hex, key,
                               std::dec);
        return false;
    }
    if (entry->second.empty())
        return false;

    uint64_t payload = 0;
    for (InputSignal* signal : entry->second) {
        payload = analogPayload(signal->def.type, reading.mantissa, reading.exponent, payload);
        // Every type is shown as a double: the form operators know.
        if (debug)
            MessageLine::debug("InputSignal", "decodeMessage", "Signal = ", signal->def.instance, ": ",
                               bitsAsDouble(payload));
        signal->write(payload, msg.timestamp);
        ids.push_back(signal->id);
    }
    return true;
}

bool InputSignal::decodeMessage(const SystemMessage& msg, std::vector<unsigned long>& ids, SignalStorage* storage)
{
    return LoggerStatusSignal::decodeSystemMessage(msg, ids, storage);
}
