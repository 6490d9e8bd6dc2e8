// What a client sees of a signal's value: valid, modified and time stamps.
#include "signal/BaseSignal.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

TEST(Value, FillPatternsThenValidModifiedAndTimestampAcrossWrites)
{
    SignalStorage storage;
    auto def = definitionOf("fresh", 32);
    def.signal = std::string(40, 'n');
    def.valueDescription = {{0, "neutral"}, {7, "reverse"}};
    BaseSignal sig(def, false, &storage);
    EXPECT_EQ(sig.slot, &sig.privateSlot);
    EXPECT_EQ(sig.slot->size, 104u);
    EXPECT_EQ(std::string(sig.slot->name), std::string(31, 'n')); // cut, NUL-terminated
    EXPECT_EQ(stateOf(sig), "invalid aaaaaaaa @1431655765"); // time stamp 0x55555555
    // A first write of the fill pattern is not a change.
    sig.write(0xaaaaaaaaULL, 10);
    EXPECT_EQ(stateOf(sig), "valid aaaaaaaa @10");
    EXPECT_EQ(sig.getValueDescription(7) + "|" + sig.getValueDescription(8), "reverse|");

    EXPECT_TRUE(sig.write(5, 100));
    EXPECT_EQ(stateOf(sig), "valid 5 @100 modified");
    EXPECT_TRUE(sig.write(5, 200));
    EXPECT_EQ(stateOf(sig), "valid 5 @200"); // same value again
    EXPECT_TRUE(sig.writeRaw(0x1234, 300));
    EXPECT_EQ(stateOf(sig), "valid 1234 @300 modified");
    EXPECT_TRUE(sig.writeRaw(0x1234, 400));
    EXPECT_EQ(stateOf(sig), "valid 1234 @400");
    EXPECT_TRUE(sig.writeTS(500)); // time only: raw, valid, modified kept
    EXPECT_EQ(stateOf(sig), "valid 1234 @500");

    sig.clear();
    EXPECT_EQ(stateOf(sig), "invalid 0 @0 modified");
    EXPECT_EQ(sig.value, 0.0);
    sig.writeTS(600); // does not make a cleared value valid
    EXPECT_EQ(stateOf(sig), "invalid 0 @600 modified");
    sig.write(0, 700); // writing the cleared raw 0 is no change, but valid
    EXPECT_EQ(stateOf(sig), "valid 0 @700");
}
