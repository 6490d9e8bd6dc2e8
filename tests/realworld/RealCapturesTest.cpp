// Real captures against tshark: SocketCAN frames (host-order identifiers),
// SOME/IP and SOME/IP-SD fields, and the UDP/TCP payload bytes of every
// frame, decoded as the tool decodes them (protocols' framing, frames cut at
// the end of their datagram).
#include "RealWorld.h"

#include "bus/EthernetSignal.h"
#include "recordings/PcapRecording.h"
#include "support/OutputCapture.h"
#include "support/SignalTestSupport.h"

#include <map>
#include <memory>
#include <set>

using namespace rksignal;

namespace {

std::string hexOf(const uint8_t* data, size_t length)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += {digits[data[i] >> 4], digits[data[i] & 15]};
    return text;
}

std::vector<RecordedMessage> readCapture(const std::string& path, bool* hostOrder = nullptr)
{
    OutputCapture quiet;
    RecordingReport report;
    PcapRecording capture(path, 1, {}, report);
    std::vector<RecordedMessage> messages;
    while (capture.next())
        messages.push_back(capture.message());
    if (hostOrder)
        *hostOrder = capture.hostOrderCanIds();
    return messages;
}

// Ethernet signals of one byte (or a big-endian word) at fixed places of
// the payload or of a SOME/IP message, keyed by what they stand for.
class Signals {
public:
    Signals() { EthernetSignal::containerFraming = EthernetSignal::ProtocolFraming; }
    ~Signals()
    {
        signals_.clear();
        EthernetSignal::containerFraming = EthernetSignal::LoggerFraming;
    }

    EthernetSignal& add(const std::string& name, ethernetPosition_t position, uint8_t bits = 8, bool bigEndian = false)
    {
        auto def = definitionOf<ethernetSignalDef_t>(name, bits);
        def.channel = 1, def.endian = bigEndian, def.positions = {position};
        signals_[name] = std::make_unique<EthernetSignal>(def, false, &storage_);
        return *signals_[name];
    }
    EthernetSignal* find(const std::string& name) const
    {
        const auto found = signals_.find(name);
        return found == signals_.end() ? nullptr : found->second.get();
    }
    // The signals the frame wrote.
    std::set<unsigned long> decode(const MIITraceMessage& frame)
    {
        std::vector<unsigned long> ids;
        EthernetSignal::decodeMessage(frame, ids, &storage_);
        return {ids.begin(), ids.end()};
    }

private:
    SignalStorage storage_;
    std::map<std::string, std::unique_ptr<EthernetSignal>> signals_;
};

ethernetPosition_t at(ethSignalPosType_t type, uint16_t startBit, uint8_t protocol, uint16_t port)
{
    ethernetPosition_t position;
    position.ethSignalType = type, position.startBit = startBit, position.ipProtocol = protocol;
    position.destinationPort = port;
    return position;
}

const char* const captures[] = {"udp_someip.pcap", "udp_someip.pcapng", "tcp_someip.pcap", "SomeIpSd.pcapng",
                                "doip.pcap",       "VlanPackets.pcap",  "ip-frag.pcap"};

} // namespace

TEST(RealCaptures, SocketCanFramesInHostOrderAreTsharksFrames)
{
    REALWORLD_REQUIRE(realworld::folder("captures/gmlan_trace.pcap"), "tshark");
    for (const char* name : {"gmlan_trace.pcap", "candump_uds_scanner.pcap"}) {
        const std::string path = realworld::folder(std::string("captures/") + name);
        const auto shown = realworld::fieldsOf("tshark -r " + path +
                                               " -o can.byte_swap:TRUE -T fields -e frame.time_epoch -e can.id "
                                               "-e can.flags.rtr -e can.flags.err -e can.len -e data.data");
        std::vector<std::string> expected;
        for (const auto& row : shown)
            if (row.size() == 6 && row[2] == "0" && row[3] == "0")
                expected.push_back(row[0].substr(0, row[0].size() - 3) + " " + row[1] + " " + row[4] + " " + row[5]);
        bool hostOrder = false;
        std::vector<std::string> read;
        for (const RecordedMessage& message : readCapture(path, &hostOrder)) {
            const std::string micros = std::to_string(1000000 + message.can.timestamp % 1000000);
            read.push_back(std::to_string(message.can.timestamp / 1000000) + "." + micros.substr(1) + " " +
                           std::to_string(message.can.canId) + " " + std::to_string(message.can.length) + " " +
                           hexOf(message.can.payload, message.can.length));
        }
        EXPECT_TRUE(hostOrder) << name;
        ASSERT_GT(expected.size(), 1000u) << name;
        EXPECT_EQ(read, expected) << name;
        std::cout << name << ": " << read.size() << " frames compared with tshark\n";
    }
}

