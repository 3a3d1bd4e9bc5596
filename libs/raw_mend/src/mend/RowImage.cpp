#include "mend/RowImage.h"

#include "locate/Sectors.h"

#include <algorithm>
#include <iterator>

namespace raw_mend {

namespace {

/// Searches the lost ranges of an image.
class Lost {
  public:
    explicit Lost(const std::vector<ImageRange>& ranges) : ranges_(ranges) {}

    [[nodiscard]] bool overlaps(std::uint64_t begin, std::uint64_t end) const {
        const auto range = std::ranges::upper_bound(ranges_, begin, {}, &ImageRange::end);
        return range != ranges_.end() && range->begin < end;
    }

  private:
    const std::vector<ImageRange>& ranges_;
};

/// Takes lost bytes from the nearest rows.
class RowFilling {
  public:
    RowFilling(const RowGeometry& geometry, std::uint64_t rows_of_piece, RowImage& image)
        : geometry_(geometry), rows_of_piece_(rows_of_piece), image_(image), lost_(image.lost) {}

    void fill() {
        for (const ImageRange& range : image_.lost) {
            for (std::uint64_t at = range.begin; at < range.end;) {
                const std::uint64_t row_end = at - at % geometry_.row_bytes + geometry_.row_bytes;
                const std::uint64_t end = std::min(range.end, row_end);
                fill_part_of_row(range, at, end);
                at = end;
            }
        }
    }

  private:
    /// From the nearest row above the range or below it.
    void fill_part_of_row(const ImageRange& range, std::uint64_t begin, std::uint64_t end) {
        const std::uint64_t row = begin / geometry_.row_bytes;
        const std::uint64_t first = row / rows_of_piece_ * rows_of_piece_;
        const std::uint64_t last = std::min(first + rows_of_piece_, geometry_.rows);
        const std::uint64_t above = away(end - range.begin);
        const std::uint64_t below = away(range.end - begin);
        for (std::uint64_t farther = 0; farther <= kMostFarther; farther += geometry_.cfa_period) {
            const std::uint64_t up = (above + farther) * geometry_.row_bytes;
            const std::uint64_t down = (below + farther) * geometry_.row_bytes;
            const bool is_above = row >= first + above + farther && !lost_.overlaps(begin - up, end - up);
            const bool is_below = row + below + farther < last && !lost_.overlaps(begin + down, end + down);
            if (is_above && (above <= below || !is_below)) {
                return copy(begin - up, begin, end);
            }
            if (is_below) {
                return copy(begin + down, begin, end);
            }
        }
    }

    /// Rows of the same colours in so many bytes, rounded up.
    [[nodiscard]] std::uint64_t away(std::uint64_t bytes) const {
        const std::uint64_t period = geometry_.cfa_period * geometry_.row_bytes;
        return (bytes + period - 1) / period * geometry_.cfa_period;
    }

    void copy(std::uint64_t from, std::uint64_t begin, std::uint64_t end) {
        const auto data = image_.bytes.begin();
        std::copy_n(data + static_cast<std::ptrdiff_t>(from), end - begin,
                    data + static_cast<std::ptrdiff_t>(begin));
    }

    static constexpr std::uint64_t kMostFarther = 64; ///< Rows, if others are lost too. Then it stays zero.

    const RowGeometry& geometry_;
    std::uint64_t rows_of_piece_;
    RowImage& image_;
    Lost lost_;
};

/// Columns [first, last) of the rows of a piece, in pixels.
struct Columns {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

class Areas {
  public:
    Areas(const RowGeometry& geometry, const Frame& frame)
        : geometry_(geometry), frame_(frame),
          across_((frame.width + frame.piece_width - 1) / frame.piece_width) {}

    void add(const ImageRange& range) {
        for (std::uint64_t at = range.begin; at < range.end;) {
            const std::uint64_t row = at / geometry_.row_bytes;
            const std::uint64_t row_end = (row + 1) * geometry_.row_bytes;
            const std::uint64_t whole =
                at % geometry_.row_bytes == 0 ? (range.end - at) / geometry_.row_bytes : 0;
            if (whole > 0) {
                add_rows(row, row + whole);
                at += whole * geometry_.row_bytes;
            } else {
                const std::uint64_t end = std::min(range.end, row_end);
                add_part(row, columns(at % geometry_.row_bytes, end - row * geometry_.row_bytes), 1);
                at = end;
            }
        }
    }

    std::vector<Area> take() { return std::move(areas_); }

  private:
    /// Of the bytes [begin, end) of a row.
    [[nodiscard]] Columns columns(std::uint64_t begin, std::uint64_t end) const {
        if (geometry_.packing == Packing::kCells) {
            constexpr std::uint64_t kPair = 32; // Two cells hold as many columns, by turns.
            return {begin / kPair * kPair, (end + kPair - 1) / kPair * kPair};
        }
        const bool are_words =
            geometry_.packing == Packing::kLittleWords || geometry_.packing == Packing::kBigWords;
        const std::uint64_t bits =
            std::uint64_t{are_words ? 16 : geometry_.bits} * geometry_.samples_per_pixel;
        return {begin * 8 / bits, (end * 8 + bits - 1) / bits};
    }

    /// Whole rows, which may be of several pieces.
    void add_rows(std::uint64_t first, std::uint64_t last) {
        while (first < last) {
            const std::uint64_t end =
                across_ == 1 ? last : std::min(last, (first / frame_.piece_height + 1) * frame_.piece_height);
            add_part(first, {0, frame_.piece_width}, end - first);
            first = end;
        }
    }

