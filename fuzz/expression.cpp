// Fuzz target: expression text through the ExpParser constructor (scanner,
// grammar, name lookup) and, when it parses, through getExpResult,
// getTrigger and getLastestTime over signals holding values from the input:
// NaN, infinities and values never written included.
//
// Input: the expression text up to the first NUL byte (so seeds are plain
// text), then a flags byte (edge trigger, parser debug lines), a debug
// selector byte, and up to four rounds of signal values: per signal a byte
// whose low bit leaves it without a value, and its 8 raw bytes.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "expression/ExpParser.h"

#include <array>

namespace {

constexpr size_t maxRounds = 4;

struct Variable {
    const char* name;
    uint8_t bits;
    signalValue_t type;
};

// Names the scanner takes apart differently: keyword look-alikes, and
// characters that may occur inside a name but not start one.
constexpr std::array<Variable, 7> variables{{
    {"a", 8, SIGNAL_UNSIGNED},
    {"b", 16, SIGNAL_SIGNED},
    {"speed", 32, SIGNAL_FLOAT},
    {"x1.y", 64, SIGNAL_DOUBLE},
    {"temp%", 64, SIGNAL_UNSIGNED},
    {"true", 1, SIGNAL_UNSIGNED},
    {"Pressed", 64, SIGNAL_SIGNED},
}};

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        for (const Variable& variable : variables) {
            baseSignalDef_t def;
            def.instance = variable.name;
            def.signal = variable.name;
            def.bits = variable.bits;
            def.type = variable.type;
            def.scale = 0.25;
            def.offset = -1;
            new BaseSignal(def, false, built); // kept for the whole process
        }
        return built;
    }();
    return *storage;
}

void setValues(FuzzInput& in, uint64_t timestamp, SignalStorage& storage)
{
    for (const Variable& variable : variables) {
        BaseSignal* signal = storage.instancesByName.at(variable.name);
        const bool unknown = in.flag();
        const uint64_t raw = in.number<uint64_t>();
        if (unknown)
            signal->clear();
        else
            signal->writeRaw(raw, timestamp + (raw & 0xff));
    }
}

void evaluate(ExpParser& parser, FuzzInput& in, SignalStorage& storage)
{
    for (size_t round = 0; round < maxRounds; ++round) {
        setValues(in, 1000 * (round + 1), storage);
        bool result = true;
        const bool known = parser.getExpResult(result);
        fuzz::require(known || !result, "an unknown result reads false");
        const bool trigger = parser.getTrigger();
        if (!parser.edgeTrigger)
            fuzz::require(trigger == (known && result), "a level trigger is the known result");
        else
            fuzz::require(!trigger || (known && result), "an edge trigger fires on a true result only");
        parser.getLastestTime();
        if (in.empty())
            break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    BaseSignal::clearAll(&storage);
    FuzzInput in(data, size);
    const std::string text = in.line();
    const uint8_t flags = in.byte();
    fuzz::Session session(in.byte());
    // Level 1 only: the parser's trace (level 2) is written with C stdio.
    ExpParser::debug = (flags & 2) != 0 ? 1 : 0;

    ExpParser parser(text.c_str(), (flags & 1) != 0, &storage);
    if (ExpParser::allExpParsers.count(&parser) != 0)
        evaluate(parser, in, storage);
    ExpParser::debug = 0;
    return 0;
}
