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

    // Appends every list of `other` to this set's lists.
    void append(DefinitionSet&& other);
    size_t size() const;
    // Drops the records whose instance name `keep` refuses.
    void retainInstances(const std::function<bool(const std::string& instance)>& keep);
};

} // namespace rksignal
