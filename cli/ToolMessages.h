// ToolMessages: the tool's own lines on standard error ("rksignal: ..."),
// for what goes wrong before or around decoding.
#pragma once

#include "definitions/DefinitionSet.h"

#include <string>
#include <vector>

namespace rksignal {

class SignalSet;

class ToolMessages {
public:
    // "rksignal: <text>"; a text of several lines keeps its own line ends.
    static void error(const std::string& text);
    // "rksignal: warning: <text>" for each.
    static void warnings(const std::vector<std::string>& texts);
    // Reads definition files into `out`: the error, or else each warning,
    // goes to standard error. False when a file could not be read.
    static bool readDefinitions(const std::vector<std::string>& files, DefinitionSet& out);
    // Builds `signals` from `definitions`; each problem becomes a warning.
    static void buildSignals(SignalSet& signals, const DefinitionSet& definitions);
};

} // namespace rksignal
