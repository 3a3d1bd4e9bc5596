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

/// Reads headers one behind the other, and remembers which landmarks were read as part of one.
class HeaderWalk {
  public:
    HeaderWalk(Bytes file, const std::vector<Landmark>& landmarks)
        : file_(file), landmarks_(landmarks), consumed_(landmarks.size(), false),
          steps_(file.size() + 65536) {}

    [[nodiscard]] bool consumed(std::size_t landmark) const { return consumed_[landmark]; }

    Candidate read(const Landmark& first) {
        Candidate candidate;
        candidate.offset = first.offset;
        candidate.has_start = first.code == marker::kStart;
        std::size_t offset = first.offset;
        if (candidate.has_start) {
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
    /// Reads the segment at the offset. Gives where the next one is, or nothing at the header's end.
    std::optional<std::size_t> step(Candidate& candidate, std::size_t offset) {
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
            return next_landmark(candidate, offset);
        }
        if (is_other_process(code)) {
            candidate.other_process = true;
            candidate.arithmetic = marker::is_arithmetic(code);
            return std::nullopt;
        }
        if (code == marker::kStart || code == marker::kEnd) {
            return std::nullopt;
        }
        const auto content = segment_content(file_, offset);
        if (!content) {
            return next_landmark(candidate, offset + 1);
        }
        const std::size_t behind = offset + 4 + content->size();
        if (marker::is_application(code) || code == marker::kComment) {
            return skip_application(candidate, offset, behind, *content);
        }
        if (!take(candidate, code, offset, *content)) {
            return next_landmark(candidate, offset + 1);
        }
        consume(offset);
        return code == marker::kScan ? std::nullopt : std::optional(behind);
    }

    std::optional<std::size_t> skip_application(Candidate& candidate, std::size_t offset, std::size_t behind,
                                                Bytes content) {
        if (behind < file_.size() && file_[behind] == 0xFF) {
            candidate.applications.push_back({offset, behind});
            return behind;
        }
        // What stands behind is no segment. A length under a known name is believed, another is not.
        return next_landmark(candidate, has_known_name(content) ? behind : offset + 1);
    }

    bool take(Candidate& candidate, unsigned char code, std::size_t offset, Bytes content) {
        Work::add(content.size());
        switch (code) {
        case marker::kQuantTables:
            return read_quant_tables(content, candidate.tables);
        case marker::kHuffmanTables:
            return read_huffman_tables(content, candidate.tables);
        case marker::kRestartInterval:
            return read_restart_interval(content, candidate.tables);
        case marker::kScan:
            if (!is_scan(content)) {
                return false;
            }
            if (candidate.frame) {
                candidate.scan = read_scan(content, *candidate.frame);
            }
            candidate.scan_offset = offset;
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

    /// Where the header goes on behind damage: at the next landmark, unless a picture begins there.
    std::optional<std::size_t> next_landmark(Candidate& candidate, std::size_t offset) {
        candidate.damaged_header = true;
        const auto next = lower_bound(offset);
        if (next == landmarks_.end() || next->code == marker::kStart) {
            return std::nullopt;
        }
        return next->offset;
    }

    [[nodiscard]] std::vector<Landmark>::const_iterator lower_bound(std::size_t offset) const {
        return std::lower_bound(landmarks_.begin(), landmarks_.end(), offset,
                                [](const Landmark& mark, std::size_t value) { return mark.offset < value; });
    }

    void consume(std::size_t offset) {
        const auto found = lower_bound(offset);
        if (found != landmarks_.end() && found->offset == offset) {
            consumed_[static_cast<std::size_t>(found - landmarks_.begin())] = true;
        }
    }

    Bytes file_;
    const std::vector<Landmark>& landmarks_;
    std::vector<bool> consumed_;
    std::size_t steps_; // That all walks may take together.
};

/// Whether a picture has more scans than its first, so that tables and SOS behind that are its own.
bool expects_more_scans(const Candidate& candidate) {
    return candidate.frame && (candidate.frame->progressive() || !candidate.scan ||
                               candidate.scan->components.size() < candidate.frame->components.size());
}

std::size_t header_end(const Candidate& candidate) {
    return std::max(candidate.offset, candidate.entropy);
}

/// Whether a header that lost its SOI begins at this landmark: frame or quantisation tables do not stand
/// between the scans of a picture, and a picture with one scan has nothing behind it.
bool begins_headless(const Landmark& mark, const Candidate* before) {
    return mark.code == marker::kQuantTables || marker::is_picture_frame(mark.code) || before == nullptr ||
           !expects_more_scans(*before);
}

void mark_nested(std::vector<Candidate>& candidates) {
    std::size_t covered = 0; // End of the application segments of the candidates so far.
    for (auto& candidate : candidates) {
        candidate.nested = candidate.offset < covered;
        for (const auto& range : candidate.applications) {
            covered = std::max(covered, range.last);
        }
    }
}

void set_limits(Bytes file, std::vector<Candidate>& candidates) {
    std::vector<std::size_t> borders;
    for (const auto& candidate : candidates) {
        if (candidate.scan_offset || candidate.other_process) {
            borders.push_back(candidate.offset);
        }
    }
    for (auto& candidate : candidates) {
        const auto border = std::lower_bound(borders.begin(), borders.end(), candidate.entropy);
        candidate.limit = border == borders.end() ? file.size() : *border;
    }
}

} // namespace

std::vector<Candidate> find_candidates(Bytes file, const std::vector<Landmark>& landmarks) {
    HeaderWalk walk(file, landmarks);
    std::vector<Candidate> candidates;
    for (const auto& mark : landmarks) {
        if (mark.code == marker::kStart && candidates.size() < kMaxCandidates) {
            candidates.push_back(walk.read(mark));
        }
    }
    std::vector<Candidate> headless;
    const std::size_t with_start = candidates.size();
    std::size_t before = 0; // How many candidates with SOI begin before the landmark.
    const Candidate* open =
        nullptr; // That of them whose header ends last: a thumbnail ends within another's.
    for (std::size_t index = 0; index < landmarks.size() && headless.size() < kMaxCandidates; ++index) {
        const auto& mark = landmarks[index];
        while (before < with_start && candidates[before].offset < mark.offset) {
            const Candidate& next = candidates[before++];
            open = open == nullptr || header_end(next) >= header_end(*open) ? &next : open;
        }
        if (walk.consumed(index) || mark.code == marker::kStart) {
            continue;
        }
        const Candidate* previous = open;
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
              [](const Candidate& a, const Candidate& b) { return a.offset < b.offset; });
    mark_nested(candidates);
    set_limits(file, candidates);
    return candidates;
}

} // namespace still_mend
