// Construction, destruction, definition checks and print forms of
// EthernetSignal, and its class-wide tables.
#include "bus/EthernetSignal.h"

#include "bus/ByteRange.h"
#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/SignalRegistration.h"

EthernetSignal::ContainerFraming EthernetSignal::containerFraming = EthernetSignal::LoggerFraming;
std::array<bool, 256> EthernetSignal::channelsInUse{};
std::map<EthernetFrameHash*, EthernetSignal::SignalList> EthernetSignal::ethernetFrames;
std::map<uint64_t, EthernetSignal::SignalList> EthernetSignal::positiveList;
std::set<uint64_t> EthernetSignal::negativeList;

namespace {

constexpr const char* className = "EthernetSignal";
constexpr unsigned long ethernetKindBit = 0x1000000000000000UL;
constexpr unsigned long rejectedId = ~0UL;
constexpr unsigned maxBits = 64;
constexpr unsigned maxBytes = 8; // the codec reads at most one 64-bit word

// Keyed by identifier (the storage's table) or by frame key (positiveList).
using SignalsByKey = FrameTable<uint64_t, EthernetSignal>;
using SignalsByPosition = FrameTable<EthernetFrameHash*, EthernetSignal>;

} // namespace

EthernetSignal::EthernetSignal(const ethernetSignalDef_t& def, bool shmem, SignalStorage* storage)
    : BaseSignal(def, shmem, storage), definition(def)
{
    if (!checkSignalDefinition(definition)) {
        id = rejectedId;
        return;
    }
    if (!registerIdentifier())
        return;
    // A definition without positions is registered but bound to no frame.
    if (!definition.positions.empty())
        bindPosition(definition.channel);
    if (debug)
        MessageLine::debug(className, className, definition.instance, " created ",
                           this->shmem ? "(shared memory);" : ";", *this);
    buildChildren();
}

EthernetSignal::EthernetSignal(EthernetSignal* parent, const ethernetSignalDef_t& def)
    : BaseSignal(parent), definition(def)
{
    // A missing parent has been reported by the mirror constructor; such an
    // object has no slot and must never be decoded into.
    if (parent == nullptr || definition.positions.empty())
        return;
    bindPosition(definition.channel);
    if (debug)
        MessageLine::debug(className, className, "child ", definition.instance, " created ",
                           shmem ? "(shared memory)" : "");
}

EthernetSignal::~EthernetSignal()
{
    unregister();
    for (EthernetSignal* child : children)
        delete child;
    children.clear();
    // Only with the storage's last Ethernet signal do the cached decisions go.
    if (storage != nullptr && storage->ethernetSignals.empty()) {
        negativeList.clear();
        positiveList.clear();
        ethernetFrames.clear();
        channelsInUse.fill(false);
    }
}

bool EthernetSignal::registerIdentifier()
{
    // On a clash the storage's Ethernet table keeps its new entry; the
    // destructor finds it by pointer.
    if (SignalRegistration::enter(this, ethernetKindBit, storage->ethernetSignals))
        return true;
    MessageLine::write(MessageStream::Output, MessageLine::Error, className, className, "gpId 0x", std::hex, id,
                       std::dec, " already exists");
    id = rejectedId;
    return false;
}

void EthernetSignal::bindPosition(unsigned char channel)
{
    frameHash.setFrame(position(), channel);
    SignalsByPosition::append(ethernetFrames, &frameHash, this);
    // The decoder hands the codec the bytes from startByte on, so only the
    // bit within that first byte is left of the start bit.
    def.startbit = position().startBit & 7u;
    channelsInUse[channel] = true;
    cInit();
}

void EthernetSignal::buildChildren()
{
    for (size_t i = 1; i < definition.positions.size(); ++i) {
        ethernetSignalDef_t childDefinition = definition;
        childDefinition.positions.assign(1, definition.positions[i]);
        children.push_back(new EthernetSignal(this, childDefinition));
    }
}

void EthernetSignal::unregister()
{
    if (storage != nullptr) {
        const auto removed = SignalsByKey::removeFirst(storage->ethernetSignals, id, this);
        if (removed == SignalsByKey::NotInVector)
            MessageLine::write(MessageStream::Output, MessageLine::Error, className, "~EthernetSignal",
                               definition.instance, " instance not found in vector");
        // A signal whose identifier clashed is filed under the identifier it
        // was given first, not under its all-ones one.
        else if (removed == SignalsByKey::KeyAbsent && id == rejectedId)
            SignalsByKey::removeEverywhere(storage->ethernetSignals, this);
    }
    SignalsByPosition::removeEverywhere(ethernetFrames, this);
    // Cached decisions may name this signal while other signals live on:
    // purge it, and let a frame left with no signal be decided afresh.
    SignalsByKey::removeEverywhere(positiveList, this);
}

bool EthernetSignal::checkSignalDefinition(ethernetSignalDef_t& def)
{
    for (ethernetPosition_t& pos : def.positions) {
        const ByteRange range = ByteRange::of(pos.startBit, def.bits, def.endian, ByteRange::MsbNumbering);
        pos.startByte = static_cast<uint16_t>(range.startByte);
        // Kept in 8 bits: a negative span wraps high and fails the limit.
        pos.numBytes = static_cast<uint8_t>(range.numBytes());
        if (def.bits > maxBits || pos.numBytes > maxBytes)
            return false;
    }
    return true;
}

std::ostream& operator<<(std::ostream& os, ethSignalPosType_t type)
{
    switch (type) {
    case ETH_DEFAULT: return os << "DEFAULT";
    case ETH_IPDU: return os << "IPDU";
    case ETH_SPDU: return os << "SPDU";
    case ETH_SOMEIP: return os << "SOME/IP";
    }
    return os;
}

namespace {

void printPosition(std::ostream& os, const ethernetPosition_t& pos)
{
    static EthernetFrameHash::AddressingLabels labels = {
        ",sourceMac=", ",destinationMac=", ",sourceIp=", ",destinationIp=", ",sourcePort=", ",destinationPort=",
        ",ipProtocol=", ",vlan=", ",vlanId="};
    os << std::dec << "[ethSignalType=" << pos.ethSignalType << ",startBit=" << pos.startBit;
    // The position constructor keeps the fields as they are.
    EthernetFrameHash(pos, 0).printAddressing(os, labels);
    os << ",pduId=" << pos.pduId << ",messageId=" << pos.messageId << ",serviceId=" << pos.serviceId
       << ",methodEventId=" << pos.methodEventId << ",startByte=" << pos.startByte
       << ",numBytes=" << unsigned(pos.numBytes) << "]";
}

} // namespace

std::ostream& operator<<(std::ostream& os, const ethernetSignalDef_t& def)
{
    os << static_cast<const baseSignalDef_t&>(def);
    if (def.positions.empty())
        return os << "[no positions]";
    for (const ethernetPosition_t& pos : def.positions)
        printPosition(os, pos);
    return os;
}

std::ostream& operator<<(std::ostream& os, const EthernetSignal& signal)
{
    return BaseSignal::printWithDefinition(os, signal, signal.definition) << std::dec;
}
