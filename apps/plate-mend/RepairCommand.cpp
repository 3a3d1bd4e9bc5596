#include "Batch.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Formats.h"
#include "SafeOutput.h"
#include "platform/Interrupt.h"
#include "report/JsonLines.h"
#include "report/Reports.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// The command line asks for what cannot be.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::vector<fs::path> paths_from_all(const std::vector<std::string>& texts) {
    std::vector<fs::path> paths;
    std::transform(texts.begin(), texts.end(), std::back_inserter(paths), path_from);
    return paths;
}

/// Extensions as a user writes them: "ARW", ".arw".
FileFilter filter_of(const RepairOptions& options) {
    FileFilter filter;
    for (const std::string& text : options.extensions) {
        const std::size_t letters = text.find_first_not_of('.');
        if (letters == std::string::npos) {
            throw UsageError("--ext " + text + ": no extension");
        }
        filter.extensions.push_back(extension_of(path_from("x." + text.substr(letters))));
    }
    return filter;
}

std::vector<fs::path> samples_of(const RepairOptions& options) {
    std::vector<fs::path> samples = paths_from_all(options.samples);
    for (const Input& input : files_in(paths_from_all(options.sample_folders), {})) {
        samples.push_back(input.path);
    }
    for (const fs::path& sample : samples) {
        if (!fs::is_regular_file(sample)) {
            throw UsageError(utf8_from(sample) + ": no such file");
        }
    }
    if (samples.empty()) {
        throw UsageError("no sample is there; name one with --sample or a folder of them with --samples");
    }
    return samples;
}

/// Records that a former run left, the last of each file.
std::vector<Record> former_records(const std::string& json) {
    std::vector<Record> records;
    std::ifstream lines(path_from(json), std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        if (auto record = from_json_line(line)) {
            records.push_back(std::move(*record));
        }
    }
    return records;
}

BatchRequest request_of(const RepairOptions& options, const fs::path& program) {
    std::vector<fs::path> paths = paths_from_all(options.paths);
    if (!options.files_from.empty()) {
        const auto listed = paths_from_list(options.files_from);
        paths.insert(paths.end(), listed.begin(), listed.end());
    }
    BatchRequest request;
    request.inputs = files_in(paths, filter_of(options));
    request.samples = samples_of(options);
    request.repair.out = path_from(options.out);
    request.repair.output = path_from(options.output);
    request.repair.force = options.force;
    request.repair.fallback = !options.no_fallback;
    request.repair.pictures = !options.report.empty();
    request.repair.hashes = !options.report.empty() || !options.json.empty() || !options.csv.empty();
    request.repair.most_samples = options.most_samples;
    request.limits = {program, options.limits.seconds, options.limits.memory_mib << 20U};
    request.log_directory = path_from(options.log_directory);
    request.jobs = options.jobs != 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
    request.resume = options.resume;
    if (options.resume && !options.json.empty() && options.json != "-") {
        request.former = former_records(options.json);
    }
    if (!options.log_directory.empty() && !fs::is_directory(request.log_directory)) {
        throw UsageError(options.log_directory + ": no such folder; no log can be written there");
    }
    if (!options.output.empty() && request.inputs.size() != 1) {
        throw UsageError("--output names one file; for several use --out");
    }
    return request;
}

/// 0 to 2, as CommandLine.h tells.
int status_of(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return kAllWhole;
    case Verdict::kNotRepaired:
        return kSomeLost;
    default:
        return kSomePartial;
    }
}

int repair(const RepairOptions& options, const fs::path& program) {
    BatchRequest request = request_of(options, program);
    check_outputs(request);
    Reports reports({options.json, options.csv, options.report, options.quiet, options.force, options.resume},
                    request.inputs.size());
    platform::remember_interrupts();
    int status = kAllWhole;
    const bool done = run_batch(request, {[&](const Input& input) { reports.begin(utf8_from(input.path)); },
                                          [&](const Record& record, bool is_new) {
                                              status = std::max(status, status_of(record.verdict));
                                              reports.add(record, is_new);
                                          }});
    reports.close(!done);
    return done ? status : kInterrupted;
}

} // namespace

int run_repair(const RepairOptions& options, const fs::path& program) {
    const auto usage = [](const std::exception& e) {
        std::cerr << "plate-mend: " << e.what() << '\n';
        return kUsage;
    };
    try {
        return repair(options, program);
    } catch (const UsageError& e) {
        return usage(e);
    } catch (const ListError& e) {
        return usage(e);
    } catch (const OutputClash& e) {
        return usage(e);
    } catch (const ReportExists& e) {
        return usage(e);
    } catch (const std::exception& e) {
        std::cerr << "plate-mend: " << e.what() << '\n';
        return kSomeLost;
    }
}

} // namespace plate_mend::host
