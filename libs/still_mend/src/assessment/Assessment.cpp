#include "assessment/Assessment.h"

#include "assessment/IntactJpeg.h"
#include "assessment/LenientJpeg.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"
#include "progressive/MultiScan.h"
#include "sequential/PlainPlacement.h"
#include "sequential/RestartPlacement.h"
#include "sequential/Survey.h"

#include <algorithm>
#include <cstdlib>

namespace still_mend {

namespace {

// The measure for noise. Bits read with the wrong tables, or out of step, decode for a while into blocks that
// each look possible. What they lack is the link with the row above: the step across a border is then as
// large as between any two places of the picture. In photographs it is a third of that or less.
constexpr double kMostOfApart = 0.30;
constexpr double kSmoothStep = 12 * 16;
constexpr std::size_t kMinPairs = 12;

bool is_noise(const Canvas::Roughness& roughness) {
    if (roughness.pairs < kMinPairs) {
        return roughness.pairs_right >= kMinPairs && roughness.right > kSmoothStep;
    }
    return roughness.down > kSmoothStep && roughness.down > kMostOfApart * roughness.apart;
}

ScanData scan_data(Bytes file, const Hypothesis& hypothesis) {
    const PictureCandidate& candidate = hypothesis.candidate;
    return {file,
            candidate.entropy,
            candidate.limit,
            candidate.tables.restart_interval,
            candidate.frame->mcus(),
            hypothesis.from_start};
}

bool has_one_scan(const PictureCandidate& candidate) {
    return !candidate.frame->progressive() &&
           candidate.scan->components.size() == candidate.frame->components.size();
}

bool begins_with_restarts(const ScanData& data) {
    const std::size_t first = next_marker(data.file, data.first, data.limit);
    return first < data.limit && marker::is_restart(data.file[first + 1]);
}

/// A scan whose MCUs hold all components: baseline as every camera writes it.
class OneScan {
  public:
    OneScan(Bytes file, const Hypothesis& hypothesis)
        : decoder_(*hypothesis.candidate.frame, *hypothesis.candidate.scan, hypothesis.candidate.tables),
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
    /// Takes the interval that the markers tell; again: instead of one that leads nowhere.
    void infer(bool again) {
        const unsigned interval = infer_interval(data_, decoder_);
        if (interval == 0 || interval == data_.interval) {
            return;
        }
        const Assessment before = result_;
        const unsigned old = data_.interval;
        data_.interval = interval;
        if (!again) {
            result_.interval_inferred = true;
            return;
        }
        result_.runs.clear();
        place();
        if (result_.own <= before.own) {
            result_ = before;
            data_.interval = old;
        } else {
            result_.interval_inferred = true;
            result_.hypothesis.candidate.tables.restart_interval = interval;
        }
    }

