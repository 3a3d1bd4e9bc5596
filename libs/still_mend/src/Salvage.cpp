#include "Salvage.h"

#include "assessment/IntactJpeg.h"
#include "assessment/LibjpegAssessment.h"
#include "assessment/PlainDecode.h"
#include "header/HeaderMarkers.h"
#include "header/Hypotheses.h"
#include "header/Orphans.h"
#include "jpeg/McuDecoder.h"

#include <algorithm>

namespace still_mend {

namespace {

/// The size of an Exif thumbnail; some cameras put larger ones next to their maker notes.
constexpr std::uint64_t kTinyPixels = std::uint64_t{160} * 120;
constexpr std::uint64_t kThumbnailPixels = std::uint64_t{640} * 480;

bool is_thumbnail(const PictureCandidate& candidate) {
    const std::uint64_t size = claimed_pixels(candidate);
    return candidate.offset > 0 && (size <= kTinyPixels || (candidate.nested && size <= kThumbnailPixels));
}

/// Whether the file begins with the header of this picture, all of it.
bool begins_file(const PictureCandidate& candidate) {
    return candidate.offset == 0 && candidate.has_soi && !candidate.damaged_header;
}

/// Keeps the best picture and the best thumbnail. Candidates are added in the order of in_order. The picture
/// that the file begins with gives way only to a whole one, or to a part of it of which more is certain:
/// other data that are found in it may be foreign, or its own under a foreign header.
class Ranking {
  public:
    void add(Assessment&& assessment) {
        if (!assessment.deliverable()) {
            return;
        }
        auto& best = is_thumbnail(assessment.hypothesis.candidate) ? thumbnail_ : picture_;
        if (!best || is_better(assessment, *best)) {
            best = std::move(assessment);
        }
    }

    /// Whether a picture of this many pixels could still be the best.
    [[nodiscard]] bool can_win(const PictureCandidate& candidate) const {
        return !picture_ || !candidate.frame ||
               candidate.frame->mcus() * candidate.frame->mcu_area() > picture_->score();
    }

    [[nodiscard]] bool has_picture() const { return picture_.has_value(); }

    [[nodiscard]] std::optional<BestPicture> best() && {
        if (picture_) {
            return BestPicture{std::move(*picture_), false, {}};
        }
        if (thumbnail_) {
            return BestPicture{std::move(*thumbnail_), true, {}};
        }
        return std::nullopt;
    }

  private:
    /// Whether it begins the file, and some of it is certain.
    static bool has_precedence(const Assessment& assessment) {
        return begins_file(assessment.hypothesis.candidate) && assessment.own > 0;
    }

    /// Whether it is a part of the same picture, under the same header, of which more is certain.
    static bool has_more_of(const Assessment& before, const Assessment& one) {
        return one.hypothesis.frame_borrowed && one.own > before.own &&
               one.hypothesis.candidate.frame == before.hypothesis.candidate.frame;
    }

    /// Whether an assessment is better than another that was added before it.
    static bool is_better(const Assessment& one, const Assessment& before) {
        const bool may_win =
            !has_precedence(before) || (one.whole && one.own == one.total) || has_more_of(before, one);
        return may_win && one.score() > before.score();
    }

    std::optional<Assessment> picture_;
    std::optional<Assessment> thumbnail_;
};

/// What may be spent on one file. What does not fit is not spent.
class Budget {
  public:
    explicit Budget(std::uint64_t most) : left_(most) {}
    bool spend(std::uint64_t cost) {
        if (cost > left_) {
            return false;
        }
        left_ -= cost;
        return true;
    }

