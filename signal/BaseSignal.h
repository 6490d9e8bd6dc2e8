// BaseSignal: one signal, its definition, its value slot and its codec.
//
// A signal is built from a definition record, enters a SignalStorage by
// instance name, and keeps its latest value in a slot: a private one, or one
// in a System V shared-memory segment keyed by the instance name so that other
// logger processes building a signal of the same name see the same value.
// The bus and input classes derive from it; they assign the identifier, file
// the signal under their frame keys and feed it payloads.
//
// Thread safety: the value operations (write, writeRaw, writeTS, read) may be
// called from several threads and processes; for shared slots they hold the
// slot's mutex for the one operation. Construction, destruction and the
// registry statics are not synchronised: build and destroy signals while no
// other thread uses the same storage.
#pragma once

#include "signal/SignalDefinition.h"
#include "signal/SignalSlot.h"
#include "signal/SignalStorage.h"

#include <pthread.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <map>
#include <ostream>
#include <string>
#include <vector>

class BaseSignal {
public:
    // Builds the signal and registers it by instance name in `storage` (the
    // default storage when null). With `shmem` the slot is placed in shared
    // memory; any failure there leaves a private slot and a message line.
    BaseSignal(const baseSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);

    // Mirror: shares `parent`'s slot, identifier, definition and storage,
    // without a registry entry or segment of its own. The mirror must not
    // outlive its parent. Its bit-position fields are not set, so it serves
    // for read, writeRaw, writeTS and clear, not for write(payload).
    // Destroying a mirror removes the parent's name and identifier entries.
    explicit BaseSignal(BaseSignal* parent);

    BaseSignal(const BaseSignal&) = delete;
    BaseSignal& operator=(const BaseSignal&) = delete;

    virtual ~BaseSignal();
    virtual std::string getUnit() const;
    virtual double getScaleFactor() const;
    virtual double getOffset() const;
    virtual uint8_t getBits() const;
    virtual signalValue_t getType() const;
    // Physical value (raw scaled) and time stamp; returns whether the slot holds a value.
    virtual bool read(double& value, unsigned long& timestamp);
    virtual bool read(unsigned long& raw, unsigned long& timestamp);
    virtual bool writeTS(unsigned long timestamp);
    // Extracts the field from the first 8 payload bytes (byte 0 lowest).
    virtual bool write(unsigned long payload, unsigned long timestamp);
    // As above, from the first min(length, 8) bytes of data, the rest zero.
    virtual bool write(const unsigned char* data, unsigned long length, unsigned long timestamp);
    virtual bool writeRaw(unsigned long raw, unsigned long timestamp);
    virtual bool isModified();
    // Invalidates the value (raw and time stamp 0) and marks it modified.
    virtual void clear();
    // The text for `raw` in the value description table, or "".
    virtual std::string getValueDescription(unsigned long raw) const;

    // Computes the bit-position fields from the definition.
    void cInit();
    // Extracts the field of `payload` into slot->raw (no lock, no valid flag).
    void decode(unsigned long payload);
    // What write(payload, timestamp) of this class does while debug is 0,
    // without the virtual call: for decoders that have tested the debug level
    // and made sure that the signal's class keeps the library's write.
    bool writeDirect(uint64_t payload, unsigned long timestamp) { return writeWord<false>(payload, timestamp); }
    // The payload word that write(data, length, timestamp) decodes: the first
    // min(length, 8) bytes of data, byte 0 lowest, the rest zero.
    static uint64_t payloadWord(const unsigned char* data, unsigned long length);
    // value = raw converted by type, times scale, plus offset.
    void physical();
    // Places the slot in shared memory; true when it now lies there. Of
    // processes building the same signal at once, exactly one creates the
    // segment; the others return only once it has set the slot up.
    bool createSharedMemory();

    static BaseSignal* getInstance(const std::string& instance, SignalStorage* storage = nullptr);
    static BaseSignal* getInstance(unsigned long id, SignalStorage* storage = nullptr);
    static std::map<std::string, BaseSignal*>& getAllInstances();
    static void clearAll(SignalStorage* storage = nullptr);
    // Clears every signal whose identifier is listed (mirrors included).
    static void clear(const std::vector<unsigned long>& ids, SignalStorage* storage = nullptr);
    // Fills `ids` with the signals holding a value older than `limit`
    // (strictly). Always returns false; the answer is the list.
    static bool checkTimeout(unsigned long limit, std::vector<unsigned long>& ids, SignalStorage* storage = nullptr);

