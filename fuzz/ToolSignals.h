// ToolSignals: the fixed signals the tool-reader targets decode into, built
// once per process from a small JSON definition (the tool's own format), so
// that messages the readers return reach every decoder with something to
// write.
#pragma once

#include "decode/SignalSet.h"

namespace fuzz {

using namespace rksignal;

// The signals: CAN (classic, FD, multiplexed) on channel 1, LIN, FlexRay,
// digital, analog, keyboard, logger status and GPS.
SignalSet& toolSignals();

} // namespace fuzz
