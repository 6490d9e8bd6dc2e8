// CutCommand: `rksignal cut`, which writes the frames around trigger
// firings as recordings of their own, one per window, with an index: for
// handing exactly the seconds around an event to someone else. It runs on
// standard input as a live recorder, keeping only the frames of --pre.
#pragma once

#include "cli/Command.h"
#include "decode/DecodeOptions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rksignal {

class CutCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // Exit status: 0 done, 1 a recording could not be read or a window
    // not written, 2 bad options, definitions or expressions.
    int run() override;

private:
    // The ending of the files written: "--as", else that of the inputs' kind.
    bool outputEnding(std::string& ending, std::string& error) const;

    DecodeOptions options_;
    std::vector<std::string> definitionFiles_;
    std::string pre_, post_; // durations as given
    std::string directory_;
    std::string as_;
};

} // namespace rksignal
