// `rksignal decode` as a user runs it: the built tool on small recordings.
#include "support/CaptureFile.h"
#include "ToolProcess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <fstream>

#include <string>

namespace {

const char* const dbc = "BO_ 256 Speed: 8 ECU\n"
                        " SG_ Value : 0|16@1+ (0.5,0) [0|0] \"km/h\" X\n"
                        " SG_ State : 16|2@1+ (1,0) [0|3] \"\" X\n"
                        "VAL_ 256 State 0 \"idle\" 1 \"run\";\n";

} // namespace

// Rows of changed values in CSV are the example drive's output; --all, a row
// for every write, is what the differential test compares.
TEST(DecodeCommand, JsonLines)
{
    const std::string defs = writeTestFile("speed.dbc", dbc);
    const std::string log = writeTestFile("speed.log", "(10.000000) can0 100#0A000000\n");
    ToolResult jsonl = runTool("decode --defs " + defs + " --format jsonl --signals Speed.State " + log + " 2>/dev/null");
    EXPECT_EQ(jsonl.output,
              "{\"time\":\"1970-01-01 00:00:10.000000\",\"us\":10000000,\"instance\":\"Speed.State\",\"value\":0,"
              "\"unit\":\"\",\"description\":\"idle\"}\n");
}

// The example drive's output has the rows of edge-mode triggers.
TEST(DecodeCommand, TriggersInLevelMode)
{
    const std::string defs = writeTestFile("trigger.dbc", dbc);
    const std::string log = writeTestFile("trigger.log", "(1.000000) can0 100#14000000\n"  // 10 km/h
                                                     "(2.000000) can0 100#C8000000\n"  // 100
                                                     "(3.000000) can0 100#D2000000\n"  // 105
                                                     "(4.000000) can0 100#14000000\n"  // 10
                                                     "(5.000000) can0 100#C8000000\n"  // 100
                                                     "(6.000000) can0 200#C8000000\n"); // no signals
    const std::string base = "decode --defs " + defs + " --format csv --signals none --trigger 'Speed.Value > 50' ";
    ToolResult level = runTool(base + log + " 2>/dev/null");
    EXPECT_EQ(level.output, "time,instance,value,unit,description\n"
                            "1970-01-01 00:00:02.000000,TRIGGER,,,Speed.Value > 50\n"
                            "1970-01-01 00:00:03.000000,TRIGGER,,,Speed.Value > 50\n"
                            "1970-01-01 00:00:05.000000,TRIGGER,,,Speed.Value > 50\n");
}

TEST(DecodeCommand, BadDefinitionsOrExpressionsExitWithStatusTwo)
{
    const std::string defs = writeTestFile("bad.dbc", dbc);
    const std::string broken = writeTestFile("broken.dbc", "BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0 \"\" X\n");
    const std::string log = writeTestFile("bad.log", "(1.0) can0 100#00\n");
    const std::pair<std::string, std::string> cases[] = {
        {"--defs " + broken, broken + ":2: expected ']' after the maximum"},
        {"--defs " + defs + " --trigger 'Speed.Value >'", "[ERROR] expression parser: line 1 syntax error"},
        {"--defs " + defs + " --trigger 'Nope > 1'", "Signal not found: Nope"},
    };
    for (const auto& [arguments, message] : cases) {
        ToolResult result = runTool("decode " + arguments + " " + log + " 2>&1");
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_NE(result.output.find(message), std::string::npos) << result.output;
    }
}

