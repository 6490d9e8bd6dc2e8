#include "bus/ByteRange.h"

ByteRange ByteRange::of(unsigned startBit, unsigned bits, bool bigEndian, Convention convention)
{
    const int s = int(startBit);
    const int b = int(bits);
    ByteRange range{startBit / 8, 0};
    if (!bigEndian) {
        range.lastByte = (s + b - 1) / 8; // truncates toward zero: -1 gives 0
        return range;
    }
    // Big endian: startBit names the most significant bit; m is its place in
    // a byte-wise most-significant-first numbering, t that of the far end.
    const int m = (s & ~7) + 7 - (s & 7);
    const int t = m + b - 1;
    if (convention == StartBitNumbering) {
        const int back = (t / 8) * 8 + 7 - (t % 8);
        range.lastByte = back / 8;
    } else {
        range.lastByte = t / 8;
    }
    return range;
}
