// eventFlexer: the scanner behind EventParser. It reads an event description
// once and collects the fixed signal names it mentions, by source, with
// per-source counts of their occurrences.
//
// The class derives from eventFlexLexer, flex's C++ scanner class declared
// under this scanner's own name (the library holds a second flex scanner, for
// expressions); yylex is generated from event/event.l.
//
// Thread safety: indexPrefix is process-wide, so two descriptions must not be
// scanned at the same time. A scanner that has finished may be read from
// several threads.
#pragma once

// The generated scanner source defines yyFlexLexer itself and has declared
// the class by the time it includes this header.
#ifndef yyFlexLexer
#ifdef yyFlexLexerOnce
#define yyFlexLexer eventFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
#else
#define yyFlexLexer eventFlexLexer
#include <FlexLexer.h>
#undef yyFlexLexer
// As we found it: a client's own later #include <FlexLexer.h> still declares
// the default yyFlexLexer.
#undef yyFlexLexerOnce
#endif
#endif

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <set>
#include <string>

class eventFlexer : public eventFlexLexer {
public:
    explicit eventFlexer(std::istream* in = nullptr, std::ostream* out = nullptr) : eventFlexLexer(in, out) {}

    // Scans the whole input and returns 0 at its end.
    int yylex() override;

    std::set<std::string> allSignals;
    std::set<std::string> rcKeys;
    std::map<int, std::string> digitalInputs; // input number -> name as written
    std::map<int, std::string> analogInputs;
    std::set<std::string> loggerSignals;
    std::set<std::string> gpsSignals;

    // Occurrences in the text, duplicates included; they wrap at 65536.
    uint16_t canCount = 0;
    uint16_t linCount = 0;
    uint16_t flexRayCount = 0;
    uint16_t rcCount = 0;
    uint16_t digitalCount = 0;
    uint16_t analogCount = 0;
    uint16_t loggerCount = 0;
    uint16_t timerCount = 0;
    uint16_t gpsCount = 0;
    uint16_t miiCount = 0;

    // "AI." or "DI.": the prefix of the input whose number is being read.
    static std::string indexPrefix;

private:
    // Enters the matched name into allSignals and `table`, and counts it.
    void record(std::set<std::string>* table, uint16_t& count);
    // Enters the matched input number, under indexPrefix, into allSignals
    // and (unless the number is there already) into `inputs`.
    void recordInput(std::map<int, std::string>& inputs);
};
