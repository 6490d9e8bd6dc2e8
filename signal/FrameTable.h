// FrameTable: the bookkeeping shared by the class-wide frame tables (CAN,
// LIN, FlexRay, Ethernet, inputs) and the storage's per-kind tables: ordered
// maps from a key to the signals filed under it, in registration order.
// Every edit made here is counted (FrameTableEdits), so that the decode plans
// built from the tables are rebuilt.
//
// Not synchronised: tables are built before decoding starts and torn down
// after it stops.
#pragma once

#include "signal/FrameTableEdits.h"
#include "signal/MessageLine.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <vector>

template <class Key, class Signal>
class FrameTable {
public:
    using Map = std::map<Key, std::vector<Signal*>>;

    // Appends `signal` under `key`; true when the key was new.
    static bool append(Map& table, const Key& key, Signal* signal)
    {
        FrameTableEdits::note();
        auto inserted = table.emplace(key, std::vector<Signal*>());
        inserted.first->second.push_back(signal);
        return inserted.second;
    }

    enum RemoveResult { Removed, KeyAbsent, NotInVector };

    // Removes the first occurrence of `signal` under `key`, erasing the entry
    // when it empties.
    static RemoveResult removeFirst(Map& table, const Key& key, const Signal* signal)
    {
        FrameTableEdits::note();
        const auto entry = table.find(key);
        if (entry == table.end())
            return KeyAbsent;
        auto& signals = entry->second;
        const auto found = std::find(signals.begin(), signals.end(), signal);
        if (found == signals.end())
            return NotInVector;
        signals.erase(found);
        if (signals.empty())
            table.erase(entry);
        return Removed;
    }

    // Removes every occurrence of `signal` from every vector and erases every
    // entry left empty (including entries that were empty already).
    static void removeEverywhere(Map& table, const Signal* signal)
    {
        FrameTableEdits::note();
        for (auto entry = table.begin(); entry != table.end();) {
            auto& signals = entry->second;
            signals.erase(std::remove(signals.begin(), signals.end(), signal), signals.end());
            entry = signals.empty() ? table.erase(entry) : std::next(entry);
        }
    }

    // Writes the table as debug lines of `cls`::`op`, in ascending key order:
    // the key in hexadecimal, then "[", each signal's print form followed by
    // ",", "]" and an empty line. Callers test the debug level first.
    static void dump(const Map& table, const char* cls, const char* op)
    {
        for (const auto& entry : table) {
            MessageLine::debug(cls, op, std::hex, entry.first, std::dec);
            MessageLine::debug(cls, op, "[", Listing{entry.second}, "]\n");
        }
    }

private:
    // The signals of one entry on one line, without building a string first.
    struct Listing {
        const std::vector<Signal*>& signals;

        friend std::ostream& operator<<(std::ostream& os, const Listing& listing)
        {
            for (const Signal* signal : listing.signals)
                os << *signal << ",";
            return os;
        }
    };
};
