// JSON definitions: every field of every record kind, the error texts, and
// the example file building real signals.
#include "decode/SignalSet.h"
#include "definitions/JsonDefinitions.h"

#include "support/OutputCapture.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace rksignal;

namespace {

DefinitionSet parsed(const std::string& text)
{
    DefinitionSet set;
    std::string error;
    EXPECT_TRUE(JsonDefinitions::parse(text, "defs.json", set, error)) << error;
    return set;
}

std::string parseError(const std::string& text)
{
    DefinitionSet set;
    std::string error;
    EXPECT_FALSE(JsonDefinitions::parse(text, "defs.json", set, error)) << text;
    EXPECT_EQ(set.size(), 0u);
    return error;
}

// The error for the second of two CAN records, given its members besides the instance.
std::string canError(const std::string& members)
{
    return parseError(R"({"can": [{"instance": "A"}, {"instance": "B", )" + members + "}]}");
}

std::string positionError(const std::string& members)
{
    return parseError(R"({"ethernet": [{"instance": "E", "positions": [{)" + members + "}]}]}");
}

// The records' own text forms print (nearly) every field, IP addresses
// through inet_ntoa, which makes them an independent check of the byte order.

} // namespace

TEST(JsonDefinitions, BusRecordsTakeEveryField)
{
    const DefinitionSet set = parsed(R"({
      "can": [{"instance": "Frame.Speed", "signal": "Speed", "userId": 4294967295, "channel": 255, "unit": "km/h",
               "type": "signed", "startbit": 65535, "bits": 12, "scale": 0.5, "offset": -40, "endian": "big",
               "multiplexed": true, "multiplexer": true, "mux": 65535, "udn": "speed", "comment": "wheel based",
               "tslId": 3, "valueDescription": {"-1": "fault", "0": "stop", "18446744073709551614": "max"},
               "msgId": 536870911, "extended": true, "canFD": true, "message": "Frame", "sender": "ECU",
               "pduId": 16777215, "startByte": 9, "numBytes": 2}],
      "lin": [{"instance": "L", "msgId": 63, "bits": 4}],
      "flexray": [{"instance": "F", "bits": 16, "positions": [
                   {"startBit": 8, "segment": "static", "slot": 2047, "baseCycle": 1, "repetition": 4,
                    "updateBit": 70, "pduId": 9, "startByte": 1, "numBytes": 2},
                   {"segment": "dynamic", "updateBit": null, "pduId": null}]}],
      "ethernet": [{"instance": "E", "bits": 16, "positions": [
                    {"ethSignalType": "someip", "startBit": 24, "sourceMac": "02:00:5E:10:00:01",
                     "destinationMac": "ff:ff:ff:ff:ff:fe", "sourceIp": "192.168.0.1",
                     "destinationIp": "239.255.0.10", "sourcePort": 65535, "destinationPort": 30490,
                     "ipProtocol": 300, "vlan": true, "vlanId": 4095, "pduId": 1, "messageId": 2,
                     "serviceId": 4660, "methodEventId": 32769, "startByte": 3, "numBytes": 2},
                    {"ethSignalType": "ipdu"}, {"ethSignalType": "spdu", "destinationIp": "255.255.255.255"},
                    {"ethSignalType": "default", "sourceMac": "00:00:00:00:00:00", "sourceIp": "0.0.0.0"}]}]
    })");
    ASSERT_EQ(set.size(), 4u);
    EXPECT_EQ(printed(set.can[0]),
              "instance=Frame.Speed,signal=Speed,channel=255,unit=km/h,type=signed,startbit=65535,bits=12,scale=0.5,"
              "offset=-40,endian=BIG,multiplexed=yes,mux=65535,tslId=3,udn=speed\nvalue description table\n"
              "0: stop\n18446744073709551614: max\n18446744073709551615: fault\n"
              ",msgId=536870911,extended=yes,canFD=yes,message=Frame,sender=ECU,pduId=16777215,startByte=9,"
              "numBytes=2");
    EXPECT_EQ(std::tie(set.can[0].userId, set.can[0].multiplexer, set.can[0].comment, set.lin[0].msgId),
              std::make_tuple(4294967295u, 1, "wheel based", 63u));

    const std::string base = "channel=0,unit=,type=unsigned,startbit=0,bits=16,scale=1,offset=0,endian=LITTLE,"
                             "multiplexed=no,mux=0,tslId=0";
    const std::string noCycles(63, ',');
    EXPECT_EQ(printed(set.flexRay[0]), "instance=F,signal=," + base +
                                           "[startBit=8,type=static,slot=2047,baseCycle=1,repetition=4,startByte=1,"
                                           "numBytes=2,updateBit=70,pduId=9,cycle=" + noCycles +
                                           "][startBit=0,type=dynamic,slot=0,baseCycle=0,repetition=0,startByte=0,"
                                           "numBytes=0,updateBit=none,pduId=none,cycle=" + noCycles + "]");
    ethernetSignalDef_t someIp = set.ethernet[0];
    someIp.positions.resize(1);
    EXPECT_EQ(printed(someIp),
              "instance=E,signal=," + base +
                  "[ethSignalType=SOME/IP,startBit=24,sourceMac=02:00:5e:10:00:01,destinationMac=ff:ff:ff:ff:ff:fe,"
                  "sourceIp=192.168.0.1,destinationIp=239.255.0.10,sourcePort=65535,destinationPort=30490,"
                  "ipProtocol=300,vlan=true,vlanId=4095,pduId=1,messageId=2,serviceId=4660,methodEventId=32769,"
                  "startByte=3,numBytes=2]");
    const std::vector<ethernetPosition_t>& positions = set.ethernet[0].positions;
    EXPECT_EQ(std::tie(positions[1].ethSignalType, positions[2].ethSignalType, positions[2].destinationIp,
                       positions[3].ethSignalType), std::make_tuple(ETH_IPDU, ETH_SPDU, 0xffffffffu, ETH_DEFAULT));
}

