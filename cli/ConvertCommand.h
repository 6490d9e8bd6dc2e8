// ConvertCommand: `rksignal convert IN... -o OUT`, which reads recordings of
// any readable format, merged in time order, and writes their frames as one
// recording in the format the output's name ends with (candump log, ASC,
// BLF, pcapng).
#pragma once

#include "cli/Command.h"

#include <string>
#include <vector>

namespace rksignal {

class ConvertCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // Exit status: 0 written, 1 a recording could not be read or the output
    // not written, 2 bad options.
    int run() override;

private:
    std::vector<std::string> recordings_;
    std::string output_;
    std::vector<std::string> channelMaps_;
};

} // namespace rksignal
