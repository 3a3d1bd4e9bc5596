#include "judge/PreviewOverlay.h"

#include "files/JpegFinder.h"
#include "judge/BlockFit.h"
#include "judge/Image.h"
#include "judge/Picture.h"
#include "judge/signs/Sign.h"
#include "platform/MappedFile.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <span>

namespace plate_mend::host {

namespace {

constexpr std::size_t kMostColumns = 64; ///< Of blocks.
constexpr std::size_t kFewestColumns = 16;
constexpr std::size_t kPreviewPixels = 2; ///< Per block, and side.
constexpr std::size_t kPicturePixels = 7; ///< Likewise, of the sensor.
constexpr std::size_t kMostPreviews = 8;  ///< That are decoded.
constexpr double kOtherShape = 0.04; ///< Previews whose proportions differ by more are of another picture.
constexpr double kDarkest = 4;       ///< Levels of the preview that say something.
constexpr double kLightest = 250;
constexpr double kFlat = 8; ///< Deviation in levels below which a preview shows nothing.
/// Scatter by contrast from which a preview is of another photograph.
constexpr double kStrangeScatter = 0.15;
/// The smallest area that counts is one part in so many of all blocks.
constexpr std::size_t kAreaParts = 300;

bool has_shape(std::uint32_t width, std::uint32_t height, const SensorView& view) {
    const double shape = static_cast<double>(width) / height;
    const double wanted = static_cast<double>(view.columns) / static_cast<double>(view.rows);
    return std::abs(shape / wanted - 1) <= kOtherShape;
}

BlockGrid grid_for(std::size_t preview_width, const SensorView& view) {
    BlockGrid grid;
    grid.columns = std::min({kMostColumns, preview_width / kPreviewPixels, view.columns / kPicturePixels});
    grid.rows = std::max<std::size_t>(1, grid.columns * view.rows / std::max<std::size_t>(1, view.columns));
    return grid;
}

/// Whether a row is known in a row of blocks, or in one beside it.
bool is_known(const BlockGrid& grid, std::size_t y, const std::vector<bool>& known) {
    const std::size_t first = (y - std::min<std::size_t>(y, 1)) * known.size() / grid.rows;
    return is_any_marked(known, first, (y + 2) * known.size() / grid.rows + 1);
}

std::vector<double> light_of(const Image& preview, const BlockGrid& grid, const std::vector<bool>& known) {
    const Image small = scale(preview, grid.columns, grid.rows);
    std::vector<double> light;
    for (std::size_t y = 0; y < grid.rows; ++y) {
        const bool left_out = is_known(grid, y, known);
        for (std::size_t x = 0; x < grid.columns; ++x) {
            const unsigned char* pixel = small.pixel(x, y);
            const double level = 0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2];
            light.push_back(!left_out && level >= kDarkest && level <= kLightest ? level : -level - 1);
        }
    }
    return light;
}

/// Rows of one value per colour: zeros, or what they decode to, are in the place of what is lost.
std::vector<bool> rows_without_picture(const SensorView& view) {
    std::vector<bool> rows(view.rows);
    for (std::size_t y = 0; y < view.rows; ++y) {
        const std::uint16_t* row = view.row(y);
        rows[y] = view.columns > view.dx && std::equal(row, row + view.columns - view.dx, row + view.dx);
    }
    return rows;
}

/// What one preview says of the picture.
enum class Answer {
    kSame,    ///< It shows the picture.
    kOther,   ///< It shows the picture, except some of its parts.
    kStrange, ///< It shows another photograph: a head or a remainder of that may be in the file.
    kNothing
};

struct Comparison {
    Answer answer = Answer::kNothing;
    std::size_t area = 0; ///< Blocks that differ.
    std::size_t blocks = 0;
};

Comparison compare(const RawDecoder& decoder, const std::vector<bool>& known, const Image& preview) {
    const BlockGrid grid = grid_for(preview.width, decoder.sensor_view());
    if (grid.columns < kFewestColumns) {
        return {};
    }
    const BlockFit fit = fit_blocks(grid, decoder.block_colours(grid), light_of(preview, grid, known));
    if (fit.contrast < kFlat) {
        return {};
    }
    if (fit.scatter > kStrangeScatter * fit.contrast) {
        return {Answer::kStrange, 0, grid.size()};
    }
    return {fit.largest_area * kAreaParts >= grid.size() ? Answer::kOther : Answer::kSame, fit.largest_area,
            grid.size()};
}

std::string describe(const Comparison& comparison) {
    return std::to_string(comparison.area) + " of " + std::to_string(comparison.blocks) +
           " parts of the picture differ from the file's own preview";
}

} // namespace

PreviewDoubts compare_with_previews(const RawDecoder& decoder, const std::filesystem::path& damaged,
                                    const std::vector<bool>& known) {
    platform::MappedFile mapped;
    const SensorView view = decoder.sensor_view();
    if (!decoder.has_colour_filter() || view.rows == 0 || view.columns == 0 ||
        mapped.open(damaged, std::numeric_limits<std::uint64_t>::max()) != platform::MapResult::kMapped) {
        return {};
    }
    PreviewDoubts doubts;
    std::optional<Comparison> best;
    std::size_t decoded = 0;
    for (const JpegFound& jpeg : find_jpegs(mapped.bytes())) {
        if (decoded == kMostPreviews || !has_shape(jpeg.width, jpeg.height, view)) {
            continue;
        }
        ++decoded;
        const auto preview = decode_coarsely(mapped.bytes().subspan(static_cast<std::size_t>(jpeg.offset)));
        const Comparison comparison = preview ? compare(decoder, known, *preview) : Comparison{};
        if (comparison.answer == Answer::kSame) {
            return {};
        }
        doubts.strange = doubts.strange || comparison.answer == Answer::kStrange;
        if (comparison.answer == Answer::kOther && (!best || comparison.area < best->area)) {
            best = comparison;
        }
    }
    if (best) {
        doubts.findings.push_back(describe(*best));
    }
    return doubts;
}

std::optional<bool> shows_picture(const RawDecoder& decoder, std::span<const unsigned char> jpeg) {
    const SensorView view = decoder.sensor_view();
    if (!decoder.has_colour_filter() || view.rows == 0 || view.columns == 0) {
        return std::nullopt;
    }
    const auto preview = decode_coarsely(jpeg);
    if (!preview || !has_shape(static_cast<std::uint32_t>(preview->width),
                               static_cast<std::uint32_t>(preview->height), view)) {
        return std::nullopt;
    }
    const Answer answer = compare(decoder, rows_without_picture(view), *preview).answer;
    return answer == Answer::kNothing ? std::nullopt : std::optional(answer != Answer::kStrange);
}

} // namespace plate_mend::host
