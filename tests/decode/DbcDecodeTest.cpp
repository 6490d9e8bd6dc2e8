// Real-world DBC decoding through the Decoder: frames matched whatever format
// they declare, multiplexing as DBC files define it, bits that never arrived,
// and J1939 by parameter group with multi-packet transfers.
#include "decode/Decoder.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

using namespace rksignal;

namespace {

struct Decoded {
    // "instance" (or "instance@source" for J1939 rows) -> the values, in order.
    std::map<std::string, std::vector<double>> values;
    std::map<std::string, std::string> descriptions; // the last of each
    DecodeCounts counts;
    std::vector<std::string> warnings;
};

// Writes `dbc` and the candump lines `log` (one frame each, times added)
// to files of this process and decodes them.
Decoded decode(const std::string& dbc, const std::vector<std::string>& log, DecodeOptions options = {},
               const char* dbcName = "t.dbc")
{
    const std::string base = testing::TempDir() + "/dbc-decode-" + std::to_string(getpid()) + "-";
    const std::string dbcPath = base + dbcName, logPath = base + "t.log";
    std::ofstream(dbcPath) << dbc;
    std::ofstream out(logPath);
    for (size_t i = 0; i < log.size(); ++i)
        out << "(" << 1000 + i << ".000000) can0 " << log[i] << "\n";
    out.close();
    options.recordings = {logPath};
    options.allWrites = true;
    Decoded result;
    std::string error;
    {
        Decoder decoder(options);
        EXPECT_TRUE(decoder.load({dbcPath}, result.warnings, error)) << error;
        for (DecodedRow row; decoder.next(row);) {
            std::string key(row.instance);
            if (row.source >= 0)
                key += "@" + std::to_string(row.source);
            result.values[key].push_back(row.value);
            result.descriptions[key] = std::string(row.description);
        }
        result.counts = decoder.counts();
    }
    std::remove(dbcPath.c_str());
    std::remove(logPath.c_str());
    return result;
}

using Values = std::map<std::string, std::vector<double>>;

} // namespace

// A frame matches on identifier and extended flag whatever format it or its
// definition declares; identifiers above 0x7FF are extended even without bit
// 31; 64-bit fields anywhere in an FD frame; bits not received give no value.
TEST(DbcDecode, FramesMatchByIdentifierAndOnlyBitsReceivedDecode)
{
    const std::string dbc = R"(BO_ 256 Long: 12 X
 SG_ Tail : 80|16@1+ (1,0) [0|0] "" X
BO_ 257 Declared: 8 X
 SG_ Head : 0|8@1+ (1,0) [0|0] "" X
BO_ 1193046 NoBit31: 8 X
 SG_ B : 8|8@1+ (1,0) [0|0] "" X
BO_ 259 Classic: 8 X
 SG_ Low : 0|8@1+ (1,0) [0|0] "" X
 SG_ High : 56|8@1+ (1,0) [0|0] "" X
BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN","StandardCAN_FD","ExtendedCAN_FD";
BA_DEF_DEF_ "VFrameFormat" "StandardCAN";
BA_ "VFrameFormat" BO_ 257 2;
)";
    const std::vector<std::string> log = {
        "100##0" "00000000000000000000" "BBAA", // FD frame, definition without a format
        "101#7F",                           // classic frame, definition declared FD
        "00123456#0042",                    // extended: bit 31 left out in the file
        "103#11",                           // 1 byte of 8
        "103#1122334455667788",
    };
    const Decoded got = decode(dbc, log);
    const Values expected = {
        {"Long.Tail", {0xAABB}},
        {"Declared.Head", {0x7F}},
        {"NoBit31.B", {0x42}},
        {"Classic.Low", {0x11, 0x11}},
        {"Classic.High", {0x88}},
    };
    EXPECT_EQ(got.values, expected);
    EXPECT_EQ(got.counts.shortFrames, 1u);
    ASSERT_EQ(got.warnings.size(), 1u);
    EXPECT_NE(got.warnings[0].find("t.dbc:5: identifier 1193046 above 0x7FF without bit 31"), std::string::npos);

    // As library clients have it: the missing bytes read as zeros.
    DecodeOptions zeros;
    zeros.zeroFillShortFrames = true;
    const Decoded filled = decode(dbc, {"103#11"}, zeros);
    EXPECT_EQ(filled.values.at("Classic.High"), std::vector<double>{0});
    EXPECT_EQ(filled.counts.shortFrames, 0u);
}

