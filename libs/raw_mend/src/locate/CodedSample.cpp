#include "locate/CodedSample.h"

#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <numeric>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostAlignment = 65536;
constexpr std::uint64_t kCluster = 512; // The smallest unit that files are truncated to.

std::uint64_t align_up(std::uint64_t number, std::uint64_t alignment) {
    return (number + alignment - 1) / alignment * alignment;
}

bool is_alignment(const std::vector<ByteRange>& streams, std::uint64_t alignment) {
    for (std::size_t nth = 1; nth < streams.size(); ++nth) {
        const ByteRange& before = streams[nth - 1];
        if (streams[nth].begin - before.begin != align_up(before.length(), alignment)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool Spacing::allows(const ByteRange& stream, std::uint64_t next) const {
    if (next < stream.end) {
        return false;
    }
    if (alignment != 0) {
        return next - stream.begin == align_up(stream.length(), alignment);
    }
    return next - stream.end >= least && next - stream.end <= most;
}

bool has_eoi_before(Bytes bytes, std::uint64_t offset, std::uint64_t padding) {
    for (std::uint64_t end = offset; end >= 2 && offset - end <= padding; --end) {
        const auto at = static_cast<std::size_t>(end);
        if (bytes[at - 2] == 0xFF && bytes[at - 1] == 0xD9) {
            return true;
        }
    }
    return false;
}

std::optional<CodedSample> CodedSample::read(Bytes sample, std::span<const ByteRange> pieces) {
    CodedSample result;
    if (pieces.empty() || !result.read_streams(sample, pieces)) {
        return std::nullopt;
    }
    result.after_last_ = sample.size() - result.streams_.back().end;
    result.read_spacing();
    result.eoi_before_first_ =
        has_eoi_before(sample, result.streams_.front().begin, result.spacing_.most_padding());
    return result;
}

bool CodedSample::read_streams(Bytes sample, std::span<const ByteRange> pieces) {
    pieces_.resize(pieces.size());
    std::iota(pieces_.begin(), pieces_.end(), std::size_t{0});
    std::sort(pieces_.begin(), pieces_.end(),
              [&](std::size_t one, std::size_t other) { return pieces[one].begin < pieces[other].begin; });
    std::vector<HeadStructure> structures;
    std::vector<ByteRange> heads;
    std::uint64_t previous_end = 0;
    for (const std::size_t piece : pieces_) {
        const ByteRange& range = pieces[piece];
        if (range.begin < previous_end || range.end < range.begin || range.end > sample.size()) {
            return false;
        }
        const Bytes bytes = sample.first(static_cast<std::size_t>(range.end));
        const auto head = lossless_jpeg::read_head(bytes, range.begin);
        const auto progress = head ? lossless_jpeg::check(bytes, *head) : lossless_jpeg::Progress{};
        if (!head || !progress.is_complete()) {
            return false;
        }
        previous_end = progress.end;
        streams_.push_back({range.begin, progress.end});
        heads.push_back({head->begin, head->end});
        structures.emplace_back(*head);
        shortest_possible_ = std::min(shortest_possible_, head->end - head->begin + progress.samples / 8);
    }
    number_structures(structures);
    read_exact_head(sample, heads);
    return true;
}

void CodedSample::number_structures(const std::vector<HeadStructure>& structures) {
    structures_ = structures;
    std::sort(structures_.begin(), structures_.end());
    structures_.erase(std::unique(structures_.begin(), structures_.end()), structures_.end());
    for (const HeadStructure& structure : structures) {
        const auto found = std::lower_bound(structures_.begin(), structures_.end(), structure);
        structure_at_.push_back(static_cast<std::size_t>(found - structures_.begin()));
    }
}

void CodedSample::read_exact_head(Bytes sample, const std::vector<ByteRange>& heads) {
    const auto bytes_of = [&](const ByteRange& head) {
        return sample.subspan(static_cast<std::size_t>(head.begin), static_cast<std::size_t>(head.length()));
    };
    const Bytes first = bytes_of(heads.front());
    const bool same = std::all_of(heads.begin(), heads.end(), [&](const ByteRange& head) {
        return std::ranges::equal(bytes_of(head), first);
    });
    if (same) {
        exact_head_.assign(first.begin(), first.end());
    }
}

void CodedSample::read_spacing() {
    shortest_ = streams_.front().length();
    std::uint64_t least = kMostAlignment;
    std::uint64_t most = 0;
    std::uint64_t sum = 0;
    for (std::size_t nth = 0; nth < streams_.size(); ++nth) {
        shortest_ = std::min(shortest_, streams_[nth].length());
        sum += streams_[nth].length();
        if (nth != 0) {
            least = std::min(least, streams_[nth].begin - streams_[nth - 1].end);
            most = std::max(most, streams_[nth].begin - streams_[nth - 1].end);
        }
    }
    mean_ = sum / streams_.size();
    if (streams_.size() == 1) {
        return;
    }
    for (std::uint64_t alignment = 1; alignment <= kMostAlignment; alignment *= 2) {
        if (is_alignment(streams_, alignment)) {
            spacing_.alignment = alignment;
            return;
        }
    }
    spacing_.least = least;
    spacing_.most = std::min(most, shortest_ - 1); // So that no stream has room in between.
}

std::optional<std::size_t> CodedSample::find_structure(const lossless_jpeg::Head& head) const {
    const HeadStructure structure(head);
    const auto found = std::lower_bound(structures_.begin(), structures_.end(), structure);
    if (found == structures_.end() || *found != structure) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - structures_.begin());
}

bool CodedSample::ends_alike(std::uint64_t bytes_after_last) const {
    if (spacing_.alignment >= kCluster) {
        return false;
    }
    const std::uint64_t padding = spacing_.most_padding();
    return bytes_after_last == after_last_ || (bytes_after_last <= padding && after_last_ <= padding);
}

bool CodedSample::has_exact_head(Bytes head) const {
    return !exact_head_.empty() && std::ranges::equal(head, exact_head_);
}

} // namespace raw_mend
