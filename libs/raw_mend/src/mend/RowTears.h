#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// A place in a file where rows differ from those above them more than the rows around it do: where something
/// is lost, or where the picture changes at once.
struct RowTear {
    std::uint64_t before = 0; ///< Offset of the first row that does.
    std::uint64_t after = 0;  ///< Offset of the first row that is all after the place.
    double excess = 0;        ///< By how much they differ too much, in standard deviations.
};

/// The tears in the rows of an image, by offset, without the first and the last few rows. Reads each row once
/// for each start.
///
///   starts  offsets at which the image may begin, the first by its first bytes: one or more for each place
///           where a group of samples may begin. Others make packed samples look torn everywhere.
[[nodiscard]] std::vector<RowTear> find_row_tears(Bytes file, const RowGeometry& geometry,
                                                  std::span<const std::int64_t> starts);

/// The sum by which the samples of two rows of the same width differ.
[[nodiscard]] double difference_of_rows(const std::vector<float>& one, const std::vector<float>& other);

/// By how much such a sum differs by chance, if it is of so many samples.
[[nodiscard]] double deviation_of_rows(double sum, std::size_t samples);

} // namespace raw_mend
