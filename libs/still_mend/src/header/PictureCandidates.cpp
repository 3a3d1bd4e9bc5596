#include "header/PictureCandidates.h"

#include "Work.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace still_mend {

namespace {

constexpr std::size_t kMaxSegments = 1024; // 255 of a colour profile, 100 of multi-picture data; measured 40.
constexpr std::size_t kMaxCandidates = 1024; // A photograph has fewer than ten.

bool is_other_process(unsigned char code) {
    // SOF3 and on: lossless, differential, arithmetic. C4, C8 and CC are no frames.
    return code >= 0xC3 && code <= 0xCF && code != 0xC4 && code != 0xC8 && code != 0xCC;
}

bool has_known_name(Bytes content) {
    using namespace std::string_view_literals;
    static constexpr std::array kNames{"Exif"sv, "JFIF"sv,  "http:"sv,    "ICC_PROFILE"sv,
                                       "MPF"sv,  "Adobe"sv, "Photoshop"sv};
    return std::any_of(kNames.begin(), kNames.end(), [content](std::string_view name) {
        return content.size() >= name.size() && std::memcmp(content.data(), name.data(), name.size()) == 0;
    });
}

/// Reads headers one after the other, and remembers which header markers were part of one.
class HeaderWalk {
  public:
    HeaderWalk(Bytes file, const std::vector<HeaderMarker>& markers)
        : file_(file), markers_(markers), consumed_(markers.size(), false), steps_(file.size() + 65536) {}

    [[nodiscard]] bool consumed(std::size_t index) const { return consumed_[index]; }

    PictureCandidate read(const HeaderMarker& first) {
        PictureCandidate candidate;
        candidate.offset = first.offset;
        candidate.has_soi = first.code == marker::kSoi;
        std::size_t offset = first.offset;
        if (candidate.has_soi) {
            consume(offset);
            offset += 2;
        }
        for (std::size_t count = 0; count < kMaxSegments && steps_ > 0; ++count, --steps_) {
            const auto next = step(candidate, offset);
            if (!next) {
                break;
            }
            offset = *next;
        }
        return candidate;
    }

  private:
    /// Reads the segment at the offset. Returns the offset of the next one, or nothing at the header's end.
    std::optional<std::size_t> step(PictureCandidate& candidate, std::size_t offset) {
        for (unsigned fill = 0;
             fill < 16 && offset + 1 < file_.size() && file_[offset] == 0xFF && file_[offset + 1] == 0xFF;
             ++fill) {
            ++offset;
        }
        if (offset + 4 > file_.size()) {
            return std::nullopt;
        }
        const unsigned char code = file_[offset + 1];
        if (file_[offset] != 0xFF) {
            return next_header_marker(candidate, offset);
        }
        if (is_other_process(code)) {
            candidate.other_process = true;
            candidate.arithmetic = marker::is_arithmetic(code);
            return std::nullopt;
        }
        if (code == marker::kSoi || code == marker::kEoi) {
            return std::nullopt;
        }
        const auto content = segment_content(file_, offset);
        if (!content) {
            return next_header_marker(candidate, offset + 1);
        }
        const std::size_t next = offset + 4 + content->size();
        if (marker::is_application(code) || code == marker::kCom) {
            return skip_application(candidate, offset, next, *content);
        }
        if (!read_segment(candidate, code, offset, *content)) {
            return next_header_marker(candidate, offset + 1);
        }
        consume(offset);
        return code == marker::kSos ? std::nullopt : std::optional(next);
    }

    std::optional<std::size_t> skip_application(PictureCandidate& candidate, std::size_t offset,
                                                std::size_t next, Bytes content) {
        if (next < file_.size() && file_[next] == 0xFF) {
            candidate.applications.push_back({offset, next});
            return next;
        }
        // No segment follows, so the length of this one is trusted only if it has a known name.
        return next_header_marker(candidate, has_known_name(content) ? next : offset + 1);
    }

    bool read_segment(PictureCandidate& candidate, unsigned char code, std::size_t offset, Bytes content) {
        Work::add(content.size());
        switch (code) {
        case marker::kDqt:
            return read_quant_tables(content, candidate.tables);
        case marker::kDht:
            return read_huffman_tables(content, candidate.tables);
        case marker::kDri:
            return read_restart_interval(content, candidate.tables);
        case marker::kSos:
            if (!is_scan(content)) {
                return false;
            }
            if (candidate.frame) {
                candidate.scan = read_scan(content, *candidate.frame);
            }
            candidate.sos_offset = offset;
            candidate.entropy = offset + 4 + content.size();
            return true;
        default:
            if (auto frame = read_frame(code, content); frame && !candidate.frame) {
                candidate.frame = std::move(frame);
                return true;
            }
            return false;
        }
    }

