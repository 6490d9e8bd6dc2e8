#include "bus/LINSignal.h"

#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/SignalRegistration.h"

std::map<uint64_t, std::vector<LINSignal*>> LINSignal::linContainer;

namespace {

const char cls[] = "LINSignal";
constexpr uint64_t linKindBit = 0x4000000000000000ULL;
constexpr uint32_t identifierBits = 63;

} // namespace

LINSignal::LINSignal(const linSignalDef_t& signalDef, bool shm, SignalStorage* storage)
    : BaseSignal(signalDef, shm, storage), definition(signalDef)
{
    if (!SignalRegistration::enter(this, linKindBit, this->storage->linSignals)) {
        MessageLine::write(MessageStream::Output, MessageLine::Error, cls, cls, "gpId 0x", std::hex, id,
                           " already exists", std::dec);
        id = ~uint64_t(0);
        return;
    }
    FrameTable<uint64_t, LINSignal>::append(linContainer,
                                            linKey(definition.tslId, definition.channel, definition.msgId), this);
    if (debug)
        MessageLine::debug(cls, cls, def.instance, " created ", shmem ? "(shared memory)" : "", *this);
}

LINSignal::~LINSignal()
{
    if (!SignalRegistration::leave(this, storage->linSignals, linContainer))
        MessageLine::write(MessageStream::Output, MessageLine::Error, cls, "~LINSignal", def.instance,
                           "instance not found in vector");
}

uint64_t LINSignal::linKey(uint8_t tslId, uint8_t channel, uint32_t msgId)
{
    return linKindBit + (uint64_t(tslId) << 16) + (uint64_t(channel) << 8) + (msgId & identifierBits);
}

bool LINSignal::signalsInUse(const unsigned char* record, const unsigned char*, unsigned char tslId,
                             SignalStorage* storage)
{
    if ((storage ? *storage : defSignalStorage).linSignals.empty())
        return false;
    return linContainer.count(linKey(tslId, record[14], record[26])) != 0;
}

bool LINSignal::decodeMessage(const LINTraceMessage& ltm, std::vector<unsigned long>& ids, unsigned char tslId,
                              SignalStorage* storage)
{
    ids.clear();
    if ((storage ? *storage : defSignalStorage).linSignals.empty())
        return false;

    const uint64_t key = linKey(tslId, ltm.channel, ltm.protectedId);
    const auto entry = linContainer.find(key);
    if (entry == linContainer.end()) {
        // The text names the CAN table and the number is always 0: clients
        // match on this line as it has long been written.
        if (debug >= 2)
            MessageLine::debug(cls, "decodeMessage", "LIN message not in canMessageContainer: ", ltm, ", id = ",
                               std::hex, 0, std::dec);
        return false;
    }

    // The byte count is kept in 8 bits, as the frame's length field is.
    const uint8_t length = static_cast<uint8_t>(ltm.data.size());
    for (LINSignal* signal : entry->second) {
        if (debug)
            MessageLine::debug(cls, "decodeMessage", "Signal = ", signal->def.instance, ", id = 0x", std::hex, key,
                               std::dec);
        if (length == 0)
            continue;
        signal->write(ltm.data.data(), length, ltm.timestamp);
        ids.push_back(signal->id);
    }
    return !ids.empty();
}

std::ostream& operator<<(std::ostream& os, const linSignalDef_t& def)
{
    return os << static_cast<const baseSignalDef_t&>(def) << std::dec << ",msgId=" << def.msgId;
}

std::ostream& operator<<(std::ostream& os, const LINSignal& signal)
{
    return BaseSignal::printWithDefinition(os, signal, signal.definition);
}
