// The decoding library through its public headers, as a program that links
// rksignal::decode uses it.
#include "decode/Decoder.h"
#include "definitions/DefinitionFiles.h"
#include "util/printTime.h"

#include "support/OutputCapture.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace rksignal;

namespace {

const std::string examples = RKSIGNAL_EXAMPLES_DIR;

// The options of the example drive's expected output (examples/drive.expected.csv).
DecodeOptions exampleDrive()
{
    DecodeOptions options;
    options.recordings = {examples + "/drive.log"};
    options.triggers = {"Doors.DoorFL == 1 && Doors.Locked == 0", "VehicleDynamics.VehicleSpeed > 50"};
    options.edge = true;
    return options;
}

// A row as the tool's CSV shows it: time, instance, value, unit, description
// (TRIGGER rows: the expression as description), J1939 source address.
std::vector<std::string> fields(const DecodedRow& row)
{
    std::ostringstream time;
    printTime(time, row.time);
    if (row.kind == DecodedRow::Trigger)
        return {time.str(), "TRIGGER", "", "", std::string(row.expression), ""};
    return {time.str(),      std::string(row.instance),    "",
            std::string(row.unit), std::string(row.description), row.source < 0 ? "" : std::to_string(row.source)};
}

// The example's descriptions and expressions hold no comma.
std::vector<std::string> fields(const std::string& line)
{
    std::vector<std::string> parts;
    std::istringstream in(line);
    for (std::string part; std::getline(in, part, ',');)
        parts.push_back(part);
    if (!line.empty() && line.back() == ',')
        parts.emplace_back();
    return parts;
}

} // namespace

TEST(Decoder, ExampleDriveGivesTheRowsOfItsExpectedOutput)
{
    Decoder decoder(exampleDrive());
    std::vector<std::string> warnings;
    std::string error;
    ASSERT_TRUE(decoder.load({examples + "/vehicle.dbc"}, warnings, error)) << error;
    EXPECT_TRUE(warnings.empty());

    std::ifstream expected(examples + "/drive.expected.csv");
    std::string line;
    std::getline(expected, line); // the header
    DecodedRow row;
    size_t rows = 0, triggers = 0;
    while (decoder.next(row)) {
        ASSERT_TRUE(std::getline(expected, line)) << "more rows than expected";
        std::vector<std::string> want = fields(line);
        // The value is compared as a number: the CSV holds the shortest text
        // that reads back as the same double.
        if (row.kind == DecodedRow::Signal) {
            EXPECT_EQ(row.value, std::stod(want[2])) << line;
        }
        want[2].clear();
        ASSERT_EQ(fields(row), want) << "row " << rows;
        ++rows;
        triggers += row.kind == DecodedRow::Trigger;
    }
    EXPECT_FALSE(std::getline(expected, line)) << "fewer rows than expected, next: " << line;
    EXPECT_EQ(rows, 2873u);
    EXPECT_EQ(decoder.counts().triggersFired, triggers);
    EXPECT_FALSE(decoder.report().failed());
}

// Message by message, the same rows as next() gives, with each message at
// hand; without rows, the same counts; one decoder at a time.
TEST(Decoder, MessageByMessageAndDecodeOnly)
{
    std::vector<std::string> warnings;
    std::string error;
    DefinitionSet definitions;
    ASSERT_TRUE(DefinitionFiles::read({examples + "/vehicle.dbc"}, definitions, warnings, error)) << error;

    std::vector<std::vector<std::string>> pulled;
    DecodeCounts pulledCounts;
    {
        Decoder decoder(exampleDrive());
        ASSERT_TRUE(decoder.load(definitions, warnings, error)) << error;
        for (DecodedRow row; decoder.next(row);)
            pulled.push_back(fields(row));
        pulledCounts = decoder.counts();
    }

    std::vector<std::vector<std::string>> stepped;
    DecodedRow row;
    {
        Decoder decoder(exampleDrive());
        ASSERT_TRUE(decoder.load(definitions, warnings, error)) << error;
        // The library's frame tables are the process's: one decoder at a time.
        EXPECT_FALSE(Decoder(exampleDrive()).load(definitions, warnings, error));
        uint64_t lastTime = 0, messages = 0;
        while (decoder.decodeNext()) {
            ++messages;
            EXPECT_GE(decoder.message().timestamp(), lastTime);
            lastTime = decoder.message().timestamp();
            while (decoder.takeRow(row)) {
                EXPECT_LE(row.time, lastTime);
                stepped.push_back(fields(row));
            }
        }
        EXPECT_EQ(messages, decoder.counts().frames);
        EXPECT_GT(decoder.bytesConsumed(), 0u);
        EXPECT_EQ(decoder.bytesConsumed(), decoder.totalBytes());
    }
    EXPECT_EQ(stepped, pulled);

    DecodeOptions quiet = exampleDrive();
    quiet.rows = false;
    Decoder counting(quiet);
    ASSERT_TRUE(counting.load(definitions, warnings, error)) << error;
    EXPECT_FALSE(counting.next(row));
    EXPECT_EQ(std::tie(counting.counts().frames, counting.counts().writes, counting.counts().triggersFired),
              std::tie(pulledCounts.frames, pulledCounts.writes, pulledCounts.triggersFired));
}

// What cannot be decoded: bad options and triggers before anything is read,
// unreadable recordings on the stream the decoder was given.
TEST(Decoder, LoadErrorsAndUnreadableRecordings)
{
    const std::string dbc = examples + "/vehicle.dbc";
    std::vector<std::string> warnings;
    std::string error;

    DecodeOptions badChannel = exampleDrive();
    badChannel.channelMaps = {"can0=256"};
    EXPECT_FALSE(Decoder(badChannel).load({dbc}, warnings, error));
    EXPECT_EQ(error, "--channel can0=256: expected IFACE=N with N from 0 to 255");

    EXPECT_FALSE(Decoder(exampleDrive()).load({examples + "/vehicle.txt"}, warnings, error));
    EXPECT_EQ(error, examples + "/vehicle.txt: unknown definition format (expected a .dbc or .json file)");

    DecodeOptions badTrigger = exampleDrive();
    badTrigger.triggers = {"Nope > 1"};
    {
        OutputCapture library; // the parser's own lines are part of the error
        EXPECT_FALSE(Decoder(badTrigger).load({dbc}, warnings, error));
    }
    EXPECT_EQ(error.rfind("cannot compile trigger \"Nope > 1\":\n", 0), 0u) << error;
    EXPECT_TRUE(warnings.empty());

    DecodeOptions missing = exampleDrive();
    missing.recordings = {examples + "/missing.log", examples + "/drive.log"};
    std::ostringstream messages;
    Decoder decoder(missing, messages);
    ASSERT_TRUE(decoder.load({dbc}, warnings, error));
    size_t rows = 0;
    for (DecodedRow row; decoder.next(row);)
        ++rows;
    EXPECT_EQ(rows, 2873u); // the readable one still decodes
    EXPECT_TRUE(decoder.report().failed());
    EXPECT_EQ(messages.str(), "rksignal: " + examples + "/missing.log: No such file or directory\n");
}
