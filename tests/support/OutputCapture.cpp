#include "support/OutputCapture.h"

OutputCapture::OutputCapture()
    : savedOut_(std::cout.rdbuf(out_.rdbuf())), savedErr_(std::cerr.rdbuf(err_.rdbuf())),
      savedOutFlags_(std::cout.flags()), savedErrFlags_(std::cerr.flags())
{
}

OutputCapture::~OutputCapture()
{
    std::cout.rdbuf(savedOut_);
    std::cerr.rdbuf(savedErr_);
    std::cout.flags(savedOutFlags_);
    std::cerr.flags(savedErrFlags_);
}

void OutputCapture::reset()
{
    out_.str("");
    err_.str("");
    std::cout.flags(savedOutFlags_);
    std::cerr.flags(savedErrFlags_);
}
