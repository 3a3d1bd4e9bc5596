#pragma once

#include "header/Hypothesis.h"
#include "jpeg/CoefficientStore.h"
#include "sequential/Placement.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace still_mend {

/// MCUs of a sequential scan that go to one place.
struct PlacedRun {
    BitReader start;
    bool dc_known = true;
    Placement placement;
};

/// What of a hypothesis decodes and holds together as a picture.
struct Assessment {
    Hypothesis hypothesis;
    bool intact = false;     ///< libjpeg decodes it without a warning: it is kept as it is.
    bool by_libjpeg = false; ///< Only libjpeg reads it. Nothing of it is own.
    bool multi_scan = false;
    std::vector<PlacedRun> runs; ///< Of a sequential picture with one scan.
    std::size_t total = 0;       ///< MCUs.
    std::size_t own = 0;         ///< MCUs that were decoded and have their place.
    std::size_t guessed = 0;     ///< MCUs that were decoded and whose place is not sure. None of own.
    std::size_t coarse = 0;      ///< Of these: without all of their detail.
    bool whole = false;          ///< All of them, from the first bit to the last.
    bool eoi_found = false;      ///< EOI is there.
    bool interval_inferred = false;
    bool resynchronised = false; ///< Some MCUs were found again behind damage without a restart.
    bool noise = false;          ///< What decoded is no picture.
    std::size_t end = 0;         ///< One behind the last byte of the picture; EOI included where it is there.
    std::size_t first_bad = 0;   ///< Offset in the file, about, where it is not whole.

    /// The pixels that are the photographer's own: what candidates are ranked by.
    [[nodiscard]] std::uint64_t score() const;
    /// Too little, or noise.
    [[nodiscard]] bool deliverable() const;
};

/// Reads the data once or twice and judges them. Memory is one picture's for a picture of several scans, and
/// about half a byte a pixel otherwise.
[[nodiscard]] Assessment assess(Bytes file, const Hypothesis& hypothesis);

/// The picture that begins at the candidate's SOI, if libjpeg decodes it without an error or a warning.
[[nodiscard]] std::optional<Assessment> assess_intact(Bytes file, const PictureCandidate& candidate);

/// What libjpeg alone reads of the picture at the candidate's SOI. Huffman coded noise is told apart;
/// arithmetic coding has no sign of damage, so that it is delivered as libjpeg decodes it.
[[nodiscard]] std::optional<Assessment> assess_leniently(Bytes file, const PictureCandidate& candidate);

/// Decodes what was assessed. present tells which MCUs are the photographer's own.
struct DecodedPicture {
    CoefficientStore store;
    std::vector<bool> present;
};
[[nodiscard]] DecodedPicture decode_picture(Bytes file, const Assessment& assessment);

} // namespace still_mend