TEST(JsonDefinitions, InputKindsDefaultsAndAppending)
{
    DefinitionSet set = parsed(R"({"digital": [{"instance": "D", "tslId": 1, "channel": 3}],
      "analog": [{"instance": "A", "type": "float"}, {"instance": "B", "type": "double"}],
      "keyboard": [{"instance": "RC.F1"}], "loggerStatus": [{"instance": "Logger.Status"}],
      "gps": [{"instance": "GPS.Speed"}], "can": [{"instance": "C", "pduId": null}]})");
    ASSERT_EQ(set.size(), 7u);
    EXPECT_EQ(std::tie(set.digital[0].channel, set.digital[0].tslId, set.analog[1].type),
              std::make_tuple(3, 1, SIGNAL_DOUBLE));
    EXPECT_EQ(set.keyboard[0].instance + set.loggerStatus[0].instance + set.gps[0].instance,
              "RC.F1Logger.StatusGPS.Speed");
    // Omitted fields keep the record's defaults.
    canSignalDef_t defaults;
    defaults.instance = "C";
    EXPECT_EQ(printed(set.can[0]), printed(defaults));
    EXPECT_EQ(set.can[0].multiplexer, 0);

    // A second file appends; a failing one leaves the set alone.
    std::string error;
    EXPECT_TRUE(JsonDefinitions::parse(R"({"can": [{"instance": "C2"}]})", "more.json", set, error));
    EXPECT_EQ(set.can.at(1).instance, "C2");
    EXPECT_FALSE(JsonDefinitions::parse(R"({"can": [{"instance": "C3"}, {"bits": 1}]})", "bad.json", set, error));
    EXPECT_EQ(set.size(), 8u);
}