TEST(DbcDecode, SixtyFourBitFieldsAtAnyOffsetOfAnFdFrame)
{
    const std::string dbc = R"(BO_ 258 Wide: 24 X
 SG_ Le : 4|64@1+ (1,0) [0|0] "" X
 SG_ Be : 75|64@0- (1,0) [0|0] "" X
)";
    // Le: payload bytes 0..8 as a little-endian number, shifted right by 4.
    // Be: bytes 9..17 as a big-endian number; bit 75 is bit 3 of byte 9, so
    // the field's lsb is bit 4 of byte 17: shifted right by 4.
    const Decoded got = decode(dbc, {"102##0"
                                     "10325476981032547F"
                                     "0FEDCBA98765432101"
                                     "000000000000"});
    EXPECT_EQ(got.values.at("Wide.Le"), std::vector<double>{double(0xF543210987654321ULL)});
    EXPECT_EQ(got.values.at("Wide.Be"), std::vector<double>{double(int64_t(0xFEDCBA9876543210ULL))});
}

// Branches selected by the multiplexer's raw value: value ranges, nested
// multiplexers, several multiplexers of one frame, a signed multiplexer.
TEST(DbcDecode, MultiplexingAsDbcFilesDefineIt)
{
    const std::string dbc = R"(BO_ 300 Mux: 8 X
 SG_ Sel M : 0|8@1- (1,0) [0|0] "" X
 SG_ Plain m2 : 8|8@1+ (1,0) [0|0] "" X
 SG_ InRange m3 : 8|8@1+ (1,0) [0|0] "" X
 SG_ Inner m1M : 16|8@1+ (1,0) [0|0] "" X
 SG_ Deep m7 : 24|8@1+ (1,0) [0|0] "" X
 SG_ Other M : 32|8@1+ (1,0) [0|0] "" X
 SG_ ByOther m5 : 40|8@1+ (1,0) [0|0] "" X
SG_MUL_VAL_ 300 InRange Sel 3-4, 10-12;
SG_MUL_VAL_ 300 Inner Sel 1-1;
SG_MUL_VAL_ 300 Deep Inner 7-7;
SG_MUL_VAL_ 300 ByOther Other 5-5;
SG_MUL_VAL_ 300 Plain Sel 2-2;
)";
    const std::vector<std::string> log = {
        "12C#02AA000005330000", // Sel 2: Plain; Other 5: ByOther
        "12C#0BBB000000000000", // Sel 11: InRange
        "12C#01000707000000EE", // Sel 1: Inner 7: Deep
        "12C#01000607000000EE", // Sel 1: Inner 6: no Deep
        "12C#FF010101000000EE", // Sel -1: no branch (and no frame decoded twice)
    };
    const Decoded got = decode(dbc, log);
    const Values expected = {
        {"Mux.Sel", {2, 11, 1, 1, -1}},
        {"Mux.Other", {5, 0, 0, 0, 0}},
        {"Mux.Plain", {0xAA}},
        {"Mux.ByOther", {0x33}},
        {"Mux.InRange", {0xBB}},
        {"Mux.Inner", {7, 6}},
        {"Mux.Deep", {7}},
    };
    EXPECT_EQ(got.values, expected);
}

// Value tables over the whole raw range; long names; texts in code page
// 1252; the defects real files carry, each read around with a warning.
TEST(DbcDecode, ValueTablesLongNamesEncodingAndTolerantReading)
{
    const std::string dbc = "BO_ 400 Msg: 8 X\n"
                            " SG_ Big : 0|64@1+ (1,0) [0|0] \"\" X\n"
                            "BO_ 401 Msg2: 8 X\n"
                            " SG_ Neg : 0|8@1- (1,0) [0|0] \"\xB0" "C\" X\n"
                            " SG_ Bare m : 8|8@1+ (1,0) [0|0] \"\" X\n"
                            "CM_ SG_ 401 \"a comment without its signal\";\n"
                            "BA_ \"SystemSignalLongSymbol\" SG_ 401 Neg \"NegativeTemperature\";\n"
                            "BA_ \"SystemMessageLongSymbol\" BO_ 401 \"SecondMessage\";\n"
                            "VAL_ 400 Big 18446744073709551615 \"all ones\" 9223372036854775808 \"top bit\" ;\n"
                            "VAL_ 401 Neg -1 \"minus one\" 2 \"M\xFC" "ller\"\n";
    const Decoded got = decode(dbc, {"190#FFFFFFFFFFFFFFFF", "190#0000000000000080", "191#FF"}, {}, "t.DBC");
    EXPECT_EQ(got.descriptions.at("Msg.Big"), "top bit");
    EXPECT_EQ(got.values.at("Msg.Big").size(), 2u);
    EXPECT_EQ(got.values.at("SecondMessage.NegativeTemperature"), std::vector<double>{-1});
    EXPECT_EQ(got.descriptions.at("SecondMessage.NegativeTemperature"), "minus one");
    EXPECT_EQ(got.values.count("SecondMessage.Bare"), 0u);
    const std::vector<std::string> warnings = {
        "t.DBC:4: text that is not UTF-8 read as code page 1252",
        "t.DBC:5: signal Bare has the multiplexer marker 'm' without a value; not decoded",
        "t.DBC:6: CM_ SG_ without a signal name; comment ignored",
        "t.DBC:10: VAL_ without its closing ';'",
    };
    ASSERT_EQ(got.warnings.size(), warnings.size());
    for (size_t i = 0; i < warnings.size(); ++i)
        EXPECT_NE(got.warnings[i].find(warnings[i]), std::string::npos) << got.warnings[i];
}

