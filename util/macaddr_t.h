// macaddr_t: an Ethernet MAC address held in the low 48 bits of a word.
#pragma once

#include <cstdint>
#include <ostream>

struct macaddr_t {
    // The six wire bytes as a big-endian number: the first byte on the wire is
    // bits 47..40. Bits above 47 are ignored.
    uint64_t address = 0;

    macaddr_t() = default;
    explicit macaddr_t(uint64_t word) : address(word & 0xffffffffffffULL) {}

    // Writes "aa:bb:cc:dd:ee:ff" (lowercase, always six octets).
    void print(std::ostream& os) const;
};
