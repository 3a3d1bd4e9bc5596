#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <vector>

namespace test {

/// A photograph whose raw image is coded without a head, in one strip at the end of the file:
///
///   header   IFD 0 and its values   Exif IFD   maker note   filler   raw image
///
/// LibRaw decodes all of them to the samples, except Sony's cells, whose samples go through a curve.
struct HeadlessPhoto {
    enum class Kind {
        kSonyCells,
        kSonyDifferences,
        kOlympus,
        kNikonLossless12,
        kNikonLossless14,
        kNikonLossy12,
        kNikonLossy14,
        kPentax12,
        kPentax14
    };

    struct Options {
        Kind kind = Kind::kSonyCells;
        ByteOrder order = ByteOrder::kLittle;
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned width = 512;
        unsigned height = 384;
        std::size_t filler = 20000; ///< Bytes after the maker note, which do not look like anything.
        std::size_t slack = 0;      ///< Zeros at the end of the strip.
    };

    explicit HeadlessPhoto(const Options& options);

    Bytes bytes;
    std::vector<std::uint16_t> samples; ///< Row by row.
    std::uint32_t image_offset = 0;
    std::uint32_t image_size = 0;
};

/// The scene with noise in the lowest bits, as a sensor has it.
[[nodiscard]] std::vector<std::uint16_t> noisy_scene(unsigned number, unsigned width, unsigned height,
                                                     unsigned bits);

} // namespace test
