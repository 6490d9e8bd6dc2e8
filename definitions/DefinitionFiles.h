// DefinitionFiles: reads definition files into one DefinitionSet, each with
// the reader of its format, chosen by the end of its name:
//
//   FILE.dbc[@N]  CAN frames; their signals go on channel 1, or on channel N
//   FILE.json     definitions of every kind (docs/definitions.md)
//
// Adding a format is its reader and one row in DefinitionFiles.cpp.
//
// Thread safety: stateless; calls on different threads are independent.
#pragma once

#include "definitions/DefinitionSet.h"

#include <string>
#include <vector>

namespace rksignal {

class DefinitionFiles {
public:
    // False, with "<file>:<line>: <what>" or "<file>: <path>: <what>" in
    // `error`, at the first file that cannot be read. What was read but left
    // out is appended to `warnings`.
    static bool read(const std::vector<std::string>& files, DefinitionSet& out, std::vector<std::string>& warnings,
                     std::string& error);
};

} // namespace rksignal
