// Input keys, the raw-record pre-filter, GPIO and keyboard decoding, and the
// construction of the input classes.
#include "InputDefinition.h"
#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/KeyboardSignal.h"
#include "input/LoggerStatusSignal.h"
#include "support/OutputCapture.h"
#include "support/Printed.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

namespace {

// Whether the raw record of `type` for `input` with `marker` at byte 16 (of
// `length` bytes) is in use on module channel 2.
bool inUse(unsigned type, unsigned input, SignalStorage* storage, unsigned char marker = 1, size_t length = 17)
{
    unsigned char bytes[17] = {};
    bytes[2] = static_cast<unsigned char>(type >> 8);
    bytes[3] = static_cast<unsigned char>(type);
    bytes[15] = static_cast<unsigned char>(input);
    bytes[16] = marker;
    return InputSignal::signalsInUse(bytes, bytes + length, 2, storage);
}

} // namespace

TEST(InputKeys, PreFilterOnRawRecords)
{
    SignalStorage storage;
    EXPECT_FALSE(inUse(19, 5, &storage)); // no input signals at all
    DigitalSignal digital(inputDef("din5", 1, SIGNAL_UNSIGNED, 2, 5), false, &storage);
    AnalogSignal analog(inputDef("ain6", 32, SIGNAL_SIGNED, 2, 6), false, &storage);
    KeyboardSignal trigger(inputDef("RC.TRG"), false, &storage);

    EXPECT_TRUE(inUse(19, 5, &storage));
    EXPECT_FALSE(inUse(19, 5, &storage, 0));     // marker not 1
    EXPECT_FALSE(inUse(19, 5, &storage, 1, 16)); // marker beyond the record
    EXPECT_TRUE(inUse(18, 6, &storage));
    EXPECT_FALSE(inUse(18, 5, &storage));
    EXPECT_FALSE(inUse(20, 5, &storage));
    // Keyboard records ask for key 0x0e only, which no remote-control key has.
    EXPECT_FALSE(inUse(32817, 0, &storage));

    OutputCapture capture;
    BaseSignal::debug = 1;
    inUse(19, 5, &storage);
    EXPECT_EQ(capture.out(), "");
    BaseSignal::debug = 2;
    inUse(19, 5, &storage);
    inUse(32817, 0, &storage);
    BaseSignal::debug = 0;
    EXPECT_EQ(capture.out(), "[DEBUG] InputSignal::signalsInUse() index = 400000000020005 - found\n"
                             "[DEBUG] InputSignal::signalsInUse() index = 80000000000000e - not found\n");
}

