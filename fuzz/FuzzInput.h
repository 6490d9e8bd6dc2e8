// FuzzInput: reads a fuzzer's bytes as the fields of messages and
// definitions.
//
// Every read succeeds: once the bytes run out, numbers read as 0, copies are
// zero-filled and texts are empty, so a target never has to check lengths
// and every prefix of an interesting input is itself a valid input. Numbers
// are read little-endian, so hand-made seeds can be written with a hex
// editor in the obvious order.
//
// Thread safety: a plain cursor over the caller's bytes; one per input.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : next_(data), end_(data + size) {}

    size_t remaining() const { return static_cast<size_t>(end_ - next_); }
    bool empty() const { return next_ == end_; }

    uint8_t byte() { return next_ != end_ ? *next_++ : 0; }
    bool flag() { return (byte() & 1) != 0; }
    // One of `count` choices (count > 0).
    size_t pick(size_t count) { return byte() % count; }

    template <class T>
    T number()
    {
        uint8_t bytes[sizeof(T)] = {};
        copy(bytes, sizeof bytes);
        uint64_t value = 0;
        for (size_t i = sizeof(T); i-- > 0;)
            value = value << 8 | bytes[i];
        return static_cast<T>(value);
    }

    // Copies up to `count` bytes to `out` and zero-fills the rest; returns
    // how many came from the input.
    size_t copy(void* out, size_t count)
    {
        if (count == 0)
            return 0; // `out` may be the null data() of an empty vector
        const size_t taken = std::min(count, remaining());
        if (taken != 0)
            std::memcpy(out, next_, taken);
        std::memset(static_cast<uint8_t*>(out) + taken, 0, count - taken);
        next_ += taken;
        return taken;
    }

    // Up to `count` bytes: fewer when the input ends first.
    std::vector<uint8_t> bytes(size_t count)
    {
        const size_t taken = std::min(count, remaining());
        std::vector<uint8_t> out(next_, next_ + taken);
        next_ += taken;
        return out;
    }

    // The text up to the next NUL byte (which is consumed) or the end.
    std::string line()
    {
        const uint8_t* stop = std::find(next_, end_, uint8_t(0));
        std::string text(next_, stop);
        next_ = stop != end_ ? stop + 1 : stop;
        return text;
    }

    // Everything left, NUL bytes included.
    std::string rest()
    {
        std::string text(next_, end_);
        next_ = end_;
        return text;
    }

private:
    const uint8_t* next_;
    const uint8_t* end_;
};
