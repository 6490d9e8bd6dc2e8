// Which signal names EventParser finds in a description, and how it files them.
#include "event/EventParser.h"

#include <gtest/gtest.h>

#include <sstream>

using Names = std::set<std::string>;
using Inputs = std::map<int, std::string>;

TEST(EventParser, CountsOccurrencesAndKeepsEachNameOnce)
{
    EventParser p("CAN.signal3 > 5 && CAN.signal3 < 9 || LIN.signal1 + FLEXRAY.signal22 - MII.signal4\n"
                  "RC.F12 RC.TRG RC.F Logger.Timer Logger.Status GPS.Speed GPS.Altitude AI.3 + AI.3 DI.1");
    const eventFlexer& s = p.scanner;
    EXPECT_EQ(s.allSignals, (Names{"AI.3", "CAN.signal3", "DI.1", "FLEXRAY.signal22", "GPS.Altitude", "GPS.Speed",
                                   "LIN.signal1", "Logger.Status", "Logger.Timer", "MII.signal4", "RC.F12",
                                   "RC.TRG"}));
    EXPECT_EQ(s.rcKeys, (Names{"RC.F12", "RC.TRG"}));
    EXPECT_EQ(s.loggerSignals, (Names{"Logger.Status", "Logger.Timer"}));
    EXPECT_EQ(s.gpsSignals, (Names{"GPS.Altitude", "GPS.Speed"}));
    EXPECT_EQ(s.analogInputs, (Inputs{{3, "AI.3"}}));
    EXPECT_EQ(s.digitalInputs, (Inputs{{1, "DI.1"}}));
    const std::vector<int> counts{s.canCount,    s.linCount,     s.flexRayCount, s.rcCount,  s.digitalCount,
                                  s.analogCount, s.loggerCount,  s.timerCount,   s.gpsCount, s.miiCount};
    EXPECT_EQ(counts, (std::vector<int>{2, 1, 1, 2, 1, 2, 2, 1, 2, 1}));
}

TEST(EventParser, InputNumbersAreReadWithBaseZeroAndNamedAsWritten)
{
    EventParser p("DI.010 AI.09 AI.7 || AI.07 DI.12");
    EXPECT_EQ(p.scanner.digitalInputs, (Inputs{{8, "DI.010"}, {12, "DI.12"}}));
    EXPECT_EQ(p.scanner.analogInputs, (Inputs{{0, "AI.09"}, {7, "AI.7"}})); // first name of a number stays
    EXPECT_EQ(p.scanner.allSignals, (Names{"AI.07", "AI.09", "AI.7", "DI.010", "DI.12"}));
    EXPECT_EQ(p.scanner.analogCount, 3);
}

TEST(EventParser, NamesAreFoundAnywhereButOnlyWholeAndInTheirCase)
{
    EventParser embedded("xCAN.signal1y(GPS.Timex)Logger.Timers");
    EXPECT_EQ(embedded.scanner.allSignals, (Names{"CAN.signal1", "GPS.Time", "Logger.Timer"}));

    for (const char* text : {"", "no names here", "gps.speed can.signal1 Ai.1", "CAN.signal GPS.Spe RC.F AI. DI.x",
                             "Logger.Tim LIN.signalx"}) {
        EventParser p(text);
        EXPECT_TRUE(p.scanner.allSignals.empty()) << text;
        EXPECT_EQ(p.scanner.canCount + p.scanner.rcCount + p.scanner.analogCount + p.scanner.digitalCount, 0) << text;
    }
}

TEST(EventParser, AnyBytesAreScannedAndCountersWrap)
{
    const char raw[] = "\0CAN.signal1\0\xff\x80GPS.Date\n\n\x01RC.TRG"; // and the final NUL
    EventParser p(std::string(raw, sizeof raw));
    EXPECT_EQ(p.scanner.allSignals, (Names{"CAN.signal1", "GPS.Date", "RC.TRG"}));

    std::string many;
    for (int i = 0; i < 65537; ++i)
        many += "RC.TRG,";
    EXPECT_EQ(EventParser(many).scanner.rcCount, 1);
}

TEST(EventParser, AScannerHeldByAClientReadsItsInputOnce)
{
    std::istringstream text("CAN.signal1 DI.2");
    eventFlexer scanner(&text);
    EXPECT_EQ(scanner.yylex(), 0);
    EXPECT_EQ(scanner.yylex(), 0); // the input is let go of: nothing is counted twice
    EXPECT_EQ(scanner.allSignals, (Names{"CAN.signal1", "DI.2"}));
    EXPECT_EQ(scanner.canCount + scanner.digitalCount, 2);

    std::istringstream more("CAN.signal1 LIN.signal2");
    scanner.switch_streams(&more);
    scanner.yylex();
    EXPECT_EQ(scanner.allSignals, (Names{"CAN.signal1", "DI.2", "LIN.signal2"}));
    EXPECT_EQ(scanner.canCount + scanner.linCount, 3);
}
