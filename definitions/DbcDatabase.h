// DbcDatabase: the frames and signals of a DBC file, as the reader finds
// them, before they become signal definitions of the library.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rksignal {

struct DbcSignal {
    std::string name;
    uint16_t startBit = 0;  // lsb (little endian) or msb (big endian), DBC bit numbering
    uint8_t length = 0;     // 1..64
    bool bigEndian = false; // "@0"
    bool isSigned = false;  // "-"
    int valueType = 0;      // 0 integer, 1 IEEE single, 2 IEEE double (SIG_VALTYPE_)
    double factor = 1.0;
    double offset = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    std::string unit;
    bool isMultiplexer = false; // "M"
    bool isMultiplexed = false; // "mN"
    uint16_t muxValue = 0;
    // SG_MUL_VAL_: the multiplexer that selects this signal (empty: the
    // frame's one multiplexer) and the raw ranges that select it (empty:
    // muxValue alone).
    std::string multiplexerName;
    std::vector<std::pair<uint64_t, uint64_t>> muxRanges;
    // VAL_, keyed by the raw value's 64 bits (negative values in two's
    // complement, as signed raw values are sign-extended).
    std::map<uint64_t, std::string> values;
    std::string longName; // SystemSignalLongSymbol
    std::string comment;                   // CM_ SG_
    int line = 0;
};

struct DbcMessage {
    uint32_t id = 0;        // without the extended flag
    bool extended = false;  // bit 31 of the DBC identifier
    bool fd = false;        // VFrameFormat names a CAN FD format
    bool j1939 = false;     // VFrameFormat J1939PG, or the ProtocolType J1939
    std::string name;
    uint32_t size = 0;
    std::string sender;
    std::vector<DbcSignal> signals;
    std::string longName; // SystemMessageLongSymbol
    int line = 0;
};

struct DbcDatabase {
    std::string file;
    std::vector<DbcMessage> messages;
    // "<file>:<line>: ..." for constructs read but left out (signals longer
    // than 64 bits, which no signal of the library can hold) and for the
    // defects of real files that are read around.
    std::vector<std::string> warnings;
};

} // namespace rksignal
