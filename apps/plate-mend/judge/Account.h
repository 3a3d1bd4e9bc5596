#pragma once

#include "record/Record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the raw engine counts as lost or doubtful in a result, and what the judge makes of it.

namespace plate_mend::host {

/// Rows of the picture in which pixels are counted as lost or doubtful, and rows so near to these that signs
/// of damage show there: one per row. None for no areas.
///
///   sensor_rows  of the decoded sensor
///   first_row    of the picture, on the sensor
///   rows         of the picture
[[nodiscard]] std::vector<bool> accounted_rows(const FoundImage& image, std::uint32_t sensor_rows,
                                               std::uint32_t first_row, std::size_t rows);

/// "0.4 % of the pixels are lost and were filled from their neighbours", and likewise for doubtful ones. None
/// where all pixels are the photograph's own.
[[nodiscard]] std::vector<std::string> describe_account(const FoundImage& image);

/// Judgement::pixels_good.
///
///   rows_good  share of rows without a sign of damage, apart from those accounted for
[[nodiscard]] std::optional<double> share_of_good_pixels(const FoundImage& image,
                                                         std::optional<double> rows_good);

/// Whether nothing can be promised of an image although its place is proved: of a stream whose beginning is
/// lost, most survives, but at levels that are the sample's.
[[nodiscard]] bool has_unknown_levels(const FoundImage& image);

/// Whether nearly nothing can be promised of an image that was put together anew, although most of it is
/// there: it goes on after an early loss, but nothing proves where and at which levels.
[[nodiscard]] bool is_nearly_all_doubtful(const FoundImage& image);

/// The same where no rows are known to be good, but coded data prove that pieces are: only these are
/// promised. Nothing if none is, or their places are a guess.
[[nodiscard]] std::optional<double> share_of_proved_pieces(const FoundImage& image);

} // namespace plate_mend::host
