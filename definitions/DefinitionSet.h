// DefinitionSet: the signal definitions read from definition files (DBC or
// JSON), one list per signal class, in file order. A decoder builds one
// signal object per record.
#pragma once

#include "bus/CANSignal.h"
#include "bus/EthernetSignal.h"
#include "bus/FlexRaySignal.h"
#include "bus/LINSignal.h"
#include "input/InputSignal.h"

#include <functional>
#include <string>
#include <vector>

namespace rksignal {

// How the tool selects a multiplexed CAN signal: by the raw value of the
// multiplexer instance of its frame, within one of the ranges. A multiplexed
// signal without such a record is selected by its frame's first multiplexer
// taking its `mux` value.
struct CanBranch {
    std::string instance;
    std::string multiplexer;
    std::vector<std::pair<uint64_t, uint64_t>> ranges;
};

// A frame of the J1939 protocol: matched by its parameter group number,
// whatever the priority and source address of the received identifier.
struct J1939Frame {
    uint8_t channel;
    uint32_t msgId; // 29-bit identifier as the definition gives it
};

struct DefinitionSet {
    std::vector<canSignalDef_t> can;
    std::vector<linSignalDef_t> lin;
    std::vector<flexRaySignalDef_t> flexRay;
    std::vector<ethernetSignalDef_t> ethernet;
    std::vector<inputSignalDef_t> digital;
    std::vector<inputSignalDef_t> analog;
    std::vector<inputSignalDef_t> keyboard;
    std::vector<inputSignalDef_t> loggerStatus;
    std::vector<inputSignalDef_t> gps;
    // What the tool needs beyond the library's records.
    std::vector<CanBranch> canBranches;
    std::vector<J1939Frame> j1939;

    // Appends every list of `other` to this set's lists.
    void append(DefinitionSet&& other);
    size_t size() const;
    // Drops the records whose instance name `keep` refuses.
    void retainInstances(const std::function<bool(const std::string& instance)>& keep);
};

} // namespace rksignal
