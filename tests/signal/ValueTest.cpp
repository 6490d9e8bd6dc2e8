// What a client sees of a signal's value: valid, modified and time stamps.
#include "signal/BaseSignal.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

TEST(Value, NewSlotCarriesFillPatterns)
{
    SignalStorage storage;
    auto def = definitionOf("fresh", 32);
    def.signal = std::string(40, 'n');
    BaseSignal sig(def, false, &storage);
    EXPECT_EQ(sig.slot, &sig.privateSlot);
    EXPECT_EQ(sig.slot->size, 104u);
    EXPECT_EQ(std::string(sig.slot->name), std::string(31, 'n'));
    EXPECT_EQ(sig.slot->name[31], '\0');
    EXPECT_FALSE(sig.slot->valid);
    EXPECT_EQ(sig.slot->raw, 0xaaaaaaaau);
    EXPECT_EQ(sig.slot->timestamp, 0x55555555u);

    unsigned long raw = 0, ts = 0;
    EXPECT_FALSE(sig.read(raw, ts));
    EXPECT_EQ(raw, 0xaaaaaaaau);
    // A first write of the fill pattern is not a change.
    sig.write(0xaaaaaaaaULL, 10);
    EXPECT_FALSE(sig.isModified());
    EXPECT_TRUE(sig.read(raw, ts));
    EXPECT_EQ(ts, 10u);
}

TEST(Value, ModifiedValidAndTimestampAcrossWrites)
{
    SignalStorage storage;
    auto def = definitionOf("speed", 32);
    def.valueDescription = {{0, "neutral"}, {7, "reverse"}};
    BaseSignal sig(def, false, &storage);
    EXPECT_EQ(sig.getValueDescription(7), "reverse");
    EXPECT_EQ(sig.getValueDescription(8), "");
    unsigned long raw = 0, ts = 0;

    EXPECT_TRUE(sig.write(5, 100));
    EXPECT_TRUE(sig.isModified());
    EXPECT_TRUE(sig.write(5, 200));
    EXPECT_FALSE(sig.isModified()); // same value again
    EXPECT_TRUE(sig.read(raw, ts));
    EXPECT_EQ(raw, 5u);
    EXPECT_EQ(ts, 200u);

    EXPECT_TRUE(sig.writeRaw(0x1234, 300));
    EXPECT_TRUE(sig.isModified());
    EXPECT_TRUE(sig.writeRaw(0x1234, 400));
    EXPECT_FALSE(sig.isModified());

    EXPECT_TRUE(sig.writeTS(500)); // time only: raw, valid, modified kept
    EXPECT_TRUE(sig.read(raw, ts));
    EXPECT_EQ(raw, 0x1234u);
    EXPECT_EQ(ts, 500u);
    EXPECT_FALSE(sig.isModified());

    sig.clear();
    EXPECT_TRUE(sig.isModified());
    EXPECT_FALSE(sig.read(raw, ts));
    EXPECT_EQ(raw, 0u);
    EXPECT_EQ(ts, 0u);
    EXPECT_EQ(sig.value, 0.0);

    sig.writeTS(600); // does not make a cleared value valid
    EXPECT_FALSE(sig.read(raw, ts));
    sig.write(0, 700); // writing the cleared raw 0 is no change, but valid
    EXPECT_FALSE(sig.isModified());
    EXPECT_TRUE(sig.read(raw, ts));
}
