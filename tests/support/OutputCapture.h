// OutputCapture: collects what the library writes to std::cout and std::cerr
// while it is alive, so that message lines can be compared exactly.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

class OutputCapture {
public:
    OutputCapture();
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    std::string out() const { return out_.str(); }
    std::string err() const { return err_.str(); }
    // Forget what was captured so far (and reset the streams' format flags).
    void reset();

private:
    std::ostringstream out_;
    std::ostringstream err_;
    std::streambuf* savedOut_;
    std::streambuf* savedErr_;
    std::ios::fmtflags savedOutFlags_;
    std::ios::fmtflags savedErrFlags_;
};
