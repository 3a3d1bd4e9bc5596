#include "locate/RowExtent.h"

#include "locate/RowRuns.h"

#include <algorithm>
#include <span>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMinRows = 8; ///< Fewer may fit one another by chance.
constexpr std::uint64_t kMostOf = 3;  ///< Of so many rows, all but one.

/// The images of one phase, in the part of a file between pieces of other phases.
class Region {
  public:
    /// The pieces have the same phase. The region is the part [begin, end) of the file.
    Region(Bytes file, const RowGeometry& geometry, const SamplePlace& sample,
           std::span<const PhasePiece> pieces, std::uint64_t begin, std::uint64_t end)
        : file_(file), geometry_(geometry), sample_(sample), phase_(pieces.front().phase),
          fit_(file.first(static_cast<std::size_t>(end)), geometry, origin(begin, phase_)), begin_(begin),
          origin_(origin(begin, phase_)), known_first_(row_at(pieces.front().begin)),
          known_last_(row_at(pieces.back().end)) {
        const bool ends_with_file =
            end == file.size() && offset(fit_.rows()) == static_cast<std::int64_t>(end);
        runs_ = find_row_runs(fit_, geometry.cfa_period, {origin_ == 0, ends_with_file}, known_first_,
                              known_last_);
        all_runs_ = runs_;
        std::erase_if(runs_, [](const RowRun& run) { return run.last - run.first < kMinRows; });
    }

    [[nodiscard]] std::vector<ImagePlace> images() const {
        std::vector<ImagePlace> images;
        add_by_end(images);
        add_by_edges(images);
        add_by_sample_start(images);
        std::ranges::sort(images, {}, &ImagePlace::start);
        add_doubtful(images);
        std::ranges::sort(images, {}, &ImagePlace::start);
        return images;
    }

  private:
    /// The first row at or after an offset.
    [[nodiscard]] std::uint64_t origin(std::uint64_t begin, std::uint64_t phase) const {
        return begin + (phase + geometry_.row_bytes - begin % geometry_.row_bytes) % geometry_.row_bytes;
    }
    [[nodiscard]] std::uint64_t row_at(std::uint64_t at) const {
        return at > origin_ ? (at - origin_) / geometry_.row_bytes : 0;
    }
    [[nodiscard]] std::int64_t offset(std::uint64_t row) const {
        return static_cast<std::int64_t>(origin_ + row * geometry_.row_bytes);
    }

