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

// What the operations compute, for the member operations and the compiled
// form alike. NaN is the unknown value.
double plus(double a, double b) { return a + b; }
double minus(double a, double b) { return a - b; }
double times(double a, double b) { return a * b; }
double divided(double a, double b) { return a / b; }
double power(double a, double b) { return std::pow(a, b); }

double wrappedRemainder(double a, double b)
{
    uint64_t dividend = 0;
    uint64_t divisor = 0;
    if (!toModOperand(a, dividend) || !toModOperand(b, divisor) || divisor == 0)
        return unknown;
    return static_cast<double>(dividend % divisor);
}

// A comparison is unknown when either side is.
double compared(double a, double b, bool holds)
{
    return std::isunordered(a, b) ? unknown : (holds ? 1.0 : 0.0);
}
double less(double a, double b) { return compared(a, b, a < b); }
double greater(double a, double b) { return compared(a, b, a > b); }
double lessOrEqual(double a, double b) { return compared(a, b, a <= b); }
double greaterOrEqual(double a, double b) { return compared(a, b, a >= b); }
double equal(double a, double b) { return compared(a, b, a == b); }
double notEqual(double a, double b) { return compared(a, b, a != b); }

double logicalOr(double a, double b)
{
    const bool aKnown = !std::isnan(a);
    const bool bKnown = !std::isnan(b);
    if (aKnown && bKnown)
        return a != 0 || b != 0 ? 1.0 : 0.0;
    // A known negative operand does not decide the result: kept so.
    if ((aKnown && a > 0) || (bKnown && b > 0))
        return 1.0;
    return unknown;
}

double logicalAnd(double a, double b)
{
    if (!std::isnan(a) && !std::isnan(b))
        return a != 0 && b != 0 ? 1.0 : 0.0;
    if (a == 0 || b == 0)
        return 0.0;
    return unknown;
}

double logicalNot(double v)
{
    return std::isnan(v) ? v : (v == 0 ? 1.0 : 0.0);
}

double readSignal(BaseSignal* signal)
{
    double value = 0.0;
    unsigned long timestamp = 0;
    return signal != nullptr && signal->read(value, timestamp) ? value : unknown;
}

// The codes of the compiled form. The equalities of numbers and of truth
// values compute the same and share a code.
enum Code : uint8_t {
    Constant, Signal, KeepValue, Negate, Not,
    Plus, Minus, Times, Divided, Remainder, Power,
    Less, Greater, LessOrEqual, GreaterOrEqual, Equal, NotEqual, Or, And,
};

int operandsOf(Code code)
{
    return code <= Signal ? 0 : code <= Not ? 1 : 2;
}

struct KnownOperation {
    ExpParser::operation_t operation;
    Code code;
};

const KnownOperation knownOperations[] = {
    {&ExpParser::opdouble, Constant}, {&ExpParser::opsignal, Signal}, {&ExpParser::opnz, KeepValue},
    {&ExpParser::opneg, Negate},      {&ExpParser::opnot, Not},       {&ExpParser::opplus, Plus},
    {&ExpParser::opminus, Minus},     {&ExpParser::opmult, Times},    {&ExpParser::opdiv, Divided},
    {&ExpParser::opmod, Remainder},   {&ExpParser::opexp, Power},     {&ExpParser::oplt, Less},
    {&ExpParser::opgt, Greater},      {&ExpParser::ople, LessOrEqual}, {&ExpParser::opge, GreaterOrEqual},
    {&ExpParser::opbeq, Equal},       {&ExpParser::opdeq, Equal},     {&ExpParser::opbne, NotEqual},
    {&ExpParser::opdne, NotEqual},    {&ExpParser::oplor, Or},        {&ExpParser::opland, And},
};

// The code of `operation`; false for an operation the machine does not know
// (any other member of the right type).
bool codeOf(ExpParser::operation_t operation, Code& code)
{
    for (const KnownOperation& known : knownOperations)
        if (known.operation == operation) {
            code = known.code;
            return true;
        }
    return false;
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
        compile();
        return;
    }
    if (debug)
        MessageLine::writeText(MessageStream::Output, MessageLine::Debug, "parsed");
    allExpParsers.insert(this);
    compile(); // now, so that no evaluation allocates
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
    ++generation;
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

