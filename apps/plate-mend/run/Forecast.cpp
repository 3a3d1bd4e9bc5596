#include "run/Forecast.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "platform/Files.h"
#include "record/RunRecord.h"
#include "repair/Delivery.h"

#include <filesystem>
#include <system_error>

namespace plate_mend::host {

Forecaster::Forecaster(const RepairSelection& selection, const ForecastRules& rules, RunRecord* record,
                       const SampleListener& listener)
    : selection_(selection), rules_(rules), record_(record),
      samples_(selection.samples, SampleCache({}), listener) {}

Forecast Forecaster::forecast(const PlannedFile& file) const {
    Forecast forecast = begin(file);
    if (forecast.problem.empty() && !forecast.finished) {
        const auto ranked = samples_.ranked_for(file.input.path, file.input.kind, file.input.path);
        if (!ranked.empty()) {
            forecast.sample = ranked.front();
        }
    }
    return forecast;
}

Forecast Forecaster::study(const PlannedFile& file) const {
    Forecast forecast = begin(file);
    if (forecast.problem.empty() && !forecast.finished) {
        SampleMatch match = samples_.match(file.input.path, file.input.kind, file.input.path);
        if (!match.ranked.empty()) {
            forecast.sample = std::move(match.ranked.front());
        }
        forecast.cameras = std::move(match.cameras);
    }
    return forecast;
}

Forecast Forecaster::begin(const PlannedFile& file) const {
    Forecast forecast;
    forecast.problem = problem_of(file);
    if (forecast.problem.empty()) {
        forecast.finished = rules_.resume && record_ != nullptr &&
                            record_->finished(file.input.path, file.outputs.raw).has_value();
        forecast.size = forecast.finished ? 0 : std::filesystem::file_size(file.input.path);
    }
    return forecast;
}

std::string Forecaster::problem_of(const PlannedFile& file) const {
    if (!file.input.problem.empty()) {
        return file.input.problem;
    }
    try {
        if (!is_there(file.input.path)) {
            return "no such file";
        }
        const platform::SourceFile source(file.input.path);
    } catch (const std::system_error& e) {
        return MachineFailure("cannot be read", e.code()).what();
    }
    const DeliveryRules rules{selection_.inputs, rules_.force, record_, rules_.resume};
    return Delivery(file, rules).refuse_raw().value_or("");
}

} // namespace plate_mend::host
