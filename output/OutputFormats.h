// OutputFormats: the table of the row formats the decoder's output can take
// (table, csv, jsonl, and none for no rows). The command line's choices and
// help come from it.
//
// Adding a format is its RowWriter with a static create function, and one
// row in OutputFormats.cpp.
//
// Thread safety: the table is constant; calls are independent.
#pragma once

#include "output/OutputFormat.h"

#include <string>
#include <vector>

namespace rksignal {

class OutputFormats {
public:
    // Every format, in the order the help lists them.
    static const std::vector<OutputFormat>& all();
    // The format called `name`, or null.
    static const OutputFormat* find(const std::string& name);
    static std::vector<std::string> names();
    // The names for a message: "table, csv, jsonl or none".
    static std::string namesText();
};

} // namespace rksignal
