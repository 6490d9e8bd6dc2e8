// EventScanner: the flex-generated scanner of event descriptions (yylex is
// generated from event/event.l). It reads one input to its end and files
// the names it finds in the tables of an eventFlexer.
//
// The class derives from eventFlexLexer, flex's C++ scanner class declared
// under this scanner's own name (the library holds a second flex scanner, for
// expressions). Internal: only eventFlexer uses it, so that no public header
// needs <FlexLexer.h>.
//
// Thread safety: none; see eventFlexer.
#pragma once

// The generated scanner source defines yyFlexLexer itself and has declared
// the class by the time it includes this header.
#ifndef yyFlexLexer
#define yyFlexLexer eventFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
#endif

#include "event/eventFlexer.h"

#include <cstdint>
#include <istream>
#include <map>
#include <set>
#include <string>

class EventScanner : public eventFlexLexer {
public:
    EventScanner(std::istream& in, eventFlexer& found) : eventFlexLexer(&in, nullptr), found_(found) {}

    // Scans the whole input and returns 0 at its end.
    int yylex() override;

private:
    // Enters the matched name into allSignals and `table`, and counts it.
    void record(std::set<std::string>* table, uint16_t& count);
    // Enters the matched input number, under indexPrefix, into allSignals
    // and (unless the number is there already) into `inputs`.
    void recordInput(std::map<int, std::string>& inputs);

    eventFlexer& found_;
};
