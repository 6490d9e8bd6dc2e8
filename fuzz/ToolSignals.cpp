#include "ToolSignals.h"

#include "FuzzSession.h"

#include "definitions/JsonDefinitions.h"

#include <string>
#include <vector>

using namespace rksignal;

namespace fuzz {

namespace {

const char* const definitions = R"({
  "can": [
    {"instance": "F.Speed", "channel": 1, "msgId": 256, "startbit": 0, "bits": 16, "scale": 0.5},
    {"instance": "F.Mode", "channel": 1, "msgId": 256, "startbit": 16, "bits": 8, "multiplexer": true},
    {"instance": "F.Temp", "channel": 1, "msgId": 256, "startbit": 24, "bits": 8, "multiplexed": true, "mux": 1},
    {"instance": "F.Big", "channel": 1, "msgId": 419361024, "extended": true, "startbit": 7, "bits": 32,
     "endian": "big", "type": "signed"},
    {"instance": "F.Fd", "channel": 1, "msgId": 1024, "canFD": true, "startbit": 200, "bits": 16},
    {"instance": "F.Pdu", "channel": 1, "msgId": 1024, "canFD": true, "pduId": 32, "startbit": 8, "bits": 8}
  ],
  "lin": [{"instance": "L.Seat", "channel": 1, "msgId": 33, "startbit": 0, "bits": 8}],
  "flexray": [{"instance": "X.Steer", "channel": 1, "bits": 16,
               "positions": [{"startBit": 0, "segment": "static", "slot": 10, "baseCycle": 0, "repetition": 1}]}],
  "digital": [{"instance": "Input.Ignition", "channel": 3, "tslId": 1, "startbit": 3, "bits": 1}],
  "analog": [{"instance": "Input.Supply", "channel": 1, "tslId": 1, "bits": 32, "type": "float"}],
  "keyboard": [{"instance": "RC.F1"}],
  "loggerStatus": [{"instance": "Logger.Status"}],
  "gps": [{"instance": "GPS.Speed", "bits": 64}, {"instance": "GPS.Status"}]
})";

SignalSet* buildSignals()
{
    DefinitionSet set;
    std::string error;
    require(JsonDefinitions::parse(definitions, "fuzz.json", set, error), "the fixed definitions load");
    auto* signals = new SignalSet(); // lives as long as the process
    std::vector<std::string> problems;
    signals->build(set, problems);
    require(problems.empty(), "the fixed definitions build");
    return signals;
}

} // namespace

SignalSet& toolSignals()
{
    static SignalSet* const signals = buildSignals();
    return *signals;
}

} // namespace fuzz
