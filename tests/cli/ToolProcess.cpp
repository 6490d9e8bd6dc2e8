#include "ToolProcess.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

ToolResult runTool(const std::string& arguments)
{
    const std::string command = std::string(RKSIGNAL_TOOL_PATH) + " " + arguments;
    ToolResult result{-1, ""};
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return result;
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        result.output.append(buffer, got);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

std::string writeTestFile(const std::string& name, const std::string& text)
{
    // Test programs run in parallel: the process id keeps their files apart.
    const std::string path = testing::TempDir() + "rksignal_" + std::to_string(getpid()) + "_" + name;
    std::ofstream(path) << text;
    return path;
}
