// SignalRegistration: the bookkeeping every bus signal class does alike when
// a signal is built and destroyed: the identifier of its kind, the storage's
// identifier table and per-kind table, and the class-wide frame table.
//
// Not synchronised, like the tables it fills: signals are built before
// decoding starts and destroyed after it stops.
#pragma once

#include "signal/BaseSignal.h"
#include "signal/FrameTable.h"

#include <cstdint>
#include <map>
#include <vector>

class SignalRegistration {
public:
    template <class Signal>
    using KindTable = std::map<uint64_t, std::vector<Signal*>>;

    // Gives `signal` the next running number plus `kindBit` as identifier and
    // files it under that identifier in `kindTable` and in its storage's
    // identifier table. False when the identifier was taken: the identifier
    // table keeps the earlier signal, `kindTable` keeps the new entry, and the
    // caller reports and rejects.
    template <class Signal>
    static bool enter(Signal* signal, uint64_t kindBit, KindTable<Signal>& kindTable)
    {
        signal->id = BaseSignal::instanceCounter++ + kindBit;
        FrameTable<uint64_t, Signal>::append(kindTable, signal->id, signal);
        return signal->storage->instancesById.emplace(signal->id, signal).second;
    }

    // Removes `signal` from `kindTable` (under its identifier) and from every
    // entry of `frameTable`. False when the identifier is filed in `kindTable`
    // but the signal is not in its vector; an absent identifier is no fault.
    template <class Signal, class FrameKey>
    static bool leave(Signal* signal, KindTable<Signal>& kindTable,
                      std::map<FrameKey, std::vector<Signal*>>& frameTable)
    {
        const auto removed = FrameTable<uint64_t, Signal>::removeFirst(kindTable, signal->id, signal);
        FrameTable<FrameKey, Signal>::removeEverywhere(frameTable, signal);
        return removed != FrameTable<uint64_t, Signal>::NotInVector;
    }
};
