// The definition record every signal is built from, and its value type.
//
// A definition is a plain value: the client fills one per signal and hands it
// to the constructor of the matching signal class, which keeps a copy.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

// How the raw bits of a signal are read.
enum signalValue_t : uint32_t {
    SIGNAL_UNSIGNED, // unsigned integer of `bits` bits
    SIGNAL_SIGNED,   // two's complement of `bits` bits, sign-extended to 64
    SIGNAL_FLOAT,    // the low 32 bits are an IEEE-754 single
    SIGNAL_DOUBLE    // the 64 bits are an IEEE-754 double
};

// "unsigned", "signed", "float", "double"; nothing for any other value.
std::ostream& operator<<(std::ostream& os, signalValue_t type);

struct baseSignalDef_t {
    std::string instance;  // unique instance name: registry key and shared-memory key
    std::string signal;    // signal name, copied into the value slot
    uint32_t userId = 0;   // carried for the bus classes
    uint8_t channel = 0;
    std::string unit;
    signalValue_t type = SIGNAL_UNSIGNED;
    uint16_t startbit = 0; // least significant bit (little endian) or most significant bit (big endian)
    uint8_t bits = 0;      // 1 to 64
    double scale = 1.0;
    double offset = 0.0;
    bool endian = false;   // false little endian, true big endian
    bool multiplexed = false;
    uint8_t multiplexer = 0; // CAN: this signal is the frame's multiplexer
    uint16_t mux = 0;        // multiplexor value for which a multiplexed signal is present
    std::map<uint64_t, std::string> valueDescription;
    std::string udn;       // user-defined name, printed when set
    std::string comment;
    uint8_t tslId = 0;
};

// One line of name=value items; a value description table follows on lines
// of its own.
std::ostream& operator<<(std::ostream& os, const baseSignalDef_t& def);
