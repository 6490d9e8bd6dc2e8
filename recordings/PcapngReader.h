// PcapngReader: the packets of a pcapng file, read block by block.
//
// Every interface described in a section is kept with its own link type,
// snapshot length and time resolution (if_tsresol, if_tsoffset), so that
// one file of a multi-bus logger (CAN, Ethernet and LIN interfaces side by
// side) is read whole. Enhanced, simple and the old packet blocks give
// packets; every other block (name resolution, statistics, custom) is
// skipped. Sections of either byte order may follow each other; each starts
// with no interfaces. A simple packet block has no time stamp of its own and
// takes the one of the packet before.
//
// Memory stays at the size of the largest block; blocks beyond 16 MiB are
// refused as damage.
//
// Not thread-safe; one per capture.
#pragma once

#include "recordings/CaptureSource.h"

#include <cstdio>
#include <string>
#include <vector>

namespace rksignal {

class PcapngReader : public CaptureSource {
public:
    // True for the first bytes of a pcapng file.
    static bool hasMagic(const unsigned char* head, size_t size);

    // isOpen() tells whether `path` starts with a readable section header;
    // error() says why not.
    explicit PcapngReader(const std::string& path);
    ~PcapngReader() override;
    PcapngReader(const PcapngReader&) = delete;
    PcapngReader& operator=(const PcapngReader&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    Status next(CapturedPacket& packet) override;
    const std::string& error() const override { return error_; }

private:
    struct Interface {
        int linkType = 0;
        uint32_t snapLength = 0;  // 0: no limit
        uint64_t unitsPerSecond = 1000000;
        int64_t offsetSeconds = 0;
        bool timeUsable = true;   // false: a resolution we cannot convert
    };
    enum Block : uint32_t { SectionHeader = 0x0a0d0d0au, InterfaceDescription = 1, ObsoletePacket = 2,
                            SimplePacket = 3, EnhancedPacket = 6 };

    // Reads the next block into block_ (type, body); End at a clean end of
    // the file, Failed on damage.
    Status readBlock(uint32_t& type);
    bool startSection();
    void describeInterface();
    // Fills `packet` from a packet block; false for a block that cannot
    // hold what it claims (the packet is then reported bad).
    bool timedPacket(CapturedPacket& packet, bool obsolete);
    bool simplePacket(CapturedPacket& packet);
    bool packetOf(uint32_t interface, uint64_t time, uint32_t at, uint32_t captured, CapturedPacket& packet);
    Status fail(const std::string& reason);

    uint32_t get32(size_t at) const;
    uint16_t get16(size_t at) const;

    FILE* file_ = nullptr;
    std::string error_;
    std::vector<unsigned char> block_; // the whole current block, header and trailer included
    uint32_t blockLength_ = 0;
    bool littleEndian_ = true;         // the current section's byte order
    std::vector<Interface> interfaces_;
    uint64_t lastTimestamp_ = 0;
    bool lastTimeValid_ = true;
    uint64_t blocks_ = 0;
};

} // namespace rksignal
