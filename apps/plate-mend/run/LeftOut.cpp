#include "run/LeftOut.h"

#include "text/Format.h"

#include <cstddef>
#include <map>
#include <vector>

namespace plate_mend::host {

namespace {

/// Empty for none.
std::string describe_left_out(const std::map<std::string, std::size_t>& kinds, const std::string& what) {
    std::size_t all = 0;
    std::vector<std::string> texts;
    for (const auto& [kind, count] : kinds) {
        all += count;
        texts.push_back(std::to_string(count) + " " + kind);
    }
    return all == 0 ? ""
                    : format_count(all, "file") + what + (all == 1 ? " is" : " are") +
                          " left out: " + join(texts, ", ");
}

} // namespace

std::string describe_inputs_left_out(const FileSelection& selection) {
    const std::string text = describe_left_out(selection.left_out, " without a sign of a RAW photograph");
    return text.empty() ? text
                        : text + " (name them, or their extension with --ext, to try them all the same)";
}

std::string describe_samples_left_out(const FileSelection& selection) {
    std::map<std::string, std::size_t> kinds = selection.left_out;
    if (selection.results_left_out != 0) {
        kinds["results of plate-mend"] = selection.results_left_out;
    }
    return describe_left_out(kinds, " of no use as a sample");
}

} // namespace plate_mend::host