    static int debug;
    static bool detachOnly;
    // false (the default): a CAN or LIN frame shorter than a signal's field
    // still writes the signal, its missing bytes read as zeros. true: the
    // classic CAN and LIN decoders skip (neither write nor report) a signal
    // whose bits lie beyond the bytes received, as CAN FD byte ranges are.
    static bool onlyReceivedBits;
    // The number of leading payload bytes the field needs (its byte of
    // highest index, plus one), beyond the first eight too.
    unsigned fieldBytes() const
    {
        if (def.bits == 0)
            return 0;
        if (!def.endian)
            return (unsigned(def.startbit) + def.bits - 1u) / 8u + 1u;
        // Big endian: the least significant bit lies in the byte of highest index.
        const unsigned msb = (def.startbit & ~7u) + 7u - (def.startbit & 7u);
        return (msb + def.bits - 1u) / 8u + 1u;
    }
    static unsigned long instanceCounter;
    static SignalStorage defSignalStorage;

    // The print form of a bus or input signal: the form of `signal`, ";",
    // the form of its own `definition`, ";index=" and the identifier in
    // hexadecimal. The stream is left in hexadecimal.
    template <class Definition>
    static std::ostream& printWithDefinition(std::ostream& os, const BaseSignal& signal,
                                             const Definition& definition);

    signalSlot_t privateSlot;
    bool initSmData;
    key_t key;
    int32_t shmId;
    bool shmem;
    signalSlot_t* slot;
    bool modified;
    double value;
    baseSignalDef_t def;
    unsigned long id;
    SignalStorage* storage;
    uint8_t d_lsbBit;
    uint8_t d_startByte;
    uint8_t d_bytes;
    uint8_t d_shift;
    uint64_t d_maksBits;
    uint64_t d_signBit;
    uint64_t d_rawMask;

private:
    // Polls the slot mutex; never blocks (the mutex is not process-shared).
    // The first try is inline: on the message path it nearly always succeeds.
    void lock()
    {
        const int result = pthread_mutex_trylock(&slot->mutex);
        if (__builtin_expect(result != 0, 0))
            lockContended();
    }
    // Goes on retrying after a first try that failed.
    void lockContended();
    void unlock()
    {
        const int result = pthread_mutex_unlock(&slot->mutex);
        if (__builtin_expect(result != 0, 0))
            reportUnlockFailure(result);
    }
    void reportUnlockFailure(int result) const;
    // As lock, but gives up when the mutex is still busy at `deadline`.
    bool lockBefore(std::chrono::steady_clock::time_point deadline);

    // Sets a new slot up: the name, valid 0 and the fill patterns.
    void initialiseSlot();
    void fillSlot();
    // Waits for the creator of a found segment to set its slot up.
    bool awaitSlotSetUp();
    void releaseSharedMemory();
    void traceValue(const char* operation, bool changed);
    void traceRead() const;
    template <bool Guarded>
    bool readSlot(unsigned long& raw, unsigned long& timestamp);
    template <bool Guarded>
    bool readSlot(double& result, unsigned long& timestamp);
    bool readGuarded(unsigned long& raw, unsigned long& timestamp);
    bool readGuarded(double& result, unsigned long& timestamp);
    void traceDecode(unsigned long payload, uint64_t item) const;
    // True when every byte the field touches lies in the 8-byte payload.
    bool fieldInsidePayload() const;
    uint64_t accumulateBytes(unsigned long payload) const;

