// Recordings written by other people's tools, and the independent readers
// (tshark, gpsd's own output) that our decoding is compared with. The files
// live beside the repository, in ../shared/realworld; a clone without them
// skips these tests with a message.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace realworld {

inline std::string folder(const std::string& name)
{
    return std::string(RKSIGNAL_REALWORLD_DIR) + "/recordings/" + name;
}

inline bool exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// The lines a command writes to standard output, split at tabs.
inline std::vector<std::vector<std::string>> fieldsOf(const std::string& command)
{
    std::vector<std::vector<std::string>> rows;
    FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (pipe == nullptr)
        return rows;
    std::string line;
    for (int c; (c = std::fgetc(pipe)) != EOF;) {
        if (c != '\n') {
            line += char(c);
            continue;
        }
        std::vector<std::string> fields(1);
        for (char ch : line)
            if (ch == '\t')
                fields.emplace_back();
            else
                fields.back().push_back(ch);
        rows.push_back(std::move(fields));
        line.clear();
    }
    pclose(pipe);
    return rows;
}

// Counts the values compared with a reference and those that agree; each
// disagreement fails the test with `what`.
struct Agreement {
    size_t compared = 0, agreeing = 0;
    void check(bool same, const std::string& what)
    {
        ++compared;
        agreeing += same;
        EXPECT_TRUE(same) << what;
    }
    void near(double ours, double theirs, double tolerance, const std::string& what)
    {
        check(std::fabs(ours - theirs) <= tolerance,
              what + ": ours " + std::to_string(ours) + ", reference " + std::to_string(theirs));
    }
};

} // namespace realworld

// Skips the test unless `path` and, when named, the program `tool` exist.
#define REALWORLD_REQUIRE(path, tool)                                                                            \
    do {                                                                                                         \
        if (!realworld::exists(path))                                                                            \
            GTEST_SKIP() << (path) << " is absent (the real-world recordings sit beside the repository)";        \
        if (std::string(tool).size() && system(("command -v " + std::string(tool) + " >/dev/null").c_str()) != 0) \
            GTEST_SKIP() << (tool) << " is not installed";                                                       \
    } while (0)