void ExpParser::compile()
{
    compiled.clear();
    compiled.reserve(program.size());
    runnable = true;
    int depth = 0;
    for (const step_t& step : program) {
        Code code = Constant;
        if (!codeOf(step.first, code) || depth < operandsOf(code)) {
            runnable = false;
            break;
        }
        depth += operandsOf(code) == 0 ? 1 : 1 - operandsOf(code);
        compiled.push_back(CompiledStep{code, &step.second});
    }
    // Steps added to `program` directly have not grown the stack.
    growStack();
    compiledFor.steps = program.data();
    compiledFor.size = program.size();
    compiledFor.generation = generation;
}

// Depths were checked by compile: no step here lacks its operands, and the
// stack holds one slot per step.
void ExpParser::runCompiled()
{
    double* top = stackBase;
    for (const CompiledStep& step : compiled) {
        switch (step.code) {
        case Constant: *++top = step.operand->constant; break;
        case Signal: *++top = readSignal(step.operand->signal); break;
        case KeepValue: break;
        case Negate: *top = -*top; break;
        case Not: *top = logicalNot(*top); break;
        case Plus: --top, *top = plus(top[0], top[1]); break;
        case Minus: --top, *top = minus(top[0], top[1]); break;
        case Times: --top, *top = times(top[0], top[1]); break;
        case Divided: --top, *top = divided(top[0], top[1]); break;
        case Remainder: --top, *top = wrappedRemainder(top[0], top[1]); break;
        case Power: --top, *top = power(top[0], top[1]); break;
        case Less: --top, *top = less(top[0], top[1]); break;
        case Greater: --top, *top = greater(top[0], top[1]); break;
        case LessOrEqual: --top, *top = lessOrEqual(top[0], top[1]); break;
        case GreaterOrEqual: --top, *top = greaterOrEqual(top[0], top[1]); break;
        case Equal: --top, *top = equal(top[0], top[1]); break;
        case NotEqual: --top, *top = notEqual(top[0], top[1]); break;
        case Or: --top, *top = logicalOr(top[0], top[1]); break;
        case And: --top, *top = logicalAnd(top[0], top[1]); break;
        }
    }
    stackTop = top;
}

void ExpParser::runStepByStep()
{
    clearstack();
    for (pc = program.begin(); pc != program.end(); ++pc)
        (this->*(pc->first))();
}

bool ExpParser::getExpResult(bool& result)
{
    if (!compiledCurrent())
        compile();
    if (runnable)
        runCompiled();
    else
        runStepByStep();
    pc = program.end();
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

void ExpParser::binary(double (*combine)(double, double))
{
    require(2);
    const double b = *stackTop--;
    *stackTop = combine(*stackTop, b);
}

void ExpParser::opdouble()
{
    push(pc->second.constant);
}

void ExpParser::opsignal()
{
    push(readSignal(pc->second.signal));
}

void ExpParser::opplus() { binary(plus); }
void ExpParser::opminus() { binary(minus); }
void ExpParser::opmult() { binary(times); }
void ExpParser::opdiv() { binary(divided); }
void ExpParser::opexp() { binary(power); }
void ExpParser::opmod() { binary(wrappedRemainder); }
void ExpParser::oplt() { binary(less); }
void ExpParser::opgt() { binary(greater); }
void ExpParser::ople() { binary(lessOrEqual); }
void ExpParser::opge() { binary(greaterOrEqual); }
void ExpParser::opbeq() { binary(equal); }
void ExpParser::opbne() { binary(notEqual); }
void ExpParser::opdeq() { binary(equal); }
void ExpParser::opdne() { binary(notEqual); }
void ExpParser::oplor() { binary(logicalOr); }
void ExpParser::opland() { binary(logicalAnd); }

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
    *stackTop = logicalNot(*stackTop);
}
