#include "header/Hypotheses.h"

#include "header/FrameInference.h"
#include "header/StandardTables.h"
#include "jpeg/McuDecoder.h"

#include <algorithm>

namespace still_mend {

namespace {

bool has_quant_tables(const PictureCandidate& candidate) {
    return std::all_of(candidate.frame->components.begin(), candidate.frame->components.end(),
                       [&](const Component& each) { return candidate.tables.quant[each.quant].has_value(); });
}

/// Fills what is missing of one kind of table from another's. Returns whether anything was.
template <typename Array>
bool fill_missing(Array& tables, const Array& from) {
    bool filled = false;
    for (std::size_t number = 0; number < tables.size(); ++number) {
        if (!tables[number] && from[number]) {
            tables[number] = from[number];
            filled = true;
        }
    }
    return filled;
}

/// Reads SOS with a frame that was not known when the header was walked.
void read_first_scan(Bytes file, PictureCandidate& candidate) {
    if (const auto content = segment_content(file, *candidate.sos_offset)) {
        candidate.scan = read_scan(*content, *candidate.frame);
    }
}

void add_if_complete(Bytes file, std::vector<Hypothesis>& hypotheses, const Hypothesis& hypothesis) {
    if (hypothesis.candidate.scan && has_all_tables(hypothesis.candidate)) {
        add_with_sizes(file, hypotheses, hypothesis);
    }
}

} // namespace

void add_with_sizes(Bytes file, std::vector<Hypothesis>& hypotheses, const Hypothesis& hypothesis) {
    const PictureCandidate& candidate = hypothesis.candidate;
    if (hypothesis.frame_borrowed && !candidate.frame->progressive() &&
        candidate.scan->components.size() == candidate.frame->components.size()) {
        if (const auto inferred = infer_frame(file, hypothesis);
            inferred && inferred->frame != *candidate.frame) {
            hypotheses.push_back(hypothesis);
            hypotheses.back().candidate.frame = inferred->frame;
        }
    }
    hypotheses.push_back(hypothesis);
}

bool has_all_tables(const PictureCandidate& candidate) {
    if (!has_quant_tables(candidate)) {
        return false;
    }
    if (!candidate.frame->progressive()) {
        return McuDecoder::has_tables(*candidate.frame, *candidate.scan, candidate.tables);
    }
    return candidate.scan->ss != 0 || candidate.scan->ah != 0 ||
           std::all_of(candidate.scan->components.begin(), candidate.scan->components.end(),
                       [&](const ScanComponent& each) { return candidate.tables.dc[each.dc].has_value(); });
}

std::uint64_t claimed_pixels(const PictureCandidate& candidate) {
    const Frame* frame = candidate.frame ? &*candidate.frame : nullptr;
    return frame == nullptr ? 0 : std::uint64_t{frame->width} * frame->height;
}

std::vector<PictureCandidate> find_siblings(const std::vector<PictureCandidate>& candidates) {
    std::vector<PictureCandidate> siblings;
    for (const auto& candidate : candidates) {
        if (candidate.frame && candidate.scan && has_all_tables(candidate)) {
            siblings.push_back(candidate);
        }
    }
    std::stable_sort(siblings.begin(), siblings.end(),
                     [](const PictureCandidate& a, const PictureCandidate& b) {
                         return claimed_pixels(a) > claimed_pixels(b);
                     });
    const auto same = [](const PictureCandidate& a, const PictureCandidate& b) {
        return a.tables == b.tables && a.frame == b.frame;
    };
    siblings.erase(std::unique(siblings.begin(), siblings.end(), same), siblings.end());
    if (siblings.size() > kMaxSiblings) {
        siblings.resize(kMaxSiblings);
    }
    return siblings;
}

std::vector<PictureCandidate> find_donors(Bytes sample) {
    auto donors = find_siblings(find_candidates(sample, find_header_markers(sample)));
    for (PictureCandidate& donor : donors) {
        donor.of_sample = true;
        donor.applications.clear();
    }
    return donors;
}

std::vector<Hypothesis> complete_header(Bytes file, const PictureCandidate& candidate,
                                        const std::vector<PictureCandidate>& siblings) {
    std::vector<Hypothesis> hypotheses;
    if (!candidate.sos_offset || candidate.other_process) {
        return hypotheses;
    }
    Hypothesis own{candidate};
    if (candidate.frame && candidate.scan && has_all_tables(candidate)) {
        hypotheses.push_back(own);
        return hypotheses;
    }
    const Tables standard = standard_tables();
    for (const auto& sibling : siblings) {
        Hypothesis borrowed = own;
        PictureCandidate& filled = borrowed.candidate;
        if (!filled.frame) {
            filled.frame = sibling.frame;
            borrowed.frame_borrowed = true;
            read_first_scan(file, filled);
        }
        borrowed.from_sample = sibling.of_sample;
        borrowed.tables_borrowed = fill_missing(filled.tables.quant, sibling.tables.quant);
        borrowed.quant_guessed = borrowed.tables_borrowed; // A thumbnail often has others.
        Hypothesis with_standard = borrowed;
        const bool dc = fill_missing(filled.tables.dc, sibling.tables.dc);
        const bool ac = fill_missing(filled.tables.ac, sibling.tables.ac);
        borrowed.tables_borrowed = borrowed.tables_borrowed || dc || ac;
        add_if_complete(file, hypotheses, borrowed);
        if (dc || ac) {
            fill_missing(with_standard.candidate.tables.dc, standard.dc);
            fill_missing(with_standard.candidate.tables.ac, standard.ac);
            with_standard.tables_standard = true;
            add_if_complete(file, hypotheses, with_standard);
        }
    }
    if (candidate.frame && candidate.scan) {
        fill_missing(own.candidate.tables.dc, standard.dc);
        fill_missing(own.candidate.tables.ac, standard.ac);
        own.quant_guessed = fill_missing(own.candidate.tables.quant, standard.quant);
        own.tables_standard = true;
        add_if_complete(file, hypotheses, own);
    }
    return hypotheses;
}

} // namespace still_mend
