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

#include <sys/types.h>

#include <chrono>
#include <cstdint>
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
    void lock();
    // As lock, but gives up when the mutex is still busy at `deadline`.
    bool lockBefore(std::chrono::steady_clock::time_point deadline);
    void unlock();

    // Sets a new slot up: the name, valid 0 and the fill patterns.
    void initialiseSlot();
    void fillSlot();
    // Waits for the creator of a found segment to set its slot up.
    bool awaitSlotSetUp();
    void releaseSharedMemory();
    void traceValue(const char* operation, bool changed);
    void traceDecode(unsigned long payload, uint64_t item) const;
    // True when every byte the field touches lies in the 8-byte payload.
    bool fieldInsidePayload() const;
    uint64_t accumulateBytes(unsigned long payload) const;

    // How decode reaches the field, derived by cInit with the fields above:
    // straight from the payload word (byte-swapped for big endian) with one
    // shift, or byte by byte when the field reaches outside the word.
    enum WordAccess : uint8_t { ByteByByte, LittleEndianWord, BigEndianWord };
    WordAccess d_wordAccess = ByteByByte;
    uint8_t d_wordShift = 0;
};

// Orders signals by instance name.
struct BaseSignalCompare {
    bool operator()(const BaseSignal* a, const BaseSignal* b) const { return a->def.instance < b->def.instance; }
};

std::ostream& operator<<(std::ostream& os, const BaseSignal& signal);

template <class Definition>
std::ostream& BaseSignal::printWithDefinition(std::ostream& os, const BaseSignal& signal, const Definition& definition)
{
    return os << signal << ';' << definition << ";index=" << std::hex << signal.id;
}
