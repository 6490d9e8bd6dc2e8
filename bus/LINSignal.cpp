#include "bus/LINSignal.h"

#include "signal/FramePlan.h"
#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/PlannedSignal.h"
#include "signal/SignalRegistration.h"

std::map<uint64_t, std::vector<LINSignal*>> LINSignal::linContainer;

namespace {

const char cls[] = "LINSignal";

// linContainer as the per-frame path reads it.
FramePlan<PlannedSignal<LINSignal>> plan;

} // namespace

LINSignal::LINSignal(const linSignalDef_t& signalDef, bool shm, SignalStorage* storage)
    : BaseSignal(signalDef, shm, storage), definition(signalDef)
{
    if (!SignalRegistration::enter(this, kindBit, this->storage->linSignals)) {
        MessageLine::write(MessageStream::Output, MessageLine::Error, cls, cls, "gpId 0x", std::hex, id, " already exists",
                           std::dec);
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
    FramePlan<PlannedSignal<LINSignal>>::Run run;
    if (!plan.find(linContainer, key, [](LINSignal* signal) { return PlannedSignal<LINSignal>(signal); }, run)) {
        // The text names the CAN table and the number is always 0: clients
        // match on this line as it has long been written.
        if (debug >= 2)
            MessageLine::debug(cls, "decodeMessage", "LIN message not in canMessageContainer: ", ltm, ", id = ",
                               std::hex, 0, std::dec);
        return false;
    }

    // The byte count is kept in 8 bits, as the frame's length field is.
    const uint8_t length = static_cast<uint8_t>(ltm.data.size());
    const uint64_t payload = BaseSignal::payloadWord(ltm.data.data(), length);
    const bool onlyReceived = onlyReceivedBits;
    for (auto step = run.begin; step != run.end; ++step) {
        if (debug)
            MessageLine::debug(cls, "decodeMessage", "Signal = ", step->signal->def.instance, ", id = 0x", std::hex,
                               key, std::dec);
        if (length == 0 || (onlyReceived && step->signal->fieldBytes() > length))
            continue;
        step->write(ltm.data.data(), length, payload, ltm.timestamp);
        ids.push_back(step->signal->id);
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
