// DBC reading: every construct the decoder needs, and errors with file:line.
#include "definitions/DbcReader.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace rksignal;

namespace {

// What the example DBC (its decode is compared with an expected output) and
// the differential test's DBCs leave out: the signals' layouts, byte orders,
// signs, factors, multiplexers, extended and CAN FD frames, value tables and
// the usual sections are read there.
const char* const sampleDbc = R"(BO_ 256 EngineData: 8 Engine
 SG_ EngineSpeed : 0|16@1+ (0.25,0) [0|16383.75] "rpm" Body
 SG_ Coolant : 23|10@0- (0.1,-40) [-40|200] "degC" Body
 SG_ Ratio : 32|32@1+ (1,0) [0|0] "" Body

BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX
 SG_ Orphan : 0|8@1+ (1,0) [0|0] "" Vector__XXX

CM_ "A database comment; with a semicolon";
CM_ SG_ 256 EngineSpeed "Crankshaft speed
over two lines";
VAL_ 256 Coolant -1 "sensor fault" 0 "cold";
SIG_VALTYPE_ 256 Ratio : 1;
)";

} // namespace

TEST(DbcReader, ReadsCommentsNegativeValuesValueTypesAndDropsTheIndependentSignals)
{
    DbcDatabase db;
    std::string error;
    ASSERT_TRUE(DbcReader::parse(sampleDbc, "sample.dbc", db, error)) << error;
    ASSERT_EQ(db.messages.size(), 1u); // the independent-signal container is dropped
    const std::vector<DbcSignal>& signals = db.messages[0].signals;
    ASSERT_EQ(signals.size(), 3u);
    EXPECT_EQ(signals[0].comment, "Crankshaft speed\nover two lines");
    EXPECT_EQ(signals[1].values, (std::map<uint64_t, std::string>{{0, "cold"}, {~uint64_t(0), "sensor fault"}}));
    EXPECT_EQ(std::tie(signals[0].valueType, signals[2].valueType), std::make_tuple(0, 1));
}

TEST(DbcReader, ErrorsNameFileLineAndWhatWasExpected)
{
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0 [0|0] \"\" X\n", "f.dbc:2: expected ')' after the offset"},
        {"BO_ 1 A: 8 X\n SG_ S : 0|8@2+ (1,0) [0|0] \"\" X\n",
         "f.dbc:2: expected byte order 0 (big endian) or 1 (little endian) after '@'"},
        {" SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n", "f.dbc:1: expected BO_ before SG_"},
        {"BO_ x A: 8 X\n", "f.dbc:1: expected frame identifier after BO_"},
        {"BO_ 1 A: 65 X\n", "f.dbc:1: expected frame size (0 to 64 bytes)"},
        {"BO_ 1 A: 8 X\n SG_ S x1 : 0|8@1+ (1,0) [0|0] \"\" X\n",
         "f.dbc:2: expected 'M', 'mN' or ':' after the signal name"},
        {"BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\nVAL_ 1 S 1 \"a\" 2 b;\n",
         "f.dbc:3: expected the value text in double quotes in VAL_"},
    };
    for (const auto& c : cases) {
        DbcDatabase db;
        std::string error;
        EXPECT_FALSE(DbcReader::parse(c.text, "f.dbc", db, error)) << c.text;
        EXPECT_EQ(error, c.error);
    }
}

TEST(DbcReader, SkipsUnknownSectionsAndToleratesMissingSemicolons)
{
    const char* text = "BO_ 5 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n"
                       "BO_TX_BU_ 5 : X,Y;\n"
                       "EV_ Env: 0 [0|1] \"\" 0 1 DUMMY_NODE_VECTOR0 X;\n"
                       "CM_ BO_ 5 \"no semicolon\"\n"
                       "BO_ 6 B: 8 X\n SG_ T : 7|8@0+ (1,0) [0|0] \"\" X\n"
                       " SG_ Text : 8|1600@1+ (1,0) [0|4.4E+481] \"\" X\n"
                       " SG_ Empty : 8|0@1+ (1,0) [0|1E-400] \"\" X\n";
    DbcDatabase db;
    std::string error;
    ASSERT_TRUE(DbcReader::parse(text, "f.dbc", db, error)) << error;
    ASSERT_EQ(db.messages.size(), 2u);
    ASSERT_EQ(db.messages[1].signals.size(), 1u);
    EXPECT_EQ(db.messages[1].signals[0].name, "T");
    EXPECT_EQ(db.warnings, (std::vector<std::string>{
                               "f.dbc:8: signal Text is 1600 bits long; only signals of 1 to 64 bits are decoded",
                               "f.dbc:9: signal Empty is 0 bits long; only signals of 1 to 64 bits are decoded"}));
}
