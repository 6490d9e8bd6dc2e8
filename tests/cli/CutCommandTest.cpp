// `rksignal cut` as a user runs it: windows around trigger firings, written
// as candump logs, and their index.
#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const dbc = "BO_ 256 Speed: 8 ECU\n SG_ Value : 0|16@1+ (0.5,0) [0|0] \"km/h\" X\n";

struct Line {
    uint64_t time; // microseconds
    std::string text;
};

// 20 s of Speed (id 100) every 100 ms and of a frame without signals (id
// 200) 50 ms later, in the form candump logs are written; Speed is 100 km/h
// at the times in `high` (in tenths of a second), else 10. Windows cut from
// a candump log keep its interface names, so the default is not "can0".
std::vector<Line> drive(const std::set<int>& high, const char* interface = "vcan3")
{
    std::vector<Line> lines;
    for (int tenth = 0; tenth < 200; ++tenth)
        for (int id : {0x100, 0x200}) {
            const uint64_t time = uint64_t(tenth) * 100000 + (id == 0x200 ? 50000 : 0);
            char text[64];
            std::snprintf(text, sizeof text, "(%010llu.%06llu) %s %03X#%s00", (unsigned long long)(time / 1000000),
                          (unsigned long long)(time % 1000000), interface, id, high.count(tenth) ? "C8" : "14");
            lines.push_back({time, text});
        }
    return lines;
}

std::string joined(const std::vector<Line>& lines, uint64_t from = 0, uint64_t to = UINT64_MAX)
{
    std::string text;
    for (const Line& line : lines)
        if (line.time >= from && line.time <= to)
            text += line.text + "\n";
    return text;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::set<std::string> filesIn(const std::string& directory)
{
    std::set<std::string> names;
    if (DIR* dir = opendir(directory.c_str())) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.')
                names.insert(entry->d_name);
        closedir(dir);
    }
    return names;
}

// "1970-01-01 00:00:07.500000" as microseconds.
uint64_t microseconds(const std::string& time)
{
    unsigned hours = 0, minutes = 0, seconds = 0, fraction = 0;
    std::sscanf(time.c_str(), "1970-01-01 %u:%u:%u.%u", &hours, &minutes, &seconds, &fraction);
    return (uint64_t(hours) * 3600 + minutes * 60 + seconds) * 1000000 + fraction;
}

class CutCommand : public testing::Test {
protected:
    // Cuts `lines` (from a file, or standard input; none: the recordings
    // are among the options) into a fresh directory; its path.
    std::string cut(const std::vector<Line>& lines, const std::string& options, bool standardInput = false)
    {
        const std::string log = writeTestFile("cut.log", joined(lines));
        const std::string directory = testing::TempDir() + "rksignal_cut_" + std::to_string(getpid()) + "_" +
                                      std::to_string(directories_.size());
        directories_.push_back(directory);
        const std::string input = lines.empty() ? "" : standardInput ? "- < " + log : log;
        result_ = runTool("cut --defs " + defs_ + " " + options + " -o " + directory + " " + input + " 2>&1");
        return directory;
    }

    // Every window file holds exactly the input's lines from its first to
    // its last time, and windows.csv counts them.
    void expectWindowsAreTimeFilters(const std::string& directory, const std::vector<Line>& lines)
    {
        std::istringstream index(readFile(directory + "/windows.csv"));
        std::string row;
        std::getline(index, row);
        while (std::getline(index, row)) {
            std::vector<std::string> fields;
            std::stringstream cells(row);
            for (std::string cell; std::getline(cells, cell, ',');)
                fields.push_back(cell);
            ASSERT_EQ(fields.size(), 7u) << row;
            const std::string expected = joined(lines, microseconds(fields[2]), microseconds(fields[3]));
            EXPECT_EQ(readFile(directory + "/" + fields[1]), expected) << row;
            EXPECT_EQ(std::to_string(std::count(expected.begin(), expected.end(), '\n')), fields[6]) << row;
        }
    }

    void TearDown() override
    {
        for (const std::string& directory : directories_)
            std::filesystem::remove_all(directory);
    }

    const std::string defs_ = writeTestFile("cut.dbc", dbc);
    ToolResult result_{};
    std::vector<std::string> directories_;
};

} // namespace

