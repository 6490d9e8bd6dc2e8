// Helpers shared by the signal, bus and input tests: definitions with only
// the fields a test cares about, a slot's value as a client reads it, and the
// debug level put back at the end of a scope.
#pragma once

#include "signal/BaseSignal.h"

#include <sstream>
#include <string>

// A definition of `bits` at `startbit` whose instance and signal are both `name`.
template <class Definition = baseSignalDef_t>
Definition definitionOf(const std::string& name, uint8_t bits = 8, uint16_t startbit = 0)
{
    Definition def;
    def.instance = def.signal = name;
    def.bits = bits, def.startbit = startbit;
    return def;
}

// The raw value read through the lock; ~0 when the slot is not valid.
inline unsigned long rawOf(BaseSignal& signal)
{
    unsigned long raw = 0, timestamp = 0;
    return signal.read(raw, timestamp) ? raw : ~0UL;
}

// What a client reads, e.g. "valid 1234 @50 modified": the valid flag, the raw
// value in hexadecimal, the time stamp, and whether the last write changed the value.
inline std::string stateOf(BaseSignal& signal)
{
    unsigned long raw = 0, timestamp = 0;
    const bool valid = signal.read(raw, timestamp);
    std::ostringstream os;
    os << (valid ? "valid " : "invalid ") << std::hex << raw << std::dec << " @" << timestamp
       << (signal.isModified() ? " modified" : "");
    return os.str();
}

// The physical value read through the lock, whether valid or not.
inline double physicalOf(BaseSignal& signal)
{
    double value = 0;
    unsigned long timestamp = 0;
    signal.read(value, timestamp);
    return value;
}

// An identifier as the message lines print it: lowercase hexadecimal, no 0x.
inline std::string hexText(unsigned long id)
{
    std::ostringstream os;
    os << std::hex << id;
    return os.str();
}

// Sets BaseSignal::debug for the rest of the scope.
struct DebugLevel {
    explicit DebugLevel(int level) { BaseSignal::debug = level; }
    ~DebugLevel() { BaseSignal::debug = 0; }
    DebugLevel(const DebugLevel&) = delete;
    DebugLevel& operator=(const DebugLevel&) = delete;
};
