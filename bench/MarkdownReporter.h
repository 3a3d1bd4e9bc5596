#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace bench {

/// Prints the medians of benchmarks that process bytes as a Markdown table: one row each, in the order of
/// registration, with its label, its speed, and its speed relative to the first.
class MarkdownReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

  private:
    struct Row {
        std::string label;
        double speed = 0; ///< In GB per second.
    };
    std::map<std::int64_t, Row> rows_; ///< By the index in Google Benchmark.
};

} // namespace bench
