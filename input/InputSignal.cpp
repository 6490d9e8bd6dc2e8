// Construction, registration and print form of InputSignal, and the raw
// record pre-filter.
#include "input/InputSignal.h"

#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/SignalRegistration.h"

std::map<uint64_t, std::vector<InputSignal*>> InputSignal::inputContainer;

namespace {

using InputTable = FrameTable<uint64_t, InputSignal>;

// Raw record layout read by signalsInUse.
constexpr size_t recordTypeAt = 2;
constexpr size_t inputNumberAt = 14;
constexpr size_t markerAt = 16;
constexpr unsigned analogRecord = 18;
constexpr unsigned gpioRecord = 19;
constexpr unsigned keyboardRecord = 32817;
// The one key looked up for keyboard records. It is none of the predefined
// key codes, so keyboard records are never reported in use; clients rely on
// that behaviour, so it stays.
constexpr uint64_t keyboardRecordKey = InputSignal::keyboardKind + 0x0e;

unsigned bigEndianWord(const unsigned char* at)
{
    return (unsigned(at[0]) << 8) | at[1];
}

} // namespace

InputSignal::InputSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : BaseSignal(definition, shmem, storage), definition(definition)
{
}

InputSignal::~InputSignal()
{
    // By pointer, not by key: a signal whose identifier clashed is still in
    // the storage's input table under the identifier it was given first.
    InputTable::removeEverywhere(inputContainer, this);
    InputTable::removeEverywhere(storage->inputSignals, this);
}

void InputSignal::registerOwnKey(uint64_t kindBit, const char* op)
{
    if (!registerIdentifier(kindBit, "InputSignal", op))
        return;
    fileUnder(kindBit + (uint64_t(def.tslId) << 16) + def.channel);
    if (debug)
        traceCreated("InputSignal", op, true);
}

void InputSignal::registerPredefined(const std::map<std::string, uint64_t>& predefined, uint64_t kindBit,
                                     const char* op)
{
    const auto entry = predefined.find(def.instance);
    if (entry == predefined.end()) {
        reportUnknownName("InputSignal", op);
        return;
    }
    if (!registerIdentifier(kindBit, "InputSignal", op))
        return;
    fileUnder(entry->second);
    if (debug)
        traceCreated("InputSignal", op, true);
}

bool InputSignal::registerIdentifier(uint64_t kindBit, const char* cls, const char* op)
{
    if (SignalRegistration::enter(this, kindBit, storage->inputSignals))
        return true;
    MessageLine::write(MessageStream::Output, MessageLine::Error, cls, op, "gpId 0x", std::hex, id, std::dec,
                       " already exists");
    id = ~0UL;
    return false;
}

void InputSignal::fileUnder(uint64_t key)
{
    InputTable::append(inputContainer, key, this);
}

void InputSignal::reportUnknownName(const char* cls, const char* op) const
{
    MessageLine::write(MessageStream::Output, MessageLine::Error, cls, op, def.instance,
                       " not found in predefined input lists, gpId = 0");
}

void InputSignal::traceCreated(const char* cls, const char* op, bool printForm) const
{
    if (printForm)
        MessageLine::debug(cls, op, def.instance, " created ", shmem ? "(shared memory)" : "", *this);
    else
        MessageLine::debug(cls, op, def.instance, " created ", shmem ? "(shared memory)" : "");
}

void InputSignal::setUnit(const std::string& unit)
{
    def.unit = unit;
    definition.unit = unit;
}

void InputSignal::setValueDescription(const std::map<uint64_t, std::string>& table)
{
    def.valueDescription = table;
    definition.valueDescription = table;
}

void InputSignal::setType(signalValue_t type)
{
    def.type = type;
    definition.type = type;
    deriveSignExtension();
}

bool InputSignal::signalsInUse(const unsigned char* record, const unsigned char* end, unsigned char channel,
                               SignalStorage* storage)
{
    const SignalStorage& inUse = storage ? *storage : defSignalStorage;
    if (inUse.inputSignals.empty() || record == nullptr || end < record)
        return false;
    const size_t length = size_t(end - record);
    if (length < recordTypeAt + 2)
        return false;

    uint64_t key;
    const unsigned type = bigEndianWord(record + recordTypeAt);
    if (type == keyboardRecord) {
        key = keyboardRecordKey;
    } else if (type == gpioRecord || type == analogRecord) {
        if (length <= markerAt || record[markerAt] != 1)
            return false;
        key = (type == gpioRecord ? digitalKind : analogKind) + (uint64_t(channel) << 16) +
              bigEndianWord(record + inputNumberAt);
    } else {
        return false;
    }

    const bool found = inputContainer.count(key) != 0;
    if (debug >= 2)
        MessageLine::debug("InputSignal", "signalsInUse", "index = ", std::hex, key, std::dec, " - ",
                           found ? "found" : "not found");
    return found;
}

std::ostream& operator<<(std::ostream& os, const InputSignal& signal)
{
    return BaseSignal::printWithDefinition(os, signal, signal.definition) << std::dec;
}