    void add_part(std::uint64_t row, const Columns& columns, std::uint64_t height) {
        const std::uint64_t piece = across_ == 1 ? 0 : row / frame_.piece_height;
        const std::uint64_t left = piece % across_ * frame_.piece_width;
        const std::uint64_t top =
            across_ == 1 ? row : piece / across_ * frame_.piece_height + row % frame_.piece_height;
        const std::uint64_t begin = std::min<std::uint64_t>(left + columns.first, frame_.width);
        const std::uint64_t most = std::min<std::uint64_t>(left + frame_.piece_width, frame_.width);
        const std::uint64_t end = std::min(left + columns.last, most);
        const std::uint64_t bottom = std::min<std::uint64_t>(top + height, frame_.height);
        if (begin < end && top < bottom) {
            areas_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(top),
                              static_cast<std::uint32_t>(end - begin),
                              static_cast<std::uint32_t>(bottom - top)});
        }
    }

    const RowGeometry& geometry_;
    const Frame& frame_;
    std::uint64_t across_; ///< Pieces side by side.
    std::vector<Area> areas_;
};

} // namespace

RowImage assemble_rows(Bytes file, const RowGeometry& geometry, const RowSegments& segments) {
    RowImage image{std::vector<unsigned char>(static_cast<std::size_t>(geometry.image_bytes())), {}, {}};
    std::uint64_t end = 0;
    for (const RowSegment& segment : segments.segments) {
        const auto from =
            static_cast<std::size_t>(segment.start + static_cast<std::int64_t>(segment.image.begin));
        const Bytes bytes = file.subspan(from, static_cast<std::size_t>(segment.image.length()));
        std::ranges::copy(bytes, image.bytes.begin() + static_cast<std::ptrdiff_t>(segment.image.begin));
        if (segment.image.begin > end) {
            image.lost.push_back({end, segment.image.begin});
        }
        end = segment.image.end;
    }
    if (end < image.bytes.size()) {
        image.lost.push_back({end, image.bytes.size()});
    }
    image.doubtful = segments.doubtful;
    join_ranges(image.doubtful);
    remove_ranges(image.lost, image.doubtful);
    return image;
}

void join_ranges(std::vector<ImageRange>& ranges) {
    std::ranges::sort(ranges, {}, &ImageRange::begin);
    std::vector<ImageRange> joined;
    for (const ImageRange& range : ranges) {
        if (!joined.empty() && range.begin <= joined.back().end) {
            joined.back().end = std::max(joined.back().end, range.end);
        } else if (range.length() > 0) {
            joined.push_back(range);
        }
    }
    ranges = std::move(joined);
}

void remove_ranges(const std::vector<ImageRange>& others, std::vector<ImageRange>& ranges) {
    std::vector<ImageRange> rest;
    for (ImageRange range : ranges) {
        auto other = std::ranges::upper_bound(others, range.begin, {}, &ImageRange::end);
        for (; other != others.end() && other->begin < range.end; ++other) {
            if (range.begin < other->begin) {
                rest.push_back({range.begin, other->begin});
            }
            range.begin = std::min(other->end, range.end);
        }
        if (range.length() > 0) {
            rest.push_back(range);
        }
    }
    ranges = std::move(rest);
}

void add_lost(const std::vector<ImageRange>& ranges, RowImage& image) {
    image.lost.insert(image.lost.end(), ranges.begin(), ranges.end());
    join_ranges(image.lost);
    remove_ranges(image.lost, image.doubtful);
}

std::vector<ImageRange> find_filler_runs(Bytes image) {
    constexpr std::size_t kBlock = kSectorBytes / 2; // A run of a sector has a whole one.
    std::vector<ImageRange> runs;
    for (std::size_t block = 0; block + kBlock <= image.size();) {
        const unsigned char value = image[block];
        const auto is_other = [value](unsigned char byte) { return byte != value; };
        const auto from = image.begin() + static_cast<std::ptrdiff_t>(block);
        if (std::any_of(from, from + kBlock, is_other)) {
            block += kBlock;
            continue;
        }
        const auto end = static_cast<std::size_t>(std::find_if(from, image.end(), is_other) - image.begin());
        const auto before = std::find_if(std::reverse_iterator(from), image.rend(), is_other);
        const auto begin = static_cast<std::size_t>(before.base() - image.begin());
        if (end - begin >= kSectorBytes) {
            runs.push_back({begin, end});
        }
        block = (end + kBlock - 1) / kBlock * kBlock;
    }
    return runs;
}

void fill_lost_rows(const RowGeometry& geometry, std::uint64_t rows_of_piece, Filling filling,
                    RowImage& image) {
    for (const ImageRange& range : image.lost) {
        std::fill(image.bytes.begin() + static_cast<std::ptrdiff_t>(range.begin),
                  image.bytes.begin() + static_cast<std::ptrdiff_t>(range.end),
                  static_cast<unsigned char>(0));
    }
    if (filling == Filling::kNeighbours) {
        RowFilling(geometry, rows_of_piece, image).fill();
    }
}

std::vector<Area> areas_of(const std::vector<ImageRange>& ranges, const RowGeometry& geometry,
                           const Frame& frame) {
    Areas areas(geometry, frame);
    for (const ImageRange& range : ranges) {
        areas.add(range);
    }
    return areas.take();
}

} // namespace raw_mend