TEST(DecodeCommand, StaleSignalsAreReportedOnceUntilWrittenAgain)
{
    const std::string defs = writeTestFile("stale.dbc", std::string(dbc) + "BO_ 512 Other: 1 X\n SG_ O : 0|8@1+ (1,0) [0|0] \"\" X\n");
    std::string log = "(1.000000) can0 100#01000000\n";
    for (int i = 1; i <= 30; ++i) // only Other for three seconds
        log += "(" + std::to_string(1 + i / 10) + "." + std::to_string(i % 10) + "00000) can0 200#01\n";
    log += "(5.000000) can0 100#02000000\n";
    const std::string path = writeTestFile("stale.log", log);
    ToolResult result = runTool("decode --defs " + defs + " --format csv --signals 'Speed.*' --timeout 1000 " + path +
                            " 2>/dev/null");
    EXPECT_EQ(result.output, "time,instance,value,unit,description\n"
                             "1970-01-01 00:00:01.000000,Speed.Value,0.5,km/h,\n"
                             "1970-01-01 00:00:01.000000,Speed.State,0,,idle\n"
                             "1970-01-01 00:00:02.200000,TIMEOUT,,,Speed.State\n"
                             "1970-01-01 00:00:02.200000,TIMEOUT,,,Speed.Value\n"
                             "1970-01-01 00:00:05.000000,Speed.Value,1,km/h,\n");
}

// The other recording kinds, and their merge, are decoded in the example
// recordings' test; here the interfaces of a capture on channels of their
// own (interface 0 on the file's channel 5, interface 1 on 2) beside a
// candump log.
TEST(DecodeCommand, CandumpAndCaptureMergedInTimeOrderOnTheirChannels)
{
    const std::string defs = writeTestFile("kinds.json", R"({"can": [
      {"instance": "Bus1.Speed", "channel": 1, "msgId": 256, "bits": 8},
      {"instance": "Bus2.Speed", "channel": 2, "msgId": 256, "bits": 8}]})");
    const std::string candump = writeTestFile("kinds.log", "(10.000000) can0 100#05\n(13.000000) can0 100#06\n");
    const std::string capture = CaptureFile::write(
        testing::TempDir() + "kinds.pcapng",
        CaptureFile::pcapng({227, 227}, {{11, 0, {0, 0, 1, 0, 1, 0, 0, 0, 7}, 1}, {12, 0, {0, 0, 1, 0, 1, 0, 0, 0, 8}}}));
    ToolResult result = runTool("decode --defs " + defs + " --format csv --channel kinds.pcapng#1=2 --channel kinds.pcapng=5 " +
                                candump + " " + capture + " 2>&1");
    EXPECT_EQ(result.status, 0);
    // Up to the summary's timing.
    EXPECT_EQ(result.output.substr(0, result.output.rfind("; ") + 2),
              "time,instance,value,unit,description\n"
              "1970-01-01 00:00:10.000000,Bus1.Speed,5,,\n"
              "1970-01-01 00:00:11.000000,Bus2.Speed,7,,\n"
              "1970-01-01 00:00:13.000000,Bus1.Speed,6,,\n"
              "rksignal: 4 frames read, 3 with signals, 3 signal writes, 0 triggers fired, 0 bad lines; ")
        << result.output;
}

TEST(DecodeCommand, BadLinesOfEveryRecordingShareTheCountAndTheFirstTen)
{
    const std::string defs = writeTestFile("badlines.dbc", dbc);
    std::string lines;
    for (int i = 0; i < 12; ++i)
        lines += "(1.0) LIN 1\n";
    const std::string trace = writeTestFile("badlines.trace", lines);
    const std::string candump = writeTestFile("badlines.log", "(0.5) can0 100#0\n");
    const std::string capture = testing::TempDir() + "badlines.pcap";
    CaptureFile::write(capture, CaptureFile::pcap(227, false, {{2, 0, {0, 0, 1}}}));
    ToolResult result = runTool("decode --defs " + defs + " --format none " + candump + " " + trace + " " + capture +
                            " /nonexistent.trace 2>&1");
    EXPECT_EQ(result.status, 1); // the missing file; the rest is decoded
    EXPECT_NE(result.output.find("rksignal: /nonexistent.trace: No such file or directory\n"), std::string::npos);
    EXPECT_NE(result.output.find(candump + ":1: bad line (expected up to 8 hexadecimal data bytes)"), std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find(trace + ":9: bad line (expected a hexadecimal LIN identifier 00..ff): (1.0) LIN 1\n"),
              std::string::npos);
    EXPECT_EQ(result.output.find(trace + ":10:"), std::string::npos); // the eleventh and later are only counted
    EXPECT_EQ(result.output.find(capture + ": packet 1"), std::string::npos);
    EXPECT_NE(result.output.find("0 frames read, 0 with signals, 0 signal writes, 0 triggers fired, 13 bad lines, "
                                 "1 bad packets; "),
              std::string::npos);
}

