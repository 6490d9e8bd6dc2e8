// Loading a DBC file of 1,000 frames into the tool's decoder: reading the
// text, the definitions, one signal object per signal, the branches of the
// multiplexed frames and the J1939 table. It must stay well under 50 ms.
#include "decode/Decoder.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr int frames = 1000;
constexpr int signalsPerFrame = 8;

// Classic, extended J1939, CAN FD and multiplexed frames, with comments and
// value tables as generated vehicle files have them.
std::string largeDbc()
{
    std::string text = "VERSION \"\"\n\nNS_ :\n\nBS_:\n\nBU_: ECU\n\n";
    std::string tail;
    for (int m = 0; m < frames; ++m) {
        const bool j1939 = m % 4 == 1, fd = m % 4 == 2, multiplexed = m % 4 == 3;
        const unsigned long id = j1939 ? 0x98F00000UL + unsigned(m) * 256 : unsigned(m);
        const int size = fd ? 64 : 8;
        text += "BO_ " + std::to_string(id) + " Frame" + std::to_string(m) + ": " + std::to_string(size) + " ECU\n";
        for (int s = 0; s < signalsPerFrame; ++s) {
            const std::string mux = !multiplexed ? "" : s == 0 ? " M" : " m" + std::to_string(s % 3);
            text += " SG_ Signal" + std::to_string(s) + mux + " : " + std::to_string(s * 8) +
                    "|8@1+ (0.5,-10) [0|0] \"unit\" ECU\n";
            tail += "CM_ SG_ " + std::to_string(id) + " Signal" + std::to_string(s) + " \"comment\";\n";
            if (s == 1)
                tail += "VAL_ " + std::to_string(id) + " Signal1 0 \"off\" 1 \"on\" 255 \"invalid\";\n";
        }
        if (j1939)
            tail += "BA_ \"VFrameFormat\" BO_ " + std::to_string(id) + " 3;\n";
        if (fd)
            tail += "BA_ \"VFrameFormat\" BO_ " + std::to_string(id) + " 14;\n";
        text += "\n";
    }
    return text + "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"ExtendedCAN\",\"reserved\",\"J1939PG\","
                  "\"reserved\",\"reserved\",\"reserved\",\"reserved\",\"reserved\",\"reserved\",\"reserved\","
                  "\"reserved\",\"reserved\",\"reserved\",\"StandardCAN_FD\",\"ExtendedCAN_FD\";\n" +
           tail;
}

void BM_LoadDbcOf1000Frames(benchmark::State& state)
{
    const std::string path = "/tmp/rksignal-bench-" + std::to_string(getpid()) + ".dbc";
    std::ofstream(path) << largeDbc();
    for (auto _ : state) {
        rksignal::Decoder decoder({});
        std::vector<std::string> warnings;
        std::string error;
        if (!decoder.load({path}, warnings, error))
            state.SkipWithError(error.c_str());
        benchmark::DoNotOptimize(decoder);
    }
    std::remove(path.c_str());
}
BENCHMARK(BM_LoadDbcOf1000Frames)->Unit(benchmark::kMillisecond);

} // namespace
