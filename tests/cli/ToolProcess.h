// Running the built rksignal tool as a user does, through the shell.
#pragma once

#include <string>

struct ToolResult {
    int status;         // exit status, -1 when the tool did not exit normally
    std::string output; // standard output (standard error only where the arguments redirect it)
};

// Runs the tool with `arguments`, a shell fragment (quotes and redirections
// work as typed).
ToolResult runTool(const std::string& arguments);

// Writes `text` to a file of the test's temporary directory whose name holds
// the process id and `name`; returns its path.
std::string writeTestFile(const std::string& name, const std::string& text);