// Every SOME/IP message tshark shows: the first payload bytes of a message,
// or the header fields of a service discovery message (flags, length of the
// entries array, type and service of the first entry), as signals bound to
// the message's service and method.
TEST(RealCaptures, SomeIpAndServiceDiscoveryFieldsAreTsharks)
{
    REALWORLD_REQUIRE(realworld::folder("captures/udp_someip.pcap"), "tshark");
    realworld::Agreement agreement;
    for (const char* name : {"udp_someip.pcap", "udp_someip.pcapng", "tcp_someip.pcap", "SomeIpSd.pcapng"}) {
        const std::string path = realworld::folder(std::string("captures/") + name);
        std::string decodeAs;
        for (const auto& row : realworld::fieldsOf("tshark -r " + path + " -T fields -e udp.dstport -e tcp.dstport"))
            for (size_t i = 0; i < row.size() && i < 2; ++i)
                if (!row[i].empty())
                    decodeAs += std::string(" -d ") + (i == 0 ? "udp" : "tcp") + ".port==" + row[i] + ",someip";
        const auto shown = realworld::fieldsOf(
            "tshark -r " + path + decodeAs +
            " -T fields -E occurrence=f -e ip.proto -e udp.dstport -e tcp.dstport -e someip.serviceid"
            " -e someip.methodid -e someip.payload -e someipsd.flags -e someipsd.length_entriesarray"
            " -e someipsd.entry.type -e someipsd.entry.serviceid");
        const auto messages = readCapture(path);
        ASSERT_EQ(messages.size(), shown.size()) << name;
        Signals signals;
        for (const auto& row : shown) { // every signal is built before the first frame is decoded
            if (row.size() < 10 || row[3].empty() || row[0].empty())
                continue;
            const uint8_t protocol = uint8_t(std::stoul(row[0]));
            const uint16_t port = uint16_t(std::stoul(row[protocol == 17 ? 1 : 2]));
            auto position = at(ETH_SOMEIP, 0, protocol, port);
            position.serviceId = uint32_t(std::stoul(row[3], nullptr, 16));
            position.methodEventId = uint32_t(std::stoul(row[4], nullptr, 16));
            const std::string key = row[0] + "/" + std::to_string(port) + "/" + row[3] + "/" + row[4];
            if (signals.find(key + "/0"))
                continue;
            for (uint16_t byte = 0; byte < 9; ++byte) {
                position.startBit = uint16_t(byte * 8);
                signals.add(key + "/" + std::to_string(byte), position);
            }
            position.startBit = 4 * 8 + 7;
            signals.add(key + "/entries", position, 32, true);
            position.startBit = 12 * 8 + 7;
            signals.add(key + "/entryService", position, 16, true);
        }
        for (size_t frame = 0; frame < shown.size(); ++frame) {
            const auto& row = shown[frame];
            const auto written = signals.decode(messages[frame].ethernet);
            if (row.size() < 10 || row[3].empty() || row[0].empty())
                continue;
            const uint16_t port = uint16_t(std::stoul(row[row[0] == "17" ? 1 : 2]));
            const std::string key = row[0] + "/" + std::to_string(port) + "/" + row[3] + "/" + row[4];
            const std::string where = std::string(name) + " frame " + std::to_string(frame + 1) + " " + key;
            const auto value = [&](const std::string& field) {
                EthernetSignal* signal = signals.find(key + "/" + field);
                return signal && written.count(signal->id) ? rawOf(*signal) : ~0UL;
            };
            if (!row[6].empty()) { // service discovery
                agreement.check(value("0") == std::stoul(row[6], nullptr, 16), where + " flags");
                agreement.check(value("entries") == std::stoul(row[7]), where + " entries array length");
                if (!row[8].empty()) {
                    agreement.check(value("8") == std::stoul(row[8], nullptr, 16), where + " entry type");
                    agreement.check(value("entryService") == std::stoul(row[9], nullptr, 16), where + " service");
                }
                continue;
            }
            const std::string& payload = row[5];
            for (size_t byte = 0; byte < 8 && byte * 2 < payload.size(); ++byte)
                agreement.check(value(std::to_string(byte)) == std::stoul(payload.substr(byte * 2, 2), nullptr, 16),
                                where + " payload byte " + std::to_string(byte));
        }
    }
    EXPECT_GT(agreement.compared, 300u);
    std::cout << "SOME/IP: " << agreement.agreeing << " of " << agreement.compared << " values agree with tshark\n";
}

