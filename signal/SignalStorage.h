// SignalStorage: a registry of signal instances.
//
// Signals enter the registry at construction and leave it at destruction; the
// registry does not own them. Nothing here is locked: build and destroy the
// signals of one storage from one thread, before and after decoding.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class BaseSignal;
class CANSignal;
class FlexRaySignal;
class EthernetSignal;
class InputSignal;
class LINSignal;

class SignalStorage {
public:
    std::map<std::string, BaseSignal*> instancesByName;
    std::map<uint64_t, BaseSignal*> instancesById;
    std::map<uint64_t, std::vector<CANSignal*>> canSignals;
    std::map<uint64_t, std::vector<FlexRaySignal*>> flexRaySignals;
    std::map<uint64_t, std::vector<EthernetSignal*>> ethernetSignals;
    std::map<uint64_t, std::vector<InputSignal*>> inputSignals;
    std::map<uint64_t, std::vector<LINSignal*>> linSignals;
};
