#include "ways/CellImage.h"

#include "coding/Cells.h"
#include "locate/CellRuns.h"
#include "ways/Layouts.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kLeastCells = 64;

/// Starts of the image that the cells allow.
class CellSearch {
  public:
    CellSearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), length_(sample.range().length),
          runs_(find_cell_runs(damaged, std::max<std::size_t>(kLeastCells, length_ / kCellBytes))) {}

    std::optional<FoundImage> find() {
        for (const ByteRange& run : runs_) {
            if (run.length() == length_) {
                starts_.push_back(run.begin);
            }
        }
        if (starts_.empty()) {
            add_by_end();
        }
        if (starts_.empty()) {
            add_by_rows();
        }
        const bool is_proved = starts_.size() == 1;
        if (starts_.empty()) {
            add_by_layouts();
        }
        return choose(is_proved);
    }

  private:
    /// The last cells of a longer run, if they end as far before the end of the file as in the sample.
    void add_by_end() {
        for (const ByteRange& run : runs_) {
            if (run.end + sample_.bytes_after() == damaged_.size()) {
                starts_.push_back(run.end - length_);
            }
        }
    }

    /// Where a row begins, in a run that is longer than the image by less than a row: some of what is beside
    /// the image may look like cells.
    void add_by_rows() {
        if (!sample_.rows) {
            return;
        }
        const RowGeometry& geometry = sample_.rows->geometry;
        for (const ByteRange& run : runs_) {
            const Bytes cells = Extent{run.begin, run.length()}.of(damaged_);
            const bool is_close = run.length() - length_ < geometry.row_bytes;
            const auto phase =
                is_close ? find_row_phase(cells, geometry, sample_.traits).phase : std::nullopt;
            if (phase && *phase <= run.length() - length_) {
                starts_.push_back(run.begin + *phase);
            }
        }
    }

    void add_by_layouts() {
        for (const Layout& layout : find_layouts(damaged_, sample_)) {
            const std::uint64_t start = layout.pieces.front().offset;
            const bool fits = std::ranges::any_of(runs_, [&](const ByteRange& run) {
                return start >= run.begin && start + length_ <= run.end &&
                       (start - run.begin) % kCellBytes == 0;
            });
            if (fits) {
                starts_.push_back(start);
                return;
            }
        }
    }

    /// The one that is nearest to the end of the file, if there are several.
    std::optional<FoundImage> choose(bool is_proved) const {
        if (starts_.empty()) {
            return std::nullopt;
        }
        FoundImage image{Way::kTrialDecoding, {}, 0, {}};
        std::uint64_t offset = *std::ranges::max_element(starts_);
        for (const Piece& piece : sample_.description.raw.pieces) {
            image.pieces.emplace_back(Extent{offset, piece.data.length});
            offset += piece.data.length;
        }
        image.proved = is_proved ? image.pieces.size() : 0;
        if (!is_proved) {
            image.doubts.emplace_back(starts_.size() > 1
                                          ? "The file has several images of this size; the last is chosen."
                                          : "The image may begin some cells earlier or later.");
        }
        return image;
    }

    Bytes damaged_;
    const Sample& sample_;
    std::uint64_t length_;
    std::vector<ByteRange> runs_; ///< At least as long as the image.
    std::vector<std::uint64_t> starts_;
};

} // namespace

std::optional<FoundImage> find_cell_image(Bytes damaged, const Sample& sample) {
    return sample.has_cells ? CellSearch(damaged, sample).find() : std::nullopt;
}

} // namespace raw_mend
