#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace bench {

/// Prints the medians of benchmarks that process bytes as a Markdown table: one row each, in the order in
/// which they were registered, with its label, its speed, and its speed as a share of the first.
class MarkdownReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

  private:
    struct Row {
        std::string label;
        double speed = 0; ///< In GB a second.
    };
    std::map<std::int64_t, Row> rows_; ///< By the index that Google Benchmark gives.
};

} // namespace bench
