#pragma once

#include "support/oracle/Draft.h"

#include <cstdint>

namespace test::oracle {

/// What a repair reads of the sample of an ARW or an SR2: IFD 0 with a preview and the offset of the Sub IFD,
/// and the Sub IFD with the strip.
struct SonySample {
    explicit SonySample(const Bytes& bytes);

    /// The offset of the JPEG that a directory names with the tags 513 and 514. They are searched for up to
    /// end; see Draft::typed_tag.
    [[nodiscard]] std::uint64_t preview_of(std::uint64_t directory, std::uint64_t end,
                                           std::uint64_t step) const;

    Draft file;
    std::uint64_t ifd1 = 0;
    std::uint64_t preview = 0;    ///< The JPEG of IFD 0.
    std::uint64_t image = 0;      ///< The value of StripOffsets.
    std::uint64_t byte_count = 0; ///< The entry of StripByteCounts.
};

/// The end of a search for a tag in [start, end). An end before the start is no bound at all.
[[nodiscard]] std::uint64_t bound(std::uint64_t start, std::uint64_t end);

} // namespace test::oracle