    // Stores `item` with `timestamp` under the slot lock, marks the slot
    // valid and the signal modified when the value changed. Traced: calls
    // `beforeStore` before the store (the decode lines of write) and writes
    // the value line of `operation` after it.
    template <bool Traced, class BeforeStore>
    bool storeValue(uint64_t item, unsigned long timestamp, const char* operation, BeforeStore beforeStore);
    template <bool Traced>
    bool writeWord(uint64_t payload, unsigned long timestamp);
    // The field of `payload`. Straight from the payload word (byte-swapped
    // for big endian) when the field lies inside it, byte by byte otherwise;
    // then one shift, the mask and the sign extension. No branch depends on
    // byte order or sign: they vary from signal to signal of a frame, and
    // mispredicted branches would cost more than the extraction itself.
    uint64_t extract(uint64_t payload) const
    {
        // Selected by a mask, not a conditional: compilers turn the latter
        // into the branch this is meant to avoid.
        const uint64_t swapped = __builtin_bswap64(payload);
        uint64_t acc = payload ^ ((payload ^ swapped) & (uint64_t(0) - uint64_t(d_wordBigEndian)));
        if (__builtin_expect(!d_inWord, 0))
            acc = accumulateBytes(payload);
        const uint64_t item = (acc >> d_wordShift) & d_maksBits;
        // For a set sign bit, item - 2^bits is item with every bit above the
        // field set; for a clear one, or an unsigned field, it is item.
        return (item ^ d_wordSign) - d_wordSign;
    }
    // Derived by cInit with the fields above.
    bool d_inWord = false;        // the field lies in the 8-byte payload word
    bool d_wordBigEndian = false; // take the word byte-swapped
    uint8_t d_wordShift = 0;      // of the (swapped) word, or of the accumulated bytes
    uint64_t d_wordSign = 0;      // d_signBit for a signed field, else 0

protected:
    // Derives the sign extension again after a change of def.type.
    void deriveSignExtension() { d_wordSign = def.type == SIGNAL_SIGNED ? d_signBit : 0; }
};

// Orders signals by instance name.
struct BaseSignalCompare {
    bool operator()(const BaseSignal* a, const BaseSignal* b) const { return a->def.instance < b->def.instance; }
};

std::ostream& operator<<(std::ostream& os, const BaseSignal& signal);

// The per-message operations, inline: every decoder runs them for every
// signal of every frame.

inline void BaseSignal::decode(unsigned long payload)
{
    const uint64_t item = extract(payload);
    if (debug)
        traceDecode(payload, item);
    slot->raw = item;
}

template <bool Traced, class BeforeStore>
inline bool BaseSignal::storeValue(uint64_t item, unsigned long timestamp, const char* operation,
                                   BeforeStore beforeStore)
{
    if (shmem)
        lock();
    slot->timestamp = timestamp;
    const uint64_t old = slot->raw;
    if (Traced)
        beforeStore();
    slot->raw = item;
    slot->valid = true;
    modified = item != old;
    if (Traced)
        traceValue(operation, modified);
    if (shmem)
        unlock();
    return true;
}

template <bool Traced>
inline bool BaseSignal::writeWord(uint64_t payload, unsigned long timestamp)
{
    // Extracting before the lock changes nothing: it reads only the payload
    // and the signal's own fields.
    const uint64_t item = extract(payload);
    return storeValue<Traced>(item, timestamp, "write", [&] { traceDecode(payload, item); });
}

inline uint64_t BaseSignal::payloadWord(const unsigned char* data, unsigned long length)
{
    // The payload word is little endian, as the host is: byte 0 lands in the
    // low byte, and the bytes past the length stay zero.
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "payload words are host-order words");
    // Short lengths with fixed-size loads (overlapping where the length is
    // not a power of two) rather than a call of memcpy for a few bytes.
    uint64_t payload = 0;
    if (length >= 8) {
        std::memcpy(&payload, data, 8);
    } else if (length >= 4) {
        uint32_t low = 0;
        uint32_t high = 0;
        std::memcpy(&low, data, 4);
        std::memcpy(&high, data + length - 4, 4);
        payload = low | uint64_t(high) << (8 * (length - 4));
    } else if (length > 0) {
        payload = uint64_t(data[0]) | uint64_t(data[length / 2]) << (8 * (length / 2)) |
                  uint64_t(data[length - 1]) << (8 * (length - 1));
    }
    return payload;
}

template <class Definition>
std::ostream& BaseSignal::printWithDefinition(std::ostream& os, const BaseSignal& signal, const Definition& definition)
{
    return os << signal << ';' << definition << ";index=" << std::hex << signal.id;
}
