#include "input/KeyboardSignal.h"

namespace {

std::map<std::string, uint64_t> keyboardInputs()
{
    std::map<std::string, uint64_t> inputs;
    for (uint64_t key = 1; key <= 10; ++key)
        inputs.emplace("RC.F" + std::to_string(key), InputSignal::keyboardKind + key);
    inputs.emplace("RC.TRG", InputSignal::keyboardKind + 0x10);
    return inputs;
}

} // namespace

std::map<std::string, uint64_t> KeyboardSignal::predefinedKeyboardInputs = keyboardInputs();

KeyboardSignal::KeyboardSignal(const inputSignalDef_t& definition, bool shmem, SignalStorage* storage)
    : InputSignal(definition, shmem, storage)
{
    registerPredefined(predefinedKeyboardInputs, keyboardKind, "KeyboardSignal");
}
