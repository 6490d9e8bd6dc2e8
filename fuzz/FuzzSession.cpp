#include "FuzzSession.h"

#include "signal/BaseSignal.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>

namespace fuzz {

namespace {

// Accepts and drops everything, so that formatting still runs in full.
class DiscardingBuffer : public std::streambuf {
protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

void discardOutputOnce()
{
    // Never destroyed: the streams flush it once more when the process ends.
    static DiscardingBuffer* const sink = [] {
        auto* buffer = new DiscardingBuffer;
        std::cout.rdbuf(buffer);
        std::cerr.rdbuf(buffer);
        std::clog.rdbuf(buffer);
        return buffer;
    }();
    (void)sink;
}

} // namespace

int Session::debugLevel(uint8_t debugSelector)
{
    if (debugSelector < 0xc0)
        return 0;
    if (debugSelector < 0xe0)
        return 1;
    return debugSelector < 0xf0 ? 2 : 3; // a few lines need more than 2
}

Session::Session(uint8_t debugSelector)
{
    discardOutputOnce();
    BaseSignal::debug = debugLevel(debugSelector);
}

size_t Session::messageLimit(size_t quiet) const
{
    constexpr size_t debugging = 4;
    return BaseSignal::debug != 0 && quiet > debugging ? debugging : quiet;
}

Session::~Session()
{
    BaseSignal::debug = 0;
}

void requireWritten(bool result, const std::vector<unsigned long>& ids, uint64_t timestamp, SignalStorage* storage)
{
    require(result == !ids.empty(), "the result tells whether identifiers were reported");
    for (const unsigned long id : ids) {
        BaseSignal* signal = BaseSignal::getInstance(id, storage);
        require(signal != nullptr, "a reported identifier names a registered signal");
        unsigned long raw = 0;
        unsigned long when = 0;
        require(signal->read(raw, when), "a reported signal holds a value");
        require(when == timestamp, "a reported signal carries the message's time stamp");
    }
}

void describeValues(SignalStorage& storage)
{
    for (const auto& entry : storage.instancesByName) {
        unsigned long raw = 0;
        unsigned long when = 0;
        entry.second->read(raw, when);
        entry.second->getValueDescription(raw);
    }
}

void fail(const char* what)
{
    std::fprintf(stderr, "fuzz target: broken property: %s\n", what);
    std::abort();
}

} // namespace fuzz
