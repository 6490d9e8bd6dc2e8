// rksignal.h: every public header of librksignal, librktrace and librkutil.
#pragma once

#include "util/LogUtil.h"
#include "util/hexdump.h"
#include "util/macaddr_t.h"
#include "util/printTime.h"

#include "trace/AnalogTraceMessage.h"
#include "trace/CANExtTraceMessage.h"
#include "trace/EthernetTraceMessage.h"
#include "trace/FlexRayExtTraceMessage.h"
#include "trace/GPSTraceMessage.h"
#include "trace/GpioTraceMessage.h"
#include "trace/KeyboardMessage.h"
#include "trace/LINTraceMessage.h"
#include "trace/MIITraceMessage.h"
#include "trace/SystemMessage.h"
#include "trace/SystemUsageMessage.h"

#include "signal/BaseSignal.h"
#include "signal/FrameTableEdits.h"
#include "signal/MessageSink.h"
#include "signal/SignalDefinition.h"
#include "signal/SignalSlot.h"
#include "signal/SignalStorage.h"

#include "bus/CANSignal.h"
#include "bus/EthernetFrameHash.h"
#include "bus/EthernetSignal.h"
#include "bus/FlexRaySignal.h"
#include "bus/LINSignal.h"

#include "input/AnalogSignal.h"
#include "input/DigitalSignal.h"
#include "input/GPSSignal.h"
#include "input/InputSignal.h"
#include "input/KeyboardSignal.h"
#include "input/LoggerStatusSignal.h"

#include "expression/ExpParser.h"

#include "event/EventParser.h"
#include "event/eventFlexer.h"
