// LittleEndian: the byte order of the binary logging and capture formats,
// read from and appended to byte buffers, independent of the host's order.
//
// Thread-safe (no state).
#pragma once

#include <cstdint>
#include <vector>

namespace rksignal {

struct LittleEndian {
    static uint16_t get16(const unsigned char* p) { return uint16_t(p[0] | p[1] << 8); }
    static uint32_t get32(const unsigned char* p) { return uint32_t(get16(p)) | uint32_t(get16(p + 2)) << 16; }
    static uint64_t get64(const unsigned char* p) { return uint64_t(get32(p)) | uint64_t(get32(p + 4)) << 32; }

    static void put16(std::vector<unsigned char>& out, uint16_t value)
    {
        out.push_back(uint8_t(value));
        out.push_back(uint8_t(value >> 8));
    }
    static void put32(std::vector<unsigned char>& out, uint32_t value)
    {
        put16(out, uint16_t(value));
        put16(out, uint16_t(value >> 16));
    }
    static void put64(std::vector<unsigned char>& out, uint64_t value)
    {
        put32(out, uint32_t(value));
        put32(out, uint32_t(value >> 32));
    }
    static void putZeros(std::vector<unsigned char>& out, size_t count) { out.insert(out.end(), count, 0); }
};

} // namespace rksignal