// J1939 frames match by PGN whatever priority, source and destination;
// multi-packet transfers (broadcast and connection mode) are reassembled,
// and broken ones give no value but an error.
TEST(DbcDecode, J1939ByParameterGroupWithTransferReassembly)
{
    // 0xCF00400: EEC1 (PDU2, PGN 0xF004) from 0x00 at priority 3;
    // 0x18EA0000: a request (PDU1, PGN 0xEA00) to 0x00; 0x18FEE300: a
    // 12-byte group (PGN 0xFEE3).
    const std::string dbc = R"(BO_ 2364539904 EEC1: 8 X
 SG_ Speed : 24|16@1+ (0.125,0) [0|0] "rpm" X
BO_ 2565472256 RQST: 3 X
 SG_ Pgn : 0|24@1+ (1,0) [0|0] "" X
BO_ 2566841088 Long: 12 X
 SG_ Last : 80|16@1+ (1,0) [0|0] "" X
BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN","reserved","J1939PG";
BA_ "VFrameFormat" BO_ 2364539904 3;
BA_ "VFrameFormat" BO_ 2565472256 3;
BA_ "VFrameFormat" BO_ 2566841088 3;
)";
    const std::vector<std::string> log = {
        "18F00417#0000000020000000", // priority 6, source 0x17: 0x2000 * 0.125
        "18EA2133#00EE0000000000",   // request to 0x21 from 0x33 (PDU1 destination ignored)
        // BAM from 0x44: 12 bytes in 2 packets of PGN 0xFEE3.
        "1CECFF44#200C0002FFE3FE00", "1CEBFF44#0100000000000000", "1CEBFF44#0200000034120000",
        // RTS/CTS from 0x55 to 0x66, 20 bytes in 3 packets; the receiver asks
        // for packet 2 again, whose second copy counts.
        "1CEC6655#1014000303E3FE00", "1CEC5566#110301FFFFE3FE00", "1CEB6655#0100000000000000",
        "1CEB6655#0200000099880000", "1CEC5566#110202FFFFE3FE00", "1CEB6655#0200000078560000",
        "1CEB6655#0300000000000000",
        // Out of order, then a packet missing when the next announcement comes.
        "1CECFF44#200C0002FFE3FE00", "1CEBFF44#0200000000000000",
        "1CECFF44#200C0002FFE3FE00", "1CEBFF44#0100000000000000", "1CECFF44#200C0002FFE3FE00",
    };
    const Decoded got = decode(dbc, log);
    const Values expected = {
        {"EEC1.Speed@23", {1024}},
        {"RQST.Pgn@51", {0xEE00}},
        {"Long.Last@68", {0x1234}},
        {"Long.Last@85", {0x5678}},
    };
    EXPECT_EQ(got.values, expected);
    EXPECT_EQ(got.counts.transportErrors, 2u);

    DecodeOptions fromOne;
    fromOne.signalPatterns = {"Long.*@85"};
    EXPECT_EQ(decode(dbc, log, fromOne).values, (Values{{"Long.Last@85", {0x5678}}}));
}

// LIN signals whose bytes a frame did not bring get no value either.
TEST(DbcDecode, ShortLinFramesLeaveSignalsWithoutValue)
{
    const std::string base = testing::TempDir() + "/lin-short-" + std::to_string(getpid());
    std::ofstream(base + ".json") << R"({"lin": [
        {"instance": "Rain.Low", "signal": "Low", "channel": 1, "msgId": 33, "startbit": 0, "bits": 8},
        {"instance": "Rain.High", "signal": "High", "channel": 1, "msgId": 33, "startbit": 8, "bits": 8}]})";
    std::ofstream(base + ".trace") << "(1000.000000) LIN 1 21 07\n(1001.000000) LIN 1 21 0809\n";
    DecodeOptions options;
    options.recordings = {base + ".trace"};
    options.allWrites = true;
    Decoder decoder(options);
    std::vector<std::string> warnings;
    std::string error;
    ASSERT_TRUE(decoder.load({base + ".json"}, warnings, error)) << error;
    std::vector<std::string> rows;
    for (DecodedRow row; decoder.next(row);)
        rows.push_back(std::string(row.instance) + "=" + std::to_string(int(row.value)));
    EXPECT_EQ(rows, (std::vector<std::string>{"Rain.Low=7", "Rain.Low=8", "Rain.High=9"}));
    EXPECT_EQ(decoder.counts().shortFrames, 1u);
    std::remove((base + ".json").c_str());
    std::remove((base + ".trace").c_str());
}
