#pragma once

#include "locate/CodedSample.h"

namespace raw_mend {

/// A place in a damaged file where a stream of the sample's camera begins.
struct CodedPlace {
    std::uint64_t offset = 0; ///< That of SOI.
    std::uint64_t data = 0;   ///< That of the entropy-coded data.
    std::uint64_t end = 0;    ///< After EOI, as far as that is known.
    bool proved = false;      ///< The stream is complete up to its last sample, and ends with EOI there.
    /// Whether the end is certain: the stream is proved, or what follows it is at the place that the sample's
    /// spacing leaves for it.
    bool end_known = false;
    bool exact_head = false;   ///< The head is the sample's, byte for byte.
    std::size_t structure = 0; ///< As CodedSample::structure_at() counts.
    std::uint64_t samples = 0; ///< Decoded before the first fault; all of the frame if proved.
    std::uint64_t fault = 0;   ///< Offset of the byte of the first fault; that of EOI if proved.

    [[nodiscard]] ByteRange range() const { return {offset, end}; }
};

/// As many places are found at most. Photographs have some hundreds.
inline constexpr std::size_t kMostCodedPlaces = 65536;

/// All places of streams in the order of their offsets, which do not overlap, up to kMostCodedPlaces. Reads
/// each byte a bounded number of times. Lossy JPEGs, and frames that the sample's raw image does not have,
/// are none.
[[nodiscard]] std::vector<CodedPlace> find_coded_streams(Bytes damaged, const CodedSample& sample);

} // namespace raw_mend
