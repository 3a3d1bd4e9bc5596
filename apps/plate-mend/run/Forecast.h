#pragma once

#include "repair/Plan.h"
#include "repair/Samples.h"
#include "run/RepairSelection.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace plate_mend::host {

class RunRecord;

/// What a run would do with a file.
struct Forecast {
    std::string problem;                ///< Why it would not be done; empty if it would be.
    bool finished = false;              ///< By an earlier run, and so left alone. All that follows is empty.
    std::uint64_t size = 0;             ///< Of the damaged file, in bytes.
    std::optional<RankedSample> sample; ///< That would be tried first.
    std::set<std::string> cameras;      ///< That the file names; only from study().
};

/// The rules of the run.
struct ForecastRules {
    bool force = false;  ///< Replace what is at an output.
    bool resume = false; ///< Leave alone what an earlier run finished.
};

/// Foretells what a run would do with each of its files. Writes nothing. For one thread.
class Forecaster {
  public:
    /// Reads the heads of the samples. Throws Interrupted, and what the listener throws.
    ///
    ///   selection  must outlive this object
    ///   record     of earlier runs in the folder of results, likewise; null for none
    Forecaster(
        const RepairSelection& selection, const ForecastRules& rules, RunRecord* record,
        const SampleListener& listener = [](std::size_t /*done*/, std::size_t /*total*/) {});

    /// Throws Interrupted and MachineFailure.
    [[nodiscard]] Forecast forecast(const PlannedFile& file) const;

    /// The same, and which cameras the file names: reads all of the file even if there is only one sample.
    [[nodiscard]] Forecast study(const PlannedFile& file) const;

    [[nodiscard]] const Samples& samples() const { return samples_; }

  private:
    [[nodiscard]] Forecast begin(const PlannedFile& file) const;
    [[nodiscard]] std::string problem_of(const PlannedFile& file) const;

    const RepairSelection& selection_;
    ForecastRules rules_;
    RunRecord* record_;
    Samples samples_;
};

} // namespace plate_mend::host
