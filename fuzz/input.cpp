// Fuzz target: the logger's input messages through the InputSignal
// decoders (GPIO, analog, keyboard), and raw input records through
// InputSignal::signalsInUse.
//
// Fixed signals: digital inputs (two sharing one input, one on input 0),
// analog inputs of every value type sharing one input, and remote-control
// keys. Input: a debug selector byte, then messages: a byte choosing the
// message kind and whether its channel or key is a known one or read from
// the input, then the message's fields and up to three data elements.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/KeyboardSignal.h"
#include "trace/AnalogTraceMessage.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"

#include <array>

namespace {

constexpr size_t maxMessages = 64;
constexpr size_t maxElements = 3;
constexpr size_t longestRecord = 24;
constexpr std::array<uint8_t, 3> knownChannels{0, 1, 2};
constexpr std::array<int32_t, 3> knownKeys{1, 10, 16};
constexpr std::array<uint16_t, 4> recordTypes{18, 19, 32817, 4};

inputSignalDef_t definition(const char* name, uint8_t tslId, uint8_t channel, uint16_t startbit, uint8_t bits,
                            signalValue_t type)
{
    inputSignalDef_t def;
    def.instance = name;
    def.signal = name;
    def.tslId = tslId;
    def.channel = channel;
    def.startbit = startbit;
    def.bits = bits;
    def.type = type;
    def.scale = 0.1;
    return def;
}

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        // Kept for the whole process.
        new DigitalSignal(definition("di.bit1", 1, 7, 1, 1, SIGNAL_UNSIGNED), false, built);
        new DigitalSignal(definition("di.word", 1, 7, 0, 16, SIGNAL_UNSIGNED), false, built);
        new DigitalSignal(definition("di.input0", 2, 0, 4, 12, SIGNAL_SIGNED), false, built);
        new AnalogSignal(definition("ai.unsigned", 0, 3, 0, 32, SIGNAL_UNSIGNED), false, built);
        new AnalogSignal(definition("ai.float", 0, 3, 0, 32, SIGNAL_FLOAT), false, built);
        new AnalogSignal(definition("ai.double", 0, 3, 0, 64, SIGNAL_DOUBLE), false, built);
        new AnalogSignal(definition("ai.signed", 1, 0, 8, 16, SIGNAL_SIGNED), false, built);
        for (const char* key : {"RC.F1", "RC.F10", "RC.TRG"})
            new KeyboardSignal(definition(key, 0, 0, 0, 8, SIGNAL_SIGNED), false, built);
        return built;
    }();
    return *storage;
}

template <class T, size_t N>
T knownOrFree(FuzzInput& in, bool free, const std::array<T, N>& known)
{
    return free ? in.number<T>() : known[in.pick(N)];
}

void decodeGpio(FuzzInput& in, bool freeChannel, uint64_t timestamp, std::vector<unsigned long>& ids,
                SignalStorage& storage)
{
    const uint8_t channel = knownOrFree(in, freeChannel, knownChannels);
    GpioTraceMessage message;
    message.timestamp = timestamp;
    message.elements.resize(in.pick(maxElements + 1));
    for (gpioData_t& element : message.elements) {
        element.input = in.number<uint16_t>();
        element.value = in.number<uint16_t>();
        element.mask = in.number<uint16_t>();
    }
    const bool written = InputSignal::decodeMessage(message, ids, channel, &storage);
    fuzz::requireWritten(written, ids, timestamp, &storage);
}

void decodeAnalog(FuzzInput& in, bool freeChannel, uint64_t timestamp, std::vector<unsigned long>& ids,
                  SignalStorage& storage)
{
    const uint8_t channel = knownOrFree(in, freeChannel, knownChannels);
    AnalogTraceMessage message;
    message.timestamp = timestamp;
    message.elements.resize(in.pick(maxElements + 1));
    for (analogData_t& element : message.elements) {
        element.input = in.number<uint16_t>();
        element.mantissa = in.number<int32_t>();
        element.exponent = in.number<int8_t>();
    }
    const bool written = InputSignal::decodeMessage(message, ids, channel);
    fuzz::requireWritten(written, ids, timestamp, &storage);
}

void decodeKeyboard(FuzzInput& in, bool freeKey, uint64_t timestamp, std::vector<unsigned long>& ids,
                    SignalStorage& storage)
{
    KeyboardMessage message;
    message.timestamp = timestamp;
    message.keyCode = knownOrFree(in, freeKey, knownKeys);
    message.value = in.number<int32_t>();
    const bool written = InputSignal::decodeMessage(message, ids, &storage);
    fuzz::requireWritten(written, ids, timestamp, &storage);
}

// A raw record of exactly the chosen length: type big-endian at bytes 2-3,
// input number at 14-15, marker at 16.
void askInUse(FuzzInput& in, bool freeType, SignalStorage& storage)
{
    const uint8_t channel = knownOrFree(in, false, knownChannels);
    std::array<unsigned char, longestRecord> full{};
    const uint16_t type = knownOrFree(in, freeType, recordTypes);
    full[2] = static_cast<unsigned char>(type >> 8);
    full[3] = static_cast<unsigned char>(type);
    full[14] = in.byte();
    full[15] = in.byte();
    full[16] = in.byte();
    const std::vector<unsigned char> record(full.begin(), full.begin() + long(in.pick(longestRecord + 1)));
    InputSignal::signalsInUse(record.data(), record.data() + record.size(), channel, &storage);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxMessages, [&](uint64_t timestamp, auto& ids) {
        const uint8_t choice = in.byte();
        const bool free = (choice & 0x80) != 0;
        switch (choice % 4) {
        case 0:
            decodeGpio(in, free, timestamp, ids, storage);
            break;
        case 1:
            decodeAnalog(in, free, timestamp, ids, storage);
            break;
        case 2:
            decodeKeyboard(in, free, timestamp, ids, storage);
            break;
        default:
            askInUse(in, free, storage);
            break;
        }
    });
    return 0;
}
