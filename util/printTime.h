// printTime: the time-stamp text used in every print form and message line.
#pragma once

#include <cstdint>
#include <ostream>

// Writes `microseconds` since 1970-01-01 UTC as "YYYY-MM-DD hh:mm:ss.uuuuuu".
// Leaves the stream's format flags as they were.
void printTime(std::ostream& os, uint64_t microseconds);
