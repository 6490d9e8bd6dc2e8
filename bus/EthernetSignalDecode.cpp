// The per-frame path of EthernetSignal: frame analysis, the cached frame
// lookup, the container walks and the writes.
//
// Runs for every captured frame: nothing is allocated once a frame has been
// seen (and `ids` has capacity), the container headers are read in place,
// and every debug line sits behind one test of the debug level.
#include "bus/EthernetSignal.h"

#include "signal/MessageLine.h"
#include "signal/PlannedSignal.h"

namespace {

constexpr const char* className = "EthernetSignal";
constexpr unsigned long ethernetKindBit = 0x1000000000000000UL;
constexpr uint64_t frameHashBits = 0xffffffffu;
constexpr int32_t frameKind = 8; // the only Ethernet message kind that carries a frame

// The raw trace record that signalsInUse examines; fields are big-endian.
namespace recordField {
constexpr unsigned typeAt = 2;
constexpr uint16_t ethernetType = 4;
constexpr uint16_t miiType = 14;
constexpr unsigned ethernetChannelAt = 14;
constexpr unsigned ethernetKindAt = 15;
constexpr unsigned miiChannelAt = 16;
constexpr unsigned ethernetLengthAt = 20;
constexpr unsigned ethernetFrameAt = 22;
constexpr unsigned miiLengthAt = 24;
constexpr unsigned miiFrameAt = 26;
} // namespace recordField

// Every container header holds its big-endian data length here.
constexpr unsigned containerLengthAt = 4;
constexpr unsigned ipduHeaderBytes = 8;
constexpr unsigned spduHeaderBytes = 16;
constexpr unsigned someIpHeaderBytes = 16;
constexpr unsigned someIpLengthFrom = 8; // the protocol's length counts from the end of the length field

inline uint16_t be16(const unsigned char* p)
{
    return uint16_t(unsigned(p[0]) << 8 | p[1]);
}

inline uint32_t be32(const unsigned char* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

inline uint64_t frameKey(const miiFrameInfo_t& info, unsigned char channel)
{
    return (hashFrame(info, channel) & frameHashBits) + ethernetKindBit;
}

SignalStorage& resolve(SignalStorage* storage)
{
    return storage ? *storage : BaseSignal::defSignalStorage;
}

// Walks a chain of containers from `start`. Each has a header of
// `headerBytes` with its data length at containerLengthAt; the container
// ends `length` bytes after `lengthFrom` (the end of the header, or of the
// length field for SOME/IP in protocol framing) and the next one follows.
// In the logger's framing a container whose data reach the frame's end is
// not accepted, nor is a header that does not end before it; in protocol
// framing both may end exactly there. With `zeroLengthEnds` a length of 0
// ends the walk. The 64-bit sums cannot overflow: start stays below `end`
// and a length has 32 bits.
template <class IsWanted>
bool walkContainers(const unsigned char* frame, uint64_t end, uint64_t start, unsigned headerBytes,
                    unsigned lengthFrom, bool zeroLengthEnds, IsWanted isWanted, uint64_t& dataOffset)
{
    const uint64_t limit = end + (EthernetSignal::containerFraming == EthernetSignal::ProtocolFraming ? 1 : 0);
    while (start + headerBytes < limit) {
        const uint32_t length = be32(frame + start + containerLengthAt);
        if (length == 0 && zeroLengthEnds)
            return false;
        const uint64_t containerEnd = start + lengthFrom + length;
        if (containerEnd >= limit || containerEnd < start + headerBytes)
            return false;
        if (isWanted(frame + start, start)) {
            dataOffset = start + headerBytes;
            return true;
        }
        start = containerEnd;
    }
    return false;
}

// IPDU and SPDU headers open with a 32-bit identifier.
struct IdentifiedContainer {
    unsigned headerBytes;
    const char* foundText;
    const char* skippedText;
    bool tracesOffset;
};
constexpr IdentifiedContainer ipdu{ipduHeaderBytes, "found: IPDU ", "skipped: IPDU ", true};
constexpr IdentifiedContainer spdu{spduHeaderBytes, "found: SPDU ", "skipped: SPDU ", false};

bool findIdentified(const IdentifiedContainer& kind, uint32_t wantedId, const unsigned char* frame, uint64_t end,
                    uint64_t start, uint64_t& dataOffset)
{
    return walkContainers(frame, end, start, kind.headerBytes, kind.headerBytes, true,
                          [&](const unsigned char* header, uint64_t at) {
                              if (BaseSignal::debug && kind.tracesOffset)
                                  MessageLine::debug(className, "decode", "check pdu at ", at);
                              const uint32_t found = be32(header);
                              if (BaseSignal::debug)
                                  MessageLine::debug(className, "decode",
                                                     found == wantedId ? kind.foundText : kind.skippedText, found);
                              return found == wantedId;
                          },
                          dataOffset);
}

// SOME/IP: in the logger's framing the length counts from the end of the
// 16-byte header (not from the end of the length field), and a length of 0
// only moves on 16 bytes.
bool findSomeIp(const ethernetPosition_t& pos, const unsigned char* frame, uint64_t end, uint64_t start,
                uint64_t& dataOffset)
{
    const unsigned lengthFrom =
        EthernetSignal::containerFraming == EthernetSignal::ProtocolFraming ? someIpLengthFrom : someIpHeaderBytes;
    return walkContainers(frame, end, start, someIpHeaderBytes, lengthFrom, false,
                          [&](const unsigned char* header, uint64_t) {
                              const uint16_t service = be16(header);
                              const uint16_t method = be16(header + 2);
                              if (BaseSignal::debug)
                                  MessageLine::debug(className, "decode", std::hex, "check serviceID ", service,
                                                     ", methodeEventId ", method, std::dec);
                              return service == uint16_t(pos.serviceId) && method == pos.methodEventId;
                          },
                          dataOffset);
}

} // namespace

bool EthernetSignal::findData(const unsigned char* frame, unsigned long length, unsigned long payloadOffset,
                              uint16_t& dataOffset) const
{
    const ethernetPosition_t& pos = position();
    uint64_t found = payloadOffset;
    bool located = true;
    switch (pos.ethSignalType) {
    case ETH_DEFAULT:
        break;
    case ETH_IPDU:
        located = findIdentified(ipdu, pos.pduId, frame, length, payloadOffset, found);
        break;
    case ETH_SPDU:
        located = findIdentified(spdu, pos.messageId, frame, length, payloadOffset, found);
        break;
    case ETH_SOMEIP:
        located = findSomeIp(pos, frame, length, payloadOffset, found);
        break;
    default:
        MessageLine::write(MessageStream::Output, MessageLine::Error, className, "decode", definition.instance,
                           ": unknown ethernet signal type = ", pos.ethSignalType);
        return false;
    }
    // Offsets are 16-bit: a container found beyond 65535 wraps to the
    // frame's start, which keeps every read inside the frame.
    dataOffset = static_cast<uint16_t>(found);
    return located;
}

void EthernetSignal::decodeFrom(const unsigned char* frame, unsigned long length, unsigned long payloadOffset,
                                unsigned long time, std::vector<unsigned long>& ids)
{
    if (debug)
        MessageLine::debug(className, "decode", "checking for ", definition.instance);
    uint16_t dataOffset = 0;
    if (!findData(frame, length, payloadOffset, dataOffset)) {
        if (debug)
            MessageLine::debug(className, "decode", definition.instance, " not found");
        return;
    }
    const ethernetPosition_t& pos = position();
    const uint64_t valueStart = uint64_t(dataOffset) + pos.startByte;
    if (valueStart + pos.numBytes > length) {
        if (debug)
            MessageLine::debug(className, "decode", definition.instance, ": payload to small");
        return;
    }
    PlannedSignal<EthernetSignal>(this).write(frame + valueStart, pos.numBytes, time);
    ids.push_back(id);
}

bool EthernetSignal::analyze(const unsigned char* frame, unsigned long length, miiFrameInfo_t& info,
                             const char* operation)
{
    info = miiFrameInfo_t{};
    if (!MIITraceMessage::analyzeFrame(frame, length, info)) {
        if (debug)
            MessageLine::debug(className, operation, "analyzeFrame failed: ", info);
        return false;
    }
    if (debug)
        MessageLine::debug(className, operation, "analyzeFrame:", info);
    return true;
}

EthernetSignal::FrameSignals EthernetSignal::lookupFrame(const miiFrameInfo_t& info, unsigned char channel,
                                                         const char* operation)
{
    const uint64_t key = frameKey(info, channel);
    if (negativeList.count(key) != 0) {
        if (debug)
            MessageLine::debug(className, operation, std::hex, key, std::dec, " found in negativeList");
        return {nullptr, false};
    }
    const auto cached = positiveList.find(key);
    if (cached != positiveList.end()) {
        if (debug)
            MessageLine::debug(className, operation, std::hex, key, std::dec, " found in positiveList");
        return {&cached->second, false};
    }

    // First sight: match against every bound position, once.
    SignalList* matched = nullptr;
    for (const auto& entry : ethernetFrames) {
        if (debug)
            MessageLine::debug(className, operation, *entry.first);
        if (!entry.first->match(info, channel))
            continue;
        if (matched == nullptr)
            matched = &positiveList[key];
        matched->insert(matched->end(), entry.second.begin(), entry.second.end());
    }
    if (matched != nullptr) {
        if (debug)
            MessageLine::debug(className, operation, std::hex, key, std::dec, " in use, inserted in positiveList");
        return {matched, true};
    }
    negativeList.insert(key);
    if (debug)
        MessageLine::debug(className, operation, std::hex, key, std::dec, " not in use, inserted in negativeList");
    return {nullptr, true};
}

bool EthernetSignal::decode(unsigned char channel, const std::vector<unsigned char>& frame, unsigned long time,
                            std::vector<unsigned long>& ids, SignalStorage*)
{
    ids.clear();
    miiFrameInfo_t info;
    if (!analyze(frame.data(), frame.size(), info, "decode"))
        return false;
    if (debug) {
        MessageLine::debug(className, "decode", "frame size = ", frame.size());
        if (debug > 2)
            MessageLine::hexdump(frame.data(), frame.size());
    }

    const FrameSignals found = lookupFrame(info, channel, "decode");
    if (found.signals == nullptr)
        return false;
    if (debug && found.firstSight)
        MessageLine::debug(className, "decode", "positiveList->second.size() = ", found.signals->size());
    for (EthernetSignal* signal : *found.signals)
        signal->decodeFrom(frame.data(), frame.size(), info.payloadOffset, time, ids);
    return !ids.empty();
}

bool EthernetSignal::decodeMessage(const MIITraceMessage& msg, std::vector<unsigned long>& ids,
                                   SignalStorage* storage)
{
    if (!channelsInUse[msg.channel])
        return false;
    return decode(msg.channel, msg.frame, msg.timestamp, ids, &resolve(storage));
}

bool EthernetSignal::decodeMessage(const EthernetTraceMessage& msg, std::vector<unsigned long>& ids,
                                   SignalStorage* storage)
{
    if (msg.kind != frameKind || !channelsInUse[msg.channel])
        return false;
    return decode(msg.channel, msg.frame, msg.timestamp, ids, &resolve(storage));
}

bool EthernetSignal::signalsInUse(const unsigned char* record, const unsigned char*, SignalStorage* storage)
{
    if (resolve(storage).ethernetSignals.empty())
        return false;
    // Offset 16 is the MII record's channel; it is tested for both record
    // types before the type is even looked at.
    if (!channelsInUse[record[recordField::miiChannelAt]])
        return false;

    unsigned char channel = 0;
    unsigned long length = 0;
    const unsigned char* frame = nullptr;
    switch (be16(record + recordField::typeAt)) {
    case recordField::ethernetType:
        if (record[recordField::ethernetKindAt] != frameKind)
            return false;
        channel = record[recordField::ethernetChannelAt];
        length = be16(record + recordField::ethernetLengthAt);
        frame = record + recordField::ethernetFrameAt;
        break;
    case recordField::miiType:
        channel = record[recordField::miiChannelAt];
        length = be16(record + recordField::miiLengthAt);
        frame = record + recordField::miiFrameAt;
        break;
    default:
        return false;
    }

    miiFrameInfo_t info;
    if (!analyze(frame, length, info, "signalsInUse"))
        return false;
    const FrameSignals found = lookupFrame(info, channel, "signalsInUse");
    return found.signals != nullptr && !found.signals->empty();
}
