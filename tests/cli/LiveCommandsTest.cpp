// The live commands as a user runs them: `decode --shm` writing for a
// `watch` in another process, a slot left locked by its writer, `check` and
// `events`.
#include "ToolProcess.h"

#include "support/ChildProcess.h"

#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

// A DBC whose message names are unique to this run, so that its shared
// segments cannot meet those of another test or run.
std::string uniqueDbc(const std::string& message)
{
    return "BO_ 256 " + message + ": 8 ECU\n"
           " SG_ Value : 0|16@1+ (0.5,0) [0|0] \"km/h\" X\n"
           " SG_ State : 16|2@1+ (1,0) [0|3] \"\" X\n"
           "VAL_ 256 State 0 \"idle\" 1 \"run\";\n";
}

// The blank-separated fields of the output line that starts with `instance`.
std::vector<std::string> rowOf(const std::string& output, const std::string& instance)
{
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, instance.size() + 1, instance + " ") == 0) {
            std::istringstream words(line);
            std::vector<std::string> fields;
            for (std::string word; words >> word;)
                fields.push_back(word);
            return fields;
        }
    return {};
}

using Fields = std::vector<std::string>;

} // namespace

TEST(LiveCommands, DecodeWritesSharedValuesThatWatchReadsFromAnotherProcess)
{
    const std::string message = uniqueInstanceName("live");
    const std::string value = message + ".Value", state = message + ".State";
    const std::string defs = writeTestFile(message + ".dbc", uniqueDbc(message));
    const std::string log = writeTestFile(message + ".log", "(10.000000) can0 100#0A000000\n"
                                                            "(10.500000) can0 100#0B000100\n");

    // Paced at four times the recording's speed: half a second takes an eighth.
    const auto started = std::chrono::steady_clock::now();
    ToolResult decode = runTool("decode --defs " + defs + " --shm --keep --speed 4 --format csv " + log +
                                " 2>/dev/null");
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(125));
    EXPECT_EQ(decode.status, 0);
    // The library's "created" lines stay off the rows.
    EXPECT_EQ(decode.output, "time,instance,value,unit,description\n"
                             "1970-01-01 00:00:10.000000," + value + ",5,km/h,\n"
                             "1970-01-01 00:00:10.000000," + state + ",0,,idle\n"
                             "1970-01-01 00:00:10.500000," + value + ",5.5,km/h,\n"
                             "1970-01-01 00:00:10.500000," + state + ",1,,run\n");
    EXPECT_TRUE(segmentExists(value));

    ToolResult watch = runTool("watch --once --defs " + defs + " 2>/dev/null");
    EXPECT_EQ(watch.status, 0);
    EXPECT_EQ(watch.output.substr(0, watch.output.find('\n')), "instance" + std::string(value.size() - 8, ' ') +
                                                                   "  value  unit  description  state     age");
    EXPECT_EQ(rowOf(watch.output, value), (Fields{value, "5.5", "km/h", "valid", "0.000s"}));
    EXPECT_EQ(rowOf(watch.output, state), (Fields{state, "1", "run", "valid", "0.000s"}));
    ToolResult selected = runTool("watch --once --signals '*.State' --defs " + defs + " 2>/dev/null");
    EXPECT_TRUE(rowOf(selected.output, value).empty());
    EXPECT_EQ(rowOf(selected.output, state).size(), 5u);

    // The watcher only detached; a writer that is not told to keep them
    // takes the segments over and removes them at its end.
    EXPECT_TRUE(segmentExists(value));
    EXPECT_EQ(runTool("decode --defs " + defs + " --shm --format none - </dev/null 2>/dev/null").status, 0);
    EXPECT_FALSE(segmentExists(value));
    EXPECT_FALSE(segmentExists(state));

    EXPECT_EQ(runTool("decode --defs " + defs + " --speed 0 " + log + " 2>/dev/null").status, 2);
    EXPECT_EQ(runTool("decode --defs " + defs + " --keep " + log + " 2>/dev/null").status, 2);
    removeKeyFile(value);
    removeKeyFile(state);
    std::remove(defs.c_str());
    std::remove(log.c_str());
}