TEST(JsonDefinitions, ErrorsNameTheJsonPathOrLineAndColumn)
{
    const std::string bits = "defs.json: /can/1/bits: expected an unsigned integer 0..255, got ";
    EXPECT_EQ(canError(R"("bits": "x")"), bits + "\"x\"");
    EXPECT_EQ(canError(R"("bits": 256)"), bits + "256");
    EXPECT_EQ(canError(R"("bits": -1)"), bits + "-1");
    EXPECT_EQ(canError(R"("bits": 8.0)"), bits + "8.0");
    // Long values are cut, never inside a UTF-8 sequence.
    EXPECT_EQ(canError(R"("bits": ")" + std::string(50, 'x') + "\""), bits + "\"" + std::string(39, 'x') + "...");
    EXPECT_EQ(canError(R"("bits": ")" + std::string(38, 'x') + "\xc3\xa9\xc3\xa9\""),
              bits + "\"" + std::string(38, 'x') + "...");
    EXPECT_EQ(canError(R"("userId": 18446744073709551616)"),
              "defs.json: /can/1/userId: expected an unsigned integer 0..4294967295, got 1.8446744073709552e+19");
    EXPECT_EQ(canError(R"("scale": "2")"), R"(defs.json: /can/1/scale: expected a number, got "2")");
    EXPECT_EQ(canError(R"("canFD": 1)"), "defs.json: /can/1/canFD: expected true or false, got 1");
    EXPECT_EQ(canError(R"("comment": {})"), "defs.json: /can/1/comment: expected a string, got an object");
    EXPECT_EQ(canError(R"("endian": true)"), R"(defs.json: /can/1/endian: expected one of "little", "big", got true)");
    EXPECT_EQ(canError(R"("type": "int")"),
              R"(defs.json: /can/1/type: expected one of "unsigned", "signed", "float", "double", got "int")");
    EXPECT_EQ(canError(R"("bitz": 8, "zz": 1)"), "defs.json: /can/1/bitz: unknown key");
    EXPECT_EQ(canError(R"("a/b~": 1)"), "defs.json: /can/1/a~1b~0: unknown key");
    EXPECT_EQ(canError(R"("bits": 8, "bits": 9)"), "defs.json: /can/1/bits: duplicate key");
    EXPECT_EQ(parseError(R"({"can": [{"bits": 8}]})"), R"(defs.json: /can/0: missing key "instance")");
    EXPECT_EQ(parseError(R"({"can": {}})"), "defs.json: /can: expected an array, got an object");
    EXPECT_EQ(parseError(R"({"flexRay": []})"), "defs.json: /flexRay: unknown key");
    EXPECT_EQ(parseError("[]"), "defs.json: /: expected an object, got an array");

    const std::string table = "defs.json: /can/1/valueDescription";
    EXPECT_EQ(canError(R"("valueDescription": {"-1": "fault"})"),
              table + R"(/-1: negative raw values need "type": "signed")");
    EXPECT_EQ(canError(R"("valueDescription": {"0x10": "a"})"),
              table + "/0x10: expected a decimal raw value 0..18446744073709551615 as key");
    EXPECT_EQ(canError(R"("valueDescription": {"1": 1})"), table + "/1: expected a string, got 1");
    EXPECT_EQ(canError(R"("valueDescription": {"01": "a", "1": "b"})"), table + "/1: raw value 1 is given twice");

    EXPECT_EQ(parseError(R"({"flexray": [{"instance": "F", "positions": [{}, {"updateBit": 65536}]}]})"),
              "defs.json: /flexray/0/positions/1/updateBit: expected null or an unsigned integer 0..65535, got 65536");
    EXPECT_EQ(positionError(R"("ethSignalType": "SOME/IP")"),
              "defs.json: /ethernet/0/positions/0/ethSignalType: expected one of \"default\", \"ipdu\", \"spdu\", "
              "\"someip\", got \"SOME/IP\"");
    EXPECT_EQ(positionError(R"("cycle": 1)"), "defs.json: /ethernet/0/positions/0/cycle: unknown key");

    const std::string at = "defs.json: /ethernet/0/positions/0/";
    for (const std::string mac : {"02:00:5e:10:00", "02:00:5e:10:00:01:02", "02-00-5e-10-00-01", "2:00:5e:10:00:01:",
                                  "02:00:5e:10:00:0g", "0200.5e10.0001", ""})
        EXPECT_EQ(positionError(R"("sourceMac": ")" + mac + "\""),
                  at + R"(sourceMac: expected a MAC address "aa:bb:cc:dd:ee:ff", got ")" + mac + "\"");
    EXPECT_EQ(positionError(R"("destinationMac": 1)"),
              at + R"(destinationMac: expected a MAC address "aa:bb:cc:dd:ee:ff", got 1)");
    for (const std::string ip : {"192.168.0", "192.168.0.1.2", "192.168.0.256", "192.168.00.1", "192.168.0.1 ",
                                 "1..2.3", "1.2.3.-4", "1.2.3.0004", "", "a.b.c.d"})
        EXPECT_EQ(positionError(R"("sourceIp": ")" + ip + "\""),
                  at + R"(sourceIp: expected an IPv4 address "a.b.c.d", got ")" + ip + "\"");

    EXPECT_EQ(parseError("{\n  \"can\": [\n    {\"instance\": \"A\",}\n  ]\n}"),
              "defs.json:3:22: syntax error while parsing object key - unexpected '}'; expected string literal");
    EXPECT_EQ(parseError(""), "defs.json:1:1: syntax error while parsing value - unexpected end of input; expected "
                              "'[', '{', or a literal");

    // Later lines, the end of the input, after a line break, after the document (positions
    // as nlohmann's own messages count them).
    const std::pair<const char*, const char*> positions[] = {
        {"{\n\n  \"can\": [}", "defs.json:3:11: "}, {"{\"can\": [\n]\n\n", "defs.json:4:1: "},
        {"{\"a\":\n tru }", "defs.json:2:5: "}, {"{} x", "defs.json:1:4: "}};
    for (const auto& [text, position] : positions)
        EXPECT_EQ(parseError(text).rfind(position, 0), 0u) << text;
}

TEST(JsonDefinitions, ExampleFileBuildsEverySignal)
{
    DefinitionSet set;
    std::string error;
    ASSERT_TRUE(JsonDefinitions::readFile(RKSIGNAL_EXAMPLES_DIR "/definitions.json", set, error)) << error;
    // A rejected definition is a problem; an unknown predefined name, an error line.
    OutputCapture capture;
    SignalSet signals;
    std::vector<std::string> problems;
    signals.build(set, problems);
    EXPECT_EQ(problems, std::vector<std::string>{});
    EXPECT_EQ(signals.size(), set.size());
    EXPECT_EQ(capture.out() + capture.err(), "");

    EXPECT_FALSE(JsonDefinitions::readFile("/nonexistent/defs.json", set, error));
    EXPECT_EQ(error, "/nonexistent/defs.json: cannot open the file");
}
