// The decoder's row formats as a reader of the output sees them.
#include "output/CsvRowWriter.h"
#include "output/JsonlRowWriter.h"
#include "output/TableRowWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace rksignal;

namespace {

// Runs `write` against a buffer on a temporary file and returns the text.
template <class Write>
std::string captured(Write write)
{
    char path[] = "/tmp/rkrowsXXXXXX";
    const int fd = mkstemp(path);
    {
        OutputBuffer out(fd, 300); // small, so that rows cross flushes
        write(out);
    }
    close(fd);
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::remove(path);
    return text.str();
}

const uint64_t t0 = 1763765400123456ULL; // 2025-11-21 22:50:00.123456

} // namespace

TEST(RowWriter, CsvQuotesLikeRfc4180WithShortestDoublesTableAndJsonLines)
{
    const std::string text = captured([](OutputBuffer& out) {
        CsvRowWriter csv(out);
        csv.begin();
        csv.signalRow({t0, "Engine.Speed", 0.1 + 0.2, "rpm", ""});
        csv.signalRow({t0 + 999999, "Body.Door", 1, "", "open, \"front\"\nleft"});
        csv.signalRow({t0 + 1000000, "X", -2.5e-300, "a,b", "plain"});
        csv.triggerRow(t0, "speed > 50 && door");
        csv.timeoutRow(t0, "Engine.Speed");
        for (int i = 0; i < 20; ++i)
            csv.signalRow({0, "Repeat", double(i), "", ""});
        csv.finish();
    });
    std::string expected = "time,instance,value,unit,description\n"
                           "2025-11-21 22:50:00.123456,Engine.Speed,0.30000000000000004,rpm,\n"
                           "2025-11-21 22:50:01.123455,Body.Door,1,,\"open, \"\"front\"\"\nleft\"\n"
                           "2025-11-21 22:50:01.123456,X,-2.5e-300,\"a,b\",plain\n"
                           "2025-11-21 22:50:00.123456,TRIGGER,,,speed > 50 && door\n"
                           "2025-11-21 22:50:00.123456,TIMEOUT,,,Engine.Speed\n";
    for (int i = 0; i < 20; ++i)
        expected += "1970-01-01 00:00:00.000000,Repeat," + std::to_string(i) + ",,\n";
    EXPECT_EQ(text, expected);

    const std::string table = captured([](OutputBuffer& out) {
        TableRowWriter writer(out, 12);
        writer.signalRow({t0, "Engine.Speed", 2000, "rpm", ""});
        writer.signalRow({t0, "Gear", 3, "", "third"});
        writer.triggerRow(t0, "Gear == 3");
        writer.finish();
    });
    EXPECT_EQ(table, "2025-11-21 22:50:00.123456  Engine.Speed            2000 rpm\n"
                     "2025-11-21 22:50:00.123456  Gear                       3  (third)\n"
                     "2025-11-21 22:50:00.123456  TRIGGER  Gear == 3\n");

    const std::string jsonl = captured([](OutputBuffer& out) {
        JsonlRowWriter writer(out);
        writer.signalRow({t0, "A\"b", NAN, "\x01", "x\\y"});
        writer.triggerRow(1, "a<b");
        writer.finish();
    });
    EXPECT_EQ(jsonl, "{\"time\":\"2025-11-21 22:50:00.123456\",\"us\":1763765400123456,\"instance\":\"A\\\"b\","
                     "\"value\":null,\"unit\":\"\\u0001\",\"description\":\"x\\\\y\"}\n"
                     "{\"time\":\"1970-01-01 00:00:00.000001\",\"us\":1,\"trigger\":\"a<b\"}\n");
}

// J1939 rows carry the sender's source address; CSV gets a column for it
// when the decoder says rows may have one, JSON lines a member on those rows.
TEST(RowWriter, SourceAddressesOfJ1939Rows)
{
    const std::string csv = captured([](OutputBuffer& out) {
        CsvRowWriter writer(out);
        writer.sources = true;
        writer.begin();
        writer.signalRow({t0, "EEC1.Speed", 1, "rpm", "", 23});
        writer.signalRow({t0, "Plain.Signal", 2, "", ""});
        writer.timeoutRow(t0, "EEC1.Speed");
        writer.finish();
    });
    EXPECT_EQ(csv, "time,instance,value,unit,description,source\n"
                   "2025-11-21 22:50:00.123456,EEC1.Speed,1,rpm,,23\n"
                   "2025-11-21 22:50:00.123456,Plain.Signal,2,,,\n"
                   "2025-11-21 22:50:00.123456,TIMEOUT,,,EEC1.Speed,\n");
    const std::string jsonl = captured([](OutputBuffer& out) {
        JsonlRowWriter writer(out);
        writer.signalRow({t0, "EEC1.Speed", 1, "rpm", "", 0});
        writer.finish();
    });
    EXPECT_EQ(jsonl, "{\"time\":\"2025-11-21 22:50:00.123456\",\"us\":1763765400123456,\"instance\":\"EEC1.Speed\","
                     "\"value\":1,\"unit\":\"rpm\",\"description\":\"\",\"source\":0}\n");
}
