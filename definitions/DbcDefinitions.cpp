#include "definitions/DbcDefinitions.h"

#include "definitions/DbcReader.h"

namespace rksignal {

namespace {

signalValue_t valueType(const DbcSignal& signal)
{
    if (signal.valueType == 1)
        return SIGNAL_FLOAT;
    if (signal.valueType == 2)
        return SIGNAL_DOUBLE;
    return signal.isSigned ? SIGNAL_SIGNED : SIGNAL_UNSIGNED;
}

const std::string& nameOf(const DbcMessage& message)
{
    return message.longName.empty() ? message.name : message.longName;
}

const std::string& nameOf(const DbcSignal& signal)
{
    return signal.longName.empty() ? signal.name : signal.longName;
}

std::string instanceOf(const DbcMessage& message, const DbcSignal& signal)
{
    return nameOf(message) + "." + nameOf(signal);
}

canSignalDef_t definitionOf(const DbcMessage& message, const DbcSignal& signal, uint8_t channel)
{
    canSignalDef_t def;
    def.instance = instanceOf(message, signal);
    def.signal = nameOf(signal);
    def.channel = channel;
    def.unit = signal.unit;
    def.type = valueType(signal);
    def.startbit = signal.startBit;
    def.bits = signal.length;
    def.scale = signal.factor;
    def.offset = signal.offset;
    def.endian = signal.bigEndian;
    def.multiplexed = signal.isMultiplexed;
    def.multiplexer = signal.isMultiplexer ? 1 : 0;
    def.mux = signal.muxValue;
    // Raw values of signed signals are sign-extended, so a negative table
    // entry is keyed by its two's complement.
    for (const auto& [raw, text] : signal.values)
        def.valueDescription[raw] = text;
    def.comment = signal.comment;
    def.msgId = message.id;
    def.extended = message.extended;
    // Only CAN FD carries more than eight bytes, whatever the file declares.
    def.canFD = message.fd || message.size > 8;
    def.message = nameOf(message);
    def.sender = message.sender;
    return def;
}

// The branch of a multiplexed signal: its own multiplexer and ranges
// (SG_MUL_VAL_), or the frame's multiplexer and its one value.
CanBranch branchOf(const DbcMessage& message, const DbcSignal& signal)
{
    CanBranch branch{instanceOf(message, signal), {}, signal.muxRanges};
    if (branch.ranges.empty())
        branch.ranges.emplace_back(signal.muxValue, signal.muxValue);
    for (const DbcSignal& other : message.signals) {
        const bool chosen = signal.multiplexerName.empty() ? other.isMultiplexer && !other.isMultiplexed
                                                           : other.name == signal.multiplexerName;
        if (chosen && &other != &signal) {
            branch.multiplexer = instanceOf(message, other);
            break;
        }
    }
    return branch;
}

} // namespace

void DbcDefinitions::append(const DbcDatabase& database, uint8_t channel, DefinitionSet& out)
{
    for (const DbcMessage& message : database.messages) {
        for (const DbcSignal& signal : message.signals) {
            out.can.push_back(definitionOf(message, signal, channel));
            if (signal.isMultiplexed)
                out.canBranches.push_back(branchOf(message, signal));
        }
        if (message.j1939 && message.extended)
            out.j1939.push_back(J1939Frame{channel, message.id});
    }
}

bool DbcDefinitions::readFile(const std::string& path, uint8_t channel, DefinitionSet& out,
                              std::vector<std::string>& warnings, std::string& error)
{
    DbcDatabase database;
    if (!DbcReader::readFile(path, database, error))
        return false;
    append(database, channel, out);
    warnings.insert(warnings.end(), database.warnings.begin(), database.warnings.end());
    return true;
}

} // namespace rksignal
