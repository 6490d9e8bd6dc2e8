// The bit-field codec: derived layouts, sign, types and the edges of the
// payload. Random layouts of both byte orders and every width are compared
// with canmatrix by the differential test of the tool.
#include "signal/BaseSignal.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

namespace {

baseSignalDef_t field(uint16_t startbit, uint8_t bits, bool bigEndian, signalValue_t type = SIGNAL_UNSIGNED)
{
    auto def = definitionOf("codec", bits, startbit);
    def.endian = bigEndian, def.type = type;
    return def;
}

uint64_t decodeRaw(const baseSignalDef_t& def, uint64_t payload)
{
    SignalStorage storage;
    BaseSignal signal(def, false, &storage);
    signal.write(payload, 1);
    return signal.slot->raw;
}

double physical(const baseSignalDef_t& def, uint64_t payload)
{
    SignalStorage storage;
    BaseSignal signal(def, false, &storage);
    signal.write(payload, 1);
    return physicalOf(signal);
}

template <class Float>
uint64_t bitsOf(Float value)
{
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// The derived layout: lsb bit, start byte, byte count, shift, value mask, raw mask.
std::string layout(const BaseSignal& s)
{
    std::ostringstream os;
    os << int(s.d_lsbBit) << ' ' << int(s.d_startByte) << ' ' << int(s.d_bytes) << ' ' << int(s.d_shift) << std::hex
       << ' ' << s.d_maksBits << ' ' << s.d_rawMask;
    return os.str();
}

} // namespace

TEST(Codec, WorkedExamplesAndDerivedFields)
{
    SignalStorage storage;
    BaseSignal little(field(12, 10, false), false, &storage);
    EXPECT_EQ(layout(little), "12 1 2 4 3ff 3ff000");
    little.write(0x3ca500ULL, 1);
    EXPECT_EQ(little.slot->raw, 0x3cau);
    auto bigDef = field(7, 16, true);
    bigDef.instance = "big";
    BaseSignal big(bigDef, false, &storage);
    EXPECT_EQ(layout(big), "8 1 2 0 ffff ffff");
    big.write(0x3412ULL, 1);
    EXPECT_EQ(big.slot->raw, 0x1234u);
}

TEST(Codec, SignedFieldsExtendOnlyWhenTheSignBitIsSet)
{
    EXPECT_EQ(decodeRaw(field(0, 8, false, SIGNAL_SIGNED), 0xfe), 0xfffffffffffffffeULL);
    EXPECT_EQ(decodeRaw(field(0, 8, false, SIGNAL_SIGNED), 0x7e), 0x7eu);
    // 12-bit field straddling bytes 0 and 1, value -3.
    EXPECT_EQ(decodeRaw(field(4, 12, false, SIGNAL_SIGNED), 0xffd0), uint64_t(-3));
    // Big endian 10-bit field, msb at bit 7 of byte 0: 0b10_0000_0001 = -511.
    EXPECT_EQ(decodeRaw(field(7, 10, true, SIGNAL_SIGNED), 0x4080), uint64_t(-511));
    EXPECT_EQ(decodeRaw(field(0, 64, false, SIGNAL_SIGNED), 0x8000000000000000ULL), 0x8000000000000000ULL);
}

TEST(Codec, PhysicalValueByType)
{
    auto scaled = field(0, 16, false, SIGNAL_SIGNED);
    scaled.scale = 0.5, scaled.offset = -10;
    EXPECT_DOUBLE_EQ(physical(scaled, 0xfffc), -12.0); // -4
    // Bits above the float's 32 are outside the field.
    EXPECT_DOUBLE_EQ(physical(field(0, 32, false, SIGNAL_FLOAT), 0xdead000000000000ULL | bitsOf(-1.25f)), -1.25);
    auto twice = field(0, 64, false, SIGNAL_DOUBLE);
    twice.scale = 2;
    EXPECT_DOUBLE_EQ(physical(twice, bitsOf(3.5e100)), 7e100);
    EXPECT_DOUBLE_EQ(physical(field(0, 64, false), ~0ULL), 18446744073709551615.0);
}

TEST(Codec, ByteArrayWriteUsesAtMostEightBytesAndZeroFills)
{
    SignalStorage storage;
    BaseSignal sig(field(0, 64, false), false, &storage);
    const unsigned char data[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    sig.write(data, 3, 1);
    EXPECT_EQ(sig.slot->raw, 0x030201u);
    sig.write(data, sizeof data, 1);
    EXPECT_EQ(sig.slot->raw, 0x0807060504030201ULL);
    sig.write(nullptr, 0, 1);
    EXPECT_EQ(sig.slot->raw, 0u);
}

TEST(Codec, FieldsOutsideThePayloadReadMissingBytesAsZero)
{
    // Big endian field whose derived lsb wraps to bit 59: it would start one
    // byte below byte 0.
    SignalStorage storage;
    BaseSignal wrapped(field(250, 64, true), false, &storage);
    EXPECT_EQ(layout(wrapped).substr(0, 6), "59 7 9");
    wrapped.write(0x0123456789abcdefULL, 1);
    EXPECT_EQ(wrapped.slot->raw, 0xefcdab8967452301ULL >> 3);

    EXPECT_EQ(decodeRaw(field(100, 8, false), ~0ULL), 0u);       // entirely beyond byte 7
    EXPECT_EQ(decodeRaw(field(60, 8, false), ~0ULL), 0x0fu);     // half beyond byte 7
    EXPECT_EQ(decodeRaw(field(0, 0, false), ~0ULL), 0u);         // zero width
    EXPECT_EQ(decodeRaw(field(0, 200, false), 0x1234), 0x1234u); // width beyond 64
}