    void place() {
        const PictureCandidate& candidate = result_.hypothesis.candidate;
        const McuTraces empty(*candidate.frame, *candidate.scan, candidate.tables);
        const Survey survey = data_.interval == 0 ? survey_plain(data_, decoder_, empty)
                                                  : survey_restarts(data_, decoder_, empty);
        Canvas canvas(survey.traces, candidate.frame->mcus_wide(), data_.total);
        const auto placements =
            data_.interval == 0 ? place_plain(data_, survey, canvas) : place_restarts(data_, survey, canvas);
        result_.hypothesis.candidate.tables.restart_interval = data_.interval;
        count(placements);
        for (const auto& placement : placements) {
            const Run& run = survey.runs[placement.run];
            result_.runs.push_back({run.start, run.dc_known, placement});
            result_.resynchronised =
                result_.resynchronised || !run.dc_known || (data_.interval == 0 && placement.skip > 0);
        }
        judge(survey, placements, canvas);
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
                    ++(placement.sure ? result_.own : result_.guessed);
                }
            }
        });
    }

    void judge(const Survey& survey, const std::vector<Placement>& placements, const Canvas& canvas) {
        const std::size_t intervals = data_.interval == 0 ? 1 : (data_.total - 1) / data_.interval + 1;
        const bool in_order = data_.from_start && result_.own == result_.total &&
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
        // Every bit in its place, to the last: no noise does that.
        result_.noise = !(in_order && survey.runs[placements.back().run].closes) &&
                        (is_noise(canvas.roughness()) || hardly_closes(survey, placements));
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

    /// One behind the last byte that the last MCU uses.
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
                kept[placement.run] = placement.count;
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

/// The roughness of what several scans gave.
Canvas::Roughness roughness_of(const PictureCandidate& candidate, const CoefficientStore& store,
                               const std::vector<bool>& present) {
    const Frame& frame = *candidate.frame;
    Scan interleaved;
    for (std::size_t index = 0; index < frame.components.size(); ++index) {
        interleaved.components.push_back({index, 0, 0});
    }
    McuTraces traces(frame, interleaved, candidate.tables);
    Canvas canvas(traces, frame.mcus_wide(), frame.mcus());
    for (std::size_t position = 0; position < frame.mcus(); ++position) {
        if (present[position]) {
            traces.append(store.mcu(position));
            canvas.put(position, traces.size() - 1, 1);
        }
    }
    return canvas.roughness();
}

Assessment assess_scans(Bytes file, const Hypothesis& hypothesis) {
    const PictureCandidate& candidate = hypothesis.candidate;
    CoefficientStore store(*candidate.frame);
    const auto scans = decode_scans(file, candidate, store);
    Assessment result;
    result.hypothesis = hypothesis;
    result.multi_scan = true;
    result.total = candidate.frame->mcus();
    for (std::size_t position = 0; position < result.total; ++position) {
        if (scans.present[position] && scans.guessed[position]) {
            ++result.guessed;
        } else if (scans.present[position]) {
            ++result.own;
            result.coarse += scans.coarse[position] ? 1U : 0U;
        }
    }
    result.whole = scans.whole;
    result.eoi_found = scans.eoi_found;
    result.end = scans.end;
    result.first_bad = candidate.damaged_header ? candidate.offset : scans.first_bad;
    result.noise = !scans.whole && is_noise(roughness_of(candidate, store, scans.present));
    return result;
}

/// Whether a block is what no picture of 8 bits can contain, or what zeroed bytes read as.
bool is_impossible(const Block& block, const QuantTable& quant) {
    unsigned minus_ones = 0;
    for (std::size_t k = 0; k < 64; ++k) {
        const int value = block[kNaturalOrder[k]];
        if (quant.values[k] != 0 && std::abs(value) > 1100 / quant.values[k] + 1) {
            return true;
        }
        minus_ones += k > 0 && value == -1 ? 1U : 0U;
    }
    return minus_ones == 63;
}

/// Whether what libjpeg read without a warning is no picture: more than a few of its blocks are impossible.
/// The first scan of a progressive one holds too little for that; it must not be rough, nor all alike.
bool is_no_picture(const PictureCandidate& candidate, const LenientJpeg& picture) {
    constexpr std::size_t kFew = 64; // One in so many.
    if (candidate.frame->progressive()) {
        std::vector<bool> smooth(candidate.frame->mcus(), false);
        std::fill_n(smooth.begin(), picture.smooth, true);
        if (is_noise(roughness_of(candidate, picture.store, smooth))) {
            return true;
        }
    }
    const Mcu first = picture.store.mcu(0);
    bool flat = candidate.frame->progressive();
    std::size_t blocks = 0;
    std::size_t impossible = 0;
    for (std::size_t position = 0; position < picture.smooth; ++position) {
        const Mcu mcu = picture.store.mcu(position);
        flat = flat && mcu == first;
        std::size_t block = 0;
        for (const auto& component : candidate.frame->components) {
            for (unsigned count = 0; count < component.h_samp * component.v_samp; ++count, ++blocks) {
                impossible += is_impossible(mcu[block++], *candidate.tables.quant[component.quant]) ? 1U : 0U;
            }
        }
    }
    return flat || impossible * kFew > blocks;
}

} // namespace

