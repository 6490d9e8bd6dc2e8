// The stand-in utility library's text forms (printError's is in the shared-memory test's "Missing File" line).
#include "util/hexdump.h"
#include "util/macaddr_t.h"
#include "util/printTime.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(Util, TextForms)
{
    std::ostringstream time;
    printTime(time, 0);
    time << '|';
    printTime(time, 951782400000001ULL); // 2000-02-29, leap day
    EXPECT_EQ(time.str(), "1970-01-01 00:00:00.000000|2000-02-29 00:00:00.000001");

    std::ostringstream mac;
    macaddr_t(0xffff0a1b2c3d4e5fULL).print(mac); // bits above 47 ignored
    EXPECT_EQ(mac.str(), "0a:1b:2c:3d:4e:5f");

    unsigned char bytes[18];
    for (int i = 0; i < 18; ++i)
        bytes[i] = static_cast<unsigned char>(i * 15);
    std::ostringstream dump;
    hexdump(dump, bytes, sizeof bytes);
    EXPECT_EQ(dump.str(), "0000: 00 0f 1e 2d 3c 4b 5a 69 78 87 96 a5 b4 c3 d2 e1\n0010: f0 ff\n");
    std::ostringstream empty;
    hexdump(empty, bytes, 0);
    EXPECT_EQ(empty.str(), "");
}