  private:
    std::uint64_t left_;
};

/// How much of a file of this size may be decoded in total, in bytes. Candidates that share bytes use it up.
std::uint64_t most_bytes(std::size_t size) {
    constexpr std::uint64_t kPerByte = 16;
    constexpr std::uint64_t kFree = 1U << 20U;
    return kPerByte * size + kFree;
}

std::uint64_t blocks_of(const Frame& frame) {
    return std::uint64_t{frame.mcus()} * frame.blocks_per_mcu();
}

/// How many blocks may be cleared for frames that are too large for their data, in all attempts on one file.
/// The coefficients of a frame are cleared anew in each attempt, however little decodes. The largest frame
/// may always be tried a few times: a picture that has lost its end is too large for what is left of it.
std::uint64_t most_blocks(std::size_t size, const std::vector<PictureCandidate>& candidates) {
    constexpr std::uint64_t kAttempts = 8;
    std::uint64_t largest = 0;
    for (const auto& candidate : candidates) {
        largest = std::max(largest, candidate.frame ? blocks_of(*candidate.frame) : 0);
    }
    return size + kAttempts * largest;
}

/// The candidate that begins the file, and the others, largest first.
std::vector<const PictureCandidate*> in_order(const std::vector<PictureCandidate>& candidates) {
    std::vector<const PictureCandidate*> order;
    order.reserve(candidates.size());
    for (const auto& candidate : candidates) {
        order.push_back(&candidate);
    }
    std::stable_sort(order.begin(), order.end(), [](const PictureCandidate* a, const PictureCandidate* b) {
        return begins_file(*a) != begins_file(*b) ? begins_file(*a) : claimed_pixels(*a) > claimed_pixels(*b);
    });
    return order;
}

/// Whether it has one scan, and all that decoding it takes.
bool can_be_examined(const PictureCandidate& candidate) {
    return candidate.frame && candidate.scan && !candidate.arithmetic && !candidate.frame->progressive() &&
           candidate.scan->components.size() == candidate.frame->components.size() &&
           McuDecoder::has_tables(*candidate.frame, *candidate.scan, candidate.tables);
}

/// Looks for what libjpeg does not notice in what it decodes without a warning: a level that jumped, which is
/// mended, or a seam, after which nothing is certain.
std::optional<Assessment> examined(Bytes file, const PictureCandidate& candidate, Assessment found) {
    if (!can_be_examined(candidate)) {
        return found;
    }
    Hypothesis hypothesis;
    hypothesis.candidate = candidate;
    Assessment close = assess(file, hypothesis);
    if (close.own == close.total || !close.deliverable()) {
        return found;
    }
    if (!close.whole) {
        return close;
    }
    found.own = close.own;
    found.guessed = close.guessed;
    found.first_bad = close.first_bad;
    return found;
}

/// Assesses everything in a file that may be a picture.
class FileSalvage {
  public:
    FileSalvage(Bytes file, Bytes sample)
        : file_(file), candidates_(find_candidates(file, find_header_markers(file))),
          siblings_(find_donors(sample)), intact_bytes_(most_bytes(file.size())), plain_bytes_(file.size()),
          bytes_(most_bytes(file.size())), blocks_(most_blocks(file.size(), candidates_)) {
        const auto own = find_siblings(candidates_);
        siblings_.insert(siblings_.end(), own.begin(), own.end());
    }

    std::optional<BestPicture> best() {
        for (const PictureCandidate* candidate : in_order(candidates_)) {
            consider(*candidate);
        }
        consider(find_orphans(file_, covered_, siblings_));
        if (!ranking_.has_picture()) {
            if (auto lenient = only_libjpeg_reads()) {
                return BestPicture{std::move(*lenient), false, {}};
            }
            consider(find_standard_orphans(file_, covered_));
        }
        return std::move(ranking_).best();
    }

  private:
    /// What reading a candidate may cost, in bytes.
    [[nodiscard]] std::size_t data_size(const PictureCandidate& candidate) const {
        return candidate.sos_offset ? candidate.limit - candidate.entropy : file_.size() - candidate.offset;
    }

    /// Spends what one more attempt on a candidate costs.
    bool pay_for(const PictureCandidate& candidate) {
        const std::size_t bytes = data_size(candidate);
        const std::uint64_t blocks = blocks_of(*candidate.frame);
        return blocks_.spend(blocks - std::min<std::uint64_t>(blocks, bytes)) && bytes_.spend(bytes);
    }

    void consider(const PictureCandidate& candidate) {
        std::optional<Assessment> best;
        if (ranking_.can_win(candidate)) {
            best = intact(candidate);
            best = best ? std::move(best) : at_least_plain(candidate, likeliest(candidate));
        }
        if (best && best->deliverable()) {
            covered_.push_back({candidate.offset, best->end});
            ranking_.add(std::move(*best));
        } else if (candidate.sos_offset) {
            covered_.push_back({candidate.offset, candidate.entropy});
        }
    }

    void consider(const std::vector<Hypothesis>& orphans) {
        for (const auto& orphan : orphans) {
            if (ranking_.can_win(orphan.candidate) && pay_for(orphan.candidate)) {
                ranking_.add(assess(file_, orphan));
            }
        }
    }

