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

constexpr std::size_t kMostTooMany = 256; // MCUs that damage adds to a run.

/// How many MCUs a run may have. Where data are left up to EOI after the last MCU of the picture, damage
/// added some, and the end shows how many.
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
    const std::size_t most = 2 * data.total + 4096;
    EntropySegmentWalk segments(data.file, data.first, data.limit, data.from_start);
    Mcu mcu;
    while (const auto segment = segments.next()) {
        if (survey.traces.size() > most || survey.runs.size() > most_runs(data)) {
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
                // The last interval may be shorter, and then ends here.
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

Survey survey_plain(const ScanData& data, const McuDecoder& decoder, McuTraces traces) {
    Survey survey{std::move(traces), {}, data.first};
    const std::size_t most = 2 * data.total + 4096;
    const Bytes bytes = data.file.first(data.limit);
    SyncSearch search(decoder, survey.traces);
    BitReader reader(bytes, data.first);
    bool first = data.from_start;
    std::size_t dropped = 0; // Runs since the last that was kept.
    Mcu mcu;
    while (survey.traces.size() < most && survey.runs.size() < most_runs(data)) {
        Run run;
        run.start = reader;
        run.dc_known = first;
        run.trace = survey.traces.size();
        run.begin = reader.offset();
        DcState dc;
        dc.known = first;
        BitReader before = reader;
        bool failed = false;
        std::size_t most_here = data.total;
        while (run.count < most_here) {
            before = reader;
            if (!decoder.decode(reader, dc, mcu)) {
                failed = true;
                break;
            }
            survey.traces.append(mcu);
            if (++run.count == data.total) {
                most_here = most_mcus(data, reader);
            }
            if (first && run.count > 1) {
                search.add_usual_step(
                    survey.traces.step_right(survey.traces.size() - 2, survey.traces.size() - 1));
            }
        }
        const BitReader after = reader;
        if (!failed) {
            before = reader;
        }
        run.end = before.offset();
        run.closes = before.closes();
        const std::size_t stop = before.stop();
        run.at_eoi = run.closes && stop + 1 < data.limit && data.file[stop + 1] == marker::kEoi;
        run.cut = failed && reader.overrun() && stop + 1 >= data.limit;
        survey.end = run.end;
        const bool done =
            (run.at_eoi && (first || run.count >= kMinRun)) || (!failed && run.count >= data.total);
        if (first || run.count >= kMinRun) {
            survey.runs.push_back(run);
            dropped = 0;
        } else {
            survey.traces.truncate(run.trace);
            ++dropped;
        }
        first = false;
        if (done) {
            survey.end = run.at_eoi ? stop + 2 : run.end;
            break;
        }
        if (const auto start = search.find(before); start && start->offset() >= run.begin) {
            reader = *start;
            continue;
        }
        reader = after;
        if (reader.overrun()) { // At a marker within the data, or at their end.
            if (reader.stop() + 2 >= data.limit) {
                break;
            }
            reader = BitReader(bytes, reader.stop() + (data.file[reader.stop() + 1] == 0xFF ? 1 : 2));
        } else {
            // What is no code was not consumed. Far within noise the steps grow.
            static_cast<void>(
                reader.get(static_cast<unsigned>(std::min<std::size_t>(1 + dropped / 4096, 16))));
        }
    }
    return survey;
}

unsigned infer_interval(const ScanData& data, const McuDecoder& decoder) {
    constexpr unsigned kVoters = 64;
    constexpr std::size_t kMost = 65535;
    EntropySegmentWalk segments(data.file, data.first, data.limit, data.from_start);
    std::map<unsigned, unsigned> votes;
    Mcu mcu;
    for (unsigned count = 0; count < kVoters; ++count) {
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
    return best == votes.end() ? 0 : best->first;
}

} // namespace still_mend
