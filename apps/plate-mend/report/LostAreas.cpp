#include "report/LostAreas.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace plate_mend::host {

namespace {

// How a picture is turned, as PicturePlace has it.
constexpr unsigned kMirrorColumns = 1;
constexpr unsigned kMirrorRows = 2;
constexpr unsigned kSwap = 4;

/// Columns or rows from the first to before the end.
struct Range {
    double first = 0;
    double end = 0;
};

/// From pixels of the frame to those of the picture on the sensor, and from there to those that are shown.
Range map(std::uint32_t first, std::uint32_t length, double to_sensor, std::uint32_t margin, double stretch) {
    const double begin = first;
    return {(begin * to_sensor - margin) * stretch, ((begin + length) * to_sensor - margin) * stretch};
}

Range mirrored(const Range& range, double length) {
    return {length - range.end, length - range.first};
}

/// Whole pixels within the picture.
std::pair<std::uint32_t, std::uint32_t> clipped(const Range& range, std::uint32_t length) {
    const double most = length;
    const auto first = static_cast<std::uint32_t>(std::clamp(std::floor(range.first), 0.0, most));
    const auto end = static_cast<std::uint32_t>(std::clamp(std::ceil(range.end), 0.0, most));
    return {first, end - std::min(first, end)};
}

double columns_stretch(const PicturePlace& place) {
    return place.pixel_aspect > 1 ? place.pixel_aspect : 1;
}

double rows_stretch(const PicturePlace& place) {
    return place.pixel_aspect > 0 && place.pixel_aspect < 1 ? 1 / place.pixel_aspect : 1;
}

/// The size before the picture is turned.
ShownSize stretched_size(const PicturePlace& place) {
    return {static_cast<std::uint32_t>(std::lround(place.width * columns_stretch(place))),
            static_cast<std::uint32_t>(std::lround(place.height * rows_stretch(place)))};
}

bool is_turned(const PicturePlace& place) {
    return (place.turn & kSwap) != 0;
}

FrameArea shown_area(const FrameArea& area, const FoundImage& image, const PicturePlace& place) {
    const ShownSize size = stretched_size(place);
    Range columns = map(area.left, area.width, static_cast<double>(place.sensor_width) / image.frame_width,
                        place.left, columns_stretch(place));
    Range rows = map(area.top, area.height, static_cast<double>(place.sensor_height) / image.frame_height,
                     place.top, rows_stretch(place));
    columns = (place.turn & kMirrorColumns) != 0 ? mirrored(columns, size.width) : columns;
    rows = (place.turn & kMirrorRows) != 0 ? mirrored(rows, size.height) : rows;
    const auto [left, width] = clipped(columns, size.width);
    const auto [top, height] = clipped(rows, size.height);
    return is_turned(place) ? FrameArea{top, left, height, width} : FrameArea{left, top, width, height};
}

/// More rectangles than these are not drawn as they are: a page of thousands of files would become too long.
constexpr std::size_t kMostDrawn = 400;

/// Cells per side of a picture, instead: 27 rows of at most 14 runs.
constexpr std::uint32_t kCells = 27;

/// The area as cells of a grid that covers the picture, with all that it touches.
void mark(const FrameArea& area, const ShownSize& cell, std::vector<std::vector<bool>>& cells) {
    const auto last = [](std::uint32_t first, std::uint32_t length, std::uint32_t side) {
        return std::min((first + length - 1) / side, kCells - 1);
    };
    for (std::uint32_t row = area.top / cell.height; row <= last(area.top, area.height, cell.height); ++row) {
        for (std::uint32_t column = area.left / cell.width; column <= last(area.left, area.width, cell.width);
             ++column) {
            cells[row][column] = true;
        }
    }
}

/// The areas, or the cells that they touch, side by side in one rectangle, if there are too many.
std::vector<FrameArea> fewer(std::vector<FrameArea> areas, const ShownSize& size) {
    if (areas.size() <= kMostDrawn) {
        return areas;
    }
    const ShownSize cell{(size.width + kCells - 1) / kCells, (size.height + kCells - 1) / kCells};
    std::vector<std::vector<bool>> cells(kCells, std::vector<bool>(kCells));
    for (const FrameArea& area : areas) {
        mark(area, cell, cells);
    }
    std::vector<FrameArea> runs;
    for (std::uint32_t row = 0; row < kCells; ++row) {
        for (std::uint32_t column = 0; column < kCells; ++column) {
            const bool continues = column != 0 && cells[row][column - 1];
            if (cells[row][column] && continues) {
                runs.back().width += cell.width;
            } else if (cells[row][column]) {
                runs.push_back({column * cell.width, row * cell.height, cell.width, cell.height});
            }
        }
    }
    for (FrameArea& run : runs) {
        run.width = std::min(run.width, size.width - run.left);
        run.height = std::min(run.height, size.height - run.top);
    }
    return runs;
}

std::string draw(const std::vector<FrameArea>& areas, const char* kind) {
    std::string svg;
    for (const FrameArea& area : areas) {
        svg += std::string("<rect class=\"") + kind + "\" x=\"" + std::to_string(area.left) + "\" y=\"" +
               std::to_string(area.top) + "\" width=\"" + std::to_string(area.width) + "\" height=\"" +
               std::to_string(area.height) + "\"/>";
    }
    return svg;
}

} // namespace

ShownSize shown_size(const PicturePlace& place) {
    const ShownSize size = stretched_size(place);
    return is_turned(place) ? ShownSize{size.height, size.width} : size;
}

std::vector<FrameArea> shown_areas(const std::vector<FrameArea>& areas, const FoundImage& image,
                                   const PicturePlace& place) {
    std::vector<FrameArea> shown;
    for (const FrameArea& area : areas) {
        const FrameArea one = shown_area(area, image, place);
        if (one.width != 0 && one.height != 0) {
            shown.push_back(one);
        }
    }
    return shown;
}

DrawnAreas drawn_areas(const Attempt& taken) {
    if (!taken.image || !taken.judgement.place || taken.image->frame_width == 0 ||
        taken.image->frame_height == 0) {
        return {};
    }
    const PicturePlace& place = *taken.judgement.place;
    const ShownSize size = shown_size(place);
    return {size, fewer(shown_areas(taken.image->lost, *taken.image, place), size),
            fewer(shown_areas(taken.image->doubtful, *taken.image, place), size)};
}

std::string draw_areas(const Attempt& taken) {
    const DrawnAreas drawn = drawn_areas(taken);
    if (drawn.lost.empty() && drawn.doubtful.empty()) {
        return "";
    }
    return R"(<svg viewBox="0 0 )" + std::to_string(drawn.size.width) + ' ' +
           std::to_string(drawn.size.height) + R"(" aria-hidden="true">)" + draw(drawn.doubtful, "doubtful") +
           draw(drawn.lost, "lost") + "</svg>";
}

std::string legend_of_areas(const Attempt& taken) {
    const DrawnAreas drawn = drawn_areas(taken);
    const std::string lost = drawn.lost.empty() ? "" : "<span class=\"lost\">lost pixels</span>";
    const std::string doubtful =
        drawn.doubtful.empty() ? "" : "<span class=\"doubtful\">doubtful pixels</span>";
    return lost.empty() && doubtful.empty() ? "" : "<p class=\"legend\">" + lost + doubtful + "</p>\n";
}

} // namespace plate_mend::host
