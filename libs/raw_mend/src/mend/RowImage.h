#pragma once

#include "container/Description.h"
#include "locate/RowGeometry.h"
#include "mend/Filling.h"
#include "mend/RowSegments.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// The rows of an image that was put together anew, and what is known of its bytes.
struct RowImage {
    std::vector<unsigned char> bytes;
    std::vector<ImageRange> lost;     ///< By offset, apart.
    std::vector<ImageRange> doubtful; ///< Likewise; none of them lost.
};

/// The bytes of all segments at their places; zeros where there are none. The segments are in order, apart,
/// and within the image and the file.
[[nodiscard]] RowImage assemble_rows(Bytes file, const RowGeometry& geometry, const RowSegments& segments);

/// Sorts ranges, and joins those that touch or overlap.
void join_ranges(std::vector<ImageRange>& ranges);

/// Leaves what is in none of some other ranges, which are sorted and apart.
void remove_ranges(const std::vector<ImageRange>& others, std::vector<ImageRange>& ranges);

/// Adds what is lost. It is not doubtful any more.
void add_lost(const std::vector<ImageRange>& ranges, RowImage& image);

/// Runs of one value, of a sector or more.
[[nodiscard]] std::vector<ImageRange> find_filler_runs(Bytes image);

/// Fills what is lost: from the nearest bytes of the same columns and colours in the same piece, or with
/// zeros.
void fill_lost_rows(const RowGeometry& geometry, std::uint64_t rows_of_piece, Filling filling,
                    RowImage& image);

/// The pixels of a frame that have bytes in the ranges, which are sorted and apart. Pixels of strips or tiles
/// beyond the frame are left out.
[[nodiscard]] std::vector<Area> areas_of(const std::vector<ImageRange>& ranges, const RowGeometry& geometry,
                                         const Frame& frame);

} // namespace raw_mend
