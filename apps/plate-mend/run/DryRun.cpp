#include "run/DryRun.h"

#include "files/Failures.h"
#include "files/SafeOutput.h"
#include "platform/Files.h"
#include "repair/Engines.h"
#include "run/ExitStatus.h"
#include "run/Forecast.h"
#include "text/Format.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Files of its own size that a repair keeps in its working folder at a time, at most: the copy of the
/// damaged file, a result, and the best one.
constexpr std::uint64_t kWorkingFiles = 3;

std::string describe_engines(const std::vector<Engine>& engines) {
    return engines.size() == 2 ? "exact engine, then raw engine" : "raw engine";
}

/// The nearest folder above a path that exists already.
fs::path existing_folder(const fs::path& path) {
    fs::path folder = folder_of(path);
    std::error_code none;
    while (!fs::is_directory(folder, none) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

/// What one disk would have to hold.
struct Need {
    fs::path folder; ///< On the disk.
    std::uint64_t results = 0;
    std::uint64_t largest = 0; ///< Result.
};

/// The work of one call of dry_run.
class DryRun {
  public:
    DryRun(const RepairSelection& selection, const RepairOptions& options, RunRecord* record)
        : selection_(selection), options_(options),
          forecaster_(selection, {options.force, options.resume}, record) {}

    int run() {
        for (const PlannedFile& file : selection_.files) {
            check_interruption();
            const std::string forecast = forecast_of(file);
            std::cout << printable(utf8_from(file.input.path) + ": " + forecast) << '\n';
        }
        std::cout << format_count(selection_.files.size(), "file") << ", "
                  << format_count(selection_.samples.size(), "sample") << "; nothing was written\n";
        for (const auto& [volume, need] : needs_) {
            print(need);
        }
        return status_;
    }

  private:
    /// "ARW, 24.5 MB; sample good/1.ARW (same length), exact engine, then raw engine; to mended/2.ARW".
    std::string forecast_of(const PlannedFile& file) {
        const Forecast forecast = forecaster_.forecast(file);
        if (!forecast.problem.empty()) {
            status_ = kSomeNotDone;
            return "not done, " + forecast.problem;
        }
        if (forecast.finished) {
            return "done already";
        }
        std::string text = file.input.kind.empty() ? "no sign of a photograph" : upper(file.input.kind);
        text += ", " + format_size(forecast.size);
        if (!forecast.sample) {
            return text + "; no sample but the file itself";
        }
        const RankedSample& first = *forecast.sample;
        add_need(file.outputs.raw, std::max<std::uint64_t>(forecast.size, fs::file_size(first.path)));
        return text + "; sample " + utf8_from(first.path) + " (" + first.why + "), " +
               describe_engines(engines_for(format_of_extension(file.input.kind), first.path)) + "; to " +
               utf8_from(file.outputs.raw);
    }

    void add_need(const fs::path& output, std::uint64_t size) {
        const fs::path folder = existing_folder(output);
        const auto stamp = platform::stamp_of(folder);
        Need& need = needs_[stamp ? stamp->volume : 0];
        need.folder = folder;
        need.results += size;
        need.largest = std::max(need.largest, size);
    }

    /// An estimate: a result is as long as its damaged file, or as its sample.
    void print(const Need& need) {
        const std::uint64_t jobs = std::min<std::uint64_t>(jobs_of(options_), selection_.files.size());
        const std::uint64_t bytes = need.results + jobs * kWorkingFiles * need.largest;
        std::error_code unknown;
        const fs::space_info space = fs::space(need.folder, unknown);
        std::cout << "About " << format_size(bytes) << " needed, at most, on the disk of "
                  << printable(utf8_from(need.folder)) << ", working files included";
        if (!unknown) {
            std::cout << "; " << format_size(space.available) << " free";
        }
        std::cout << '\n';
        if (!unknown && space.available < bytes) {
            status_ = kSomeNotDone;
        }
    }

    const RepairSelection& selection_;
    const RepairOptions& options_;
    Forecaster forecaster_;
    std::map<std::uint64_t, Need> needs_; ///< By volume.
    int status_ = kAllWhole;
};

} // namespace

int dry_run(const RepairSelection& selection, const RepairOptions& options, RunRecord* record) {
    return DryRun(selection, options, record).run();
}

} // namespace plate_mend::host
