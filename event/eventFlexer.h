// eventFlexer: what the scanner behind EventParser found in an event
// description: the fixed signal names it mentions, by source, with
// per-source counts of their occurrences.
//
// The scanning itself is done by an internal flex-generated scanner that
// yylex() runs over the input and that fills these tables; a client needs
// no flex header to hold or read an eventFlexer.
//
// Thread safety: indexPrefix is process-wide, so two descriptions must not be
// scanned at the same time. A scanner that has finished may be read from
// several threads.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <set>
#include <string>

class eventFlexer {
public:
    // Reads `in` when yylex() is called; nothing when null.
    explicit eventFlexer(std::istream* in = nullptr) : input_(in) {}

    // Makes `in` the input of the next yylex() (nothing when null).
    void switch_streams(std::istream* in) { input_ = in; }
    // Scans the whole input, adding what it names to the tables, and returns
    // 0 at its end. The input is let go of then: it may be destroyed, and a
    // further call scans nothing until switch_streams gives another.
    int yylex();

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
    std::istream* input_;
};
