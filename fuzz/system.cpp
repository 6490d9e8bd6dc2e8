// Fuzz target: the logger's system and usage messages through
// InputSignal::decodeMessage and LoggerStatusSignal::decodeSystemMessage,
// with LoggerStatusSignal::updateTimestamp and the value descriptions of the
// values written.
//
// Fixed signals: every predefined logger status name. Input: a debug
// selector byte, then messages: a byte choosing plain or usage message, the
// decoder, and whether the code is a known one or read from the input; the
// code; for usage messages the three usage bytes; then the text up to a NUL.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "input/LoggerStatusSignal.h"
#include "trace/SystemUsageMessage.h"

#include <array>

namespace {

constexpr size_t maxMessages = 32;
constexpr std::array<uint32_t, 5> knownCodes{16, 30, 31, 2, 0};
constexpr std::array<const char*, 5> names{"Logger.Status", "Logger.Start", "Logger.Timer", "Logger.IntMemory",
                                           "Logger.ExtMemory"};

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        for (const char* name : names) {
            inputSignalDef_t def;
            def.instance = name;
            def.signal = name;
            def.bits = 32;
            def.type = SIGNAL_SIGNED;
            new LoggerStatusSignal(def, false, built); // kept for the whole process
        }
        return built;
    }();
    return *storage;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxMessages, [&](uint64_t timestamp, auto& ids) {
        const uint8_t choice = in.byte();
        const bool usage = (choice & 1) != 0;
        const bool throughInputSignal = (choice & 2) != 0;
        const uint32_t code = (choice & 4) != 0 ? in.number<uint32_t>() : knownCodes[in.pick(knownCodes.size())];

        SystemUsageMessage usageMessage;
        SystemMessage plainMessage;
        SystemMessage& message = usage ? usageMessage : plainMessage;
        message.timestamp = timestamp;
        message.code = code;
        if (usage) {
            usageMessage.internalUsage = in.byte();
            usageMessage.externalUsage = in.byte();
            usageMessage.externalUsage2 = in.byte();
        }
        message.text = in.line();

        const bool written = throughInputSignal ? InputSignal::decodeMessage(message, ids, &storage)
                                                : LoggerStatusSignal::decodeSystemMessage(message, ids, &storage);
        fuzz::requireWritten(written, ids, message.timestamp, &storage);
        if ((choice & 8) != 0)
            LoggerStatusSignal::updateTimestamp(message.timestamp);
    });
    fuzz::describeValues(storage);
    return 0;
}
