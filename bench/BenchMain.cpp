// The main of every benchmark program: runs the hand-written floor beside the
// program's own benchmarks and ends with a summary of each benchmark's median
// time per iteration as a ratio to the floor of the same run.
//
// Unless the command line says otherwise, each benchmark runs 5 repetitions,
// interleaved in random order with the others (so that a noisy neighbour
// hits all of them alike), and only the aggregates are printed.
#include "FloorWorkload.h"

#include <benchmark/benchmark.h>

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
            nanoseconds_.emplace(run.run_name.str(), nanosecondsPerIteration(run));
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto floor = nanoseconds_.find(floorName);
        if (floor == nanoseconds_.end() || floor->second <= 0)
            return;
        std::printf("\nRatio to the floor of this run (%s: %.2f ns per frame; median time per iteration)\n",
                    floorName, floor->second);
        for (const auto& entry : nanoseconds_)
            std::printf("  %-56s %12.2f ns %8.2f x\n", entry.first.c_str(), entry.second,
                        entry.second / floor->second);
        std::fflush(stdout);
    }

private:
    static double nanosecondsPerIteration(const Run& run)
    {
        return run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
    }

    std::map<std::string, double> nanoseconds_; // by name
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
