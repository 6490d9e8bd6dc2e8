// Command: one command of `rksignal` (decode, watch, ...). It adds itself to
// the command line, with its options, help and footer, and runs when the
// command line names it. Commands.cpp lists them all.
#pragma once

#include <CLI/CLI.hpp>

namespace rksignal {

class Command {
public:
    virtual ~Command() = default;
    // Adds the command to `app`; its options write into the command object,
    // which must outlive the parse.
    virtual CLI::App& add(CLI::App& app) = 0;
    // Runs the command with the options parsed; returns the exit status.
    virtual int run() = 0;
};

} // namespace rksignal
