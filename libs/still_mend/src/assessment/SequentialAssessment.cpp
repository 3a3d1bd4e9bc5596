#include "assessment/SequentialAssessment.h"

#include "assessment/Noise.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"
#include "jpeg/McuDecoder.h"
#include "sequential/HeadlessPlacement.h"
#include "sequential/PlainPlacement.h"
#include "sequential/RestartPlacement.h"
#include "sequential/Survey.h"

#include <algorithm>

namespace still_mend {

namespace {

ScanData scan_data(Bytes file, const Hypothesis& hypothesis) {
    const PictureCandidate& candidate = hypothesis.candidate;
    return {file,
            candidate.entropy,
            candidate.limit,
            candidate.tables.restart_interval,
            candidate.frame->mcus(),
            hypothesis.from_start};
}

bool begins_with_restarts(const ScanData& data) {
    const std::size_t first = next_marker(data.file, data.first, data.limit);
    return first < data.limit && marker::is_restart(data.file[first + 1]);
}

class SequentialAssessment {
  public:
    SequentialAssessment(Bytes file, const Hypothesis& hypothesis)
        : decoder_(*hypothesis.candidate.frame, *hypothesis.candidate.scan, hypothesis.decoding_tables()),
          data_(scan_data(file, hypothesis)) {
        result_.hypothesis = hypothesis;
        result_.total = data_.total;
    }

    Assessment assess() {
        if (data_.interval == 0 && (!data_.from_start || begins_with_restarts(data_))) {
            infer(false);
        }
        place();
        if (data_.interval != 0 && !result_.interval_inferred && result_.own * 2 < result_.total) {
            infer(true);
        }
        return std::move(result_);
    }

  private:
    /// Uses the interval that the markers suggest. again: instead of one that did not work.
    void infer(bool again) {
        const unsigned interval = infer_interval(data_, decoder_);
        if (interval == 0 || interval == data_.interval || outlasts(interval)) {
            return;
        }
        const Assessment before = result_;
        const unsigned old = data_.interval;
        data_.interval = interval;
        if (!again) {
            result_.interval_inferred = true;
            return;
        }
        place();
        if (result_.own <= before.own) {
            result_ = before;
            data_.interval = old;
        } else {
            result_.interval_inferred = true;
            result_.hypothesis.candidate.tables.restart_interval = interval;
        }
    }

    /// Whether the scan begins with far more MCUs than an interval of this length and damage at its end
    /// explain: the markers that suggest it are foreign.
    [[nodiscard]] bool outlasts(unsigned interval) const {
        constexpr std::size_t kIntervals = 4;
        constexpr std::size_t kOfNoise = 256; // MCUs that noise may decode to.
        const std::size_t most = kIntervals * interval + kOfNoise;
        BitReader reader(data_.file.first(data_.limit), data_.first);
        DcState dc;
        Mcu mcu;
        std::size_t count = 0;
        while (data_.from_start && count < most && decoder_.decode(reader, dc, mcu)) {
            ++count;
        }
        return count == most;
    }

    void place() {
        const PictureCandidate& candidate = result_.hypothesis.candidate;
        const McuTraces empty(*candidate.frame, *candidate.scan, candidate.tables);
        const Survey survey = data_.interval == 0 ? survey_plain(data_, decoder_, empty)
                                                  : survey_restarts(data_, decoder_, empty);
        Canvas canvas(survey.traces, candidate.frame->mcus_wide(), data_.total);
        const auto placements = place(survey, canvas);
        result_.hypothesis.candidate.tables.restart_interval = data_.interval;
        take(survey, placements, canvas);
        if (result_.noise && result_.own > 0 && result_.guessed > 0) {
            take_sure(survey, placements);
        }
    }

    /// What is sure may be a picture although the rest of what was placed is noise.
    void take_sure(const Survey& survey, std::vector<Placement> placements) {
        std::erase_if(placements, [](const Placement& placement) { return !placement.sure; });
        Canvas canvas(survey.traces, result_.hypothesis.candidate.frame->mcus_wide(), data_.total);
        for (const auto& placement : placements) {
            canvas.put(placement.position, survey.runs[placement.run].trace + placement.skip, placement.count,
                       placement.level);
        }
        take(survey, placements, canvas);
    }

    void take(const Survey& survey, const std::vector<Placement>& placements, const Canvas& canvas) {
        count(placements);
        result_.runs.clear();
        for (const auto& placement : placements) {
            const Run& run = survey.runs[placement.run];
            result_.runs.push_back({run.start, run.dc_known, placement});
            result_.resynchronised =
                result_.resynchronised || !run.dc_known || (data_.interval == 0 && placement.skip > 0);
        }
        judge(survey, placements, canvas);
    }

    [[nodiscard]] std::vector<Placement> place(const Survey& survey, Canvas& canvas) const {
        if (data_.interval != 0) {
            return place_restarts(data_, survey, canvas);
        }
        return data_.from_start ? place_plain(data_, survey, canvas) : place_headless(data_, survey, canvas);
    }

