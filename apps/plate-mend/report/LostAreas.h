#pragma once

#include "record/Record.h"

#include <cstdint>
#include <string>
#include <vector>

// Where a small picture of a result shows lost and doubtful pixels.

namespace plate_mend::host {

/// Size of a picture as it is shown: upright, and with square pixels.
struct ShownSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};
[[nodiscard]] ShownSize shown_size(const PicturePlace& place);

/// The areas as they are shown in a picture of shown_size(), without what is outside it: each covers at least
/// all of its pixels.
///
///   image  with the size of the frame that the areas are of
[[nodiscard]] std::vector<FrameArea> shown_areas(const std::vector<FrameArea>& areas, const FoundImage& image,
                                                 const PicturePlace& place);

/// What is drawn over the picture of a result: many small areas become the cells of a grid that they touch.
/// All empty if there are none, or their place in the picture is not known.
struct DrawnAreas {
    ShownSize size{}; ///< Of the picture, which the areas are pixels of.
    std::vector<FrameArea> lost{};
    std::vector<FrameArea> doubtful{};
};
[[nodiscard]] DrawnAreas drawn_areas(const Attempt& taken);

/// A drawing of these to lay over the picture: an SVG element with the picture's proportions. Empty if there
/// are none.
[[nodiscard]] std::string draw_areas(const Attempt& taken);

/// The drawing's legend as HTML; empty without a drawing.
[[nodiscard]] std::string legend_of_areas(const Attempt& taken);

} // namespace plate_mend::host
