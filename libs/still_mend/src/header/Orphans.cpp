#include "header/Orphans.h"

#include "Work.h"
#include "header/FrameInference.h"
#include "header/StandardTables.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <array>
#include <utility>

namespace still_mend {

namespace {

constexpr std::size_t kLeastLength = 256;
constexpr std::size_t kLeastPlain = 4096; // Without restarts. Of noise, one stretch in 10^7 is as long.
constexpr std::size_t kMostEqual = 24;    // Bytes in a row, of entropy-coded data.
constexpr std::size_t kMostForSampling = std::size_t{1} << 17U; // Bytes; more than a thousand MCUs.
constexpr std::size_t kLeastStandard =
    256;                               // MCUs in a row. With wrong tables, runs break off after 20 to 190.
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

/// The part of a range that is a scan without restarts: from the last byte before EOI that cannot be
/// entropy-coded up to EOI. Of several, the longest. Empty if it is short.
Range plain_part(Bytes file, const Range& range) {
    Range longest;
    std::size_t first = range.first;
    std::size_t equal = 0; // Bytes so far that are the same.
    for (std::size_t offset = range.first; offset < range.last; ++offset) {
        const unsigned char byte = file[offset];
        equal = offset > range.first && byte == file[offset - 1] ? equal + 1 : 0;
        if (equal >= kMostEqual) {
            first = offset + 1;
        }
        if (byte != 0xFF || offset + 1 >= range.last || file[offset + 1] == 0 || file[offset + 1] == 0xFF) {
            continue;
        }
        if (file[offset + 1] == marker::kEoi && offset + 2 - first > longest.size()) {
            longest = {first, offset + 2};
        }
        first = offset + 1;
    }
    Work::add(range.size());
    return longest.size() >= kLeastPlain ? longest : Range{};
}

Hypothesis with_header_of(const PictureCandidate& sibling, const Range& part) {
    Hypothesis hypothesis{sibling};
    hypothesis.from_start = false;
    hypothesis.tables_borrowed = true;
    hypothesis.frame_borrowed = true;
    hypothesis.from_sample = sibling.of_sample;
    hypothesis.quant_guessed = sibling.of_sample;
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

/// The largest parts of what no candidate accounts for that may be scans.
std::vector<Range> find_parts(Bytes file, std::vector<Range> covered) {
    std::vector<Range> parts;
    for (const auto& range : gaps(file, std::move(covered))) {
        if (const Range part = restart_part(file, range); part.size() >= kLeastLength) {
            parts.push_back(part);
        } else if (const Range plain = plain_part(file, range); plain.size() != 0) {
            parts.push_back(plain);
        }
    }
    std::stable_sort(parts.begin(), parts.end(),
                     [](const Range& a, const Range& b) { return a.size() > b.size(); });
    if (parts.size() > kMaxOrphans) {
        parts.resize(kMaxOrphans);
    }
    return parts;
}

/// A header without a size. The luminance component has these sampling factors; 0 for a grey picture.
PictureCandidate standard_header(unsigned h_samp, unsigned v_samp) {
    PictureCandidate header;
    header.tables = standard_tables();
    header.frame = Frame{marker::kSof0, 0, 0, {{1, std::max(h_samp, 1U), std::max(v_samp, 1U), 0}}};
    header.scan = Scan{{{0, 0, 0}}};
    if (h_samp != 0) {
        header.frame->components.push_back({2, 1, 1, 1});
        header.frame->components.push_back({3, 1, 1, 1});
        header.scan->components.push_back({1, 1, 1});
        header.scan->components.push_back({2, 1, 1});
    }
    return header;
}

struct Sampling {
    unsigned horizontal = 0; ///< Factors of the luminance component; 0 for a grey picture.
    unsigned vertical = 0;
};

std::optional<InferredFrame> infer_standard_frame(Bytes file, const Range& part, const Sampling& sampling,
                                                  Hypothesis& hypothesis) {
    hypothesis = with_header_of(standard_header(sampling.horizontal, sampling.vertical), part);
    hypothesis.tables_standard = true;
    hypothesis.quant_guessed = true;
    const auto inferred = infer_frame(file, hypothesis);
    const bool decodes = inferred && inferred->mcus >= kLeastStandard && inferred->bytes >= part.size() / 2;
    return decodes ? inferred : std::nullopt;
}

/// Wrong samplings and tables break off every few dozen MCUs, except for those with as many blocks, in which
/// rows do not fit one another as well.
std::optional<Sampling> likeliest_sampling(Bytes file, const Range& part) {
    static constexpr std::array<Sampling, 5> kSamplings{{{2, 2}, {2, 1}, {1, 1}, {1, 2}, {0, 0}}};
    constexpr double kAsMany = 0.9;
    std::optional<Sampling> best;
    double pixels = 0;
    double step = 0;
    Hypothesis hypothesis;
    for (const Sampling& sampling : kSamplings) {
        const auto inferred = infer_standard_frame(file, part, sampling, hypothesis);
        if (!inferred) {
            continue;
        }
        const auto found = static_cast<double>(inferred->mcus * inferred->frame.mcu_area());
        if (!best || found * kAsMany > pixels || (found > pixels * kAsMany && inferred->step < step)) {
            best = sampling;
            pixels = found;
            step = inferred->step;
        }
    }
    return best;
}

/// The sampling is that of the part's end, so that most noise is read no further.
std::optional<Hypothesis> with_standard_header(Bytes file, const Range& part) {
    const Range end{part.last - std::min(part.size(), kMostForSampling), part.last};
    const auto sampling = likeliest_sampling(file, end);
    if (!sampling) {
        return std::nullopt;
    }
    Hypothesis hypothesis;
    const auto inferred = infer_standard_frame(file, part, *sampling, hypothesis);
    if (!inferred) {
        return std::nullopt;
    }
    hypothesis.candidate.frame = inferred->frame;
    return hypothesis;
}

} // namespace

std::vector<Hypothesis> find_orphans(Bytes file, std::vector<Range> covered,
                                     const std::vector<PictureCandidate>& siblings) {
    std::vector<Hypothesis> hypotheses;
    if (siblings.empty()) {
        return hypotheses;
    }
    for (const auto& part : find_parts(file, std::move(covered))) {
        for (const auto& sibling : siblings) {
            if (!sibling.frame->progressive()) {
                add_with_sizes(file, hypotheses, with_header_of(sibling, part));
            }
        }
    }
    return hypotheses;
}

std::vector<Hypothesis> find_standard_orphans(Bytes file, std::vector<Range> covered) {
    std::vector<Hypothesis> hypotheses;
    for (const auto& part : find_parts(file, std::move(covered))) {
        if (auto hypothesis = with_standard_header(file, part)) {
            hypotheses.push_back(std::move(*hypothesis));
        }
    }
    return hypotheses;
}

} // namespace still_mend