std::uint64_t Assessment::score() const {
    return static_cast<std::uint64_t>(own) * hypothesis.candidate.frame->mcu_area();
}

bool Assessment::deliverable() const {
    constexpr std::size_t kLeastShare = 50; // One MCU in fifty.
    const std::size_t shown = own + (multi_scan ? guessed : 0);
    return shown > 0 && shown >= total / kLeastShare && !noise;
}

Assessment assess(Bytes file, const Hypothesis& hypothesis) {
    return has_one_scan(hypothesis.candidate) ? OneScan(file, hypothesis).assess()
                                              : assess_scans(file, hypothesis);
}

std::optional<Assessment> assess_intact(Bytes file, const PictureCandidate& candidate) {
    auto picture = read_intact(file.subspan(candidate.offset));
    if (!picture) {
        return std::nullopt;
    }
    Assessment result;
    result.hypothesis.candidate = candidate;
    result.hypothesis.candidate.has_soi = true;
    result.hypothesis.candidate.damaged_header = false;
    result.total = picture->frame.mcus();
    result.hypothesis.candidate.frame = std::move(picture->frame);
    result.own = result.total;
    result.intact = true;
    result.whole = true;
    result.eoi_found = true;
    result.end = candidate.offset + picture->size;
    result.first_bad = result.end;
    return result;
}

std::optional<Assessment> assess_leniently(Bytes file, const PictureCandidate& candidate) {
    auto picture = read_leniently(file.subspan(candidate.offset));
    if (!picture) {
        return std::nullopt;
    }
    Assessment result;
    PictureCandidate& filled = result.hypothesis.candidate;
    filled = candidate;
    filled.tables = picture->tables;
    filled.frame = std::move(picture->frame);
    result.by_libjpeg = true;
    result.multi_scan = true;
    result.total = filled.frame->mcus();
    result.guessed = picture->smooth;
    result.eoi_found = picture->eoi_found;
    result.end = candidate.offset + picture->end;
    result.first_bad = candidate.offset + picture->first_bad;
    result.noise = !marker::is_arithmetic(filled.frame->code) && is_no_picture(filled, *picture);
    return result;
}

DecodedPicture decode_picture(Bytes file, const Assessment& assessment) {
    const PictureCandidate& candidate = assessment.hypothesis.candidate;
    if (assessment.by_libjpeg) {
        auto picture = read_leniently(file.subspan(candidate.offset));
        return {picture ? std::move(picture->store) : CoefficientStore(*candidate.frame),
                std::vector<bool>(assessment.total, true)};
    }
    DecodedPicture decoded{CoefficientStore(*candidate.frame), std::vector<bool>(assessment.total, false)};
    if (assessment.multi_scan) {
        decoded.present = decode_scans(file, candidate, decoded.store).present;
        return decoded;
    }
    const McuDecoder decoder(*candidate.frame, *candidate.scan, candidate.tables);
    for (const auto& run : assessment.runs) {
        const Placement& place = run.placement;
        BitReader reader = run.start;
        DcState dc;
        dc.known = run.dc_known;
        Mcu mcu;
        for (std::size_t index = 0; index < place.skip && decoder.decode(reader, dc, mcu); ++index) {
        }
        std::size_t position = place.position;
        const std::size_t last = std::min(position + place.count, assessment.total);
        for (; position < last && decoder.decode(reader, dc, mcu); ++position) {
            decoder.shift_dc(mcu, place.level);
            decoded.store.put_mcu(position, mcu);
            decoded.present[position] = true;
        }
        // Of the MCU in which the run breaks off some blocks may be good. They are shown, but not counted.
        if (position < assessment.total && !decoded.present[position] && !decoder.decode(reader, dc, mcu)) {
            decoder.shift_dc(mcu, place.level);
            decoded.store.put_mcu(position, mcu);
            decoded.present[position] = true;
        }
    }
    return decoded;
}

} // namespace still_mend