    /// Where two placements have a place in common, the later one is shown.
    void count(const std::vector<Placement>& placements) {
        result_.own = 0;
        result_.guessed = 0;
        std::vector<bool> counted(data_.total, false);
        std::for_each(placements.rbegin(), placements.rend(), [&](const Placement& placement) {
            const std::size_t last = std::min(placement.position + placement.count, data_.total);
            for (std::size_t position = placement.position; position < last; ++position) {
                if (!counted[position]) {
                    counted[position] = true;
                    const bool certain = placement.sure && position - placement.position < placement.certain;
                    ++(certain ? result_.own : result_.guessed);
                }
            }
        });
    }

    void judge(const Survey& survey, const std::vector<Placement>& placements, const Canvas& canvas) {
        const std::size_t intervals = data_.interval == 0 ? 1 : (data_.total - 1) / data_.interval + 1;
        const bool in_order = data_.from_start && result_.own + result_.guessed == result_.total &&
                              placements.size() == intervals && survey.runs.size() >= intervals &&
                              ends_in_order(survey, placements);
        result_.eoi_found = !survey.runs.empty() && survey.runs.back().at_eoi;
        result_.end = survey.end;
        result_.whole = in_order;
        result_.first_bad = first_bad(survey, placements);
        if (in_order && !result_.eoi_found) {
            result_.end = end_of_last(placements.back(), survey);
            result_.first_bad = result_.end;
        }
        // Every bit to the last is in its place, which never happens in noise.
        result_.noise = !(in_order && survey.runs[placements.back().run].closes) && !decodes_to_end(survey) &&
                        !begins_with_own_tables(survey, placements) &&
                        (is_noise(canvas.roughness()) || hardly_closes(survey, placements));
    }

    /// Whether data without a beginning, and without restarts, decode in one run from there to EOI. Wrong
    /// tables break off every few dozen MCUs.
    [[nodiscard]] bool decodes_to_end(const Survey& survey) const {
        constexpr std::size_t kLeastRun = 256;
        if (data_.from_start || data_.interval != 0 || survey.runs.empty()) {
            return false;
        }
        const Run& run = survey.runs.back();
        return run.at_eoi && run.count >= kLeastRun &&
               run.end - run.begin >= (survey.end - data_.first) / 10 * 9;
    }

    /// Whether all that was placed is one long run from the first byte on, decoded with the picture's own
    /// tables: noise breaks off much sooner.
    [[nodiscard]] bool begins_with_own_tables(const Survey& survey,
                                              const std::vector<Placement>& placements) const {
        constexpr std::size_t kLeastRun = 512;
        const Hypothesis& hypothesis = result_.hypothesis;
        return data_.interval == 0 && data_.from_start && !hypothesis.tables_borrowed &&
               !hypothesis.tables_standard && placements.size() == 1 && placements[0].count >= kLeastRun &&
               survey.runs[placements[0].run].dc_known;
    }

    /// Whether most of what was placed comes from intervals that do not end where they must. Damage breaks
    /// some; wrong tables break all.
    [[nodiscard]] bool hardly_closes(const Survey& survey, const std::vector<Placement>& placements) const {
        std::size_t closing = 0;
        for (const auto& placement : placements) {
            closing += survey.runs[placement.run].closes ? placement.count : 0;
        }
        return data_.interval != 0 && placements.size() > 4 && closing * 4 < result_.own + result_.guessed;
    }

    /// Whether every run but perhaps the last ends at its marker, so that the data can be kept as they are.
    static bool ends_in_order(const Survey& survey, const std::vector<Placement>& placements) {
        for (std::size_t index = 0; index < placements.size(); ++index) {
            const bool last = index + 1 == placements.size();
            if (placements[index].run != index || placements[index].skip != 0 ||
                (!last && !survey.runs[index].closes)) {
                return false;
            }
        }
        return true;
    }

    /// One after the last byte that the last MCU uses.
    [[nodiscard]] std::size_t end_of_last(const Placement& placement, const Survey& survey) const {
        BitReader reader = survey.runs[placement.run].start;
        DcState dc;
        Mcu mcu;
        for (std::size_t count = 0; count < placement.count; ++count) {
            if (!decoder_.decode(reader, dc, mcu)) {
                break;
            }
        }
        return reader.offset();
    }

    [[nodiscard]] std::size_t first_bad(const Survey& survey,
                                        const std::vector<Placement>& placements) const {
        if (result_.hypothesis.candidate.damaged_header) {
            return result_.hypothesis.candidate.offset;
        }
        std::vector<std::size_t> kept(survey.runs.size(), 0);
        for (const auto& placement : placements) {
            if (placement.skip == 0) {
                kept[placement.run] = std::min(placement.count, placement.certain);
            }
        }
        for (std::size_t index = 0; index < survey.runs.size(); ++index) {
            const Run& run = survey.runs[index];
            if (kept[index] < run.count || !run.closes) {
                const double share =
                    run.count == 0 ? 0.0 : static_cast<double>(kept[index]) / static_cast<double>(run.count);
                return run.begin + static_cast<std::size_t>(static_cast<double>(run.end - run.begin) * share);
            }
        }
        return survey.end;
    }

    McuDecoder decoder_;
    ScanData data_;
    Assessment result_;
};

} // namespace

Assessment assess_sequential(Bytes file, const Hypothesis& hypothesis) {
    return SequentialAssessment(file, hypothesis).assess();
}

} // namespace still_mend