    /// An image at an offset. The first and last run in it set the borders of its picture.
    [[nodiscard]] ImagePlace place(std::int64_t start, PlaceProof proof) const {
        const std::int64_t end = start + size();
        ImagePlace place{start, phase_, 0, 0, proof};
        auto run =
            std::ranges::upper_bound(runs_, start, {}, [&](const RowRun& r) { return offset(r.last); });
        if (run == runs_.end() || offset(run->first) >= end) {
            return place;
        }
        place.picture_begin = static_cast<std::uint64_t>(std::max(offset(run->first), start));
        for (; run != runs_.end() && offset(run->first) < end; ++run) {
            place.picture_end = static_cast<std::uint64_t>(std::min(offset(run->last), end));
        }
        return place;
    }

    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(geometry_.image_bytes()); }

    [[nodiscard]] bool overlaps(std::span<const ImagePlace> images, std::int64_t start) const {
        return std::ranges::any_of(images, [&](const ImagePlace& image) {
            return start < image.start + size() && image.start < start + size();
        });
    }

    void add_by_end(std::vector<ImagePlace>& images) const {
        if (!sample_.bytes_after || *sample_.bytes_after > file_.size() || runs_.empty()) {
            return;
        }
        const std::uint64_t end = file_.size() - *sample_.bytes_after;
        const bool in_phase = end % geometry_.row_bytes == phase_;
        if (!in_phase || end < origin_ || row_at(end) < runs_.back().last || row_at(end) > fit_.rows()) {
            return;
        }
        const std::int64_t start = static_cast<std::int64_t>(end) - size();
        const ImagePlace image = place(start, PlaceProof::kEnd);
        if (image.picture_end > 0 && rows_before_are_lost(image, row_at(end))) {
            images.push_back(image);
        }
    }

    /// Whether the rows of an image before the first that fits, if any, are lost rather than no rows of it.
    [[nodiscard]] bool rows_before_are_lost(const ImagePlace& image, std::uint64_t end) const {
        if (static_cast<std::int64_t>(image.picture_begin) == image.start) {
            return true;
        }
        if (image.start < 0) { // The file may as well be truncated in a place that happens to be in phase.
            const bool ends_there = runs_.back().last == end && end < fit_.rows() && runs_.back().sharp_last;
            return begin_ > 0 || ends_there;
        }
        const std::uint64_t first = row_at(static_cast<std::uint64_t>(image.start));
        return begin_ > 0 || are_mostly_lost(first, row_at(image.picture_begin));
    }

    /// Whether most rows are blank, or rows of a picture: neither another part of a file nor noise.
    [[nodiscard]] bool are_mostly_lost(std::uint64_t first, std::uint64_t last) const {
        std::uint64_t rows = 1; // The last one may be blank in part.
        for (const RowRun& run : all_runs_) {
            const std::uint64_t from = std::max(run.first, first);
            const std::uint64_t to = std::min(run.last, last);
            rows += to > from ? to - from : 0;
        }
        for (std::uint64_t row = first; row < last; ++row) {
            rows += fit_.is_blank(row) ? 1 : 0;
        }
        return rows * kMostOf >= (last - first) * (kMostOf - 1);
    }

    void add_by_edges(std::vector<ImagePlace>& images) const {
        std::vector<std::int64_t> starts;
        for (const RowRun& run : runs_) {
            const auto end = std::ranges::lower_bound(runs_, run.first + geometry_.rows, {}, &RowRun::last);
            if (run.sharp_first && end != runs_.end() && end->last == run.first + geometry_.rows &&
                end->sharp_last && !overlaps(images, offset(run.first))) {
                starts.push_back(offset(run.first));
            }
        }
        const auto overlap = [&](std::int64_t one, std::int64_t next) { return next < one + size(); };
        if (std::ranges::adjacent_find(starts, overlap) != starts.end()) {
            return; // One of them is wrong.
        }
        for (const std::int64_t start : starts) {
            images.push_back(place(start, PlaceProof::kBothEdges));
        }
    }

    void add_by_sample_start(std::vector<ImagePlace>& images) const {
        if (!sample_.start) {
            return;
        }
        const auto start = static_cast<std::int64_t>(*sample_.start);
        const bool begins = std::ranges::any_of(runs_, [&](const RowRun& run) {
            const bool at_first_row = run.first == 0 && begin_ == 0; // There is no whole row before it.
            return (run.sharp_first || at_first_row) && offset(run.first) == start;
        });
        if (begins && !overlaps(images, start)) {
            images.push_back(place(start, PlaceProof::kSampleStart));
        }
    }

    /// For rows of known pieces that are in no other image, one that begins with the first of them.
    /// The images are by offset.
    void add_doubtful(std::vector<ImagePlace>& images) const {
        const std::vector<ImagePlace> proven = images;
        std::int64_t taken = 0; // By the last doubtful one.
        for (const RowRun& run : runs_) {
            const bool known = run.last > known_first_ && run.first < known_last_;
            const auto next = std::ranges::upper_bound(
                proven, offset(run.first), {}, [&](const ImagePlace& image) { return image.start + size(); });
            const bool is_proven = next != proven.end() && next->start < offset(run.last);
            if (known && !is_proven && offset(run.first) >= taken) {
                images.push_back(place(offset(run.first), PlaceProof::kNone));
                taken = offset(run.first) + size();
            }
        }
    }

    Bytes file_;
    const RowGeometry& geometry_;
    const SamplePlace& sample_;
    std::uint64_t phase_;
    RowFit fit_;
    std::uint64_t begin_;
    std::uint64_t origin_;
    std::uint64_t known_first_;
    std::uint64_t known_last_;
    std::vector<RowRun> runs_;     ///< Those of at least kMinRows rows.
    std::vector<RowRun> all_runs_; ///< May overlap by a period.
};

} // namespace

RowExtent find_row_extent(Bytes file, const RowGeometry& geometry, const RowTraits& traits,
                          const SamplePlace& sample) {
    RowExtent extent{find_phase_pieces(file, geometry, traits), {}};
    const std::span<const PhasePiece> pieces = extent.pieces;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const std::uint64_t begin = i > 0 ? pieces[i - 1].end : 0;
        const std::uint64_t end = i + 1 < pieces.size() ? pieces[i + 1].begin : file.size();
        const Region region(file, geometry, sample, pieces.subspan(i, 1), begin, end);
        const auto images = region.images();
        extent.images.insert(extent.images.end(), images.begin(), images.end());
    }
    return extent;
}

} // namespace raw_mend
