// What both benchmark programs share: the median of each benchmark as the run reports
// it, and a main that repeats and interleaves the benchmarks, as this machine's speed
// drifts within a minute.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace qmbench
{
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With repetitions the median stands for the benchmark; without, the one run.
        for (const Run& run : runs)
            if (!run.error_occurred && (run.run_type == Run::RT_Iteration || run.aggregate_name == "median"))
                m_times[run.run_name.str()] = run.GetAdjustedRealTime();
    }

    // The time of a benchmark by its name; 0 if it did not run.
    double Time(const std::string& name) const
    {
        auto found = m_times.find(name);
        return found == m_times.end() ? 0.0 : found->second;
    }

private:
    std::map<std::string, double> m_times;
};

// Runs the benchmarks with the given repetitions, interleaved; flags given on the command
// line come after these and win.
inline void RunInterleaved(int argc, char** argv, const char* repetitionsFlag, MedianReporter& reporter)
{
    std::vector<char*> arguments(argv, argv + argc);
    std::string repetitions = repetitionsFlag;
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    char aggregates[] = "--benchmark_report_aggregates_only=true";
    arguments.insert(arguments.begin() + 1, {repetitions.data(), interleave, aggregates});
    argc = static_cast<int>(arguments.size());
    benchmark::Initialize(&argc, arguments.data());
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
} // namespace qmbench
