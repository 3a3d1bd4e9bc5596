#include "mend/StreamWalk.h"

#include <lossless_jpeg/Markers.h>

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kMostWindow = 16;
constexpr double kBadBlock = 3.0;
constexpr std::size_t kBadShare = 4; // Three of so many blocks are bad after a break.

bool is_after(const lossless_jpeg::BitPlace& place, std::uint64_t byte) {
    return place.byte > byte || (place.byte == byte && place.bit > 0);
}

} // namespace

StreamWalk::StreamWalk(const lossless_jpeg::Head& head, std::size_t period, StreamBytes& bytes)
    : frame_(head), tables_(head), bytes_(&bytes), fit_(frame_, period),
      window_(std::min(kMostWindow, fit_.blocks_of_row() * period)), values_(frame_.count()),
      reader_(bytes.bytes(), tables_, {head.end - head.begin, 0}) {
    places_.push_back(reader_.place());
    is_bad_.push_back(0);
}

std::size_t StreamWalk::block_of(std::size_t value) const {
    return value / frame_.row * fit_.blocks_of_row() + value % frame_.row / StreamFit::kBlock;
}

std::size_t StreamWalk::begin_of(std::size_t block) const {
    const std::size_t row = block / fit_.blocks_of_row() * frame_.row;
    return row + std::min(block % fit_.blocks_of_row() * StreamFit::kBlock, frame_.row);
}

std::optional<StreamBreak> StreamWalk::run(std::size_t limit) {
    while (at_ < std::min(limit, values_.size())) {
        const std::size_t block = block_of(at_);
        const std::size_t begin = begin_of(block);
        const std::size_t end = begin_of(block + 1);
        const std::size_t decoded = decode_values(reader_, frame_, values_, at_, end);
        const auto outside = std::find_if(values_.begin() + static_cast<std::ptrdiff_t>(begin),
                                          values_.begin() + static_cast<std::ptrdiff_t>(decoded),
                                          [&](std::uint16_t value) { return value >= frame_.limit; });
        at_ = static_cast<std::size_t>(outside - values_.begin());
        if (at_ < end) {
            const auto broken = judge(block);
            return StreamBreak{broken ? broken->value : at_, true};
        }
        const bool is_bad = fit_.misfit(values_, begin, end) > kBadBlock;
        is_bad_[block] = is_bad ? 1 : 0;
        const std::size_t above = block - std::min(block, fit_.blocks_of_row());
        if (!is_bad || is_bad_[above] != 0) { // What is bad twice has changed for good.
            fit_.learn(values_, begin, end);
        }
        places_.resize(block + 1);
        places_.push_back(reader_.place());
        is_bad_.resize(block + 1);
        is_bad_.push_back(0);
        if (is_bad) {
            if (const auto broken = judge(block + 1)) {
                judged_ = block + 1;
                return broken;
            }
        }
    }
    return std::nullopt;
}

/// Whether the blocks before this one are those of a break: most of a window's are bad. At the end of what
/// can be decoded, fewer are enough.
std::optional<StreamBreak> StreamWalk::judge(std::size_t block) {
    const bool is_end = at_ < begin_of(block + 1) && at_ != begin_of(block);
    const std::size_t least = is_end ? 1 : window_;
    const std::size_t most = std::min(window_, block - std::min(judged_, block));
    std::size_t bad = 0;
    std::optional<StreamBreak> result;
    for (std::size_t count = 1; count <= most; ++count) {
        bad += is_bad_[block - count];
        if (is_bad_[block - count] != 0 && count >= least && kBadShare * bad >= 3 * count) {
            result = StreamBreak{begin_of(block - count), false};
        }
    }
    return result;
}

StreamWalk::State StreamWalk::save(std::size_t from) const {
    const std::size_t block = block_of(from);
    const std::size_t begin = begin_of(block);
    const auto tail = [](const auto& all, std::size_t first, std::size_t last) {
        return std::vector(all.begin() + static_cast<std::ptrdiff_t>(first),
                           all.begin() + static_cast<std::ptrdiff_t>(last));
    };
    return {begin,
            tail(values_, begin, at_),
            tail(places_, block, places_.size()),
            tail(is_bad_, block, is_bad_.size()),
            fit_,
            *bytes_,
            reader_,
            at_,
            judged_};
}

void StreamWalk::restore(const State& state) {
    const std::size_t block = block_of(state.from);
    std::ranges::copy(state.values, values_.begin() + static_cast<std::ptrdiff_t>(state.from));
    places_.resize(block);
    places_.insert(places_.end(), state.places.begin(), state.places.end());
    is_bad_.resize(block);
    is_bad_.insert(is_bad_.end(), state.is_bad.begin(), state.is_bad.end());
    fit_ = state.fit;
    *bytes_ = state.bytes;
    reader_ = state.reader;
    at_ = state.at;
    judged_ = state.judged;
}

void StreamWalk::resume(const StreamPlace& place) {
    at_ = place.value;
    const std::size_t block = block_of(at_);
    places_.resize(std::min(places_.size(), block + 1));
    is_bad_.resize(places_.size());
    judged_ = block;
    reader_ = lossless_jpeg::DifferenceReader(bytes_->bytes(), tables_, place.place);
}

std::optional<std::uint64_t> StreamWalk::find_end() {
    if (at_ < values_.size() || !reader_.closes()) {
        return std::nullopt;
    }
    const Bytes all = bytes_->bytes();
    auto at = static_cast<std::size_t>(reader_.stop());
    while (at + 2 < all.size() && all[at] == 0xFF && all[at + 1] == 0xFF) {
        ++at;
    }
    const bool is_eoi = at + 2 <= all.size() && all[at] == 0xFF && all[at + 1] == lossless_jpeg::kEoi;
    return is_eoi ? std::optional<std::uint64_t>(at + 2) : std::nullopt;
}

StreamPlace StreamWalk::place_before(std::uint64_t byte) const {
    const auto after = std::ranges::partition_point(
        places_, [&](const lossless_jpeg::BitPlace& place) { return !is_after(place, byte); });
    const auto block = static_cast<std::size_t>(std::max<std::ptrdiff_t>(after - places_.begin() - 1, 0));
    StreamPlace result{begin_of(block), places_[block]};
    lossless_jpeg::DifferenceReader reader(bytes_->bytes(), tables_, result.place);
    std::uint16_t difference = 0;
    for (std::size_t at = result.value; at < at_; ++at) {
        if (!reader.take(at % frame_.row % frame_.components, difference) || is_after(reader.place(), byte)) {
            break;
        }
        result = {at + 1, reader.place()};
    }
    return result;
}

StreamPlace StreamWalk::place_of(std::size_t value) const {
    const std::size_t block = std::min(block_of(value), places_.size() - 1);
    lossless_jpeg::DifferenceReader reader(bytes_->bytes(), tables_, places_[block]);
    std::uint16_t difference = 0;
    std::size_t at = begin_of(block);
    for (; at < value && reader.take(at % frame_.row % frame_.components, difference); ++at) {
    }
    return {at, reader.place()};
}

} // namespace raw_mend