TEST(InputKeys, GpioAndKeyboardMessagesReachTheirSignals)
{
    SignalStorage storage;
    DigitalSignal low(inputDef("low", 4, SIGNAL_UNSIGNED, 1, 3, 0), false, &storage);
    DigitalSignal high(inputDef("high", 4, SIGNAL_UNSIGNED, 1, 3, 4), false, &storage);
    DigitalSignal inputZero(inputDef("zero", 16, SIGNAL_UNSIGNED, 1, 0), false, &storage);
    std::vector<unsigned long> ids{123};

    GpioTraceMessage gpio;
    gpio.elements.push_back({3, {}, 0xabcd, 0x00f7});
    gpio.elements.push_back({0, {}, 0xffff, 0xffff}); // only the first element counts
    EXPECT_TRUE(InputSignal::decodeMessage(gpio, ids, 1, &storage));
    EXPECT_EQ(ids, (std::vector<unsigned long>{low.id, high.id}));
    // 0xcd & 0xf7 = 0xc5 in two nibbles; input 0 untouched.
    EXPECT_EQ(std::make_tuple(rawOf(low), rawOf(high), rawOf(inputZero)), std::make_tuple(0x5ul, 0xcul, ~0ul));

    gpio.elements.clear(); // reads as input 0 at level 0
    EXPECT_TRUE(InputSignal::decodeMessage(gpio, ids, 1, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{inputZero.id});
    EXPECT_EQ(inputZero.slot->raw, 0u);
    EXPECT_FALSE(InputSignal::decodeMessage(gpio, ids, 9, &storage));
    EXPECT_TRUE(ids.empty());

    KeyboardSignal f5(inputDef("RC.F5", 64, SIGNAL_SIGNED), false, &storage);
    KeyboardMessage key{0, 5, INT32_MIN};
    EXPECT_TRUE(InputSignal::decodeMessage(key, ids, &storage));
    EXPECT_EQ(ids, std::vector<unsigned long>{f5.id});
    EXPECT_EQ(f5.slot->raw, 0xffffffff80000000UL);
    for (int32_t code : {INT32_MIN, -1, 0, INT32_MAX}) {
        key.keyCode = code;
        EXPECT_FALSE(InputSignal::decodeMessage(key, ids, &storage)) << code;
    }
}

TEST(InputConstruction, IdentifiersNamesAndClashes)
{
    SignalStorage storage;
    OutputCapture capture;
    const unsigned long next = BaseSignal::instanceCounter;
    DigitalSignal digital(inputDef("d"), false, &storage);
    AnalogSignal analog(inputDef("a"), false, &storage);
    KeyboardSignal key(inputDef("RC.F10"), false, &storage);
    LoggerStatusSignal status(inputDef("Logger.Status"), false, &storage);
    // The kind bits over the running number.
    EXPECT_EQ((std::vector<unsigned long>{digital.id - next, analog.id - next, key.id - next, status.id - next}),
              (std::vector<unsigned long>{0x0400000000000000, 0x0200000000000001, 0x0800000000000002,
                                          0x0100000000000003}));
    EXPECT_EQ(InputSignal::inputContainer.at(0x080000000000000aUL).front(), &key);
    EXPECT_EQ(printed(key), printed(static_cast<const BaseSignal&>(key)) + ";" + printed(key.definition) + ";index=" +
                                hexText(key.id));

    KeyboardSignal f11(inputDef("RC.F11"), false, &storage);
    LoggerStatusSignal unknown(inputDef("Logger.Foo"), false, &storage);
    EXPECT_EQ(capture.out(), "[ERROR] InputSignal::KeyboardSignal() RC.F11 not found in predefined input lists, "
                             "gpId = 0\n"
                             "[ERROR] InputSignal::LoggerStatusSignal() Logger.Foo not found in predefined input "
                             "lists, gpId = 0\n");
    EXPECT_EQ(f11.id, 0u);
    EXPECT_EQ(storage.inputSignals.count(0), 0u);

    // An identifier already taken: the signal is rejected and never decoded.
    capture.reset();
    BaseSignal::instanceCounter = next;
    DigitalSignal clash(inputDef("clash"), false, &storage);
    BaseSignal::instanceCounter = next + 10;
    EXPECT_EQ(capture.out(),
              "[ERROR] InputSignal::DigitalSignal() gpId 0x" + hexText(digital.id) + " already exists\n");
    EXPECT_EQ(clash.id, ~0UL);
    EXPECT_EQ(BaseSignal::getInstance(digital.id, &storage), &digital);
    EXPECT_EQ(InputSignal::inputContainer.at(0x0400000000000000UL).size(), 1u);

    // The created line carries the print form on the same line.
    capture.reset();
    BaseSignal::debug = 1;
    KeyboardSignal traced(inputDef("RC.F1"), false, &storage);
    BaseSignal::debug = 0;
    const std::string out = capture.out();
    const size_t line = out.find("[DEBUG] InputSignal::KeyboardSignal() RC.F1 created instance=RC.F1,");
    EXPECT_NE(line, std::string::npos) << out;
    EXPECT_EQ(out.find('\n', line), out.size() - 1) << out; // and it is the last line
}
