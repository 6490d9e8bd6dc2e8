// Fuzz target: Ethernet frames through MIITraceMessage::analyzeFrame, both
// forms of EthernetSignal::decodeMessage, and EthernetSignal::signalsInUse
// on Ethernet (type 4) and MII (type 14) records.
//
// Fixed signals on channel 1 sit in plain UDP and TCP payloads, IPDUs, SPDUs
// and SOME/IP messages, one behind a VLAN tag and one bound to addresses;
// one has a mirror child for a second position. Channel 2 has a signal that
// matches every analysable frame. Input: a debug selector byte, then frames:
// a byte choosing the message form and channel, a 16-bit size (a few sizes
// beyond 64 KiB, where container offsets wrap), the frame bytes (zero-filled
// where the input ends), and a byte shaping the record of the same frame.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/EthernetSignal.h"

#include <arpa/inet.h>

#include <array>

namespace {

constexpr size_t maxFrames = 32;
constexpr size_t ordinaryFrame = 1600;
constexpr uint16_t udp = 17;
constexpr uint16_t tcp = 6;

ethernetPosition_t position(ethSignalPosType_t type, uint16_t startBit, uint16_t protocol, uint16_t port)
{
    ethernetPosition_t p;
    p.ethSignalType = type;
    p.startBit = startBit;
    p.ipProtocol = protocol;
    p.destinationPort = port;
    return p;
}

void add(SignalStorage& storage, const char* name, uint8_t channel, uint8_t bits, bool bigEndian, signalValue_t type,
         std::vector<ethernetPosition_t> positions)
{
    ethernetSignalDef_t def;
    def.instance = name;
    def.signal = name;
    def.channel = channel;
    def.bits = bits;
    def.endian = bigEndian;
    def.type = type;
    def.positions = std::move(positions);
    new EthernetSignal(def, false, &storage); // kept, with its children, for the whole process
}

SignalStorage& signals()
{
    static SignalStorage* storage = [] {
        auto* built = new SignalStorage;
        add(*built, "eth.plain", 1, 16, true, SIGNAL_UNSIGNED,
            {position(ETH_DEFAULT, 7, udp, 30490), position(ETH_DEFAULT, 8, tcp, 13400)});
        ethernetPosition_t ipdu = position(ETH_IPDU, 0, udp, 30491);
        ipdu.pduId = 0x1000;
        add(*built, "eth.ipdu", 1, 32, false, SIGNAL_FLOAT, {ipdu});
        ethernetPosition_t spdu = position(ETH_SPDU, 0, udp, 30492);
        spdu.messageId = 0xabcd0001;
        add(*built, "eth.spdu", 1, 64, false, SIGNAL_DOUBLE, {spdu});
        ethernetPosition_t someIp = position(ETH_SOMEIP, 4, 0, 30490);
        someIp.serviceId = 0x1234;
        someIp.methodEventId = 0x8001;
        add(*built, "eth.someip", 1, 12, false, SIGNAL_SIGNED, {someIp});
        ethernetPosition_t tagged = position(ETH_DEFAULT, 0, 0, 0);
        tagged.vlan = true;
        tagged.vlanId = 5;
        add(*built, "eth.vlan", 1, 8, false, SIGNAL_UNSIGNED, {tagged});
        ethernetPosition_t addressed = position(ETH_DEFAULT, 400, udp, 0);
        addressed.sourceMac = 0x020000000001;
        addressed.destinationMac = 0x020000000002;
        addressed.sourceIp = htonl(0xc0a80001);
        addressed.sourcePort = 5000;
        add(*built, "eth.addressed", 1, 8, false, SIGNAL_UNSIGNED, {addressed});
        add(*built, "eth.anyFrame", 2, 8, false, SIGNAL_UNSIGNED, {position(ETH_DEFAULT, 0, 0, 0)});
        add(*built, "eth.rejected", 2, 64, false, SIGNAL_UNSIGNED, {position(ETH_DEFAULT, 4, 0, 0)});
        return built;
    }();
    return *storage;
}

enum Form { Mii, EthernetKind8, EthernetOtherKind };

size_t frameSize(FuzzInput& in)
{
    const uint16_t n = in.number<uint16_t>();
    // Now and then a frame too long for 16-bit offsets.
    return n < 0xff00 ? n % ordinaryFrame : 65536 + (n & 0xff);
}

// A raw record of `frame` as the recorder stores it: big-endian type at 2,
// then the Ethernet (channel 14, kind 15, length 20, frame from 22) or MII
// (channel 16, length 24, frame from 26) layout; exactly as long as header
// and frame. `shape` decides the record type, a kind other than 8, and a
// length field shorter than the frame.
std::vector<unsigned char> record(const std::vector<uint8_t>& frame, unsigned char channel, uint8_t shape,
                                  uint16_t shorter)
{
    const bool mii = (shape & 1) != 0;
    const size_t header = mii ? 26 : 22;
    std::vector<unsigned char> bytes(header + frame.size());
    bytes[3] = mii ? 14 : 4;
    if ((shape & 2) != 0)
        bytes[2] = 1; // neither type
    const size_t length = (shape & 4) != 0 ? shorter % (frame.size() + 1) : frame.size();
    const size_t lengthAt = mii ? 24 : 20;
    bytes[lengthAt] = static_cast<unsigned char>(length >> 8);
    bytes[lengthAt + 1] = static_cast<unsigned char>(length);
    if (mii) {
        bytes[16] = channel;
    } else {
        bytes[14] = channel;
        bytes[15] = (shape & 8) != 0 ? 7 : 8;
        bytes[16] = (shape & 16) != 0 ? shape : channel; // the pre-check reads offset 16 of both types
    }
    std::copy(frame.begin(), frame.end(), bytes.begin() + long(header));
    return bytes;
}

void decode(Form form, unsigned char channel, const std::vector<uint8_t>& frame, uint64_t timestamp,
            std::vector<unsigned long>& ids, SignalStorage& storage)
{
    bool written = false;
    if (form == Mii) {
        MIITraceMessage message;
        message.timestamp = timestamp;
        message.channel = channel;
        message.frame = frame;
        written = EthernetSignal::decodeMessage(message, ids, &storage);
    } else {
        EthernetTraceMessage message;
        message.timestamp = timestamp;
        message.channel = channel;
        message.kind = form == EthernetKind8 ? 8 : 9;
        message.frame = frame;
        written = EthernetSignal::decodeMessage(message, ids, &storage);
    }
    fuzz::requireWritten(written, ids, timestamp, &storage);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SignalStorage& storage = signals();
    // Each input starts without cached frame decisions, so that it runs the
    // same however many inputs came before.
    EthernetSignal::positiveList.clear();
    EthernetSignal::negativeList.clear();
    FuzzInput in(data, size);
    fuzz::decodeMessages(in, storage, maxFrames, [&](uint64_t timestamp, auto& ids) {
        const uint8_t choice = in.byte();
        const Form form = static_cast<Form>(choice % 3);
        const unsigned char channel = (choice & 0x80) != 0 ? in.byte() : static_cast<unsigned char>(1 + (choice >> 6));
        std::vector<uint8_t> frame(frameSize(in));
        in.copy(frame.data(), frame.size());

        miiFrameInfo_t info;
        const bool analysed = MIITraceMessage::analyzeFrame(frame.data(), frame.size(), info);
        ids.clear();
        decode(form, channel, frame, timestamp, ids, storage);
        fuzz::require(analysed || ids.empty(), "a frame that does not analyse carries no signal");

        const uint8_t shape = in.byte();
        const std::vector<unsigned char> raw = record(frame, channel, shape, in.number<uint16_t>());
        const bool inUse = EthernetSignal::signalsInUse(raw.data(), nullptr, &storage);
        if (form == Mii && (shape & 7) == 1)
            fuzz::require(inUse || ids.empty(), "the record of a frame that carried signals is in use");
    });
    return 0;
}