    /// libjpeg is tried first: what it decodes without a warning is kept.
    std::optional<Assessment> intact(const PictureCandidate& candidate) {
        const bool readable = candidate.has_soi && (candidate.sos_offset || candidate.arithmetic);
        auto found = readable && intact_bytes_.spend(data_size(candidate)) ? assess_intact(file_, candidate)
                                                                           : std::nullopt;
        return found && intact_bytes_.spend(data_size(candidate))
                   ? examined(file_, candidate, std::move(*found))
                   : found;
    }

    std::optional<Assessment> likeliest(const PictureCandidate& candidate) {
        std::optional<Assessment> best;
        for (const auto& hypothesis : complete_header(file_, candidate, siblings_)) {
            if ((best && best->whole) || !pay_for(hypothesis.candidate)) {
                break;
            }
            Assessment assessment = assess(file_, hypothesis);
            if (!best ||
                (assessment.deliverable() && (!best->deliverable() || assessment.score() > best->score()))) {
                best = std::move(assessment);
            }
        }
        return best;
    }

    static constexpr std::uint64_t kBlocksPerByte = 4; // Of a picture that libjpeg may decode once more.

    /// What was assessed, unless libjpeg's decode of the same data is better.
    std::optional<Assessment> at_least_plain(const PictureCandidate& candidate,
                                             std::optional<Assessment> assessed) {
        const bool possible = assessed && !assessed->whole && candidate.has_soi &&
                              !candidate.damaged_header && can_be_examined(candidate) &&
                              blocks_of(*candidate.frame) <= kBlocksPerByte * data_size(candidate);
        if (!possible || !plain_bytes_.spend(data_size(candidate))) {
            return assessed;
        }
        auto plain = find_better_decode(file_, *assessed);
        return plain && plain->deliverable() ? std::move(plain) : std::move(assessed);
    }

    /// The picture that the file begins with, where nothing else is left of it.
    [[nodiscard]] std::optional<Assessment> only_libjpeg_reads() const {
        if (candidates_.empty() || candidates_.front().offset != 0 || !candidates_.front().has_soi) {
            return std::nullopt;
        }
        auto lenient = assess_leniently(file_, candidates_.front());
        return lenient && lenient->deliverable() ? std::move(lenient) : std::nullopt;
    }

    Bytes file_;
    std::vector<PictureCandidate> candidates_;
    std::vector<PictureCandidate>
        siblings_; ///< Those of the sample first: it has the same size and settings.
    Ranking ranking_;
    Budget intact_bytes_;
    Budget plain_bytes_;
    Budget bytes_;
    Budget blocks_;
    std::vector<Range> covered_;
};

/// The file, if it is an intact JPEG: all of it, since what follows EOI comes from the maker.
std::optional<BestPicture> intact_file(Bytes file) {
    PictureCandidate candidate;
    candidate.limit = file.size();
    auto assessment = assess_intact(file, candidate);
    if (!assessment) {
        return std::nullopt;
    }
    const Bytes picture = file.first(assessment->end);
    const auto candidates = find_candidates(picture, find_header_markers(picture));
    if (!candidates.empty() && candidates.front().offset == 0) {
        assessment = examined(picture, candidates.front(), std::move(*assessment));
    }
    assessment->end = assessment->intact ? file.size() : assessment->end;
    return BestPicture{std::move(*assessment), false, {}};
}

/// Whether all of a picture is certain, and its data end with EOI.
bool is_whole(const std::optional<BestPicture>& picture) {
    if (!picture || picture->thumbnail) {
        return false;
    }
    const Assessment& assessment = picture->assessment;
    return assessment.whole && assessment.eoi_found && assessment.own == assessment.total;
}

/// The picture that the file begins with, if it is whole once the pieces of the file are in order.
std::optional<BestPicture> ordered_file(Bytes file) {
    if (!begins_as_jpeg(file)) {
        return std::nullopt;
    }
    const auto candidates = find_candidates(file, find_header_markers(file));
    const bool possible =
        !candidates.empty() && begins_file(candidates.front()) && can_be_examined(candidates.front());
    auto ordered = possible ? put_in_order(file, candidates.front()) : std::nullopt;
    auto picture = ordered ? intact_file(ordered->bytes) : std::nullopt;
    if (!is_whole(picture)) {
        return std::nullopt;
    }
    picture->ordered = std::move(ordered);
    return picture;
}

} // namespace

std::optional<BestPicture> find_best(Bytes file, Bytes sample) {
    auto best = intact_file(file);
    if (!best) {
        best = FileSalvage(file, sample).best();
    }
    if (is_whole(best)) {
        return best;
    }
    auto ordered = ordered_file(file);
    return ordered ? std::move(ordered) : std::move(best);
}

} // namespace still_mend
