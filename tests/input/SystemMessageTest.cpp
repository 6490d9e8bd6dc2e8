// Logger status signals: their presentation and the system messages that
// feed them.
#include "InputDefinition.h"
#include "input/LoggerStatusSignal.h"
#include "trace/SystemUsageMessage.h"

#include <gtest/gtest.h>

namespace {

SystemMessage systemMessage(uint32_t code, const std::string& text)
{
    SystemMessage msg;
    msg.code = code;
    msg.text = text;
    return msg;
}

} // namespace

TEST(SystemMessages, StatusStartAndTimerCodes)
{
    SignalStorage storage;
    LoggerStatusSignal status(inputDef("Logger.Status"), false, &storage);
    LoggerStatusSignal start(inputDef("Logger.Start"), false, &storage);
    inputSignalDef_t timerDef = inputDef("Logger.Timer", 32);
    timerDef.unit = "ms";
    LoggerStatusSignal timer(timerDef, false, &storage);
    EXPECT_EQ(timer.getUnit(), "s");

    // Text that is no number reads as 0; trailing text is ignored.
    const struct { uint32_t code; const char* text; LoggerStatusSignal& written; unsigned long raw; } cases[] = {
        {16, "3", status, 3}, {30, "1", start, 1}, {31, "86400", timer, 86400}, {16, "abc", status, 0},
        {16, " 5xyz", status, 5}};
    std::vector<unsigned long> ids{1, 2};
    for (const auto& c : cases) {
        EXPECT_TRUE(InputSignal::decodeMessage(systemMessage(c.code, c.text), ids, &storage)) << c.text;
        EXPECT_EQ(ids, std::vector<unsigned long>{c.written.id}) << c.text;
        EXPECT_EQ(c.written.slot->raw, c.raw) << c.text;
    }
    EXPECT_EQ(status.getValueDescription(3), "Warning");

    EXPECT_FALSE(InputSignal::decodeMessage(systemMessage(17, "3"), ids, &storage));
    EXPECT_TRUE(ids.empty());
    EXPECT_FALSE(InputSignal::decodeMessage(systemMessage(2, "3"), ids, &storage)); // not a usage message

    // A common time stamp for all, values and validity untouched.
    LoggerStatusSignal::updateTimestamp(555);
    EXPECT_EQ(stateOf(status) + ", " + stateOf(timer), "valid 5 @555 modified, valid 15180 @555 modified");
}

TEST(SystemMessages, UsageMessagesInEveryAbsentMemoryCombination)
{
    SignalStorage storage;
    LoggerStatusSignal internal(inputDef("Logger.IntMemory"), false, &storage);
    inputSignalDef_t ownUnit = inputDef("Logger.ExtMemory");
    ownUnit.unit = "MB";
    LoggerStatusSignal external(ownUnit, false, &storage);
    EXPECT_EQ(internal.getUnit(), "%");
    EXPECT_EQ(external.getUnit(), "MB");
    EXPECT_EQ(external.getValueDescription(255), "N/C");

    for (unsigned absent = 0; absent < 8; ++absent) {
        SystemUsageMessage usage;
        usage.internalUsage = (absent & 1) ? 255 : 40;
        usage.externalUsage = (absent & 2) ? 255 : 60;
        usage.externalUsage2 = (absent & 4) ? 255 : 70;
        internal.clear();
        external.clear();
        std::vector<unsigned long> ids;
        EXPECT_TRUE(InputSignal::decodeMessage(usage, ids, &storage)) << absent;
        EXPECT_EQ(internal.slot->raw, usage.internalUsage) << absent;
        const uint8_t present = usage.externalUsage != 255 ? usage.externalUsage : usage.externalUsage2;
        if (present == 255) {
            EXPECT_EQ(ids, std::vector<unsigned long>{internal.id}) << absent;
            EXPECT_FALSE(external.slot->valid) << absent;
        } else {
            EXPECT_EQ(ids, (std::vector<unsigned long>{external.id, internal.id})) << absent;
            EXPECT_EQ(external.slot->raw, present) << absent;
        }
    }
}
