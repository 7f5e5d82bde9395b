#include "bench/Micro.h"

#include <benchmark/benchmark.h>
#include <vector>

namespace {

class Medians : public benchmark::BenchmarkReporter {
public:
    std::map<std::string, double> found;

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                found[run.run_name.function_name] =
                    run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            }
        }
    }
};

} // namespace

std::map<std::string, double> RunBenchmarks(int argc, char** argv)
{
    char rounds[] = "--benchmark_repetitions=9";
    char turns[] = "--benchmark_enable_random_interleaving=true";
    char shortest[] = "--benchmark_min_time=0.05";
    std::vector<char*> arguments{argv[0], rounds, turns, shortest};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    auto count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    return medians.found;
}
