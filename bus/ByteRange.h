// ByteRange: the payload bytes a field touches, for bus signals that are
// decoded from a byte range (CAN FD, FlexRay, Ethernet) rather than from the
// first eight payload bytes.
#pragma once

struct ByteRange {
    // How the far end of a big-endian field is turned into a byte number.
    enum Convention {
        // CAN and FlexRay convert the far end back to start-bit numbering
        // before dividing; for a zero-width field at bit 7 this gives byte 1.
        StartBitNumbering,
        // Ethernet divides the most-significant-first position directly.
        MsbNumbering
    };

    unsigned startByte; // startBit / 8, before the caller narrows it
    int lastByte;       // may be below startByte for a zero width

    // 1 + lastByte - startByte; callers keep it in 8 bits, so that a negative
    // span wraps to a large value and fails a "at most 8 bytes" check.
    int numBytes() const { return 1 + lastByte - int(startByte); }

    static ByteRange of(unsigned startBit, unsigned bits, bool bigEndian, Convention convention);
};
