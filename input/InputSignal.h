// InputSignal: the base of the logger's own inputs (digital and analog
// inputs, remote-control keys, logger status values, GPS values).
//
// An input signal is found through its input key: kind bit + (module channel
// << 16) + input number for digital and analog inputs, kind bit + key code
// for remote-control keys. The class-wide inputContainer maps each key to the
// signals filed under it; the static decoders turn a GPIO, analog, keyboard
// or system message into a key and write every signal filed there.
//
// Thread safety: construction and destruction update class-wide tables and
// are not synchronised; build every signal before decoding starts and
// destroy them after it stops. The decoders may run on any thread; value
// writes take each signal's slot lock.
#pragma once

#include "signal/BaseSignal.h"

#include <cstdint>
#include <map>
#include <ostream>
#include <vector>

struct AnalogTraceMessage;
struct GpioTraceMessage;
struct KeyboardMessage;
struct SystemMessage;

// Definition of an input signal. `channel` is the input's number on its
// module (pin or analog channel), `tslId` the module's channel number that the
// trace records carry.
struct inputSignalDef_t : baseSignalDef_t {
};

class InputSignal : public BaseSignal {
public:
    // Kind bits of identifiers and input keys.
    static constexpr uint64_t keyboardKind = 0x0800000000000000UL;
    static constexpr uint64_t digitalKind = 0x0400000000000000UL;
    static constexpr uint64_t analogKind = 0x0200000000000000UL;
    static constexpr uint64_t loggerStatusKind = 0x0100000000000000UL;
    static constexpr uint64_t gpsKind = 0x0080000000000000UL;

    // Builds the signal; the subclass assigns the identifier and files it.
    InputSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);
    // Leaves inputContainer and the storage's input table.
    ~InputSignal() override;

    // Whether a signal is filed for the raw trace record [record, end)
    // (record type at bytes 2-3, input number at bytes 14-15, marker at byte
    // 16), before a message object is built. Short records are not in use.
    static bool signalsInUse(const unsigned char* record, const unsigned char* end, unsigned char channel,
                             SignalStorage* storage = nullptr);

    // Writes `payload` into every signal filed under `key` (only the one
    // named `instance` when given) and appends their identifiers to `ids`,
    // which it does not empty. True when a signal was written. The key table
    // is class-wide, so `storage` does not narrow the search.
    static bool writeValue(uint64_t key, unsigned long payload, unsigned long timestamp,
                           std::vector<unsigned long>& ids, SignalStorage* storage = nullptr,
                           const char* instance = nullptr);

    // The decoders empty `ids`, then report the signals written; true when
    // there is one. `channel` is the module channel of the message.
    static bool decodeMessage(const GpioTraceMessage& msg, std::vector<unsigned long>& ids, unsigned char channel,
                              SignalStorage* storage = nullptr);
    static bool decodeMessage(const KeyboardMessage& msg, std::vector<unsigned long>& ids,
                              SignalStorage* storage = nullptr);
    static bool decodeMessage(const AnalogTraceMessage& msg, std::vector<unsigned long>& ids, unsigned char channel);
    // Logger status, start, timer and memory usage (LoggerStatusSignal).
    static bool decodeMessage(const SystemMessage& msg, std::vector<unsigned long>& ids,
                              SignalStorage* storage = nullptr);

    static std::map<uint64_t, std::vector<InputSignal*>> inputContainer;

    inputSignalDef_t definition;

protected:
    // Digital and analog inputs: registers the identifier and files the signal
    // under kind bit + (tslId << 16) + channel of its definition.
    void registerOwnKey(uint64_t kindBit, const char* op);
    // Keyboard and logger inputs: files the signal under the key its instance
    // name has in `predefined`; an unknown name is reported and the signal
    // stays out of every table (identifier 0).
    void registerPredefined(const std::map<std::string, uint64_t>& predefined, uint64_t kindBit, const char* op);

    // Takes the next identifier with `kindBit` and enters it in the storage's
    // input table and identifier map. On a clash with an identifier already
    // there, writes "[ERROR] <cls>::<op>() gpId 0x<id> already exists", sets
    // the identifier to all ones and returns false.
    bool registerIdentifier(uint64_t kindBit, const char* cls, const char* op);
    // Files the signal under `key` in inputContainer.
    void fileUnder(uint64_t key);
    // The error line of a name that is not one of the predefined inputs.
    void reportUnknownName(const char* cls, const char* op) const;
    // The debug line of a signal built; with `printForm` its print form
    // follows on the same line.
    void traceCreated(const char* cls, const char* op, bool printForm) const;
    // Sets unit and value descriptions in both copies of the definition.
    void setUnit(const std::string& unit);
    void setValueDescription(const std::map<uint64_t, std::string>& table);
    void setType(signalValue_t type);
};

// The BaseSignal form, ";", the definition, ";index=" and the identifier in hex.
std::ostream& operator<<(std::ostream& os, const InputSignal& signal);
