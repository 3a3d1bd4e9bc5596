#include "progressive/ScanLayout.h"

#include "jpeg/Markers.h"
#include "jpeg/ReadingWork.h"

#include <algorithm>
#include <map>

namespace still_mend {

namespace {

constexpr unsigned kVoters = 32;  // Segments that the interval is inferred from.
constexpr unsigned kSamples = 64; // Segments of which half must close.
constexpr unsigned kLeastSamples = 4;

} // namespace

ScanLayout::ScanLayout(Bytes file, const Frame& frame, const ScanSource& source)
    : file_(file), source_(source), grid_(frame, source.scan), units_(grid_.units()), interval_(units_) {}

bool ScanLayout::begins_with_restarts() const {
    const std::size_t first = next_marker(file_, source_.offset, source_.limit);
    return first < source_.limit && marker::is_restart(file_[first + 1]);
}

std::size_t ScanLayout::units_until_close(BlockDecoder& decoder, const EntropySegment& segment,
                                          std::size_t least, std::size_t most) const {
    BitReader reader = reader_of(segment);
    ReadingWork work(reader);
    decoder.restart();
    const auto skip = [&](std::size_t channel, std::size_t, std::size_t, std::size_t) {
        Block nothing{};
        return decoder.decode(reader, channel, nothing);
    };
    for (std::size_t count = 1; count <= most && grid_.visit(count - 1, skip); ++count) {
        work.count_unit();
        if (count >= least && decoder.at_rest() && BitReader(reader).closes()) {
            return count;
        }
    }
    return 0;
}

std::size_t ScanLayout::infer_interval(BlockDecoder& decoder) const {
    std::map<std::size_t, unsigned> votes;
    EntropySegmentWalk walk = segments();
    for (unsigned tried = 0; tried < kVoters; ++tried) {
        const auto segment = walk.next();
        if (!segment || segment->end >= source_.limit) {
            break;
        }
        ++votes[units_until_close(decoder, *segment, 1, units_)];
    }
    votes.erase(0);
    const auto best = std::max_element(votes.begin(), votes.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return best == votes.end() ? 0 : best->first;
}

bool ScanLayout::mostly_closes(BlockDecoder& decoder) const {
    unsigned tried = 0;
    unsigned closed = 0;
    EntropySegmentWalk walk = segments();
    for (auto segment = walk.next(); segment && segment->end < source_.limit && tried < kSamples;
         segment = walk.next()) {
        ++tried;
        closed += units_until_close(decoder, *segment, interval_, interval_) == interval_ ? 1U : 0U;
    }
    return tried < kLeastSamples || closed * 2 >= tried;
}

} // namespace still_mend
