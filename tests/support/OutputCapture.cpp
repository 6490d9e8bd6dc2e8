#include "support/OutputCapture.h"

OutputCapture::OutputCapture(FlushHook onOutputFlush)
    : savedOut_(std::cout.rdbuf(&out_)), savedErr_(std::cerr.rdbuf(&err_)), savedOutFlags_(std::cout.flags()),
      savedErrFlags_(std::cerr.flags())
{
    out_.onFlush = std::move(onOutputFlush);
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

int OutputCapture::Buffer::sync()
{
    if (onFlush)
        onFlush(str());
    return 0;
}