TEST(LiveCommands, WatchReportsALockedSlotAndRemovesOnlySegmentsItAloneUsed)
{
    const std::string message = uniqueInstanceName("locked");
    const std::string value = message + ".Value", state = message + ".State";
    const std::string defs = writeTestFile(message + ".dbc", uniqueDbc(message));

    // A writer (this process) that holds the lock of its slot, as one that
    // died in the middle of a write leaves it.
    auto def = definitionOf(value, 16);
    def.scale = 0.5;
    SignalStorage storage;
    auto writer = std::make_unique<BaseSignal>(def, true, &storage);
    writer->writeRaw(11, 2000000);
    ASSERT_EQ(pthread_mutex_trylock(&writer->slot->mutex), 0);

    ToolResult locked = runTool("watch --once --defs " + defs + " 2>/dev/null");
    EXPECT_EQ(locked.status, 0);
    EXPECT_EQ(rowOf(locked.output, value), (Fields{value, "km/h", "locked"}));
    EXPECT_EQ(rowOf(locked.output, state), (Fields{state, "no", "value"}));
    // The writer's segment stays; the one the watcher made for State, which
    // nobody else used, is gone.
    EXPECT_TRUE(segmentExists(value));
    EXPECT_FALSE(segmentExists(state));

    pthread_mutex_unlock(&writer->slot->mutex);
    ToolResult unlocked = runTool("watch --once --defs " + defs + " 2>/dev/null");
    EXPECT_EQ(rowOf(unlocked.output, value), (Fields{value, "5.5", "km/h", "valid", "0.000s"}));

    writer.reset();
    EXPECT_FALSE(segmentExists(value));
    removeKeyFile(value);
    removeKeyFile(state);
    std::remove(defs.c_str());
}

TEST(LiveCommands, CheckPrintsTheSignalsReadOrTheParserErrors)
{
    const std::string defs = writeTestFile("check.dbc", uniqueDbc("Speed"));
    ToolResult good = runTool("check --defs " + defs + " 'Speed.Value > 50 && Speed.State == 1' '2 * 3 > 5'");
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(good.output, "ok     Speed.Value > 50 && Speed.State == 1\n"
                           "       reads Speed.State, Speed.Value\n"
                           "ok     2 * 3 > 5\n"
                           "       reads no signals\n");

    ToolResult bad = runTool("check --defs " + defs + " 'Nope > 1' 'Speed.Value > 1' 'Speed.Value >' 2>&1");
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.output.substr(0, bad.output.find("error  Speed.Value >")),
              "error  Nope > 1\n"
              "       [ERROR] ExpParser::add: Signal not found: Nope\n"
              "ok     Speed.Value > 1\n"
              "       reads Speed.Value\n");
    EXPECT_NE(bad.output.find("error  Speed.Value >\n       [ERROR] expression parser: line 1 syntax error"),
              std::string::npos)
        << bad.output;

    EXPECT_EQ(runTool("check --defs /nonexistent.dbc 'x > 1' 2>/dev/null").status, 2);
}

TEST(LiveCommands, EventsPrintsTheParserTablesForATextOrStandardInput)
{
    ToolResult text = runTool("events 'CAN.signal3 > 5 && CAN.signal3 < 9 || DI.010 && RC.F12 && RC.F && "
                              "Logger.Timer > 2 && GPS.Speed'");
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.output, "allSignals     CAN.signal3 DI.010 GPS.Speed Logger.Timer RC.F12\n"
                           "rcKeys         RC.F12\n"
                           "digitalInputs  8=DI.010\n"
                           "analogInputs   -\n"
                           "loggerSignals  Logger.Timer\n"
                           "gpsSignals     GPS.Speed\n"
                           "canCount       2\n"
                           "linCount       0\n"
                           "flexRayCount   0\n"
                           "rcCount        1\n"
                           "digitalCount   1\n"
                           "analogCount    0\n"
                           "loggerCount    1\n"
                           "timerCount     1\n"
                           "gpsCount       1\n"
                           "miiCount       0\n");

    ToolResult piped = runTool("events - <<'EOF'\nAI.3 + AI.3\n> MII.signal7\nEOF");
    EXPECT_EQ(piped.status, 0);
    // The tables and counts themselves are the parser's, tested with it.
    EXPECT_EQ(piped.output.substr(0, piped.output.find('\n') + 1), "allSignals     AI.3 MII.signal7\n");
}
