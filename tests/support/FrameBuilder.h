// FrameBuilder: Ethernet frames written out byte by byte, for the frame
// analysis and decoding tests and the benchmarks. build() fills in the IPv4
// total length and header checksum and the UDP length, so that an
// independent dissector reads the frames as the library does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

class FrameBuilder {
public:
    FrameBuilder& bytes(std::initializer_list<uint8_t> values)
    {
        frame_.insert(frame_.end(), values);
        return *this;
    }
    FrameBuilder& fill(size_t count, uint8_t value = 0)
    {
        frame_.insert(frame_.end(), count, value);
        return *this;
    }
    FrameBuilder& be16(uint16_t v) { return bytes({uint8_t(v >> 8), uint8_t(v)}); }
    FrameBuilder& be32(uint32_t v) { return be16(uint16_t(v >> 16)).be16(uint16_t(v)); }

    // Destination and source MAC, the low 48 bits of each word.
    FrameBuilder& ethernet(uint64_t destination, uint64_t source)
    {
        for (uint64_t mac : {destination, source})
            for (int shift = 40; shift >= 0; shift -= 8)
                frame_.push_back(uint8_t(mac >> shift));
        return *this;
    }
    FrameBuilder& tag(uint16_t tpid, uint16_t tci) { return be16(tpid).be16(tci); }
    // EtherType and IPv4 header; addresses as numbers (0xc0a80001 is 192.168.0.1).
    FrameBuilder& ipv4(uint8_t protocol, uint32_t source, uint32_t destination,
                       std::initializer_list<uint8_t> options = {}, uint16_t flagsAndFragment = 0)
    {
        be16(0x0800);
        ip_ = frame_.size();
        bytes({uint8_t(0x40 | (5 + options.size() / 4)), 0}).be16(0).be16(0x1234).be16(flagsAndFragment);
        return bytes({64, protocol}).be16(0).be32(source).be32(destination).bytes(options);
    }
    FrameBuilder& udp(uint16_t source, uint16_t destination)
    {
        udp_ = frame_.size();
        return be16(source).be16(destination).be32(0); // length set by build(), no checksum
    }
    FrameBuilder& tcp(uint16_t source, uint16_t destination, std::initializer_list<uint8_t> options = {})
    {
        be16(source).be16(destination).be32(1).be32(0);
        return bytes({uint8_t((5 + options.size() / 4) << 4), 0x18}).be16(0xffff).be32(0).bytes(options);
    }
    // Containers: identifier(s), the data length and the data.
    FrameBuilder& ipdu(uint32_t pduId, std::initializer_list<uint8_t> data)
    {
        return be32(pduId).be32(uint32_t(data.size())).bytes(data);
    }
    FrameBuilder& spdu(uint32_t messageId, std::initializer_list<uint8_t> data)
    {
        return be32(messageId).be32(uint32_t(data.size())).fill(8).bytes(data);
    }
    FrameBuilder& someIp(uint16_t service, uint16_t method, std::initializer_list<uint8_t> data)
    {
        return be16(service).be16(method).be32(uint32_t(data.size())).fill(8).bytes(data);
    }

    std::vector<uint8_t> build() const
    {
        std::vector<uint8_t> frame = frame_;
        if (ip_ != 0) {
            put16(frame, ip_ + 2, frame.size() - ip_);
            uint32_t sum = 0;
            for (size_t i = ip_; i < ip_ + 4 * (frame[ip_] & 0x0fu); i += 2)
                sum += uint32_t(frame[i]) << 8 | frame[i + 1];
            while (sum > 0xffff)
                sum = (sum & 0xffff) + (sum >> 16);
            put16(frame, ip_ + 10, ~sum);
        }
        if (udp_ != 0)
            put16(frame, udp_ + 4, frame.size() - udp_);
        return frame;
    }

private:
    static void put16(std::vector<uint8_t>& frame, size_t at, size_t value)
    {
        frame[at] = uint8_t(value >> 8);
        frame[at + 1] = uint8_t(value);
    }

    std::vector<uint8_t> frame_;
    size_t ip_ = 0;
    size_t udp_ = 0;
};
