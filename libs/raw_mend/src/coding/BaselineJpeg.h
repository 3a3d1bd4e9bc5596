#pragma once

#include "container/Description.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// A baseline JPEG (SOF0, or SOF1 with 8 bits) with one scan.
struct BaselineJpeg {
    Extent data; ///< From SOI to after EOI.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned components = 0;
};

/// How the decoding of a JPEG ended.
struct BaselineCheck {
    /// Nothing if there is no such JPEG, or its entropy-coded data do not end with EOI directly after the
    /// last MCU.
    std::optional<BaselineJpeg> jpeg;
    std::uint64_t bytes_read = 0; ///< Up to the end, or the first fault.
};

/// Decodes the coefficients of the JPEG whose SOI is at the offset. Takes time proportional to the bytes up
/// to the first fault.
[[nodiscard]] BaselineCheck check_baseline_jpeg(Bytes bytes, std::uint64_t offset);

} // namespace raw_mend
