// Fuzz target: event description text through EventParser.
//
// The whole input is the text, NUL bytes included. Every name the scanner
// files in a table of its own must also be in allSignals, and no table may
// hold more names than occurrences were counted.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "event/EventParser.h"

#include <type_traits>

namespace {

bool listed(const eventFlexer& scanner, const std::string& name)
{
    return scanner.allSignals.count(name) != 0;
}

template <class Table>
void requireListed(const eventFlexer& scanner, const Table& table)
{
    for (const auto& entry : table) {
        if constexpr (std::is_same_v<Table, std::set<std::string>>)
            fuzz::require(listed(scanner, entry), "a name filed by kind is in allSignals");
        else
            fuzz::require(listed(scanner, entry.second), "an input name is in allSignals");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::Session session(0);
    FuzzInput in(data, size);
    const EventParser parser(in.rest());
    const eventFlexer& scanner = parser.scanner;

    requireListed(scanner, scanner.rcKeys);
    requireListed(scanner, scanner.loggerSignals);
    requireListed(scanner, scanner.gpsSignals);
    requireListed(scanner, scanner.digitalInputs);
    requireListed(scanner, scanner.analogInputs);
    // The counters wrap at 65536; inputs stay far below that.
    fuzz::require(scanner.rcKeys.size() <= scanner.rcCount, "each remote-control name was counted");
    fuzz::require(scanner.gpsSignals.size() <= scanner.gpsCount, "each GPS name was counted");
    fuzz::require(scanner.loggerSignals.size() <= scanner.loggerCount, "each logger name was counted");
    fuzz::require(scanner.timerCount <= scanner.loggerCount, "the timer is a logger name");
    fuzz::require(scanner.digitalInputs.size() <= scanner.digitalCount, "each digital input was counted");
    fuzz::require(scanner.analogInputs.size() <= scanner.analogCount, "each analog input was counted");
    return 0;
}