// Windows clipped at the recording's start and end, and a firing within
// --pre after a window's end extending that window, with the frames in
// between.
TEST_F(CutCommand, WindowsAtTheEdgesAndMergedWindows)
{
    const std::vector<Line> lines = drive({5, 6, 7, 8, 9, 80, 105, 195});
    const std::string directory = cut(lines, "--trigger 'Speed.Value > 50' --edge --pre 2s --post 1000ms");
    EXPECT_EQ(result_.status, 0) << result_.output;
    EXPECT_NE(result_.output.find("triggers fired, 3 windows"), std::string::npos) << result_.output;
    EXPECT_EQ(readFile(directory + "/windows.csv"),
              "window,file,first,last,trigger,firing,frames\n"
              "1,window-0001.log,1970-01-01 00:00:00.000000,1970-01-01 00:00:01.500000,Speed.Value > 50,"
              "1970-01-01 00:00:00.500000,31\n"
              "2,window-0002.log,1970-01-01 00:00:06.000000,1970-01-01 00:00:11.500000,Speed.Value > 50,"
              "1970-01-01 00:00:08.000000,111\n"
              "3,window-0003.log,1970-01-01 00:00:17.500000,1970-01-01 00:00:19.950000,Speed.Value > 50,"
              "1970-01-01 00:00:19.500000,50\n");
    expectWindowsAreTimeFilters(directory, lines);
    EXPECT_EQ(filesIn(directory), (std::set<std::string>{"window-0001.log", "window-0002.log", "window-0003.log",
                                                         "windows.csv"}));
}

// Without --edge a trigger fires on every frame it holds on, so the window
// lasts until --post after the last; standard input is cut like a file.
TEST_F(CutCommand, LevelTriggersExtendTheirWindowAndStandardInputIsCutAsAFile)
{
    const std::vector<Line> lines = drive({50, 51, 52, 53});
    const std::string level = cut(lines, "--trigger 'Speed.Value > 50' --pre 500ms --post 1s", true);
    EXPECT_EQ(result_.status, 0) << result_.output;
    const std::string edge = cut(lines, "--trigger 'Speed.Value > 50' --edge --pre 500ms --post 1s");
    const std::string rows[] = {readFile(level + "/windows.csv"), readFile(edge + "/windows.csv")};
    EXPECT_NE(rows[0].find(",1970-01-01 00:00:04.500000,1970-01-01 00:00:06.300000,"), std::string::npos) << rows[0];
    EXPECT_NE(rows[1].find(",1970-01-01 00:00:04.500000,1970-01-01 00:00:06.000000,"), std::string::npos) << rows[1];
    expectWindowsAreTimeFilters(level, lines);
    expectWindowsAreTimeFilters(edge, lines);
    const std::string fromFile = cut(lines, "--trigger 'Speed.Value > 50' --pre 500ms --post 1s");
    EXPECT_EQ(readFile(fromFile + "/windows.csv"), rows[0]);
    EXPECT_EQ(readFile(fromFile + "/window-0001.log"), readFile(level + "/window-0001.log"));
}

// A BLF log is cut into BLF windows (read back here as candump lines: BLF
// keeps channel numbers, not names), and --as chooses the format.
TEST_F(CutCommand, WindowsAreRecordingsOfTheKindRead)
{
    const std::vector<Line> lines = drive({50}, "can0");
    const std::string blf = testing::TempDir() + "rksignal_cut_" + std::to_string(getpid()) + ".blf";
    ASSERT_EQ(runTool("convert " + writeTestFile("cut-convert.log", joined(lines)) + " -o " + blf).status, 0);
    const std::string log = writeTestFile("cut-back.log", "");
    const std::string directory = cut({}, "--trigger 'Speed.Value > 50' --pre 1s --post 1s " + blf);
    EXPECT_EQ(filesIn(directory), (std::set<std::string>{"window-0001.blf", "windows.csv"})) << result_.output;
    ASSERT_EQ(runTool("convert " + directory + "/window-0001.blf -o " + log).status, 0);
    EXPECT_EQ(readFile(log), joined(lines, 4000000, 6000000));
    const std::string asPcapng = cut({}, "--trigger 'Speed.Value > 50' --pre 1s --post 1s --as pcapng " + blf);
    EXPECT_EQ(filesIn(asPcapng), (std::set<std::string>{"window-0001.pcapng", "windows.csv"})) << result_.output;
    std::remove(blf.c_str());
}

TEST_F(CutCommand, ATriggerThatNeverFiresLeavesAnEmptyIndexAndBadDurationsAreRefused)
{
    const std::string directory = cut(drive({}), "--trigger 'Speed.Value > 50' --pre 5s --post 2min");
    EXPECT_EQ(result_.status, 0) << result_.output;
    EXPECT_EQ(filesIn(directory), std::set<std::string>{"windows.csv"});
    EXPECT_EQ(readFile(directory + "/windows.csv"), "window,file,first,last,trigger,firing,frames\n");
    for (const char* duration : {"5", "-1s", "5 s", "2days", "ms"}) {
        cut(drive({}), std::string("--trigger 'Speed.Value > 50' --pre 1s --post '") + duration + "'");
        EXPECT_NE(result_.status, 0) << duration;
        EXPECT_NE(result_.output.find("expected a duration such as 500ms"), std::string::npos) << result_.output;
    }
}
