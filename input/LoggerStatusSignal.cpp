#include "input/LoggerStatusSignal.h"

#include "trace/SystemUsageMessage.h"

#include <cstdlib>

namespace {

constexpr uint64_t statusKey = InputSignal::loggerStatusKind + 0;
constexpr uint64_t startKey = InputSignal::loggerStatusKind + 1;
constexpr uint64_t memoryKey = InputSignal::loggerStatusKind + 2;
constexpr uint64_t timerKey = InputSignal::loggerStatusKind + 3;

constexpr uint32_t statusCode = 16;
constexpr uint32_t startCode = 30;
constexpr uint32_t timerCode = 31;
constexpr uint32_t usageCode = 2;
constexpr uint8_t memoryAbsent = 255;

const char* const internalMemory = "Logger.IntMemory";
const char* const externalMemory = "Logger.ExtMemory";

} // namespace

std::map<std::string, uint64_t> LoggerStatusSignal::predefinedLoggerInputs = {
    {"Logger.Status", statusKey},
    {"Logger.Start", startKey},
    {internalMemory, memoryKey},
    {externalMemory, memoryKey},
    {"Logger.Timer", timerKey},
};

// The raw values are also the values of the expression language's logger
// status keywords.
std::map<uint64_t, std::string> LoggerStatusSignal::loggerStatusValueDescription = {
    {0, "OK"}, {1, "ERROR"}, {2, "NoSync"}, {3, "Warning"}, {4, "FWUpdate"}, {5, "Memory"}, {6, "Ring"},
};

std::map<uint64_t, std::string> LoggerStatusSignal::memoryValueDescription = {
    {memoryAbsent, "N/C"},
};

std::set<LoggerStatusSignal*> LoggerStatusSignal::allInstancesLoggerStatusSignals;

LoggerStatusSignal::LoggerStatusSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : InputSignal(definition, shmem, storage)
{
    registerPredefined(predefinedLoggerInputs, loggerStatusKind, "LoggerStatusSignal");
    if (id == ~0UL)
        return; // an identifier clash ends the construction here
    applyPredefinedPresentation();
    allInstancesLoggerStatusSignals.insert(this);
}

LoggerStatusSignal::~LoggerStatusSignal()
{
    allInstancesLoggerStatusSignals.erase(this);
}

void LoggerStatusSignal::applyPredefinedPresentation()
{
    const std::string& name = def.instance;
    if (name == "Logger.Status" && def.valueDescription.empty()) {
        setValueDescription(loggerStatusValueDescription);
    } else if (name == internalMemory || name == externalMemory) {
        if (def.valueDescription.empty())
            setValueDescription(memoryValueDescription);
        if (def.unit.empty())
            setUnit("%");
    } else if (name == "Logger.Timer") {
        // The timer counts seconds whatever the definition says.
        setUnit("s");
    }
}

void LoggerStatusSignal::updateTimestamp(unsigned long timestamp)
{
    for (LoggerStatusSignal* signal : allInstancesLoggerStatusSignals)
        signal->writeTS(timestamp);
}

bool LoggerStatusSignal::decodeSystemMessage(const SystemMessage& msg, std::vector<unsigned long>& ids,
                                             SignalStorage* storage)
{
    ids.clear();
    uint64_t key;
    switch (msg.code) {
    case statusCode:
        key = statusKey;
        break;
    case startCode:
        key = startKey;
        break;
    case timerCode:
        key = timerKey;
        break;
    case usageCode: {
        const auto* usage = dynamic_cast<const SystemUsageMessage*>(&msg);
        if (usage == nullptr)
            return false;
        const uint8_t internal = usage->internalUsage;
        const uint8_t external = usage->externalUsage != memoryAbsent ? usage->externalUsage : usage->externalUsage2;
        // Without external memory its signal is left as it is.
        if (external != memoryAbsent)
            writeValue(memoryKey, external, msg.timestamp, ids, storage, externalMemory);
        return writeValue(memoryKey, internal, msg.timestamp, ids, storage, internalMemory);
    }
    default:
        return false;
    }
    // Non-numeric text reads as 0.
    const long value = std::strtol(msg.text.c_str(), nullptr, 10);
    return writeValue(key, static_cast<unsigned long>(value), msg.timestamp, ids, storage);
}
