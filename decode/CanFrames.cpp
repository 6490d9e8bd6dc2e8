#include "decode/CanFrames.h"

#include <algorithm>

namespace rksignal {

unsigned CanFrames::bytesNeeded(const CANSignal& signal)
{
    const CANSignal::FrameLayout& layout = signal.d_layout;
    if (!layout.canFD)
        return signal.fieldBytes();
    // A signal inside a PDU moves with it: only the PDU search can tell.
    return layout.hasPduId ? 0u : unsigned(layout.startByte) + layout.numBytes;
}

void CanFrames::addPlain(const CANSignal& signal)
{
    Frame& frame = frames_[keyOf(signal.definition)];
    unsigned& needed = signal.d_layout.canFD ? frame.rangeBytes : frame.classicBytes;
    needed = std::max(needed, bytesNeeded(signal));
    mostNeeded_ = std::max(mostNeeded_, needed);
}

CanFrames::Realigned CanFrames::realign(const canSignalDef_t& def, canSignalDef_t& aligned)
{
    aligned = def;
    canSignalDef_t probe = def;
    Realigned realigned;
    if (!def.canFD || def.pduId || def.bits != 64 || CANSignal::checkSignalDefinition(probe))
        return realigned;
    unsigned lsb = def.startbit;
    unsigned first = lsb / 8;
    if (def.endian) {
        const unsigned msb = (def.startbit & ~7u) + 7u - (def.startbit & 7u);
        const unsigned last = msb + 63u;
        lsb = (last & ~7u) + 7u - (last & 7u);
        first = msb / 8;
    }
    if (first + 9 > sizeof(CANExtTraceMessage::payload))
        return realigned;
    realigned = Realigned{true, def.endian, uint8_t(first), uint8_t(lsb % 8)};
    aligned.startbit = def.endian ? 7 : 0;
    return realigned;
}

void CanFrames::addBranch(CANSignal& signal, CANSignal* multiplexer, Ranges ranges, Realigned realigned)
{
    frames_[keyOf(signal.definition)].branches.push_back(Branch{&signal, multiplexer, std::move(ranges), realigned});
    anyBranches_ = true;
}

void CanFrames::finish()
{
    for (auto& entry : frames_) {
        std::vector<Branch>& branches = entry.second.branches;
        // Depth of each branch: how many multiplexed multiplexers lie above it.
        auto depth = [&branches](const Branch& branch) {
            size_t levels = 0;
            for (const CANSignal* above = branch.multiplexer; above && levels <= branches.size(); ++levels) {
                const auto parent = std::find_if(branches.begin(), branches.end(),
                                                 [above](const Branch& b) { return b.signal == above; });
                above = parent == branches.end() ? nullptr : parent->multiplexer;
            }
            return levels;
        };
        std::stable_sort(branches.begin(), branches.end(),
                         [&depth](const Branch& a, const Branch& b) { return depth(a) < depth(b); });
    }
}

bool CanFrames::selected(const Branch& branch, const std::vector<unsigned long>& ids)
{
    if (branch.multiplexer == nullptr)
        return true;
    // The multiplexer counts only when this frame wrote it (it may itself be
    // a branch not taken, or lie beyond the bytes received).
    if (std::find(ids.begin(), ids.end(), branch.multiplexer->id) == ids.end())
        return false;
    unsigned long raw = 0, timestamp = 0;
    if (!branch.multiplexer->read(raw, timestamp))
        return false;
    // A signed multiplexer's raw value is sign-extended: a negative value
    // lies beyond every range.
    for (const auto& [low, high] : branch.ranges)
        if (raw >= low && raw <= high)
            return true;
    return false;
}

unsigned CanFrames::unbranched(const std::vector<Branch>& branches, const std::vector<unsigned long>& ids)
{
    unsigned count = 0;
    for (size_t index = 0; index < branches.size(); ++index) {
        const CANSignal* multiplexer = branches[index].multiplexer;
        const auto sameMultiplexer = [multiplexer](const Branch& other) { return other.multiplexer == multiplexer; };
        // Each multiplexer once, at its first branch; a frame has few.
        if (multiplexer == nullptr || std::find_if(branches.begin(), branches.begin() + long(index), sameMultiplexer) !=
                                          branches.begin() + long(index))
            continue;
        if (std::find(ids.begin(), ids.end(), multiplexer->id) == ids.end())
            continue;
        bool anySelected = false;
        for (const Branch& branch : branches)
            anySelected = anySelected || (branch.multiplexer == multiplexer && selected(branch, ids));
        count += !anySelected;
    }
    return count;
}

bool CanFrames::writeRealigned(const Branch& branch, const CANExtTraceMessage& frame, unsigned received)
{
    const Realigned& realigned = branch.realigned;
    if (received < realigned.firstByte + 9u)
        return false;
    // The nine bytes as one number, least significant byte first.
    unsigned __int128 window = 0;
    for (unsigned i = 0; i < 9; ++i) {
        const unsigned index = realigned.bigEndian ? realigned.firstByte + 8 - i : realigned.firstByte + i;
        window |= static_cast<unsigned __int128>(frame.payload[index]) << (8 * i);
    }
    const uint64_t raw = static_cast<uint64_t>(window >> realigned.shift);
    unsigned char aligned[8];
    for (unsigned i = 0; i < 8; ++i)
        aligned[realigned.bigEndian ? 7 - i : i] = static_cast<unsigned char>(raw >> (8 * i));
    branch.signal->write(aligned, sizeof aligned, frame.timestamp);
    return true;
}

bool CanFrames::write(const Branch& branch, const CANExtTraceMessage& frame)
{
    const unsigned received = std::min<unsigned>(frame.length, sizeof frame.payload);
    if (branch.realigned.on)
        return writeRealigned(branch, frame, received);
    CANSignal& signal = *branch.signal;
    const CANSignal::FrameLayout& layout = signal.d_layout;
    if (layout.canFD) {
        if (layout.hasPduId || received < unsigned(layout.startByte) + layout.numBytes)
            return false;
        signal.write(frame.payload + layout.startByte, layout.numBytes, frame.timestamp);
        return true;
    }
    if (BaseSignal::onlyReceivedBits && signal.fieldBytes() > received)
        return false;
    // A classic field lies in the first eight bytes, all the write reads.
    signal.write(frame.payload, std::min(received, 8u), frame.timestamp);
    return true;
}

bool CanFrames::complete(const CANExtTraceMessage& frame, std::vector<unsigned long>& ids, unsigned* unbranched)
{
    if (!anyBranches_ && frame.length >= mostNeeded_)
        return false;
    const bool extended = frame.frameFormat == 1 || frame.frameFormat == 3;
    const auto entry = frames_.find(keyOf(frame.channel, frame.canId, extended));
    if (entry == frames_.end())
        return false;
    const Frame& known = entry->second;
    bool cut = frame.length < known.rangeBytes || (BaseSignal::onlyReceivedBits && frame.length < known.classicBytes);
    for (const Branch& branch : known.branches) {
        if (!selected(branch, ids))
            continue;
        if (write(branch, frame))
            ids.push_back(branch.signal->id);
        else
            cut = true;
    }
    if (unbranched)
        *unbranched += CanFrames::unbranched(known.branches, ids);
    return cut;
}

} // namespace rksignal
