#pragma once

#include "coding/Headless.h"
#include "container/Description.h"
#include "locate/ImageRows.h"
#include "locate/RowPhase.h"
#include "ways/WholeStream.h"

#include <optional>
#include <vector>

namespace raw_mend {

/// An intact photograph, and what is measured of it once for all ways to find an image like its own.
struct Sample {
    Bytes file; ///< Must outlive this.
    Description description;
    std::optional<ImageRows> rows;          ///< Of the raw image, if its rows have a fixed length.
    RowTraits traits;                       ///< Of these rows.
    bool has_cells = false;                 ///< Whether all of the raw image are cells.
    std::optional<HeadlessCoding> headless; ///< One that the raw image decodes with, to its last value.
    std::uint64_t slack = 0;                ///< Bytes of the raw image after that value.
    /// The pieces of a deflated raw image, in its order, by how many bytes of data each has. None if one of
    /// them is not complete.
    std::vector<WholeStream> deflated{};
    double unsteadiness = 0; ///< Of its rows, as HeadlessCoding measures.

    /// Nothing if the file is not understood, or does not hold all of a raw image.
    [[nodiscard]] static std::optional<Sample> read(Bytes file);

    /// Of the raw image: its first offset, bytes from there to its last end, and bytes after that.
    [[nodiscard]] Extent range() const;
    [[nodiscard]] std::uint64_t bytes_after() const;

    /// Whether the rows of an image without a head, which decodes to its end, keep their levels: hardly less
    /// than the sample's. Otherwise, values were lost or put in before that end. True if the coding does not
    /// show it.
    [[nodiscard]] bool has_steady_rows(const HeadlessCoding& coding, Bytes data) const;

    /// Whether all photographs of this camera have as many bytes of image data.
    [[nodiscard]] bool has_fixed_length() const;
};

} // namespace raw_mend
