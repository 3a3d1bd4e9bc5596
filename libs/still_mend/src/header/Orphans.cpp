#include "header/Orphans.h"

#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr std::size_t kLeastLength = 256;
constexpr unsigned kLeastRestarts = 4; // In sequence. By chance: once in 2 * 10^15 places of noise.

/// What is between the covered ranges.
std::vector<Range> gaps(Bytes file, std::vector<Range> covered) {
    std::sort(covered.begin(), covered.end(),
              [](const Range& a, const Range& b) { return a.first < b.first; });
    std::vector<Range> free;
    std::size_t offset = 0;
    for (const auto& range : covered) {
        if (range.first > offset) {
            free.push_back({offset, range.first});
        }
        offset = std::max(offset, range.last);
    }
    if (offset < file.size()) {
        free.push_back({offset, file.size()});
    }
    return free;
}

/// The part of a range that is a scan, judging by its consecutive restart markers: from the first of them to
/// the next EOI. Empty if there is no such part.
Range restart_part(Bytes file, const Range& range) {
    std::size_t first = range.first;
    unsigned in_sequence = 0;
    int last_number = -1;
    std::size_t offset = range.first;
    while ((offset = next_marker(file, offset, range.last)) < range.last) {
        const unsigned char code = file[offset + 1];
        if (marker::is_restart(code)) {
            const int number = code - marker::kRst0;
            if (last_number < 0 || number != (last_number + 1) % 8) {
                if (in_sequence < kLeastRestarts) {
                    first = offset;
                    in_sequence = 0;
                }
            }
            ++in_sequence;
            last_number = number;
        } else if (code == marker::kEoi && in_sequence >= kLeastRestarts) {
            return {first, offset + 2};
        }
        offset += 2;
    }
    return in_sequence >= kLeastRestarts ? Range{first, range.last} : Range{};
}

Hypothesis with_header_of(const PictureCandidate& sibling, const Range& part) {
    Hypothesis hypothesis{sibling};
    hypothesis.from_start = false;
    hypothesis.tables_borrowed = true;
    hypothesis.frame_borrowed = true;
    PictureCandidate& candidate = hypothesis.candidate;
    candidate.offset = part.first;
    candidate.entropy = part.first;
    candidate.limit = part.last;
    candidate.has_soi = false;
    candidate.nested = false;
    candidate.damaged_header = true;
    candidate.applications.clear();
    candidate.tables.restart_interval = 0; // To be inferred from the markers.
    return hypothesis;
}

} // namespace

std::vector<Hypothesis> find_orphans(Bytes file, std::vector<Range> covered,
                                     const std::vector<PictureCandidate>& siblings) {
    std::vector<Range> parts;
    if (siblings.empty()) {
        return {};
    }
    for (const auto& range : gaps(file, std::move(covered))) {
        if (const Range part = restart_part(file, range); part.size() >= kLeastLength) {
            parts.push_back(part);
        }
    }
    std::stable_sort(parts.begin(), parts.end(),
                     [](const Range& a, const Range& b) { return a.size() > b.size(); });
    if (parts.size() > kMaxOrphans) {
        parts.resize(kMaxOrphans);
    }
    std::vector<Hypothesis> hypotheses;
    for (const auto& part : parts) {
        for (const auto& sibling : siblings) {
            if (!sibling.frame->progressive()) {
                add_with_sizes(file, hypotheses, with_header_of(sibling, part));
            }
        }
    }
    return hypotheses;
}

} // namespace still_mend