    /// Where the header goes on after damage: at the next header marker, unless a picture begins there.
    std::optional<std::size_t> next_header_marker(PictureCandidate& candidate, std::size_t offset) {
        candidate.damaged_header = true;
        const auto next = lower_bound(offset);
        if (next == markers_.end() || next->code == marker::kSoi) {
            return std::nullopt;
        }
        return next->offset;
    }

    [[nodiscard]] std::vector<HeaderMarker>::const_iterator lower_bound(std::size_t offset) const {
        return std::lower_bound(
            markers_.begin(), markers_.end(), offset,
            [](const HeaderMarker& mark, std::size_t value) { return mark.offset < value; });
    }

    void consume(std::size_t offset) {
        const auto found = lower_bound(offset);
        if (found != markers_.end() && found->offset == offset) {
            consumed_[static_cast<std::size_t>(found - markers_.begin())] = true;
        }
    }

    Bytes file_;
    const std::vector<HeaderMarker>& markers_;
    std::vector<bool> consumed_;
    std::size_t steps_; // The most that all walks may take together.
};

/// Whether a picture has more scans than its first, so that tables and SOS after that are its own.
bool expects_more_scans(const PictureCandidate& candidate) {
    return candidate.frame && (candidate.frame->progressive() || !candidate.scan ||
                               candidate.scan->components.size() < candidate.frame->components.size());
}

std::size_t header_end(const PictureCandidate& candidate) {
    return std::max(candidate.offset, candidate.entropy);
}

/// Whether a header that lost its SOI begins at this header marker: frame or quantisation tables are
/// never between the scans of a picture, and a picture with one scan has nothing after it.
bool begins_headless(const HeaderMarker& mark, const PictureCandidate* before) {
    return mark.code == marker::kDqt || marker::is_picture_frame(mark.code) || before == nullptr ||
           !expects_more_scans(*before);
}

void mark_nested(std::vector<PictureCandidate>& candidates) {
    std::size_t covered = 0; // End of the application segments of the candidates so far.
    for (auto& candidate : candidates) {
        candidate.nested = candidate.offset < covered;
        for (const auto& range : candidate.applications) {
            covered = std::max(covered, range.last);
        }
    }
}

void set_limits(Bytes file, std::vector<PictureCandidate>& candidates) {
    std::vector<std::size_t> borders;
    for (const auto& candidate : candidates) {
        if (candidate.sos_offset || candidate.other_process) {
            borders.push_back(candidate.offset);
        }
    }
    for (auto& candidate : candidates) {
        const auto border = std::lower_bound(borders.begin(), borders.end(), candidate.entropy);
        candidate.limit = border == borders.end() ? file.size() : *border;
    }
}

} // namespace

std::vector<PictureCandidate> find_candidates(Bytes file, const std::vector<HeaderMarker>& markers) {
    HeaderWalk walk(file, markers);
    std::vector<PictureCandidate> candidates;
    for (const auto& mark : markers) {
        if (mark.code == marker::kSoi && candidates.size() < kMaxCandidates) {
            candidates.push_back(walk.read(mark));
        }
    }
    std::vector<PictureCandidate> headless;
    const std::size_t with_start = candidates.size();
    std::size_t before = 0; // How many candidates with SOI begin before the header marker.
    const PictureCandidate* open =
        nullptr; // The one of them whose header ends last: a thumbnail ends within another's.
    for (std::size_t index = 0; index < markers.size() && headless.size() < kMaxCandidates; ++index) {
        const auto& mark = markers[index];
        while (before < with_start && candidates[before].offset < mark.offset) {
            const PictureCandidate& next = candidates[before++];
            open = open == nullptr || header_end(next) >= header_end(*open) ? &next : open;
        }
        if (walk.consumed(index) || mark.code == marker::kSoi) {
            continue;
        }
        const PictureCandidate* previous = open;
        if (!headless.empty() && (previous == nullptr || headless.back().offset > previous->offset)) {
            previous = &headless.back();
        }
        if (begins_headless(mark, previous)) {
            headless.push_back(walk.read(mark));
            headless.back().damaged_header = true;
        }
    }
    candidates.insert(candidates.end(), std::make_move_iterator(headless.begin()),
                      std::make_move_iterator(headless.end()));
    std::sort(candidates.begin(), candidates.end(),
              [](const PictureCandidate& a, const PictureCandidate& b) { return a.offset < b.offset; });
    mark_nested(candidates);
    set_limits(file, candidates);
    return candidates;
}

} // namespace still_mend
