#include "bench/MarkdownReporter.h"

#include <string>
#include <vector>

// Runs the benchmarks selected by a filter, repeatedly and in mixed order, and prints the medians:
// part_benchmarks --benchmark_filter=Scan

int main(int count, char** given) {
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::string repetitions = "--benchmark_repetitions=15";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    std::string seconds = "--benchmark_min_time=0.05";
    std::vector<char*> arguments{given[0], interleave.data(), repetitions.data(), aggregates.data(),
                                 seconds.data()};
    arguments.insert(arguments.end(), given + 1, given + count);
    int all = static_cast<int>(arguments.size());
    benchmark::Initialize(&all, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(all, arguments.data())) {
        return 64;
    }
    bench::MarkdownReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
