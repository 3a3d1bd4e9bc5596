#include "ways/StreamTails.h"

#include "locate/EntropyData.h"
#include "mend/StreamAreas.h"
#include "mend/StreamTail.h"

#include <algorithm>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::size_t kMostTails = 4; // The longest ones. Previews have one each.
constexpr std::uint64_t kLeastTail = 1U << 16U;

/// What may be the end of a stream: data that EOI follows, the longest first.
std::vector<ByteRange> find_tails(Bytes damaged) {
    std::vector<ByteRange> tails;
    for (const EntropyData& data : find_entropy_data(damaged, {0, damaged.size()})) {
        if (data.closed && data.range.length() >= kLeastTail) {
            tails.push_back(data.range);
        }
    }
    std::ranges::stable_sort(tails, std::ranges::greater(), &ByteRange::length);
    tails.resize(std::min(tails.size(), kMostTails));
    return tails;
}

FoundImage take(const ByteRange& tail, RepairedStream stream, const Image& raw, std::size_t count) {
    FoundImage image{Way::kTrialDecoding, {Extent{tail.begin, tail.length()}}, 0, {}};
    for (const ValueRun& run : stream.lost) {
        const auto areas = areas_of(raw, 0, count, run);
        image.lost.insert(image.lost.end(), areas.begin(), areas.end());
    }
    for (const ValueRun& run : stream.doubtful) {
        const auto areas = areas_of(raw, 0, count, run);
        image.doubtful.insert(image.doubtful.end(), areas.begin(), areas.end());
    }
    image.mended.push_back({0, std::move(stream.bytes)});
    return image;
}

} // namespace

std::optional<FoundImage> find_stream_tail(Bytes damaged, const Sample& sample, Filling filling) {
    const Image& raw = sample.description.raw;
    if (raw.frame.coding != Coding::kLosslessJpeg || raw.pieces.size() != 1) {
        return std::nullopt;
    }
    const auto head = lossless_jpeg::read_head(sample.file, raw.pieces.front().data.offset);
    const auto tails = find_tails(damaged);
    if (!head || !can_repair(*head) || tails.empty()) {
        return std::nullopt;
    }
    const StreamTraits traits = measure_stream(sample.file, *head, raw.slices, raw.frame.height);
    for (const ByteRange& tail : tails) {
        if (auto stream = mend_tail(damaged, tail, sample.file, *head, traits, filling)) {
            return take(tail, std::move(*stream), raw, StreamFrame(*head).count());
        }
    }
    return std::nullopt;
}

} // namespace raw_mend