// A recording with a gap, a short frame, an unknown identifier and a
// multiplexer value without a branch: the quality report counts each, lists the signal never written, and leaves the
// summary line as the last line.
TEST(DecodeCommand, StatsCountGapsShortFramesAndUnknownIdentifiers)
{
    const std::string defs =
        writeTestFile("stats.dbc", std::string(dbc) + "BO_ 512 Other: 1 X\n SG_ O : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                                      "BO_ 768 Mux: 2 X\n SG_ M M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                                      " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n");
    const std::string log = writeTestFile("stats.log", "(1.000000) can0 100#1400000000000000\n"
                                                       "(1.050000) can0 7FF#00\n"
                                                       "(1.100000) can0 100#1400000000000000\n"
                                                       "(1.200000) can0 100#C800000000000000\n"
                                                       "(1.500000) can0 7FF#00\n"
                                                       "(1.550000) can0 7FF#00\n"
                                                       "(2.000000) can0 100#2800010000000000\n"
                                                       "(2.100000) can0 100#01\n"
                                                       "(2.200000) can0 300#0105\n"   // branch 1: A
                                                       "(2.300000) can0 300#0207\n"); // no branch 2
    const std::string json = testing::TempDir() + "rksignal_stats_" + std::to_string(getpid()) + ".json";
    ToolResult result = runTool("decode --defs " + defs + " --format none --stats=" + json + " " + log + " 2>&1");
    EXPECT_EQ(result.status, 0);
    std::ifstream in(json);
    const nlohmann::json report = nlohmann::json::parse(in, nullptr, false);
    ASSERT_TRUE(report.is_object()) << result.output;
    ASSERT_EQ(report["identifiers"].size(), 3u);
    const nlohmann::json& speed = report["identifiers"][0];
    EXPECT_EQ(speed["id"], "100");
    EXPECT_EQ(speed["frames"], 5);
    EXPECT_EQ(speed["known"], true);
    EXPECT_DOUBLE_EQ(speed["largestGap"].get<double>(), 0.8);
    EXPECT_DOUBLE_EQ(speed["meanRate"].get<double>(), 4 / 1.1);
    EXPECT_EQ(speed["shortFrames"], 1);
    const nlohmann::json& unknown = report["identifiers"][1];
    EXPECT_EQ(unknown["id"], "7FF");
    EXPECT_EQ(unknown["known"], false);
    EXPECT_DOUBLE_EQ(unknown["largestGap"].get<double>(), 0.45);
    EXPECT_EQ(report["unknownFrames"], 3);
    EXPECT_EQ(report["identifiers"][2]["muxWithoutBranch"], 1);
    EXPECT_EQ(speed["muxWithoutBranch"], 0);
    ASSERT_EQ(report["signals"].size(), 4u);
    const nlohmann::json& value = report["signals"][0];
    EXPECT_EQ(value["instance"], "Speed.Value");
    EXPECT_EQ(value["writes"], 4); // the short frame did not bring its bits
    EXPECT_EQ(value["changes"], 3);
    EXPECT_EQ(value["minimum"], 10);
    EXPECT_EQ(value["maximum"], 100);
    EXPECT_EQ(value["lastTime"], "1970-01-01 00:00:02.000000");
    EXPECT_EQ(report["signals"][1]["changes"], 2);
    EXPECT_EQ(report["neverWritten"], nlohmann::json::array({"Other.O"}));

    ToolResult table = runTool("decode --defs " + defs + " --format none --stats " + log + " 2>&1");
    EXPECT_NE(table.output.find("CAN 1 7FF                       3"), std::string::npos) << table.output;
    EXPECT_NE(table.output.find("never written: Other.O\nrksignal: 10 frames read"), std::string::npos)
        << table.output;
}
