// JsonDefinitions: reads our JSON definitions format, which spells out
// the definition records of every signal kind field by field (the format is
// described in docs/definitions.md).
//
// The reader is strict so that a typing mistake in a definitions file cannot
// silently change a signal: unknown and duplicate keys, values of the wrong
// type and numbers outside their field's range are errors naming the JSON
// path of the offending value. It checks form, not meaning: whether a start
// bit and length fit a frame is left to the signal classes, as for any
// client-filled record.
//
// Thread safety: stateless; calls on different threads are independent.
#pragma once

#include "definitions/DefinitionSet.h"

#include <string>

namespace rksignal {

class JsonDefinitions {
public:
    // Parses `text` and appends its records to `out`. On failure returns
    // false, leaves `out` as it was and sets `error` to
    // "<fileName>: <JSON path>: <what>", or "<fileName>:<line>:<column>:
    // <what>" for text that is not JSON at all. Never throws for any input.
    static bool parse(const std::string& text, const std::string& fileName, DefinitionSet& out, std::string& error);
    // As parse, with the contents of the file at `path`, named by `path`.
    static bool readFile(const std::string& path, DefinitionSet& out, std::string& error);
};

} // namespace rksignal
