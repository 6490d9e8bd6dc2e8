// Analog readings: mantissa and decimal exponent into the four value types.
#include "InputDefinition.h"
#include "input/AnalogSignal.h"
#include "trace/AnalogTraceMessage.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

namespace {

bool decode(int32_t mantissa, int8_t exponent, std::vector<unsigned long>& ids, uint16_t input = 0)
{
    AnalogTraceMessage msg;
    msg.elements.resize(1);
    msg.elements[0].input = input;
    msg.elements[0].mantissa = mantissa;
    msg.elements[0].exponent = exponent;
    return InputSignal::decodeMessage(msg, ids, 1);
}

} // namespace

TEST(Analog, OneReadingFeedsEveryTypeOnItsKey)
{
    SignalStorage storage;
    AnalogSignal whole(inputDef("signed", 32, SIGNAL_SIGNED, 1, 2), false, &storage);
    // 64 bits of a float signal show the upper half the previous signal left.
    AnalogSignal single(inputDef("float", 64, SIGNAL_FLOAT, 1, 2), false, &storage);
    AnalogSignal precise(inputDef("double", 64, SIGNAL_DOUBLE, 1, 2), false, &storage);
    AnalogSignal narrow(inputDef("unsigned", 16, SIGNAL_UNSIGNED, 1, 2), false, &storage);

    std::vector<unsigned long> ids;
    ASSERT_TRUE(decode(-1234, -2, ids, 2));
    EXPECT_EQ(ids, (std::vector<unsigned long>{whole.id, single.id, precise.id, narrow.id}));
    EXPECT_EQ(physicalOf(whole), -1234.0);
    EXPECT_EQ(physicalOf(single), -12.34f);
    EXPECT_EQ(single.slot->raw >> 32, 0xffffffffu);
    EXPECT_EQ(physicalOf(precise), -12.34);
    EXPECT_EQ(narrow.slot->raw, 0xfb2eu);

    EXPECT_FALSE(decode(1, 0, ids, 3));
    EXPECT_TRUE(ids.empty());
    AnalogSignal inputZero(inputDef("zero", 32, SIGNAL_SIGNED, 1, 0), false, &storage);
    EXPECT_TRUE(InputSignal::decodeMessage(AnalogTraceMessage(), ids, 1)); // no elements: input 0
    EXPECT_EQ(ids, std::vector<unsigned long>{inputZero.id});
}

TEST(Analog, EveryExponentStaysDefined)
{
    SignalStorage storage;
    AnalogSignal single(inputDef("float", 32, SIGNAL_FLOAT, 1), false, &storage);
    AnalogSignal precise(inputDef("double", 64, SIGNAL_DOUBLE, 1), false, &storage);
    std::vector<unsigned long> ids;
    for (int exponent = -128; exponent <= 127; ++exponent)
        for (int32_t mantissa : {INT32_MIN, -1, 0, INT32_MAX}) {
            decode(mantissa, int8_t(exponent), ids);
            const double expected = mantissa * std::pow(10.0, exponent);
            EXPECT_DOUBLE_EQ(physicalOf(precise), expected);
            const double narrowed = physicalOf(single);
            const double wanted = std::fabs(expected) > 3.5e38 ? std::copysign(INFINITY, expected) : expected;
            EXPECT_FLOAT_EQ(float(narrowed), float(wanted)) << mantissa << "e" << exponent;
        }
    // Beyond FLT_MAX the hardware rounding holds: FLT_MAX within half a last
    // place, infinite from there on.
    decode(340282350, 30, ids);
    EXPECT_EQ(physicalOf(single), FLT_MAX);
    decode(-340282360, 30, ids);
    EXPECT_EQ(physicalOf(single), -INFINITY);
    decode(1, 23, ids);
    EXPECT_EQ(physicalOf(precise), 1e23); // the nearest double, not pow's neighbour
}
