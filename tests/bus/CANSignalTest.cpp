// CAN signals as a client sees them: frame keys, definition checks, the frame
// table over the signals' lifetimes, and the print forms.
#include "bus/CANSignal.h"
#include "support/OutputCapture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

canSignalDef_t canDef(const std::string& instance, uint8_t channel, uint32_t msgId, uint16_t startbit = 0,
                      uint8_t bits = 8)
{
    canSignalDef_t def;
    def.instance = def.signal = instance;
    def.channel = channel;
    def.msgId = msgId;
    def.startbit = startbit;
    def.bits = bits;
    return def;
}

struct Debug {
    explicit Debug(int level) { BaseSignal::debug = level; }
    ~Debug() { BaseSignal::debug = 0; }
};

size_t occurrences(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

} // namespace

TEST(CANSignal, FrameKeysSeparateChannelFormatAndTraceSource)
{
    SignalStorage storage;
    auto def = canDef("k", 2, 0x123);
    CANSignal standard(def, false, &storage);
    def.instance = "k_ext_fd";
    def.extended = def.canFD = true;
    CANSignal extendedFD(def, false, &storage);
    def.instance = "k_ch1";
    def.channel = 1;
    def.extended = def.canFD = false;
    CANSignal otherChannel(def, false, &storage);
    def.instance = "k_tsl";
    def.channel = 2;
    def.tslId = 0x81; // carries out of bit 63
    CANSignal highTsl(def, false, &storage);

    EXPECT_EQ(CANSignal::canContainer.at(0x8000000200000123ULL), std::vector<CANSignal*>{&standard});
    EXPECT_EQ(CANSignal::canContainer.at(0x80000002C0000123ULL), std::vector<CANSignal*>{&extendedFD});
    EXPECT_EQ(CANSignal::canContainer.at(0x8000000100000123ULL), std::vector<CANSignal*>{&otherChannel});
    EXPECT_EQ(CANSignal::canContainer.at(0x0100000200000123ULL), std::vector<CANSignal*>{&highTsl});
    EXPECT_EQ(CANSignal::canKey(0, 2, 0x123, true, false), 0x8000000280000123ULL);

    // Raw records: channel in byte 14, flagged identifier word in bytes 18..21.
    unsigned char record[22] = {};
    record[14] = 2;
    record[18] = 0xc0, record[20] = 0x01, record[21] = 0x23;
    EXPECT_TRUE(CANSignal::signalsInUse(record, nullptr, 0, &storage));
    EXPECT_FALSE(CANSignal::signalsInUse(record, nullptr, 1, &storage));
    record[18] = 0x80;
    EXPECT_FALSE(CANSignal::signalsInUse(record, nullptr, 0, &storage));
    SignalStorage empty; // the keys above exist, but not for this storage
    record[18] = 0;
    EXPECT_FALSE(CANSignal::signalsInUse(record, nullptr, 0, &empty));
}

TEST(CANSignal, CanFDDefinitionsAreNarrowedToAByteRange)
{
    auto def = canDef("fd", 0, 1, 100, 12);
    EXPECT_TRUE(CANSignal::checkSignalDefinition(def));
    EXPECT_EQ(def.startByte, 12);
    EXPECT_EQ(def.numBytes, 2);
    def.endian = true, def.startbit = 7, def.bits = 64;
    EXPECT_TRUE(CANSignal::checkSignalDefinition(def));
    EXPECT_EQ(def.numBytes, 8);
    def.endian = false, def.startbit = 4;
    EXPECT_FALSE(CANSignal::checkSignalDefinition(def));
    EXPECT_EQ(def.numBytes, 9); // stored even when rejected
    def.startbit = 0, def.bits = 65;
    EXPECT_FALSE(CANSignal::checkSignalDefinition(def));

    SignalStorage storage;
    auto accepted = canDef("fd_ok", 0, 1, 100, 12);
    accepted.canFD = true;
    CANSignal ok(accepted, false, &storage);
    EXPECT_EQ(ok.def.startbit, 4);
    EXPECT_EQ(ok.definition.startByte, 12);

    auto rejected = canDef("fd_bad", 0, 2, 4, 64);
    rejected.canFD = true;
    auto bad = std::make_unique<CANSignal>(rejected, false, &storage);
    EXPECT_EQ(bad->id, ~0UL);
    EXPECT_EQ(BaseSignal::getInstance("fd_bad", &storage), bad.get());
    EXPECT_EQ(storage.canSignals.size(), 1u);
    EXPECT_EQ(CANSignal::canContainer.count(CANSignal::canKey(0, 0, 2, false, true)), 0u);
    bad.reset();
    EXPECT_EQ(storage.canSignals.size(), 1u);
    EXPECT_EQ(CANSignal::canContainer.size(), 1u);
}

