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

canSignalDef_t definitionOf(const DbcMessage& message, const DbcSignal& signal, uint8_t channel)
{
    canSignalDef_t def;
    def.instance = message.name + "." + signal.name;
    def.signal = signal.name;
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
        def.valueDescription[static_cast<uint64_t>(raw)] = text;
    def.comment = signal.comment;
    def.msgId = message.id;
    def.extended = message.extended;
    def.canFD = message.fd;
    def.message = message.name;
    def.sender = message.sender;
    return def;
}

} // namespace

void DbcDefinitions::append(const DbcDatabase& database, uint8_t channel, DefinitionSet& out)
{
    for (const DbcMessage& message : database.messages)
        for (const DbcSignal& signal : message.signals)
            out.can.push_back(definitionOf(message, signal, channel));
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
