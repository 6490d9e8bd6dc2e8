#include "signal/FrameTableEdits.h"

std::atomic<uint64_t> FrameTableEdits::counter{0};
