#include "bench/MarkdownReporter.h"

#include <cstdio>

namespace bench {

bool MarkdownReporter::ReportContext(const Context& /*context*/) {
    return true;
}

void MarkdownReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.aggregate_name == "median") {
            rows_[run.family_index * 1000 + run.per_family_instance_index] = {
                run.report_label, run.counters.at("bytes_per_second") / 1e9};
        }
    }
}

void MarkdownReporter::Finalize() {
    std::printf("| What | GB/s | Share |\n|---|---:|---:|\n");
    for (const auto& [index, row] : rows_) {
        std::printf("| %s | %.2f | %.2f |\n", row.label.c_str(), row.speed,
                    row.speed / rows_.begin()->second.speed);
    }
}

} // namespace bench
