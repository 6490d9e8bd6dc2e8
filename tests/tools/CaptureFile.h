// CaptureFile: writes small pcap and pcapng files for the capture tests,
// byte by byte as the formats lay them out (little-endian files).
#pragma once

#include <cstdint>
#include <fstream>
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
    // pcap: microsecond (magic a1b2c3d4) or nanosecond (a1b23c4d) time stamps.
    static std::string pcap(uint32_t linkType, bool nanoseconds, const std::vector<CapturePacket>& packets)
    {
        std::string out;
        put32(out, nanoseconds ? 0xa1b23c4du : 0xa1b2c3d4u);
        put16(out, 2);
        put16(out, 4);
        put32(out, 0);
        put32(out, 0);
        put32(out, 65535);
        put32(out, linkType);
        for (const CapturePacket& packet : packets) {
            put32(out, uint32_t(packet.seconds));
            put32(out, packet.fraction);
            put32(out, uint32_t(packet.bytes.size()));
            put32(out, uint32_t(packet.bytes.size()));
            out.append(packet.bytes.begin(), packet.bytes.end());
        }
        return out;
    }

    // pcapng: a section header, one interface per link type (nanosecond
    // resolution by the if_tsresol option), enhanced packet blocks.
    static std::string pcapng(const std::vector<uint32_t>& interfaceLinkTypes, const std::vector<CapturePacket>& packets)
    {
        std::string out;
        block(out, 0x0a0d0d0au, [](std::string& body) {
            put32(body, 0x1a2b3c4du);
            put16(body, 1);
            put16(body, 0);
            put32(body, 0xffffffffu); // section length unknown
            put32(body, 0xffffffffu);
        });
        for (uint32_t linkType : interfaceLinkTypes)
            block(out, 1, [linkType](std::string& body) {
                put16(body, uint16_t(linkType));
                put16(body, 0);
                put32(body, 65535);
                put16(body, 9); // if_tsresol: 10^-9
                put16(body, 1);
                body += std::string("\x09\0\0\0", 4);
                put32(body, 0); // end of options
            });
        for (const CapturePacket& packet : packets)
            block(out, 6, [&packet](std::string& body) {
                const uint64_t stamp = packet.seconds * 1000000000u + packet.fraction;
                put32(body, packet.interface);
                put32(body, uint32_t(stamp >> 32));
                put32(body, uint32_t(stamp));
                put32(body, uint32_t(packet.bytes.size()));
                put32(body, uint32_t(packet.bytes.size()));
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
    static void put16(std::string& out, uint16_t value) { out += {char(value & 0xff), char(value >> 8)}; }
    static void put32(std::string& out, uint32_t value)
    {
        put16(out, uint16_t(value & 0xffff));
        put16(out, uint16_t(value >> 16));
    }
    template <class Body>
    static void block(std::string& out, uint32_t type, Body body)
    {
        std::string content;
        body(content);
        const uint32_t length = uint32_t(content.size() + 12);
        put32(out, type);
        put32(out, length);
        out += content;
        put32(out, length);
    }
};
