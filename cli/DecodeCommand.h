// DecodeCommand: `rksignal decode`, which decodes recordings into signal
// values and trigger events through a Decoder and writes the rows in the
// output format chosen.
#pragma once

#include "cli/Command.h"
#include "decode/DecodeOptions.h"

#include <string>
#include <vector>

namespace rksignal {

class Decoder;
class RowWriter;

class DecodeCommand : public Command {
public:
    CLI::App& add(CLI::App& app) override;
    // Exit status: 0 done, 1 a recording could not be read, 2 bad options,
    // definitions or expressions (nothing decoded then).
    int run() override;

private:
    void addLiveOptions(CLI::App& decode);
    double replaySpeed() const;
    std::string progressLabel() const;
    void decodeAll(Decoder& decoder, RowWriter* writer) const;
    static void summary(const Decoder& decoder, double seconds);

    DecodeOptions options_;
    std::vector<std::string> definitionFiles_; // .dbc[@channel] or .json
    std::string format_;                       // a name of OutputFormats; empty: by terminal
    std::string statsFile_;                    // --stats: "true" a table, else a JSON file; empty: none
    // A speed given implies realtime; realtime alone is speed 1.
    bool realtime_ = false;
    double speed_ = 0;
};

} // namespace rksignal
