// FrameBuilder: Ethernet frames written out byte by byte, for the frame
// analysis and decoding tests and the benchmarks. build() fills in the IPv4
// total length and the UDP length, so that an independent dissector
// delimits the payload as the library does (checksums are left 0).
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

class FrameBuilder {
public:
    using Bytes = std::initializer_list<uint8_t>;

    FrameBuilder& bytes(Bytes values) { return frame_.insert(frame_.end(), values), *this; }
    FrameBuilder& fill(size_t count, uint8_t value = 0) { return frame_.insert(frame_.end(), count, value), *this; }
    FrameBuilder& be16(uint16_t v) { return bytes({uint8_t(v >> 8), uint8_t(v)}); }
    FrameBuilder& be32(uint32_t v) { return be16(uint16_t(v >> 16)).be16(uint16_t(v)); }
    // Destination and source MAC, the low 48 bits of each.
    FrameBuilder& ethernet(uint64_t destination, uint64_t source)
    {
        return be16(uint16_t(destination >> 32)).be32(uint32_t(destination)).be16(uint16_t(source >> 32))
            .be32(uint32_t(source));
    }
    FrameBuilder& tag(uint16_t tpid, uint16_t tci) { return be16(tpid).be16(tci); }
    // EtherType and IPv4 header; addresses as numbers (0xc0a80001 is 192.168.0.1).
    FrameBuilder& ipv4(uint8_t protocol, uint32_t source, uint32_t destination, Bytes options = {},
                       uint16_t flagsAndFragment = 0)
    {
        ip_ = be16(0x0800).frame_.size();
        bytes({uint8_t(0x40 | (5 + options.size() / 4)), 0}).be32(0x1234).be16(flagsAndFragment);
        return bytes({64, protocol}).be16(0).be32(source).be32(destination).bytes(options);
    }
    FrameBuilder& udp(uint16_t source, uint16_t destination)
    {
        udp_ = frame_.size();
        return be16(source).be16(destination).be32(0);
    }
    FrameBuilder& tcp(uint16_t source, uint16_t destination, Bytes options = {})
    {
        be16(source).be16(destination).be32(1).be32(0).bytes({uint8_t((5 + options.size() / 4) << 4), 0x18});
        return be16(0xffff).be32(0).bytes(options);
    }
    // Containers: identifier(s), the data length and the data.
    FrameBuilder& ipdu(uint32_t id, Bytes data) { return be32(id).be32(uint32_t(data.size())).bytes(data); }
    FrameBuilder& spdu(uint32_t id, Bytes data) { return be32(id).be32(uint32_t(data.size())).fill(8).bytes(data); }
    // The SOME/IP header has the SPDU's layout, service and method making the identifier.
    FrameBuilder& someIp(uint16_t service, uint16_t method, Bytes data)
    {
        return spdu(uint32_t(service) << 16 | method, data);
    }

    std::vector<uint8_t> build() const
    {
        std::vector<uint8_t> frame = frame_;
        const auto put16 = [&frame](size_t at, size_t value) {
            frame[at] = uint8_t(value >> 8), frame[at + 1] = uint8_t(value);
        };
        if (ip_ != 0)
            put16(ip_ + 2, frame.size() - ip_);
        if (udp_ != 0)
            put16(udp_ + 4, frame.size() - udp_);
        return frame;
    }

private:
    std::vector<uint8_t> frame_;
    size_t ip_ = 0;
    size_t udp_ = 0;
};
