#include "run/DryRun.h"

#include "files/Failures.h"
#include "repair/Engines.h"
#include "run/ExitStatus.h"
#include "run/Forecast.h"
#include "run/RoomNeed.h"
#include "text/Format.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <iostream>

namespace plate_mend::host {

namespace {

std::string describe_engines(const std::vector<Engine>& engines) {
    return engines.size() == 2 ? "exact engine, then raw engine" : "raw engine";
}

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
        print_room();
        return status_;
    }

  private:
    /// "ARW, 24.5 MB; sample good/1.ARW (same length), exact engine, then raw engine; to mended/2.ARW".
    std::string forecast_of(const PlannedFile& file) {
        const Forecast forecast = forecaster_.forecast(file);
        need_.add(file, forecast);
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
        return text + "; sample " + utf8_from(first.path) + " (" + first.why + "), " +
               describe_engines(engines_for(format_of_extension(file.input.kind), first.path)) + "; to " +
               utf8_from(file.outputs.raw);
    }

    void print_room() {
        for (const RoomNeed::Disk& disk : need_.disks(jobs_of(options_))) {
            std::cout << printable(disk.text) << '\n';
            status_ = disk.has_too_little ? kSomeNotDone : status_;
        }
    }

    const RepairSelection& selection_;
    const RepairOptions& options_;
    Forecaster forecaster_;
    RoomNeed need_;
    int status_ = kAllWhole;
};

} // namespace

int dry_run(const RepairSelection& selection, const RepairOptions& options, RunRecord* record) {
    return DryRun(selection, options, record).run();
}

} // namespace plate_mend::host
