// EthernetSignal: a signal carried in Ethernet frames.
//
// A definition lists one or more positions; each names a kind of frame
// (addresses, ports, protocol, VLAN on the definition's channel), a container
// in its transport payload (none, IPDU, SPDU or SOME/IP) and the bytes of the
// value there. The registered signal is bound to the first position and owns
// one mirror child per further position, all sharing one slot and one
// identifier, so the value is updated from whichever frame arrives.
//
// The class-wide tables record which channels carry signals, every bound
// position, and a cache of per-frame decisions (positiveList, negativeList)
// so that a frame is matched against the positions only on its first sight.
// A decision stands until the signal it names is destroyed or the storage's
// last Ethernet signal goes: build all signals before decoding starts.
//
// Thread safety: the static tables are not locked. Build, destroy and decode
// Ethernet signals from one thread at a time; value reads from other threads
// and processes are safe through the slot lock.
#pragma once

#include "bus/EthernetFrameHash.h"
#include "signal/BaseSignal.h"
#include "trace/EthernetTraceMessage.h"
#include "trace/MIITraceMessage.h"

#include <array>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <vector>

// The container a value sits in within the transport payload.
enum ethSignalPosType_t : uint8_t { ETH_DEFAULT, ETH_IPDU, ETH_SPDU, ETH_SOMEIP };

// "DEFAULT", "IPDU", "SPDU", "SOME/IP"; nothing for any other value.
std::ostream& operator<<(std::ostream& os, ethSignalPosType_t type);

struct ethernetPosition_t {
    ethSignalPosType_t ethSignalType = ETH_DEFAULT;
    uint16_t startBit = 0;       // within the container's data, numbered as the signal's endian says
    uint64_t sourceMac = 0;      // low 48 bits; 0 = any
    uint64_t destinationMac = 0;
    uint32_t sourceIp = 0;       // network byte order; 0 = any
    uint32_t destinationIp = 0;
    uint16_t sourcePort = 0;     // 0 = any
    uint16_t destinationPort = 0;
    uint16_t ipProtocol = 0;     // 0 = any
    bool vlan = false;           // a VLAN tag is required
    uint16_t vlanId = 0;         // 0 = any
    uint32_t pduId = 0;          // IPDU
    uint32_t messageId = 0;      // SPDU
    uint32_t serviceId = 0;      // SOME/IP, low 16 bits compared
    uint32_t methodEventId = 0;  // SOME/IP
    uint16_t startByte = 0;      // derived by checkSignalDefinition
    uint8_t numBytes = 0;        // derived by checkSignalDefinition
};

struct ethernetSignalDef_t : baseSignalDef_t {
    std::vector<ethernetPosition_t> positions;
};

// The base form, then "[no positions]" or one bracketed group per position.
std::ostream& operator<<(std::ostream& os, const ethernetSignalDef_t& def);

class EthernetSignal : public BaseSignal {
public:
    using SignalList = std::vector<EthernetSignal*>;

    // The registered signal, bound to the first position; a rejected
    // definition leaves it unregistered with identifier all ones.
    EthernetSignal(const ethernetSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);
    // A child of `parent` bound to the single position of `definition`
    // (whose startByte and numBytes are already derived). Precondition: the
    // child does not outlive its parent; parents own their children.
    EthernetSignal(EthernetSignal* parent, const ethernetSignalDef_t& definition);
    ~EthernetSignal() override;

    // Derives startByte and numBytes of every position; false when `bits`
    // exceeds 64 or a value would touch more than 8 bytes.
    static bool checkSignalDefinition(ethernetSignalDef_t& definition);

    // Whether the raw trace record (Ethernet record type 4 or MII record type
    // 14) carries signals of `storage`. Precondition: `record` holds the whole
    // record, header and frame. `payload` is not used.
    static bool signalsInUse(const unsigned char* record, const unsigned char* payload,
                             SignalStorage* storage = nullptr);

    // Decode one frame; `ids` lists the identifiers written, the result is
    // whether it is non-empty. A message on a channel without signals (or an
    // Ethernet message of a kind other than 8) leaves `ids` untouched.
    static bool decodeMessage(const MIITraceMessage& msg, std::vector<unsigned long>& ids,
                              SignalStorage* storage = nullptr);
    static bool decodeMessage(const EthernetTraceMessage& msg, std::vector<unsigned long>& ids,
                              SignalStorage* storage = nullptr);
    static bool decode(unsigned char channel, const std::vector<unsigned char>& frame, unsigned long time,
                       std::vector<unsigned long>& ids, SignalStorage* storage = nullptr);

    // How IPDU, SPDU and SOME/IP containers are walked. LoggerFraming (the
    // default) is the logger's own walk: a SOME/IP length counts from the
    // end of the 16-byte header, and a container whose data reach the end of
    // the frame is not accepted. ProtocolFraming follows the protocols as
    // real traffic carries them: a SOME/IP length counts from the end of the
    // length field (the next message begins 8 + length further on; a length
    // below 8 is malformed and ends the walk), and a container may end
    // exactly at the frame's end, so hand the decoder frames cut at the end
    // of their datagram. Set it before decoding starts.
    enum ContainerFraming : uint8_t { LoggerFraming, ProtocolFraming };
    static ContainerFraming containerFraming;

    static std::array<bool, 256> channelsInUse;
    static std::map<EthernetFrameHash*, SignalList> ethernetFrames;
    static std::map<uint64_t, SignalList> positiveList;
    static std::set<uint64_t> negativeList;

    ethernetSignalDef_t definition;
    EthernetFrameHash frameHash;
    std::vector<EthernetSignal*> children; // owned

private:
    // The cached decision for a frame: null when it carries no signal.
    // `firstSight` tells whether the decision was made by this call.
    struct FrameSignals {
        const SignalList* signals;
        bool firstSight;
    };
    static FrameSignals lookupFrame(const miiFrameInfo_t& info, unsigned char channel, const char* operation);
    static bool analyze(const unsigned char* frame, unsigned long length, miiFrameInfo_t& info,
                        const char* operation);

    // Files the signal under its position and readies the codec for bytes
    // that start at the position's startByte.
    void bindPosition(unsigned char channel);
    // Writes this signal from the frame when its bytes are there, appending
    // its identifier to `ids`.
    void decodeFrom(const unsigned char* frame, unsigned long length, unsigned long payloadOffset,
                    unsigned long time, std::vector<unsigned long>& ids);
    // Where the value's container data begins in the frame (wrapped to 16
    // bits); false when the container is not there.
    bool findData(const unsigned char* frame, unsigned long length, unsigned long payloadOffset,
                  uint16_t& dataOffset) const;
    bool registerIdentifier();
    void buildChildren();
    void unregister();
    const ethernetPosition_t& position() const { return definition.positions.front(); }
};

// The base form, ";", the definition, ";index=" and the identifier in hex.
std::ostream& operator<<(std::ostream& os, const EthernetSignal& signal);
