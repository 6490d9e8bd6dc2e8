// ExpParser: a compiled trigger condition over signal values.
//
// The constructor parses a one-line expression ("speed > 50 && door == 1")
// into `program`, a flat list of steps in postfix order. Each evaluation runs
// the steps over a stack of doubles in which NaN stands for "unknown" (a
// signal without a valid value) and reduces the one value left to a boolean;
// getTrigger can report rising edges instead of levels. Signals are found by
// instance name when the expression is built and read through
// BaseSignal::read on every evaluation.
//
// A text that does not parse gets its error lines on standard error; the
// object then holds whatever steps were added before the error and is left
// out of allExpParsers (its results mean nothing, but evaluating it is safe).
//
// Thread safety: none inside. Build and destroy expressions from one thread
// (the parser, allExpParsers and debug are process-wide and unguarded), and
// evaluate one object from one thread at a time (the stack is a member).
// Evaluation allocates nothing.
#pragma once

#include "signal/BaseSignal.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

class expFlexLexer;

// The operand of a step: a constant, or the signal to read. A step reads a
// signal exactly when `name` is non-empty.
struct value_t {
    union {
        double constant = 0.0;
        BaseSignal* signal;
    };
    std::string name;
};

class ExpParser {
public:
    using operation_t = void (ExpParser::*)();
    using step_t = std::pair<operation_t, value_t>;

    // Parses `text` (not null: a null text throws std::logic_error before
    // anything is parsed) and resolves its signal names in `storage` (the
    // default storage when null). Never throws for a bad expression.
    explicit ExpParser(char const* text, bool edgeTrigger = false, SignalStorage* storage = nullptr);
    ExpParser(const ExpParser&) = delete;
    ExpParser& operator=(const ExpParser&) = delete;
    virtual ~ExpParser();

    // Destroys every registered (successfully built) expression.
    static void clear();

    // Appends a step. Steps that push a value grow the stack as needed.
    void add(const step_t& step);
    // Appends an operation without operand.
    void add(operation_t op);
    // Appends the constant `value`.
    void add(double value);
    // Appends a read of the signal named `name`; an unknown name gets an
    // error line and stands for the constant 0.
    void add(const std::string& name);

    // Evaluates once. True when the result is known, with `result` set to it;
    // false (and `result` false) when it is unknown.
    bool getExpResult(bool& result);
    // Level mode: the known result, false when unknown. Edge mode: true only
    // on a change of the known result to true; unknown results neither
    // trigger nor reset the edge state.
    bool getTrigger();
    // The newest time stamp of the signals the program reads (0 if none).
    unsigned long getLastestTime() const;

    void clearstack() { stackTop = stackBase; }
    // Makes the next evaluation compile `program` again.
    void programChanged() { ++generation; }

    // The operations of the machine. They pop their operands from the stack
    // and push one result. Too few operands are a fatal fault, handed to the
    // message sink: by default the process ends with status 4.
    void opdouble();
    void opsignal();
    void opplus();
    void opminus();
    void opmult();
    void opdiv();
    // Remainder of the operands truncated to unsigned 64-bit integers (a
    // negative operand wraps modulo 2^64). NaN when an operand is NaN, lies
    // outside the range of 64-bit integers, or when the divisor truncates to
    // 0: the remainder is then unknown.
    void opmod();
    void opexp();
    void oplt();
    void opgt();
    void ople();
    void opge();
    void opbeq();
    void opbne();
    void opdeq();
    void opdne();
    // One unknown operand: true if the known one is greater than 0, else unknown.
    void oplor();
    // One unknown operand: false if the other is 0, else unknown.
    void opland();
    void opneg();
    void opnz();
    void opnot();

    std::vector<step_t>::iterator pc;
    // The steps in postfix order. Evaluation runs a compiled form of them,
    // rebuilt whenever they change: every add() is seen, and so is a direct
    // edit that changes the number of steps or moves them (a reallocation).
    // Operands (constants, signals) are always read from here. A client
    // that replaces a step's operation in place calls programChanged().
    std::vector<step_t> program;
    uint64_t stackCapacity;
    double* stackBase; // stackCapacity + 1 slots; slot 0 is never written
    double* stackTop;
    std::unique_ptr<expFlexLexer> lexer;
    std::string expression;
    bool edgeTrigger;
    bool lastResult;
    std::set<uint64_t> signalIds;
    std::set<BaseSignal*, BaseSignalCompare> signals;
    SignalStorage* storage;

    static std::set<ExpParser*> allExpParsers;
    // 0 quiet; 1 "[DEBUG]" lines on standard output; 2 also scanner and
    // parser traces on standard error.
    static int debug;

private:
    // The compiled form: one code per step, the operand read through a
    // pointer into `program`. Built for one state of `program` (its buffer,
    // its size, the generation of add() calls) and unusable (`runnable`
    // false) when a step's operation is not one of the machine's own or
    // lacks its operands: such a program runs step by step as written.
    struct CompiledStep {
        uint8_t code;
        const value_t* operand;
    };
    void compile();
    bool compiledCurrent() const
    {
        return compiledFor.steps == program.data() && compiledFor.size == program.size() &&
               compiledFor.generation == generation;
    }
    void runCompiled();
    void runStepByStep();

    std::vector<CompiledStep> compiled;
    struct {
        const step_t* steps = nullptr;
        size_t size = 0;
        uint64_t generation = ~uint64_t(0);
    } compiledFor;
    uint64_t generation = 0;
    bool runnable = false;

    void growStack();
    size_t depth() const { return static_cast<size_t>(stackTop - stackBase); }
    // A fatal fault unless the stack holds `operands` values.
    void require(size_t operands) const
    {
        if (__builtin_expect(depth() < operands, 0))
            stackUnderflow(operands);
    }
    [[noreturn]] void stackUnderflow(size_t operands) const;
    void push(double v) { *++stackTop = v; }
    void binary(double (*combine)(double, double));
};

// The generated parser: parses the input of `parser`'s scanner into
// `parser`'s program. 0 on success, 1 on a syntax error, 2 when its stack is
// exhausted.
int expparse(void* parser);
// Non-zero turns on the parser trace on standard error.
extern int expdebug;
