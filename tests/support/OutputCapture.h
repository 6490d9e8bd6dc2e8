// OutputCapture: collects what the library writes to std::cout and std::cerr
// while it is alive, so that message lines can be compared exactly.
#pragma once

#include <functional>
#include <iostream>
#include <sstream>
#include <string>

class OutputCapture {
public:
    // Called whenever std::cout is flushed (every message line ends so),
    // with all that it has captured so far: lets a test act at the moment a
    // given line is out, e.g. hold the process up there.
    using FlushHook = std::function<void(const std::string& output)>;

    explicit OutputCapture(FlushHook onOutputFlush = {});
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    std::string out() const { return out_.str(); }
    std::string err() const { return err_.str(); }
    // Forget what was captured so far (and reset the streams' format flags).
    void reset();

private:
    class Buffer : public std::stringbuf {
    public:
        FlushHook onFlush;

    private:
        int sync() override;
    };

    Buffer out_;
    Buffer err_;
    std::streambuf* savedOut_;
    std::streambuf* savedErr_;
    std::ios::fmtflags savedOutFlags_;
    std::ios::fmtflags savedErrFlags_;
};
