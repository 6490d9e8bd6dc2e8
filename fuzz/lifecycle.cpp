// Fuzz target: signals of every kind built and destroyed in any order
// between messages, so that the class-wide tables (frame tables, the
// Ethernet decision caches, the input table, mirror children) are decoded
// through after any sequence of removals. A signal left in a table after its
// destruction shows up here as a use after free.
//
// A menu of definitions, one per kind, each buildable three times: twice
// under names of its own and once under the first copy's name again (the
// registry keeps the earlier signal). Input: a debug selector byte, then
// operations: a byte choosing build, destroy or a message, and the slot
// (menu item and copy) it concerns; a message takes 8 payload bytes. Every
// signal still alive is destroyed when the input ends.
#include "FuzzInput.h"
#include "FuzzSession.h"

#include "bus/CANSignal.h"
#include "bus/EthernetSignal.h"
#include "bus/FlexRaySignal.h"
#include "bus/LINSignal.h"
#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/GPSSignal.h"
#include "input/KeyboardSignal.h"
#include "input/LoggerStatusSignal.h"
#include "trace/AnalogTraceMessage.h"
#include "trace/GPSTraceMessage.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"
#include "trace/SystemMessage.h"

#include <array>
#include <memory>
#include <string>

namespace {

enum Item { CanClassic, CanPdu, Lin, FlexRay, EthernetUdp, EthernetIpdu, Digital, Analog, Key, Status, Gps, Items };

constexpr size_t copies = 3;
constexpr size_t maxOperations = 48;
constexpr uint16_t plainPort = 30490;
constexpr uint16_t ipduPort = 30491;
constexpr uint32_t pduId = 0x20;

SignalStorage storage;
std::array<std::array<std::unique_ptr<BaseSignal>, copies>, Items> alive;

template <class Definition>
Definition named(Item item, size_t copy, uint8_t bits)
{
    static const char* const names[Items] = {"can", "canPdu", "lin", "flexray", "ethUdp", "ethIpdu", "di", "ai",
                                             "RC.F1", "Logger.Status", "GPS.Speed"};
    Definition def;
    def.instance = names[item];
    // Predefined names stay as they are; the third copy reuses the first's.
    if (item < Key && copy == 1)
        def.instance += "#1";
    def.signal = def.instance;
    def.bits = bits;
    def.channel = 1;
    return def;
}

ethernetPosition_t udpPosition(ethSignalPosType_t type, uint16_t port)
{
    ethernetPosition_t position;
    position.ethSignalType = type;
    position.ipProtocol = 17;
    position.destinationPort = port;
    position.pduId = pduId;
    return position;
}

std::unique_ptr<BaseSignal> build(Item item, size_t copy)
{
    switch (item) {
    case CanClassic: {
        auto def = named<canSignalDef_t>(item, copy, 16);
        def.msgId = 0x100;
        return std::make_unique<CANSignal>(def, false, &storage);
    }
    case CanPdu: {
        auto def = named<canSignalDef_t>(item, copy, 8);
        def.msgId = 0x200;
        def.canFD = true;
        def.pduId = pduId;
        return std::make_unique<CANSignal>(def, false, &storage);
    }
    case Lin: {
        auto def = named<linSignalDef_t>(item, copy, 12);
        def.msgId = 0x10;
        return std::make_unique<LINSignal>(def, false, &storage);
    }
    case FlexRay: {
        auto def = named<flexRaySignalDef_t>(item, copy, 8);
        def.positions.resize(2); // two cycles: a parent and a mirror child
        for (uint8_t cycle = 0; cycle < 2; ++cycle) {
            def.positions[cycle].type = true;
            def.positions[cycle].slot = 5;
            def.positions[cycle].baseCycle = cycle;
            def.positions[cycle].repetition = 2;
            def.positions[cycle].startBit = uint16_t(8 * cycle);
        }
        return std::make_unique<FlexRaySignal>(def, false, &storage);
    }
    case EthernetUdp: {
        auto def = named<ethernetSignalDef_t>(item, copy, 8);
        def.positions = {udpPosition(ETH_DEFAULT, plainPort), udpPosition(ETH_DEFAULT, ipduPort)};
        return std::make_unique<EthernetSignal>(def, false, &storage);
    }
    case EthernetIpdu: {
        auto def = named<ethernetSignalDef_t>(item, copy, 16);
        def.positions = {udpPosition(ETH_IPDU, ipduPort)};
        return std::make_unique<EthernetSignal>(def, false, &storage);
    }
    case Digital:
        return std::make_unique<DigitalSignal>(named<inputSignalDef_t>(item, copy, 4), false, &storage);
    case Analog: {
        auto def = named<inputSignalDef_t>(item, copy, 64);
        def.type = SIGNAL_DOUBLE;
        return std::make_unique<AnalogSignal>(def, false, &storage);
    }
    case Key:
        return std::make_unique<KeyboardSignal>(named<inputSignalDef_t>(item, copy, 8), false, &storage);
    case Status:
        return std::make_unique<LoggerStatusSignal>(named<inputSignalDef_t>(item, copy, 8), false, &storage);
    default:
        return std::make_unique<GPSSignal>(named<inputSignalDef_t>(item, copy, 64), false, &storage);
    }
}

// An Ethernet II frame with IPv4 and UDP to `port`, whose payload is an IPDU
// header for pduId and the 8 bytes.
std::vector<uint8_t> udpFrame(uint16_t port, const std::array<uint8_t, 8>& bytes)
{
    std::vector<uint8_t> frame(14 + 20 + 8);
    frame[12] = 0x08;                        // IPv4
    frame[14] = 0x45;                        // version 4, 20-byte header
    frame[23] = 17;                          // UDP
    frame[36] = uint8_t(port >> 8);
    frame[37] = uint8_t(port);
    const uint8_t header[8] = {0, 0, 0, pduId, 0, 0, 0, 8};
    frame.insert(frame.end(), header, header + 8);
    frame.insert(frame.end(), bytes.begin(), bytes.end());
    return frame;
}

bool decodeFor(Item item, const std::array<uint8_t, 8>& bytes, uint64_t timestamp, std::vector<unsigned long>& ids)
{
    switch (item) {
    case CanClassic:
    case CanPdu: {
        CANExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.frameFormat = item == CanPdu ? 2 : 0;
        frame.canId = item == CanPdu ? 0x200 : 0x100;
        frame.length = 12;
        const uint8_t header[4] = {0, 0, pduId, 8};
        std::copy(header, header + 4, frame.payload);
        std::copy(bytes.begin(), bytes.end(), frame.payload + 4);
        return CANSignal::decodeMessage(frame, ids, 0, &storage);
    }
    case Lin: {
        LINTraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.protectedId = 0x10;
        frame.data.assign(bytes.begin(), bytes.end());
        return LINSignal::decodeMessage(frame, ids, 0, &storage);
    }
    case FlexRay: {
        FlexRayExtTraceMessage frame;
        frame.timestamp = timestamp;
        frame.frameKind = 16;
        frame.channel = 1;
        frame.slot = 5;
        frame.cycle = bytes[0] & 3;
        frame.data.assign(bytes.begin(), bytes.end());
        frame.payload = frame.data;
        return FlexRaySignal::decodeMessage(frame, ids, 0, &storage);
    }
    case EthernetUdp:
    case EthernetIpdu: {
        MIITraceMessage frame;
        frame.timestamp = timestamp;
        frame.channel = 1;
        frame.frame = udpFrame(item == EthernetUdp && (bytes[0] & 1) ? plainPort : ipduPort, bytes);
        // The raw record of the same frame asks the decision caches first.
        std::vector<unsigned char> record(26 + frame.frame.size());
        record[3] = 14;
        record[16] = 1;
        record[24] = uint8_t(frame.frame.size() >> 8);
        record[25] = uint8_t(frame.frame.size());
        std::copy(frame.frame.begin(), frame.frame.end(), record.begin() + 26);
        EthernetSignal::signalsInUse(record.data(), nullptr, &storage);
        return EthernetSignal::decodeMessage(frame, ids, &storage);
    }
    case Digital: {
        GpioTraceMessage message;
        message.timestamp = timestamp;
        message.elements.resize(1);
        message.elements[0].input = 1;
        message.elements[0].value = bytes[0];
        message.elements[0].mask = 0xffff;
        return InputSignal::decodeMessage(message, ids, 0, &storage);
    }
    case Analog: {
        AnalogTraceMessage message;
        message.timestamp = timestamp;
        message.elements.resize(1);
        message.elements[0].input = 1;
        message.elements[0].mantissa = int32_t(bytes[0]) - 128;
        message.elements[0].exponent = int8_t(bytes[1]);
        return InputSignal::decodeMessage(message, ids, 0);
    }
    case Key: {
        KeyboardMessage message;
        message.timestamp = timestamp;
        message.keyCode = 1;
        message.value = bytes[0];
        return InputSignal::decodeMessage(message, ids, &storage);
    }
    case Status: {
        SystemMessage message;
        message.timestamp = timestamp;
        message.code = 16;
        message.text = std::to_string(bytes[0]);
        return InputSignal::decodeMessage(message, ids, &storage);
    }
    default: {
        GPSTraceMessage message;
        message.timestamp = timestamp;
        message.nmea = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n";
        return GPSSignal::decodeMessage(message, ids, &storage);
    }
    }
}

void destroyAll()
{
    for (auto& item : alive)
        for (auto& signal : item)
            signal.reset();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    GPSSignal::gpsStatus = 0;
    FuzzInput in(data, size);
    {
        fuzz::decodeMessages(in, storage, maxOperations, [&](uint64_t timestamp, auto& ids) {
            const uint8_t operation = in.byte();
            const Item item = static_cast<Item>((operation >> 2) % Items);
            std::unique_ptr<BaseSignal>& slot = alive[item][in.pick(copies)];
            switch (operation & 3) {
            case 0:
                if (!slot)
                    slot = build(item, size_t(&slot - alive[item].data()));
                break;
            case 1:
                slot.reset();
                break;
            default: {
                std::array<uint8_t, 8> bytes;
                in.copy(bytes.data(), bytes.size());
                ids.clear();
                const bool written = decodeFor(item, bytes, timestamp, ids);
                fuzz::requireWritten(written, ids, timestamp, &storage);
                break;
            }
            }
        });
        // Destroyed under the input's debug level too.
        const fuzz::Session session(data != nullptr && size != 0 ? data[0] : 0);
        destroyAll();
    }
    return 0;
}
