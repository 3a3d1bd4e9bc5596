#include "sequential/Survey.h"

#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"
#include "sequential/SyncSearch.h"

#include <algorithm>
#include <map>

namespace still_mend {

namespace {

/// Runs that one picture can have, and many more.
std::size_t most_runs(const ScanData& data) {
    const std::size_t interval = std::max(data.interval, 1U);
    return 2 * (data.total / interval) + 4096;
}

/// MCUs that a picture can have with some duplicates, and many more than damage makes of it.
std::size_t most_traces(const ScanData& data) {
    return 2 * data.total + 4096;
}

constexpr std::size_t kMostTooMany = 256;    // MCUs that damage adds to a run.
constexpr std::size_t kInStep = 256;         // MCUs after which a run that began anywhere is in step.
constexpr std::size_t kDroppedPerBit = 4096; // Runs of noise after which one more bit is skipped at a time.

/// How many MCUs a run may have. If data remain before EOI after the last MCU of the picture, damage added
/// some MCUs, and the end shows how many.
std::size_t most_mcus(const ScanData& data, const BitReader& after_last) {
    BitReader rest = after_last;
    if (rest.closes()) {
        return data.total;
    }
    const std::size_t next = next_marker(data.file, rest.offset(), data.limit);
    const bool ends_later = next < data.limit && data.file[next + 1] == marker::kEoi;
    return data.total + (ends_later ? kMostTooMany : 0);
}

} // namespace

Survey survey_restarts(const ScanData& data, const McuDecoder& decoder, McuTraces traces) {
    Survey survey{std::move(traces), {}, data.first};
    const std::size_t last_count = (data.total - 1) % data.interval + 1; // MCUs of the last interval.
    EntropySegmentWalk segments(data.file, data.first, data.limit, data.from_start);
    Mcu mcu;
    while (const auto segment = segments.next()) {
        if (survey.traces.size() > most_traces(data) || survey.runs.size() > most_runs(data)) {
            break;
        }
        Run run;
        run.start = BitReader(data.file.first(data.limit), segment->begin);
        run.restart = segment->restart;
        run.adjacent = segment->adjacent;
        run.trace = survey.traces.size();
        run.begin = segment->begin;
        run.end = segment->end;
        BitReader reader = run.start;
        DcState dc;
        while (run.count < data.interval) {
            BitReader before = reader;
            if (!decoder.decode(reader, dc, mcu)) {
                // The last interval may be shorter, and then it ends here.
                run.closes = run.count == last_count && segment->at_eoi && before.closes();
                break;
            }
            survey.traces.append(mcu);
            ++run.count;
        }
        run.closes = run.closes || (run.count == data.interval && reader.closes());
        run.at_eoi = run.closes && segment->at_eoi;
        run.cut = run.count < data.interval && reader.overrun() && segment->end == data.limit;
        survey.runs.push_back(run);
        survey.end = segment->end;
        if (run.at_eoi) {
            survey.end = segment->end + 2;
            break;
        }
    }
    return survey;
}

namespace {

/// Reads a scan without restarts, run by run.
class PlainSurvey {
  public:
    PlainSurvey(const ScanData& data, const McuDecoder& decoder, McuTraces traces)
        : data_(data), decoder_(decoder),
          bytes_(data.file.first(data.limit)), survey_{std::move(traces), {}, data.first},
          search_(decoder, survey_.traces), reader_(bytes_, data.first), first_(data.from_start) {}

    Survey read() {
        while (survey_.traces.size() < most_traces(data_) && survey_.runs.size() < most_runs(data_)) {
            const RunEnd end = read_run();
            keep_or_drop();
            first_ = false;
            if (end.last_of_scan) {
                survey_.end = run_.at_eoi ? skip_fill(data_.file, end.at.stop(), data_.limit) + 2 : run_.end;
                break;
            }
            if (!go_on_after(end)) {
                break;
            }
        }
        return std::move(survey_);
    }

  private:
    struct RunEnd {
        BitReader at; ///< After the last MCU of the run.
        bool last_of_scan = false;
    };

