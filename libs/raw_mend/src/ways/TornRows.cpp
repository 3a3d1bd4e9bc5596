#include "ways/TornRows.h"

#include "locate/Anchors.h"
#include "locate/PhasePieces.h"
#include "locate/RowFit.h"
#include "locate/Sectors.h"
#include "mend/ImageRange.h"
#include "mend/RowClusters.h"
#include "mend/RowExchange.h"
#include "mend/RowImage.h"
#include "mend/RowSegments.h"
#include "ways/CellImage.h"
#include "ways/FittingRows.h"
#include "ways/TwinRows.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostMovedShare = 4; ///< Of so many parts of an image, one may be lost or put in.

/// Where the first bytes of a torn image are.
struct RowFront {
    std::int64_t start = 0;
    std::uint64_t header = 0; ///< Offset from which sectors of the photograph count.
    std::optional<OwnStructure> own{};
    std::vector<std::string> doubts{};
    bool is_whole = false; ///< Whether all of the image is in one place.
};

class TornRowsSearch {
  public:
    TornRowsSearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), geometry_(sample.rows->geometry),
          length_(geometry_.image_bytes()), pieces_(find_phase_pieces(damaged, geometry_, sample.traits)) {}

    std::optional<MendedRows> find(const std::optional<OwnStructure>& proved, Filling filling) {
        const auto front = are_whole_cells(proved) ? std::nullopt : find_front(proved);
        if (!front) {
            return std::nullopt;
        }
        const RowSegments segments = find_segments(*front);
        if (segments.segments.empty()) {
            return std::nullopt;
        }
        if (is_whole(segments, front->start) && is_intact(segments, *front)) {
            return std::nullopt;
        }
        image_ = assemble_rows(damaged_, geometry_, segments);
        remove_foreign(segments, front->header);
        fill_lost_rows(geometry_, rows_of_piece(), filling, image_);
        return describe(*front, segments);
    }

  private:
    /// Whether the image is of cells, and all of them are in one place.
    [[nodiscard]] bool are_whole_cells(const std::optional<OwnStructure>& proved) const {
        if (!sample_.has_cells || (proved && proved->is_proved)) {
            return sample_.has_cells;
        }
        const auto cells = find_cell_image(damaged_, sample_);
        return cells && cells->proved == cells->pieces.size();
    }

    /// Whether there is nothing foreign in an image that is in one place.
    [[nodiscard]] bool is_intact(const RowSegments& segments, const RowFront& front) const {
        const Bytes image = Extent{static_cast<std::uint64_t>(front.start), length_}.of(damaged_);
        return find_filler(image).empty() && find_clusters(image, sectors_of(segments, front.header)).empty();
    }

    /// Nothing if the camera writes such runs itself.
    [[nodiscard]] std::vector<ImageRange> find_filler(Bytes image) const {
        auto runs = find_filler_runs(image);
        const bool is_usual =
            !runs.empty() && !find_filler_runs(sample_.rows->extent.of(sample_.file)).empty();
        return is_usual ? std::vector<ImageRange>{} : std::move(runs);
    }

    /// What is not the photograph's own in the place of what is: put back if that is elsewhere, else lost.
    void remove_foreign(const RowSegments& segments, std::uint64_t header) {
        std::vector<ImageRange> filler = find_filler(image_.bytes);
        remove_ranges(image_.lost, filler);
        add_lost(filler, image_);
        RowImage filled = image_; // What is lost must not look foreign.
        fill_lost_rows(geometry_, rows_of_piece(), Filling::kNeighbours, filled);
        auto clusters = find_clusters(filled.bytes, sectors_of(segments, header));
        remove_ranges(filled.lost, clusters);
        add_lost(exchange_clusters(geometry_, clusters, image_.bytes), image_);
    }

    /// In all rows together, or in each tile: the rows of one do not continue those of another.
    [[nodiscard]] std::vector<ImageRange> find_clusters(Bytes image,
                                                        std::span<const std::uint64_t> sectors) const {
        const Frame& frame = sample_.description.raw.frame;
        if (frame.piece_width >= frame.width) {
            return find_foreign_clusters(image, geometry_, sectors);
        }
        RowGeometry tile = geometry_;
        tile.rows = rows_of_piece();
        std::vector<ImageRange> all;
        for (std::uint64_t begin = 0; begin + tile.image_bytes() <= length_; begin += tile.image_bytes()) {
            std::vector<std::uint64_t> inside;
            for (const std::uint64_t sector : sectors) {
                inside.push_back((sector - begin) % kSectorBytes);
            }
            const Bytes bytes =
                image.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(tile.image_bytes()));
            for (const ImageRange& range : find_foreign_clusters(bytes, tile, inside)) {
                all.push_back({begin + range.begin, begin + range.end});
            }
        }
        return all;
    }

    /// Offsets in the image from which sectors may be counted.
    [[nodiscard]] static std::vector<std::uint64_t> sectors_of(const RowSegments& segments,
                                                               std::uint64_t header) {
        std::vector<std::uint64_t> all;
        for (const RowSegment& segment : segments.segments) {
            const auto start = static_cast<std::uint64_t>(segment.start); // Modulo 2^64, if before the file.
            all.push_back((0 - start) % kSectorBytes);
            all.push_back((header - start) % kSectorBytes);
        }
        std::ranges::sort(all);
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    [[nodiscard]] RowSegments find_segments(const RowFront& front) const {
        if (front.is_whole) {
            return {{{{0, length_}, front.start}}, {}};
        }
        return find_row_segments(damaged_, geometry_, pieces_,
                                 {front.start, back_of(front.start), {0, front.header}});
    }

    [[nodiscard]] std::uint64_t rows_of_piece() const {
        return std::max<std::uint64_t>(sample_.description.raw.frame.piece_height, 1);
    }

    [[nodiscard]] bool is_whole(const RowSegments& segments, std::int64_t start) const {
        return segments.segments.size() == 1 && segments.segments.front().start == start &&
               segments.segments.front().image == ImageRange{0, length_};
    }

    [[nodiscard]] std::uint64_t phase_of(std::int64_t start) const {
        const auto row = static_cast<std::int64_t>(geometry_.row_bytes);
        return static_cast<std::uint64_t>((start % row + row) % row);
    }

    /// Where the image begins by its end, if that is not too far from where it begins by its first bytes, or
    /// more is lost, and the last rows that are clear are in step with the end, not with the first.
    [[nodiscard]] std::optional<std::int64_t> back_of(std::int64_t front) const {
        const auto back = static_cast<std::int64_t>(damaged_.size()) -
                          static_cast<std::int64_t>(sample_.bytes_after() + length_);
        const bool loses_much = back < front && is_in_step_with_end(back, front);
        return are_near(back, front) || loses_much ? std::optional(back) : std::nullopt;
    }

    [[nodiscard]] bool is_in_step_with_end(std::int64_t back, std::int64_t front) const {
        return !pieces_.empty() && pieces_.back().phase == phase_of(back) &&
               phase_of(back) != phase_of(front) && front - back <= static_cast<std::int64_t>(length_);
    }

    /// Whether an image may begin at one place by its first bytes, and at the other by its last.
    [[nodiscard]] bool are_near(std::int64_t one, std::int64_t other) const {
        return std::abs(one - other) <= static_cast<std::int64_t>(length_ / kMostMovedShare);
    }

    /// Whether the rows show that the image begins there: the first that are clear have its phase, or they
    /// fit those after a break.
    [[nodiscard]] bool is_confirmed(const RowFront& front) const {
        if (has_first_phase(front.start)) {
            return true;
        }
        const RowSegments segments = find_segments(front);
        return segments.gain >= kLeastRowGain && has_picture(segments.segments.front());
    }

    /// Whether the last rows of a segment are no filler, which fits itself.
    [[nodiscard]] bool has_picture(const RowSegment& segment) const {
        constexpr std::uint64_t kRows = 4;
        const std::uint64_t last = segment.image.end / geometry_.row_bytes;
        if (segment.start < 0 || last < kRows) {
            return false;
        }
        const RowFit fit(damaged_, geometry_, static_cast<std::uint64_t>(segment.start));
        bool has_blank = false;
        for (std::uint64_t row = last - kRows; row < last; ++row) {
            has_blank = has_blank || fit.is_blank(row);
        }
        return !has_blank;
    }

    [[nodiscard]] bool has_first_phase(std::int64_t start) const {
        const auto piece = std::ranges::find_if(
            pieces_, [&](const PhasePiece& one) { return static_cast<std::int64_t>(one.end) > start; });
        return piece != pieces_.end() && piece->phase == phase_of(start) &&
               static_cast<std::int64_t>(piece->begin) < start + static_cast<std::int64_t>(length_);
    }

    std::optional<RowFront> find_front(const std::optional<OwnStructure>& proved) const {
        if (proved && proved->is_proved) {
            return front_of(*proved);
        }
        const auto whole = find_fitting_rows(damaged_, sample_);
        const bool is_proved = whole && whole->proved == whole->pieces.size();
        for (OwnStructure& own : find_own_rows(damaged_, sample_)) {
            RowFront front = front_of(std::move(own));
            const auto other = whole ? front_of(*whole).start : front.start;
            const bool is_shown = is_proved && other != front.start ? is_torn(front) : is_confirmed(front);
            if (are_near(front.start, other) && is_shown) {
                return front;
            }
        }
        // What is before the file's first byte is nowhere else.
        const bool is_cut_off = is_proved && front_of(*whole).start == 0;
        auto front = is_cut_off ? std::nullopt : find_lone_front();
        return front || !whole ? std::move(front) : front_of(*whole);
    }

    /// Of rows that are in one place, so that the end of the file shows nothing.
    [[nodiscard]] RowFront front_of(const FoundImage& whole) const {
        RowFront front;
        std::uint64_t before = 0;
        for (std::size_t nth = 0; nth < whole.pieces.size(); ++nth) {
            if (whole.pieces[nth]) {
                front.start = static_cast<std::int64_t>(whole.pieces[nth]->offset - before);
            }
            before += sample_.description.raw.pieces[nth].data.length;
        }
        front.header = static_cast<std::uint64_t>(front.start) - sample_.rows->extent.offset;
        front.doubts = whole.doubts;
        front.is_whole = true;
        return front;
    }

    [[nodiscard]] RowFront front_of(OwnStructure own) const {
        const auto start = static_cast<std::int64_t>(own.pieces().front().offset);
        RowFront front{start, own.header};
        front.own = std::move(own);
        return front;
    }

    /// Without tables: where the sample, displaced structure or filler lets expect the image, if a break
    /// shows that its first rows belong to the last.
    [[nodiscard]] std::optional<RowFront> find_lone_front() const {
        const auto in_sample = static_cast<std::int64_t>(sample_.rows->extent.offset);
        std::vector<std::int64_t> starts;
        for (const std::int64_t moved :
             find_displacements(damaged_, sample_.file, sample_.description.tables)) {
            starts.push_back(in_sample + moved);
        }
        starts.push_back(in_sample);
        for (const std::uint64_t end : find_filler_ends(damaged_)) {
            const auto start = static_cast<std::int64_t>(end);
            const auto back = back_of(start);
            if (back && phase_of(*back) != phase_of(start) && has_first_phase(start)) {
                starts.push_back(start);
            }
        }
        constexpr std::size_t kMostFronts = 8;
        starts.resize(std::min(starts.size(), kMostFronts));
        for (const std::int64_t start : starts) {
            RowFront front{start, static_cast<std::uint64_t>(start - in_sample)};
            if (is_torn(front)) {
                return front;
            }
        }
        return std::nullopt;
    }

    /// Whether sectors are lost or put in between the first rows and the last.
    [[nodiscard]] bool is_torn(const RowFront& front) const {
        constexpr auto kSectorLength = static_cast<std::int64_t>(kSectorBytes);
        const auto back = back_of(front.start);
        if (!back || *back == front.start || (*back - front.start) % kSectorLength != 0) {
            return false;
        }
        const RowSegments segments = find_segments(front);
        return segments.gain >= kLeastRowGain && has_picture(segments.segments.front());
    }

    [[nodiscard]] MendedRows describe(const RowFront& front, const RowSegments& segments) const {
        MendedRows result{{front.own ? Way::kOwnTables : Way::kRows, {}, 0, {}}, std::nullopt};
        add_pieces(segments, result.image);
        result.image.doubts = front.doubts;
        const Frame& frame = sample_.description.raw.frame;
        result.image.lost = areas_of(image_.lost, geometry_, frame);
        result.image.doubtful = areas_of(image_.doubtful, geometry_, frame);
        if (front.own) {
            const std::uint64_t end = front.own->header + front.own->size;
            const std::int64_t last = segments.segments.back().start + static_cast<std::int64_t>(length_);
            const std::uint64_t after = std::min(static_cast<std::uint64_t>(last), end);
            result.own = {{front.own->header, static_cast<std::uint64_t>(front.start) - front.own->header},
                          {after, end - after}};
        }
        return result;
    }

    void add_pieces(const RowSegments& segments, FoundImage& image) const {
        std::uint64_t begin = 0;
        for (std::size_t nth = 0; nth < sample_.description.raw.pieces.size(); ++nth) {
            const ImageRange piece{begin, begin + sample_.description.raw.pieces[nth].data.length};
            const auto data = image_.bytes.begin();
            image.mended.push_back({nth,
                                    {data + static_cast<std::ptrdiff_t>(piece.begin),
                                     data + static_cast<std::ptrdiff_t>(piece.end)}});
            std::vector<ImageRange> own{piece};
            remove_ranges(image_.lost, own);
            remove_ranges(image_.doubtful, own);
            image.proved += own == std::vector{piece} ? 1U : 0U;
            std::vector<ImageRange> found{piece};
            remove_ranges(image_.lost, found);
            image.pieces.push_back(found.empty() ? std::nullopt : place_of(piece, segments));
            begin = piece.end;
        }
    }

    /// From the first byte of a piece that is in the file to the last.
    [[nodiscard]] static std::optional<Extent> place_of(const ImageRange& piece,
                                                        const RowSegments& segments) {
        std::optional<Extent> place;
        for (const RowSegment& segment : segments.segments) {
            const std::uint64_t begin = std::max(segment.image.begin, piece.begin);
            const std::uint64_t end = std::min(segment.image.end, piece.end);
            if (begin < end) {
                const auto offset =
                    static_cast<std::uint64_t>(segment.start + static_cast<std::int64_t>(begin));
                const std::uint64_t first = place ? place->offset : offset;
                place = Extent{first, offset + (end - begin) - first};
            }
        }
        return place;
    }

    Bytes damaged_;
    const Sample& sample_;
    const RowGeometry& geometry_;
    std::uint64_t length_;
    std::vector<PhasePiece> pieces_;
    RowImage image_;
};

} // namespace

std::optional<MendedRows> mend_torn_rows(Bytes damaged, const Sample& sample,
                                         const std::optional<OwnStructure>& own, Filling filling) {
    if (!sample.rows || has_twin(sample.description)) {
        return std::nullopt;
    }
    return TornRowsSearch(damaged, sample).find(own, filling);
}

} // namespace raw_mend
