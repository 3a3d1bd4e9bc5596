#include "judge/Account.h"

#include "text/Format.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <cmath>

namespace plate_mend::host {

namespace {

/// Signs compare a row with those of its colour next to it: 6 rows on with an X-Trans filter.
constexpr std::uint64_t kReach = 6;

/// Rows from the first to before the end.
struct RowRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0;
};

/// Where the rows of an area are on the sensor. Frame and sensor may differ in height.
RowRange rows_on_sensor(const FrameArea& area, std::uint32_t frame_rows, std::uint32_t sensor_rows) {
    const std::uint64_t end = std::uint64_t{area.top} + area.height;
    return {area.top * std::uint64_t{sensor_rows} / frame_rows,
            (end * sensor_rows + frame_rows - 1) / frame_rows};
}

double share_of(std::uint64_t some, std::uint64_t all) {
    return static_cast<double>(some) / static_cast<double>(all);
}

/// To four digits.
double cut_down(double share) {
    constexpr double kSteps = 10000;
    constexpr double kInexact = 1e-6;
    return std::max(0.0, std::floor(share * kSteps + kInexact) / kSteps);
}

/// Never less than it is: "0.1 %" for next to nothing.
std::string format_loss(std::uint64_t some, std::uint64_t all) {
    return format_decimal(std::ceil(share_of(some, all) * 1000) / 10, 1) + " %";
}

} // namespace

std::vector<bool> accounted_rows(const FoundImage& image, std::uint32_t sensor_rows, std::uint32_t first_row,
                                 std::size_t rows) {
    std::vector<bool> accounted(rows);
    if (image.frame_height == 0) {
        return accounted;
    }
    for (const auto* areas : {&image.lost, &image.doubtful}) {
        for (const FrameArea& area : *areas) {
            const RowRange range = rows_on_sensor(area, image.frame_height, sensor_rows);
            const std::uint64_t begin = std::uint64_t{first_row} + kReach;
            const std::uint64_t first = range.first - std::min(range.first, begin);
            const std::uint64_t end =
                range.end + kReach - std::min<std::uint64_t>(range.end + kReach, first_row);
            for (std::uint64_t row = first; row < std::min<std::uint64_t>(end, rows); ++row) {
                accounted[row] = true;
            }
        }
    }
    return accounted;
}

std::vector<std::string> describe_account(const FoundImage& image) {
    std::vector<std::string> sentences;
    if (image.pixels == 0) {
        return sentences;
    }
    if (image.pixels_lost != 0) {
        sentences.push_back(format_loss(image.pixels_lost, image.pixels) + " of the pixels are lost and " +
                            (image.filled ? "were filled from their neighbours" : "are zero"));
    }
    if (image.pixels_doubtful != 0) {
        sentences.push_back(format_loss(image.pixels_doubtful, image.pixels) +
                            " of the pixels are doubtful: nothing proves them");
    }
    return sentences;
}

std::optional<double> share_of_good_pixels(const FoundImage& image, std::optional<double> rows_good) {
    if (image.pixels == 0 || !rows_good) {
        return std::nullopt;
    }
    const double own =
        1 - share_of(image.pixels_lost, image.pixels) - share_of(image.pixels_doubtful, image.pixels);
    return cut_down(own - (1 - *rows_good));
}

bool has_unknown_levels(const FoundImage& image) {
    return image.way == RAW_MEND_WAY_TRIAL_DECODING && image.pieces_mended != 0 &&
           image.pixels_doubtful != 0 && image.pixels_lost + image.pixels_doubtful == image.pixels;
}

bool is_nearly_all_doubtful(const FoundImage& image) {
    constexpr double kNearlyAll = 0.99;
    constexpr double kMostly = 0.5;
    return image.pieces_mended != 0 && image.pixels != 0 &&
           share_of(image.pixels_lost + image.pixels_doubtful, image.pixels) > kNearlyAll &&
           share_of(image.pixels_doubtful, image.pixels) > kMostly;
}

std::optional<double> share_of_proved_pieces(const FoundImage& image) {
    const bool is_guess = (image.notes & RAW_MEND_PLACES_GUESSED) != 0;
    if (image.pixels == 0 || is_guess || image.pieces_proved == 0 || image.pieces_proved >= image.pieces) {
        return std::nullopt;
    }
    return cut_down(share_of(image.pieces_proved, image.pieces));
}

} // namespace plate_mend::host