    /// Decodes MCUs up to something that is not one.
    RunEnd read_run() {
        run_ = {};
        run_.start = reader_;
        run_.dc_known = first_;
        run_.trace = survey_.traces.size();
        run_.begin = reader_.offset();
        DcState dc;
        dc.known = first_;
        Mcu mcu;
        BitReader after_last = reader_;
        bool failed = false;
        std::size_t most_here = data_.total;
        while (run_.count < most_here) {
            if (!decoder_.decode(reader_, dc, mcu)) {
                failed = true;
                break;
            }
            after_last = reader_;
            survey_.traces.append(mcu);
            if (++run_.count == data_.total) {
                most_here = most_mcus(data_, reader_);
            }
            if (first_ ? run_.count > 1 : !data_.from_start && run_.count > kInStep) {
                search_.add_usual_step(
                    survey_.traces.step_right(survey_.traces.size() - 2, survey_.traces.size() - 1));
            }
        }
        run_.end = after_last.offset();
        run_.closes = after_last.closes();
        const std::size_t stop = skip_fill(data_.file, after_last.stop(), data_.limit);
        run_.at_eoi = run_.closes && stop + 1 < data_.limit && data_.file[stop + 1] == marker::kEoi;
        run_.cut = failed && reader_.overrun() && stop + 1 >= data_.limit;
        survey_.end = run_.end;
        const bool long_enough = first_ || run_.count >= kMinRun;
        return {after_last, (run_.at_eoi && long_enough) || (!failed && run_.count >= data_.total)};
    }

    void keep_or_drop() {
        if (first_ || run_.count >= kMinRun) {
            survey_.runs.push_back(run_);
            dropped_ = 0;
        } else {
            survey_.traces.truncate(run_.trace);
            ++dropped_;
        }
    }

    /// Moves the reader to where the next run may begin. False at the end of the data.
    bool go_on_after(const RunEnd& end) {
        if (const auto start = search_.find(end.at); start && start->offset() >= run_.begin) {
            reader_ = *start;
            return true;
        }
        if (reader_.overrun()) { // At a marker within the data, or at their end.
            const std::size_t stop = reader_.stop();
            if (stop + 2 >= data_.limit) {
                return false;
            }
            reader_ = BitReader(bytes_, stop + (data_.file[stop + 1] == 0xFF ? 1 : 2));
            return true;
        }
        // Bits that are not a code were not consumed. Far into noise the steps grow.
        const std::size_t bits = std::min<std::size_t>(1 + dropped_ / kDroppedPerBit, 16);
        static_cast<void>(reader_.get(static_cast<unsigned>(bits)));
        return true;
    }

    const ScanData& data_;
    const McuDecoder& decoder_;
    Bytes bytes_;
    Survey survey_;
    SyncSearch search_;
    BitReader reader_;
    Run run_;                 // The one that is read.
    bool first_;              // It begins at the scan's first byte.
    std::size_t dropped_ = 0; // Runs since the last that was kept.
};

} // namespace

Survey survey_plain(const ScanData& data, const McuDecoder& decoder, McuTraces traces) {
    return PlainSurvey(data, decoder, std::move(traces)).read();
}

unsigned infer_interval(const ScanData& data, const McuDecoder& decoder) {
    constexpr unsigned kVoters = 64;
    constexpr unsigned kMostVotersPerVote = 4; // Intervals of another length, or damaged.
    constexpr std::size_t kMost = 65535;
    EntropySegmentWalk segments(data.file, data.first, data.limit, data.from_start);
    std::map<unsigned, unsigned> votes;
    Mcu mcu;
    unsigned count = 0;
    for (; count < kVoters; ++count) {
        const auto segment = segments.next();
        if (!segment || segment->end == data.limit || segment->at_eoi) {
            break;
        }
        BitReader reader(data.file.first(data.limit), segment->begin);
        DcState dc;
        for (unsigned mcus = 1; mcus <= kMost && decoder.decode(reader, dc, mcu); ++mcus) {
            if (BitReader rest = reader; rest.closes()) {
                ++votes[mcus];
                break;
            }
        }
    }
    const auto best = std::max_element(votes.begin(), votes.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return best == votes.end() || best->second * kMostVotersPerVote < count ? 0 : best->first;
}

} // namespace still_mend
