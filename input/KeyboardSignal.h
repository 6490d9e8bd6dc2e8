// KeyboardSignal: a key of the logger's remote control.
//
// Only the predefined names exist ("RC.F1" to "RC.F10", "RC.TRG"); each is
// filed under keyboard kind + its key code, and keyboard messages of that
// code write their value into it. Thread safety as InputSignal.
#pragma once

#include "input/InputSignal.h"

#include <cstdint>
#include <map>
#include <string>

class KeyboardSignal : public InputSignal {
public:
    // A definition whose instance name is not predefined is reported and the
    // signal never receives a value.
    KeyboardSignal(const inputSignalDef_t& definition, bool shmem = false, SignalStorage* storage = nullptr);

    // Instance name -> input key.
    static std::map<std::string, uint64_t> predefinedKeyboardInputs;
};
