// DbcReader: reads the DBC constructs the decoder needs.
//
// Frames (BO_) and their signals (SG_) with start bit, length, byte order,
// sign, factor, offset, range, unit and multiplexing; value tables (VAL_);
// signal comments (CM_ SG_); CAN FD frames (BA_ "VFrameFormat"); float and
// double signals (SIG_VALTYPE_). Everything else is skipped.
#pragma once

#include "definitions/DbcDatabase.h"

#include <string>

namespace rksignal {

class DbcReader {
public:
    // Parses `text`; on failure returns false and sets `error` to
    // "<fileName>:<line>: <what was expected>".
    static bool parse(const std::string& text, const std::string& fileName, DbcDatabase& database,
                      std::string& error);
    static bool readFile(const std::string& path, DbcDatabase& database, std::string& error);
};

} // namespace rksignal
