// Two logger processes sharing signal values through shared memory.
//
// The parent (the "decoder") builds two shared signals and writes values;
// a forked child (the "viewer") builds signals of the same instance names,
// finds the parent's segments, reads the values and writes one back. The
// parent then removes the segments and the key files.
#include "rksignal.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

baseSignalDef_t definition(const std::string& instance, const std::string& signal, const std::string& unit,
                           double scale, double offset)
{
    baseSignalDef_t def;
    def.instance = instance;
    def.signal = signal;
    def.unit = unit;
    def.bits = 16;
    def.scale = scale;
    def.offset = offset;
    return def;
}

std::vector<baseSignalDef_t> demoDefinitions()
{
    const std::string suffix = "_demo_" + std::to_string(getpid());
    return {definition("EngineSpeed" + suffix, "EngineSpeed", "rpm", 0.25, 0),
            definition("CoolantTemp" + suffix, "CoolantTemp", "degC", 0.1, -40)};
}

void show(const char* who, BaseSignal& signal)
{
    double value = 0;
    unsigned long timestamp = 0;
    const bool valid = signal.read(value, timestamp);
    std::cout << who << ": " << signal.def.signal << " = " << value << ' ' << signal.getUnit()
              << (valid ? "" : " (no value)") << ", written at ";
    printTime(std::cout, timestamp);
    std::cout << std::endl;
}

using Signals = std::vector<std::unique_ptr<BaseSignal>>;

Signals build(const std::vector<baseSignalDef_t>& defs, SignalStorage& storage)
{
    Signals signals;
    for (const auto& def : defs)
        signals.push_back(std::make_unique<BaseSignal>(def, true, &storage));
    return signals;
}

int runViewer(const std::vector<baseSignalDef_t>& defs, int readyFd)
{
    char go;
    if (read(readyFd, &go, 1) != 1)
        return 1;
    SignalStorage storage;
    Signals signals = build(defs, storage);
    for (auto& signal : signals)
        show("viewer ", *signal);
    // The viewer answers with a value of its own: 90 degC.
    signals[1]->writeRaw(1300, 1763765405000000UL);
    std::cout << "viewer : wrote CoolantTemp = 90 degC" << std::endl;
    BaseSignal::detachOnly = true; // leave the decoder's segments in place
    return 0;
}

} // namespace

int main()
{
    const auto defs = demoDefinitions();
    int ready[2];
    if (pipe(ready) != 0) {
        perror("pipe");
        return 1;
    }
    const pid_t viewer = fork();
    if (viewer == 0) {
        close(ready[1]);
        return runViewer(defs, ready[0]);
    }
    close(ready[0]);

    int status = 1;
    {
        SignalStorage storage;
        Signals signals = build(defs, storage);
        const uint8_t frame[4] = {0x40, 0x1f, 0xe6, 0x04}; // 8000 -> 2000 rpm, 1254 -> 85.4 degC
        signals[0]->write(frame, 2, 1763765400000000UL);
        signals[1]->write(frame + 2, 2, 1763765400000000UL);
        for (auto& signal : signals)
            show("decoder", *signal);

        if (write(ready[1], "g", 1) != 1)
            perror("write");
        waitpid(viewer, &status, 0);
        show("decoder", *signals[1]);
    }
    for (const auto& def : defs)
        std::remove(("/tmp/" + def.instance).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
