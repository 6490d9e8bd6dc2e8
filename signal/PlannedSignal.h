// PlannedSignal: a signal as a decoder's per-frame path keeps it: the signal,
// and whether its class is exactly the bus class that decodes it.
//
// Such a signal keeps the library's own write, so while debug is off the
// decoder writes it without the two virtual calls of write(data, length,
// timestamp) (which calls write(payload, timestamp)). A subclass may override
// either write: its signals are written through the virtual calls, as always.
#pragma once

#include "signal/BaseSignal.h"

#include <typeinfo>

template <class Signal>
struct PlannedSignal {
    explicit PlannedSignal(Signal* s) : signal(s), direct(typeid(*s) == typeid(Signal)) {}

    // write(data, length, timestamp) of the signal.
    void write(const unsigned char* data, unsigned long length, unsigned long timestamp) const
    {
        if (direct && !BaseSignal::debug)
            signal->writeDirect(BaseSignal::payloadWord(data, length), timestamp);
        else
            signal->write(data, length, timestamp);
    }

    // The same, for a caller that has BaseSignal::payloadWord(data, length)
    // at hand already (one word serves all signals of a frame).
    void write(const unsigned char* data, unsigned long length, uint64_t payload, unsigned long timestamp) const
    {
        if (direct && !BaseSignal::debug)
            signal->writeDirect(payload, timestamp);
        else
            signal->write(data, length, timestamp);
    }

    Signal* signal;
    bool direct;
};
