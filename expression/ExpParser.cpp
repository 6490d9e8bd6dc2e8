// Construction, evaluation and the operations of ExpParser.
#include "expression/ExpParser.h"

#include "expression/expFlexLexer.h"
#include "signal/MessageLine.h"
#include "signal/MessageSink.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sstream>

std::set<ExpParser*> ExpParser::allExpParsers;
int ExpParser::debug = 0;

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

// The operand of opmod as an unsigned 64-bit integer, truncated toward zero;
// a negative value wraps modulo 2^64. False when there is no such integer.
bool toModOperand(double v, uint64_t& out)
{
    constexpr double twoTo63 = 9223372036854775808.0;
    if (!(v >= -twoTo63 && v < 2.0 * twoTo63))
        return false; // NaN, infinite, or beyond 64 bits
    out = v >= twoTo63 ? static_cast<uint64_t>(v) : static_cast<uint64_t>(static_cast<int64_t>(v));
    return true;
}

} // namespace

ExpParser::ExpParser(char const* text, bool edgeTrigger, SignalStorage* storage)
    : program(), stackCapacity(0), stackBase(nullptr), stackTop(nullptr), lexer(std::make_unique<expFlexLexer>()),
      expression(text), edgeTrigger(edgeTrigger), lastResult(false), storage(storage)
{
    pc = program.end();
    // The grammar wants every expression to end in a line end.
    std::istringstream input(expression + '\n');
    if (debug > 1) {
        lexer->set_debug(1);
        expdebug = 1;
    }
    lexer->switch_streams(&input, nullptr);
    if (debug)
        MessageLine::writeText(MessageStream::Output, MessageLine::Debug, "parsing ", input.str());

    expScanPosition = expScanPosition_t();
    const int failed = expparse(this);
    // The scanner must not keep reading from the stream that dies here.
    lexer->yyrestart(std::cin);

    if (failed) {
        MessageLine::writeText(MessageStream::Error, MessageLine::Error, "parser error in ExpParser: ", input.str());
        return;
    }
    if (debug)
        MessageLine::writeText(MessageStream::Output, MessageLine::Debug, "parsed");
    allExpParsers.insert(this);
}

ExpParser::~ExpParser()
{
    allExpParsers.erase(this);
    delete[] stackBase;
}

void ExpParser::clear()
{
    while (!allExpParsers.empty())
        delete *allExpParsers.begin();
}

void ExpParser::add(const step_t& step)
{
    program.push_back(step);
    if (step.first == &ExpParser::opdouble || step.first == &ExpParser::opsignal)
        growStack();
}

void ExpParser::add(operation_t op)
{
    add(step_t(op, value_t()));
}

void ExpParser::add(double value)
{
    step_t step(&ExpParser::opdouble, value_t());
    step.second.constant = value;
    add(step);
}

void ExpParser::add(const std::string& name)
{
    BaseSignal* signal = BaseSignal::getInstance(name, storage);
    if (signal == nullptr) {
        // The expression stays usable: the missing signal reads as 0.
        MessageLine::writeText(MessageStream::Error, MessageLine::Error, "ExpParser::add: Signal not found: ", name);
        add(0.0);
        return;
    }
    step_t step(&ExpParser::opsignal, value_t());
    step.second.signal = signal;
    step.second.name = name;
    add(step);
    signalIds.insert(signal->id);
    signals.insert(signal);
}

// Every step could push, so a stack as long as the program never overflows.
// The stack is empty while the program is being built: nothing to carry over.
void ExpParser::growStack()
{
    const uint64_t steps = program.size();
    if (steps <= stackCapacity)
        return;
    const size_t used = depth();
    delete[] stackBase;
    stackBase = new double[steps + 1];
    stackCapacity = steps;
    stackTop = stackBase + used;
}

bool ExpParser::getExpResult(bool& result)
{
    clearstack();
    for (pc = program.begin(); pc != program.end(); ++pc)
        (this->*(pc->first))();
    result = false;
    if (depth() != 1) {
        MessageLine::writeText(MessageStream::Error, MessageLine::Error,
                               "stack size wrong at end of program: ", depth());
        return false;
    }
    const double v = *stackTop;
    if (std::isnan(v))
        return false;
    result = v != 0;
    return true;
}

