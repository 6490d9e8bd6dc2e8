// The bit-field codec against an independent bit-by-bit reference.
#include "signal/BaseSignal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {

baseSignalDef_t field(uint16_t startbit, uint8_t bits, bool bigEndian, signalValue_t type = SIGNAL_UNSIGNED)
{
    baseSignalDef_t def;
    def.instance = "codec";
    def.signal = "codec";
    def.startbit = startbit;
    def.bits = bits;
    def.endian = bigEndian;
    def.type = type;
    return def;
}

bool payloadBit(uint64_t payload, int n) { return (payload >> n) & 1u; }

// Walks the field one bit at a time, the way a reader of a frame layout
// would: little endian from the lsb upward; big endian from the msb
// downward inside a byte, continuing at bit 7 of the next byte.
uint64_t referenceExtract(uint64_t payload, int startbit, int bits, bool bigEndian)
{
    uint64_t value = 0;
    if (!bigEndian) {
        for (int i = 0; i < bits; ++i)
            value |= uint64_t(payloadBit(payload, startbit + i)) << i;
        return value;
    }
    int n = startbit;
    for (int i = bits - 1; i >= 0; --i) {
        value |= uint64_t(payloadBit(payload, n)) << i;
        n = (n % 8 == 0) ? n + 15 : n - 1;
    }
    return value;
}

uint64_t decodeRaw(const baseSignalDef_t& def, uint64_t payload)
{
    SignalStorage storage;
    BaseSignal signal(def, false, &storage);
    signal.write(payload, 1);
    return signal.slot->raw;
}

} // namespace

TEST(Codec, WorkedExamplesAndDerivedFields)
{
    SignalStorage storage;
    BaseSignal little(field(12, 10, false), false, &storage);
    EXPECT_EQ(little.d_lsbBit, 12);
    EXPECT_EQ(little.d_startByte, 1);
    EXPECT_EQ(little.d_shift, 4);
    EXPECT_EQ(little.d_bytes, 2);
    EXPECT_EQ(little.d_maksBits, 0x3ffu);
    EXPECT_EQ(little.d_rawMask, 0x3ff000u);
    little.write(0x3ca500ULL, 1);
    EXPECT_EQ(little.slot->raw, 0x3cau);

    auto bigDef = field(7, 16, true);
    bigDef.instance = "big";
    BaseSignal big(bigDef, false, &storage);
    EXPECT_EQ(big.d_lsbBit, 8);
    EXPECT_EQ(big.d_startByte, 1);
    EXPECT_EQ(big.d_bytes, 2);
    EXPECT_EQ(big.d_rawMask, 0xffffu);
    big.write(0x3412ULL, 1);
    EXPECT_EQ(big.slot->raw, 0x1234u);

    auto sixtyFour = field(0, 64, false, SIGNAL_SIGNED);
    sixtyFour.instance = "wide";
    BaseSignal wide(sixtyFour, false, &storage);
    EXPECT_EQ(wide.d_maksBits, ~uint64_t(0));
    EXPECT_EQ(wide.d_signBit, uint64_t(1) << 63);
}

TEST(Codec, EveryWidthAndPositionMatchesTheBitWalk)
{
    std::mt19937_64 random(20261121);
    for (int bits = 1; bits <= 64; ++bits) {
        for (int lsb = 0; lsb + bits <= 64; lsb += 3) {
            const uint64_t payload = random();
            EXPECT_EQ(decodeRaw(field(lsb, bits, false), payload), referenceExtract(payload, lsb, bits, false))
                << "little endian, startbit " << lsb << ", bits " << bits;
        }
        // Big endian start bits name the msb; keep the field inside 8 bytes.
        for (int startbit = 0; startbit < 64; startbit += 5) {
            const int msbPosition = (startbit / 8) * 8 + 7 - startbit % 8;
            if (msbPosition + bits > 64)
                continue;
            const uint64_t payload = random();
            EXPECT_EQ(decodeRaw(field(startbit, bits, true), payload),
                      referenceExtract(payload, startbit, bits, true))
                << "big endian, startbit " << startbit << ", bits " << bits;
        }
    }
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
    SignalStorage storage;
    auto def = field(0, 16, false, SIGNAL_SIGNED);
    def.scale = 0.5;
    def.offset = -10;
    BaseSignal sig(def, false, &storage);
    sig.write(0xfffc, 1); // -4
    double value = 0;
    unsigned long ts = 0;
    EXPECT_TRUE(sig.read(value, ts));
    EXPECT_DOUBLE_EQ(value, -12.0);

    auto floatDef = field(0, 32, false, SIGNAL_FLOAT);
    floatDef.instance = "float";
    BaseSignal single(floatDef, false, &storage);
    const float f = -1.25f;
    uint32_t bits32;
    std::memcpy(&bits32, &f, 4);
    single.write(0xdead000000000000ULL | bits32, 1); // upper bits outside the field
    single.read(value, ts);
    EXPECT_DOUBLE_EQ(value, -1.25);

    auto doubleDef = field(0, 64, false, SIGNAL_DOUBLE);
    doubleDef.instance = "double";
    doubleDef.scale = 2;
    BaseSignal dbl(doubleDef, false, &storage);
    const double d = 3.5e100;
    uint64_t bits64;
    std::memcpy(&bits64, &d, 8);
    dbl.write(bits64, 1);
    dbl.read(value, ts);
    EXPECT_DOUBLE_EQ(value, 7e100);

    auto unsignedDef = field(0, 64, false, SIGNAL_UNSIGNED);
    unsignedDef.instance = "u64";
    BaseSignal u64(unsignedDef, false, &storage);
    u64.write(~0ULL, 1);
    u64.read(value, ts);
    EXPECT_DOUBLE_EQ(value, 18446744073709551615.0);
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
    EXPECT_EQ(wrapped.d_startByte, 7);
    EXPECT_EQ(wrapped.d_bytes, 9);
    wrapped.write(0x0123456789abcdefULL, 1);
    EXPECT_EQ(wrapped.slot->raw, 0xefcdab8967452301ULL >> 3);

    EXPECT_EQ(decodeRaw(field(100, 8, false), ~0ULL), 0u);       // entirely beyond byte 7
    EXPECT_EQ(decodeRaw(field(60, 8, false), ~0ULL), 0x0fu);     // half beyond byte 7
    EXPECT_EQ(decodeRaw(field(0, 0, false), ~0ULL), 0u);         // zero width
    EXPECT_EQ(decodeRaw(field(0, 200, false), 0x1234), 0x1234u); // width beyond 64
}