// The UDP or TCP payload of every unfragmented IPv4 frame, byte by byte:
// each byte tshark shows is written with its value, and no byte behind the
// payload (padding, trailers) is written at all.
TEST(RealCaptures, UdpAndTcpPayloadBytesAreTsharksAndNothingBehindThem)
{
    REALWORLD_REQUIRE(realworld::folder("captures/doip.pcap"), "tshark");
    constexpr size_t bytesChecked = 64;
    realworld::Agreement agreement;
    size_t notWrittenBehind = 0;
    for (const char* name : captures) {
        const std::string path = realworld::folder(std::string("captures/") + name);
        const auto shown = realworld::fieldsOf(
            "tshark -r " + path + " -T fields -E occurrence=f -e ip.version -e ip.flags.mf -e ip.frag_offset "
                                  "-e ip.proto -e udp.dstport -e tcp.dstport -e udp.payload -e tcp.payload");
        const auto messages = readCapture(path);
        ASSERT_EQ(messages.size(), shown.size()) << name;
        Signals signals;
        const auto keyOf = [](const std::vector<std::string>& row) {
            const bool usable = row.size() == 8 && row[0] == "4" && row[1] == "0" && row[2] == "0" &&
                                (row[3] == "17" || row[3] == "6") && !(row[4] + row[5]).empty();
            return usable ? row[3] + "/" + row[4] + row[5] : std::string();
        };
        for (const auto& row : shown) {
            const std::string key = keyOf(row);
            if (key.empty() || signals.find(key + "/0"))
                continue;
            for (uint16_t byte = 0; byte < bytesChecked; ++byte)
                signals.add(key + "/" + std::to_string(byte),
                            at(ETH_DEFAULT, uint16_t(byte * 8), uint8_t(std::stoul(row[3])),
                               uint16_t(std::stoul(row[4] + row[5]))));
        }
        for (size_t frame = 0; frame < shown.size(); ++frame) {
            const auto written = signals.decode(messages[frame].ethernet);
            const std::string key = keyOf(shown[frame]);
            if (key.empty())
                continue;
            const std::string payload = shown[frame][6] + shown[frame][7];
            for (size_t byte = 0; byte < bytesChecked; ++byte) {
                EthernetSignal* signal = signals.find(key + "/" + std::to_string(byte));
                const std::string where = std::string(name) + " frame " + std::to_string(frame + 1) + " byte " +
                                          std::to_string(byte);
                if (byte * 2 < payload.size())
                    agreement.check(written.count(signal->id) &&
                                        rawOf(*signal) == std::stoul(payload.substr(byte * 2, 2), nullptr, 16),
                                    where);
                else {
                    EXPECT_EQ(written.count(signal->id), 0u) << where << " lies behind the payload";
                    ++notWrittenBehind;
                }
            }
        }
    }
    EXPECT_GT(agreement.compared, 10000u);
    std::cout << "UDP/TCP payloads: " << agreement.agreeing << " of " << agreement.compared
              << " bytes agree with tshark; " << notWrittenBehind << " places behind the payload left unwritten\n";
}
