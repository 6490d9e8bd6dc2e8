// FuzzSession: what every fuzz target does around one input.
//
// The library writes diagnostic lines to std::cout and std::cerr, and at the
// higher debug levels formats every value it touches. A target wants that
// code run (printing is part of the surface) but not the output itself, so
// the session points both streams at a sink that discards, once per process,
// and sets BaseSignal::debug from the input's selector byte for the length of
// the input. Targets build their fixed signals before opening a session, so
// that construction is quiet and the same for every input.
//
// Thread safety: none; one input at a time, as libFuzzer runs them.
#pragma once

#include "FuzzInput.h"

#include "signal/BaseSignal.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

class Session {
public:
    // Most selector values leave debugging off (the fast path); the top
    // quarter turns on levels 1 to 3.
    explicit Session(uint8_t debugSelector);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    static int debugLevel(uint8_t debugSelector);

    // How many messages of an input to decode: with debugging on every
    // message prints whole tables, so a few show what needs showing.
    size_t messageLimit(size_t quiet) const;
};

// A property the library promises was broken: says which and aborts, which
// the fuzzer and the replay driver both report as a failure.
[[noreturn]] void fail(const char* what);

inline void require(bool holds, const char* what)
{
    if (!holds)
        fail(what);
}

// What every decoder promises about its answer: the result says whether
// `ids` is non-empty, and each identifier in it names a signal of `storage`
// that now holds a valid value written at `timestamp`.
void requireWritten(bool result, const std::vector<unsigned long>& ids, uint64_t timestamp, SignalStorage* storage);

// Reads every signal of `storage` and forms the description of its value.
void describeValues(SignalStorage& storage);

// The frame of the decoder targets: the signals of `storage` start without
// values, the input's first byte selects the debug level, and then
// `decode(timestamp, ids)` reads and decodes one message from `in`, as long
// as the input lasts and at most `maxMessages` times, each message with a
// time stamp of its own.
template <class Decode>
void decodeMessages(FuzzInput& in, SignalStorage& storage, size_t maxMessages, Decode decode)
{
    BaseSignal::clearAll(&storage);
    const Session session(in.byte());
    std::vector<unsigned long> ids;
    ids.reserve(64);
    constexpr uint64_t firstTimestamp = 1000;
    for (size_t n = 0; n < session.messageLimit(maxMessages) && !in.empty(); ++n)
        decode(firstTimestamp + n, ids);
}

} // namespace fuzz