TEST(CANSignal, SignalsOfAFrameShareOneEntryUntilDestroyed)
{
    SignalStorage storage;
    OutputCapture capture;
    Debug debug(1);
    auto first = std::make_unique<CANSignal>(canDef("a", 3, 0x10), false, &storage);
    auto second = std::make_unique<CANSignal>(canDef("b", 3, 0x10, 8), false, &storage);
    EXPECT_EQ(occurrences(capture.out(), "[DEBUG] CANSignal::CANSignal() canKey=8000000300000010\n"), 2u);
    EXPECT_EQ(occurrences(capture.out(), "[DEBUG] CANSignal::CANSignal() insert into canContainer: instance=a,"), 1u);
    EXPECT_EQ(occurrences(capture.out(), "[DEBUG] CANSignal::CANSignal() insert into canContainer: "), 1u);
    EXPECT_EQ(occurrences(capture.out(), "[DEBUG] CANSignal::CANSignal() canContainer:\n"
                                         "[DEBUG] CANSignal::CANSignal() 8000000300000010\n"
                                         "[DEBUG] CANSignal::CANSignal() [instance=a,"),
              2u);
    EXPECT_EQ(CANSignal::canContainer.at(0x8000000300000010ULL),
              (std::vector<CANSignal*>{first.get(), second.get()}));
    EXPECT_EQ(storage.canSignals.at(second->id), std::vector<CANSignal*>{second.get()});

    first.reset();
    EXPECT_EQ(CANSignal::canContainer.at(0x8000000300000010ULL), std::vector<CANSignal*>{second.get()});
    EXPECT_EQ(storage.canSignals.size(), 1u);
    second.reset();
    EXPECT_TRUE(CANSignal::canContainer.empty());
    EXPECT_TRUE(storage.canSignals.empty());
}

TEST(CANSignal, DuplicateIdentifierIsRejected)
{
    SignalStorage storage;
    const unsigned long counter = BaseSignal::instanceCounter;
    CANSignal original(canDef("orig", 0, 5), false, &storage);
    BaseSignal::instanceCounter = counter;
    OutputCapture capture;
    CANSignal twin(canDef("twin", 0, 5), false, &storage);
    std::ostringstream expected;
    expected << "[ERROR] CANSignal::CANSignal() gpId 0x" << std::hex << original.id << " already exists";
    EXPECT_EQ(capture.out(), expected.str()); // this message has no line end
    EXPECT_EQ(twin.id, ~0UL);
    EXPECT_EQ(BaseSignal::getInstance(original.id, &storage), &original);
    EXPECT_EQ(CANSignal::canContainer.at(CANSignal::canKey(0, 0, 5, false, false)),
              std::vector<CANSignal*>{&original});
    BaseSignal::instanceCounter = counter + 1;
}

TEST(CANSignal, PrintForms)
{
    SignalStorage storage;
    auto def = canDef("p", 1, 0x7ff);
    def.canFD = true, def.message = "Msg", def.sender = "Ecu", def.pduId = 32;
    CANSignal sig(def, false, &storage);
    std::ostringstream text;
    text << sig.definition;
    EXPECT_EQ(text.str(), "instance=p,signal=p,channel=1,unit=,type=unsigned,startbit=0,bits=8,scale=1,offset=0,"
                          "endian=LITTLE,multiplexed=no,mux=0,tslId=0,msgId=2047,extended=no,canFD=yes,"
                          "message=Msg,sender=Ecu,pduId=32,startByte=0,numBytes=1");
    text.str("");
    text << sig << 255;
    const std::string printed = text.str();
    std::ostringstream tail;
    tail << ";index=" << std::hex << sig.id << "ff"; // left in hexadecimal
    EXPECT_EQ(printed.substr(0, 11), "instance=p,");
    EXPECT_NE(printed.find(";instance=p,signal=p,channel=1,"), std::string::npos);
    EXPECT_EQ(printed.substr(printed.size() - tail.str().size()), tail.str());
    def.pduId.reset();
    text.str("");
    text << def;
    EXPECT_NE(text.str().find(",pduId=none,startByte=0,numBytes=0"), std::string::npos);
}
