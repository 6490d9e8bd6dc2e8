// CaptureFile: writes small pcap and pcapng files for the capture and frame
// analysis tests, byte by byte as the formats lay them out (little-endian files).
#pragma once

#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

struct CapturePacket {
    uint64_t seconds;
    uint32_t fraction; // microseconds, or nanoseconds in nanosecond files
    std::vector<uint8_t> bytes;
    uint32_t interface = 0; // pcapng only
};

class CaptureFile {
public:
    // pcap 2.4: microsecond (magic a1b2c3d4) or nanosecond (a1b23c4d) time stamps.
    static std::string pcap(uint32_t linkType, bool nanoseconds, const std::vector<CapturePacket>& packets)
    {
        std::string out;
        put32(out, {nanoseconds ? 0xa1b23c4du : 0xa1b2c3d4u, 2 | 4 << 16, 0, 0, 65535, linkType});
        for (const CapturePacket& packet : packets) {
            const uint32_t size = uint32_t(packet.bytes.size());
            put32(out, {uint32_t(packet.seconds), packet.fraction, size, size});
            out.append(packet.bytes.begin(), packet.bytes.end());
        }
        return out;
    }

    // pcapng: a section header (version 1.0, length unknown), one interface
    // per link type (nanosecond resolution by the if_tsresol option; snapshot
    // length 65535 - 100 x its number), enhanced packet blocks.
    static std::string pcapng(const std::vector<uint32_t>& interfaceLinkTypes, const std::vector<CapturePacket>& packets)
    {
        std::string out;
        block(out, 0x0a0d0d0au, [](std::string& body) { put32(body, {0x1a2b3c4du, 1, 0xffffffffu, 0xffffffffu}); });
        for (uint32_t i = 0; i < interfaceLinkTypes.size(); ++i)
            block(out, 1, [&](std::string& body) { put32(body, {interfaceLinkTypes[i], 65535 - 100 * i, 9 | 1 << 16, 9, 0}); });
        for (const CapturePacket& packet : packets)
            block(out, 6, [&packet](std::string& body) {
                const uint64_t stamp = packet.seconds * 1000000000u + packet.fraction;
                const uint32_t size = uint32_t(packet.bytes.size());
                put32(body, {packet.interface, uint32_t(stamp >> 32), uint32_t(stamp), size, size});
                body.append(packet.bytes.begin(), packet.bytes.end());
                body.append((4 - packet.bytes.size() % 4) % 4, '\0');
            });
        return out;
    }

    static std::string write(const std::string& path, const std::string& bytes)
    {
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

private:
    static void put32(std::string& out, std::initializer_list<uint32_t> values)
    {
        for (uint32_t value : values)
            out += {char(value), char(value >> 8), char(value >> 16), char(value >> 24)};
    }
    template <class Body>
    static void block(std::string& out, uint32_t type, Body body)
    {
        std::string content;
        body(content);
        const uint32_t length = uint32_t(content.size() + 12);
        put32(out, {type, length});
        out += content;
        put32(out, {length});
    }
};
