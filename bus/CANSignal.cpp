// Construction, frame table and print forms of CANSignal.
#include "bus/CANSignal.h"

#include "bus/ByteRange.h"
#include "signal/FrameTable.h"
#include "signal/MessageLine.h"
#include "signal/SignalRegistration.h"

std::map<uint64_t, std::vector<CANSignal*>> CANSignal::canContainer;

namespace {

constexpr uint64_t rejectedId = ~uint64_t(0);
constexpr unsigned maxRangeBytes = 8;
constexpr unsigned maxFieldBits = 64;

uint32_t bigEndianWord(const unsigned char* bytes)
{
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

} // namespace

CANSignal::CANSignal(const canSignalDef_t& signalDef, bool shm, SignalStorage* storage)
    : BaseSignal(signalDef, shm, storage), definition(signalDef)
{
    if (definition.canFD) {
        if (!checkSignalDefinition(definition)) {
            id = rejectedId;
            return;
        }
        // The decoder hands the codec only the byte range, so the field now
        // starts within the range's first byte.
        def.startbit = definition.startbit & 7;
        cInit();
    }
    d_layout.canFD = definition.canFD;
    d_layout.multiplexer = definition.multiplexer != 0;
    d_layout.hasPduId = definition.pduId.has_value();
    d_layout.pduId = definition.pduId.value_or(0);
    d_layout.startByte = definition.startByte;
    d_layout.numBytes = definition.numBytes;

    if (!SignalRegistration::enter(this, kindBit, this->storage->canSignals)) {
        MessageLine::writeUnterminated(MessageStream::Output, MessageLine::Error, "CANSignal", "CANSignal", "gpId 0x", std::hex,
                                       id, " already exists", std::dec);
        id = rejectedId;
        return;
    }

    // Multiplexed signals and their multiplexer share the frame's plain key.
    const uint64_t key =
        canKey(definition.tslId, definition.channel, definition.msgId, definition.extended, definition.canFD);
    const bool newKey = FrameTable<uint64_t, CANSignal>::append(canContainer, key, this);
    if (debug)
        traceCreated(signalDef, newKey, key);
}

CANSignal::~CANSignal()
{
    if (!SignalRegistration::leave(this, storage->canSignals, canContainer))
        MessageLine::write(MessageStream::Output, MessageLine::Error, "CANSignal", "~CANSignal", def.instance,
                           " instance not found in vector");
}

void CANSignal::traceCreated(const canSignalDef_t& signalDef, bool newKey, uint64_t key) const
{
    static const char cls[] = "CANSignal";
    MessageLine::debug(cls, cls, "canKey=", std::hex, key, std::dec);
    if (newKey)
        MessageLine::debug(cls, cls, "insert into canContainer: ", signalDef);
    MessageLine::debug(cls, cls, "canContainer:");
    FrameTable<uint64_t, CANSignal>::dump(canContainer, cls, cls);
    MessageLine::debug(cls, cls, def.instance, " created ", shmem ? "(shared memory) " : "",
                       definition.multiplexer ? "(multiplexer) " : "",
                       definition.multiplexed ? "(multiplexed, mux = " : "", std::dec,
                       definition.multiplexed ? std::to_string(definition.mux) + ") " : std::string(), *this);
}

bool CANSignal::checkSignalDefinition(canSignalDef_t& def)
{
    const ByteRange range = ByteRange::of(def.startbit, def.bits, def.endian, ByteRange::StartBitNumbering);
    def.startByte = static_cast<uint8_t>(range.startByte);
    def.numBytes = static_cast<uint8_t>(range.numBytes());
    return def.bits <= maxFieldBits && def.numBytes <= maxRangeBytes;
}

bool CANSignal::signalsInUse(const unsigned char* record, const unsigned char*, unsigned char tslId,
                             SignalStorage* storage)
{
    if ((storage ? *storage : defSignalStorage).canSignals.empty())
        return false;
    // The record's identifier word carries the extended and FD flags in the
    // key's own bit positions.
    const uint8_t channel = record[14];
    const uint32_t idWord = bigEndianWord(record + 18);
    const bool found = canContainer.count(canKey(tslId, channel, idWord, false, false)) != 0;
    if (debug)
        MessageLine::debug("CANSignal", "signalsInUse", found ? "found" : "not found", ": channel ", std::dec,
                           unsigned(channel), ", msgId 0x", std::hex, idWord, std::dec);
    return found;
}

std::ostream& operator<<(std::ostream& os, const canSignalDef_t& def)
{
    os << static_cast<const baseSignalDef_t&>(def) << std::dec << ",msgId=" << def.msgId
       << ",extended=" << (def.extended ? "yes" : "no") << ",canFD=" << (def.canFD ? "yes" : "no")
       << ",message=" << def.message << ",sender=" << def.sender << ",pduId=";
    if (def.pduId)
        os << *def.pduId;
    else
        os << "none";
    return os << ",startByte=" << unsigned(def.startByte) << ",numBytes=" << unsigned(def.numBytes);
}

std::ostream& operator<<(std::ostream& os, const CANSignal& signal)
{
    return BaseSignal::printWithDefinition(os, signal, signal.definition);
}
