// EventParser: the signal names an event description mentions.
//
// An event description is free text, typically a trigger condition written
// by a user. EventParser scans it once, at construction, and leaves in
// `scanner` the fixed names it found ("CAN.signal12", "DI.3", "GPS.Speed",
// ...), sorted into tables by source, with per-source counts. It checks no
// syntax: everything that is not one of those names is ignored.
//
// Thread safety: construct one EventParser at a time (the scanner has
// process-wide state); a finished object may be read from several threads.
#pragma once

#include "event/eventFlexer.h"

#include <string>

class EventParser {
public:
    explicit EventParser(std::string const& text);
    ~EventParser();
    EventParser(const EventParser&) = delete;
    EventParser& operator=(const EventParser&) = delete;

    eventFlexer scanner;
};
