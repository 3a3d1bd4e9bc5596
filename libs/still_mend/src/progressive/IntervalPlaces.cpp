#include "progressive/IntervalPlaces.h"

#include "progressive/IntervalFit.h"
#include "progressive/IntervalPath.h"

#include <cmath>

namespace still_mend {

namespace {

/// How many intervals are lost up to a segment, in eights, in each state: all numbers of them up to the most,
/// or only none and the most if that is too much to examine.
std::vector<std::size_t> losses_up_to(std::size_t eights, std::size_t segments) {
    constexpr std::size_t kMostFits = 1U << 20U;
    if (eights >= PathInterval::kMostStates || segments * (eights + 1) > kMostFits) {
        return {0, eights};
    }
    std::vector<std::size_t> losses;
    for (std::size_t lost = 0; lost <= eights; ++lost) {
        losses.push_back(lost);
    }
    return losses;
}

/// The mean size of the intervals that are whole.
class MeanSize {
  public:
    void add(const EntropySegment& segment) {
        bytes_ += segment.end + 2 - segment.begin;
        ++count_;
    }

    /// How many more intervals than these this number of bytes would hold, in eights.
    [[nodiscard]] std::size_t eights_besides(std::size_t bytes, std::size_t intervals) const {
        if (count_ == 0) {
            return 0;
        }
        const double mean = static_cast<double>(bytes_) / static_cast<double>(count_);
        const double besides = static_cast<double>(bytes) / mean - static_cast<double>(intervals);
        return besides > 4 ? static_cast<std::size_t>(std::ceil((besides - 4) / 8)) : 0;
    }

  private:
    std::size_t bytes_ = 0;
    std::size_t count_ = 0;
};

/// Where the intervals of a scan begin that has all of them; empty for one with more.
std::vector<BitReader> starts_of(const PictureInProgress& picture, const ScanSource& source,
                                 std::size_t intervals) {
    std::vector<BitReader> starts;
    EntropySegmentWalk walk(picture.file, source.offset, source.limit, true);
    while (const auto segment = walk.next()) {
        if (starts.size() == intervals) {
            return {};
        }
        starts.emplace_back(picture.file.first(source.limit), segment->begin);
    }
    return starts;
}

} // namespace

std::vector<IntervalPlace> places_by_number(const ScanLayout& layout) {
    std::vector<IntervalPlace> places;
    EntropySegmentWalk walk = layout.segments();
    std::size_t expected = 0;
    while (expected < layout.intervals()) {
        const auto segment = walk.next();
        if (!segment) {
            break;
        }
        const auto phase = static_cast<std::size_t>(segment->restart + 1) % 8;
        const std::size_t place = segment->restart < 0 ? 0 : expected + (phase + 8 - expected % 8) % 8;
        places.push_back({static_cast<std::uint32_t>(place), true});
        expected = place + 1;
    }
    return places;
}

std::size_t hidden_eights(const ScanLayout& layout, const std::vector<IntervalPlace>& places,
                          std::size_t file_end) {
    if (places.empty() || layout.source().limit == file_end ||
        places.back().interval + 1 >= layout.intervals()) {
        return 0;
    }
    const std::size_t lost = layout.intervals() - places.back().interval - 1;
    return lost % 8 == 0 ? lost / 8 : 0;
}

void place_by_fit(const PictureInProgress& picture, const ScanLayout& layout, BlockDecoder& decoder,
                  std::size_t eights, const ScanSource* refining, std::vector<IntervalPlace>& places) {
    const ScanSource& source = layout.source();
    const auto losses = losses_up_to(eights, places.size());
    std::vector<std::size_t> shifts;
    shifts.reserve(losses.size());
    for (const std::size_t lost : losses) {
        shifts.push_back(lost * 8 * layout.interval());
    }
    IntervalFit fit(picture.frame, source.scan, source.tables, picture.store, picture.progress, shifts);
    if (refining != nullptr) {
        fit.check_with({refining->scan, refining->tables, starts_of(picture, *refining, layout.intervals())});
    }
    std::vector<PathInterval> path;
    MeanSize size;
    EntropySegmentWalk walk = layout.segments();
    std::size_t begin = source.offset;
    for (std::size_t index = 0; index < places.size(); ++index) {
        const auto segment = walk.next();
        if (!segment) {
            break;
        }
        const std::size_t passed = index == 0 ? 1 : places[index].interval - places[index - 1].interval;
        PathInterval next;
        next.seamless = index == 0 || (passed == 1 && segment->adjacent && path.back().closing != 0);
        next.eights = size.eights_besides(segment->begin - begin, passed);
        const auto closing = fit.read(decoder, layout.reader_of(*segment),
                                      places[index].interval * layout.interval(), layout.interval());
        next.closing = closing.own;
        next.refining = closing.refining;
        if (next.closing != 0) {
            size.add(*segment);
        }
        begin = segment->begin;
        path.push_back(next);
    }
    const bool closed_end = !path.empty() && path.back().closing != 0;
    const auto steps = find_path(path, fit.fits(), losses, closed_end);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        places[index].interval += static_cast<std::uint32_t>(8 * losses[steps[index].state]);
        places[index].sure = steps[index].sure;
    }
}

} // namespace still_mend
