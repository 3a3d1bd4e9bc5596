#pragma once

#include "coding/DifferenceCodes.h"
#include "container/Description.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace raw_mend {

/// How far data without a head could be decoded.
struct Trial {
    std::uint64_t values = 0; ///< Before the first that cannot be, or the end of the data.
    std::uint64_t bytes = 0;  ///< Up to the end of the last of them; not used if they are not all.
};

/// A coding without a head in the data: where they begin and end, and of what, has to be known.
struct HeadlessCoding {
    std::uint64_t values = 0; ///< Of the whole image.
    /// Decodes from the first byte. Takes time proportional to the values up to the first that cannot be: one
    /// that is no code, or not in the range of the sensor's values.
    std::function<Trial(Bytes)> decode;
    /// Of all values, if each stands alone; else null.
    std::shared_ptr<const DifferenceCodes> codes;

    /// How much rows of an image that decodes differ from those of their colours above: the least if it is
    /// decoded from the right place. Null where values do not add up along rows.
    std::function<double(Bytes)> roughness;

    /// How unsteady the levels of its rows are, as RowLevels measures: high if values were lost or put in
    /// somewhere, although all decode. Null likewise.
    std::function<double(Bytes)> unsteadiness{};

    /// Decodes from an offset of the file. Nothing if not all values are there.
    [[nodiscard]] std::optional<Extent> decode_at(Bytes file, std::uint64_t offset) const;
};

/// The codings that a described image may have: those of Nikon (compression 34713), Olympus, Pentax (65535)
/// and Sony (32767, before cells). Several if the container leaves open how many rows are coded; none for
/// other codings.
[[nodiscard]] std::vector<HeadlessCoding> headless_codings(Bytes file, const Image& image);

/// As above, of Sony's: one difference per value, column by column from the right, in each column the even
/// rows first. The 12-bit values are sums of all differences before.
[[nodiscard]] HeadlessCoding sony_coding(std::uint64_t columns, std::uint64_t rows);

/// As above, of Olympus's: 12-bit values, each by its neighbours and by how large the last differences were.
[[nodiscard]] HeadlessCoding olympus_coding(std::uint64_t columns, std::uint64_t rows);

/// As above, of Nikon's. The parameters are what the maker note keeps for the decoder. Nothing if they are
/// of an unknown version or too short.
[[nodiscard]] std::optional<HeadlessCoding> nikon_coding(Bytes parameters, ByteOrder order,
                                                         const Frame& frame);

/// As above, of Pentax's. The table is what the maker note keeps for the decoder. Nothing if it is not
/// complete.
[[nodiscard]] std::optional<HeadlessCoding> pentax_coding(Bytes table, ByteOrder order, const Frame& frame);

} // namespace raw_mend
