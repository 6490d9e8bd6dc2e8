// The main of every benchmark program: runs the hand-written floor beside the
// program's own benchmarks and ends with a summary of each benchmark's median
// time per iteration as a ratio to the floor of the same run.
//
// Unless the command line says otherwise, each benchmark runs 5 repetitions,
// interleaved in random order with the others (so that a noisy neighbour
// hits all of them alike), and only the aggregates are printed.
#include "FloorWorkload.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

const char floorName[] = "BM_floor";

// One frame per iteration, cycling through the workload's frames.
void BM_floor(benchmark::State& state)
{
    const FloorWorkload& workload = FloorWorkload::get();
    FloorDecoder decoder(workload);
    size_t next = 0;
    for (auto _ : state) {
        decoder.decode(workload.frames[next]);
        next = next + 1 == workload.frames.size() ? 0 : next + 1;
    }
    benchmark::DoNotOptimize(decoder.record(0, 0));
}
BENCHMARK(BM_floor);

// The console report, and on Finalize the summary of ratios.
class FloorRatioReporter : public benchmark::ConsoleReporter {
public:
    // Colours only on a terminal, as the library's own default reporter.
    FloorRatioReporter() : ConsoleReporter(isatty(fileno(stdout)) ? OO_Color : OO_None) {}

    void ReportRuns(const std::vector<Run>& reports) override
    {
        ConsoleReporter::ReportRuns(reports);
        for (const Run& run : reports) {
            if (run.error_occurred)
                continue;
            // The median of repetitions, or the single run without them.
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            const bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
            if (!median && !single)
                continue;
            const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
            times_.emplace(run.run_name.str(),
                           Times{run.GetAdjustedRealTime() / unit * 1e9, run.GetAdjustedCPUTime() / unit * 1e9});
        }
    }

    // CPU time beside real time: on a shared machine the time the process
    // waits for its core inflates real time, not CPU time.
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto floor = times_.find(floorName);
        if (floor == times_.end() || floor->second.real <= 0 || floor->second.cpu <= 0)
            return;
        const Times base = floor->second;
        std::printf("\nRatio to the floor of this run (median time per iteration; %s is one frame)\n", floorName);
        std::printf("  %-48s %12s %9s %12s %9s\n", "benchmark", "real", "x floor", "cpu", "x floor");
        for (const auto& entry : times_)
            std::printf("  %-48s %9.2f ns %8.2fx %9.2f ns %8.2fx\n", entry.first.c_str(), entry.second.real,
                        entry.second.real / base.real, entry.second.cpu, entry.second.cpu / base.cpu);
        std::fflush(stdout);
    }

private:
    struct Times {
        double real; // nanoseconds per iteration
        double cpu;
    };
    std::map<std::string, Times> times_; // by name
};

} // namespace

int main(int argc, char** argv)
{
    // Defaults first: flags given on the command line come later and win.
    std::vector<char*> args{argv[0]};
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    args.insert(args.end(), {repetitions.data(), interleave.data(), aggregates.data()});
    args.insert(args.end(), argv + 1, argv + argc);
    int count = int(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    FloorRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