bool ExpParser::getTrigger()
{
    bool result = false;
    if (!getExpResult(result))
        return false;
    if (!edgeTrigger)
        return result;
    if (result == lastResult)
        return false;
    lastResult = result;
    return result;
}

unsigned long ExpParser::getLastestTime() const
{
    unsigned long latest = 0;
    for (const step_t& step : program) {
        if (step.second.name.empty() || step.second.signal == nullptr)
            continue;
        unsigned long raw = 0;
        unsigned long timestamp = 0;
        step.second.signal->read(raw, timestamp);
        if (timestamp > latest)
            latest = timestamp;
    }
    return latest;
}

// The parser adds operands before their operator, even in a program cut
// short by an error, so only a program assembled by hand through add() can
// lack operands; there is no sensible value to go on with.
void ExpParser::stackUnderflow(size_t operands) const
{
    std::ostringstream text;
    text << "Less than " << operands << " elements on bool stack (" << depth() << ")";
    MessageSink::raiseFatal(4, text.str());
}

template <class Combine>
void ExpParser::binary(Combine combine)
{
    require(2);
    const double b = *stackTop--;
    *stackTop = combine(*stackTop, b);
}

template <class Compare>
void ExpParser::comparison(Compare compare)
{
    binary([compare](double a, double b) {
        if (std::isnan(a) || std::isnan(b))
            return unknown;
        return compare(a, b) ? 1.0 : 0.0;
    });
}

void ExpParser::opdouble()
{
    push(pc->second.constant);
}

void ExpParser::opsignal()
{
    double value = 0.0;
    unsigned long timestamp = 0;
    BaseSignal* signal = pc->second.signal;
    push(signal != nullptr && signal->read(value, timestamp) ? value : unknown);
}

void ExpParser::opplus() { binary([](double a, double b) { return a + b; }); }
void ExpParser::opminus() { binary([](double a, double b) { return a - b; }); }
void ExpParser::opmult() { binary([](double a, double b) { return a * b; }); }
void ExpParser::opdiv() { binary([](double a, double b) { return a / b; }); }
void ExpParser::opexp() { binary([](double a, double b) { return std::pow(a, b); }); }

void ExpParser::opmod()
{
    binary([](double a, double b) {
        uint64_t dividend = 0;
        uint64_t divisor = 0;
        if (!toModOperand(a, dividend) || !toModOperand(b, divisor) || divisor == 0)
            return unknown;
        return static_cast<double>(dividend % divisor);
    });
}

void ExpParser::oplt() { comparison([](double a, double b) { return a < b; }); }
void ExpParser::opgt() { comparison([](double a, double b) { return a > b; }); }
void ExpParser::ople() { comparison([](double a, double b) { return a <= b; }); }
void ExpParser::opge() { comparison([](double a, double b) { return a >= b; }); }
void ExpParser::opbeq() { comparison([](double a, double b) { return a == b; }); }
void ExpParser::opbne() { comparison([](double a, double b) { return a != b; }); }
void ExpParser::opdeq() { comparison([](double a, double b) { return a == b; }); }
void ExpParser::opdne() { comparison([](double a, double b) { return a != b; }); }

void ExpParser::oplor()
{
    binary([](double a, double b) {
        const bool aKnown = !std::isnan(a);
        const bool bKnown = !std::isnan(b);
        if (aKnown && bKnown)
            return a != 0 || b != 0 ? 1.0 : 0.0;
        // A known negative operand does not decide the result: kept so.
        if ((aKnown && a > 0) || (bKnown && b > 0))
            return 1.0;
        return unknown;
    });
}

void ExpParser::opland()
{
    binary([](double a, double b) {
        if (!std::isnan(a) && !std::isnan(b))
            return a != 0 && b != 0 ? 1.0 : 0.0;
        if (a == 0 || b == 0)
            return 0.0;
        return unknown;
    });
}

void ExpParser::opneg()
{
    require(1);
    *stackTop = -*stackTop;
}

void ExpParser::opnz()
{
    require(1);
}

void ExpParser::opnot()
{
    require(1);
    const double v = *stackTop;
    if (!std::isnan(v))
        *stackTop = v == 0 ? 1.0 : 0.0;
}
