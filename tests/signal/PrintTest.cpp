// Print forms and debug lines, compared as exact text.
#include "signal/BaseSignal.h"
#include "support/OutputCapture.h"
#include "support/Printed.h"
#include "support/SignalTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

baseSignalDef_t speedDefinition()
{
    auto def = definitionOf("Speed", 8, 8);
    def.signal = "VehSpeed", def.unit = "km/h";
    def.channel = 2, def.scale = 0.5, def.offset = -1, def.tslId = 200;
    return def;
}

} // namespace

TEST(Print, DefinitionForms)
{
    auto def = speedDefinition();
    std::ostringstream line;
    line << std::hex << def;
    EXPECT_EQ(line.str(), "instance=Speed,signal=VehSpeed,channel=2,unit=km/h,type=unsigned,startbit=8,bits=8,"
                          "scale=0.5,offset=-1,endian=LITTLE,multiplexed=no,mux=0,tslId=200");

    def.endian = def.multiplexed = true;
    def.mux = 3, def.udn = "speed of the car";
    def.type = static_cast<signalValue_t>(7);
    def.valueDescription = {{10, "ten"}, {2, "two"}};
    EXPECT_EQ(printed(def), "instance=Speed,signal=VehSpeed,channel=2,unit=km/h,type=,startbit=8,bits=8,scale=0.5,"
                          "offset=-1,endian=BIG,multiplexed=yes,mux=3,tslId=200,udn=speed of the car\n"
                          "value description table\n2: two\n10: ten\n");

    EXPECT_EQ(printed(SIGNAL_UNSIGNED) + printed(SIGNAL_SIGNED) + printed(SIGNAL_FLOAT) + printed(SIGNAL_DOUBLE),
              "unsignedsignedfloatdouble");
}

// The signal's print form is in the debug lines of its construction and
// of each write; the time stamp's text form in the utility test.
TEST(Print, DebugLinesOfConstructionAndWrite)
{
    SignalStorage storage;
    OutputCapture capture;
    DebugLevel level(1);
    auto def = speedDefinition();
    def.endian = true, def.startbit = 7, def.bits = 12, def.type = SIGNAL_SIGNED;
    def.scale = 1, def.offset = 0;
    BaseSignal sig(def, false, &storage);
    EXPECT_EQ(capture.out(),
              "[DEBUG] BaseSignal::cInit() Speed:d_lsbBit=12,d_startByte=1,d_bytes=2,d_shift=4,d_maksBits=fff,"
              "d_signBit=800,d_rawMask=000000000000f0ff\n"
              "[DEBUG] BaseSignal::BaseSignal() Speed created \n"
              "[DEBUG] BaseSignal::BaseSignal() instance=Speed,signal=VehSpeed,shmem=false,valid=false,"
              "value=0 (0xaaaaaaaa),timestamp=1970-01-01 00:23:51.655765 (0x55555555)\n");

    capture.reset();
    sig.write(0x10ff, 0);
    EXPECT_EQ(capture.out(),
              "[DEBUG] BaseSignal::decode() Speed: ff-10-00-00-00-00-00-00\n"
              "[DEBUG] BaseSignal::decode() Speed: big endian, bits = 12, startbit = 7, maskBits = fff, "
              "signBit = 800, item = fffffffffffffff1\n"
              "[DEBUG] BaseSignal::write() instance=Speed,signal=VehSpeed,shmem=false,valid=true,"
              "value=-15 (0xfffffffffffffff1),timestamp=1970-01-01 00:00:00.000000 (0x0)\n");

    capture.reset();
    sig.writeRaw(0xfffffffffffffff1UL, 0);
    EXPECT_EQ(capture.out(),
              "[DEBUG] BaseSignal::writeRaw() (no change) instance=Speed,signal=VehSpeed,shmem=false,valid=true,"
              "value=-15 (0xfffffffffffffff1),timestamp=1970-01-01 00:00:00.000000 (0x0)\n");
}
