#include "container/TiffCoding.h"

#include "container/TiffTags.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

/// The samples of an image; 0 where there are more than any camera has.
std::uint64_t samples_of(const Frame& frame) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 40U;
    const std::uint64_t pixels = std::uint64_t{frame.width} * frame.height;
    return pixels > kMost || frame.samples > 16 ? 0 : pixels * frame.samples;
}

/// Whether the data are as long as the samples at so many bits each.
bool is_packed(const Frame& frame, std::uint64_t length, unsigned bits) {
    return length != 0 && bits <= 64 && length == (samples_of(frame) * bits + 7) / 8;
}

Coding coding_of_jpeg(const Frame& frame, const CodingFacts& facts) {
    if (facts.jpeg) {
        return facts.jpeg->is_lossless ? Coding::kLosslessJpeg : Coding::kLossyJpeg;
    }
    const bool is_uncompressed = is_packed(frame, facts.data_length, frame.bits);
    if (is_uncompressed) { // The small picture of a CR2 has a JPEG's number and is none.
        return Coding::kUncompressed;
    }
    return facts.holds_sensor_data || frame.bits > 8 ? Coding::kLosslessJpeg : Coding::kLossyJpeg;
}

Coding coding_of_sony(const Frame& frame, std::uint64_t length) {
    if (is_packed(frame, length, 8)) {
        return Coding::kFixedRate;
    }
    return is_packed(frame, length, 16) ? Coding::kUncompressed : Coding::kOther;
}

} // namespace

Coding coding_of(const Frame& frame, const CodingFacts& facts) {
    const bool is_orf = facts.kind == TiffHeader::Kind::kOrf && facts.holds_sensor_data;
    switch (frame.compression) {
    case compression::kUncompressed:
        // Cameras with an ORF state this for compressed data too. Uncompressed ones have 12 bits or more per
        // sample.
        return is_orf && facts.data_length < samples_of(frame) / 2 * 3 ? Coding::kRun : Coding::kUncompressed;
    case compression::kOldJpeg:
    case compression::kJpeg:
        return coding_of_jpeg(frame, facts);
    case compression::kAdobeDeflate:
    case compression::kDeflate:
        return Coding::kDeflate;
    case compression::kSony:
        return coding_of_sony(frame, facts.data_length);
    case compression::kNikon:
        return is_packed(frame, facts.data_length, frame.bits) || is_packed(frame, facts.data_length, 16)
                   ? Coding::kUncompressed
                   : Coding::kHuffman;
    case compression::kEpson:
    case compression::kSamsung: // Several codings have this number; one is none.
        return is_packed(frame, facts.data_length, frame.bits) || is_packed(frame, facts.data_length, 16)
                   ? Coding::kUncompressed
                   : Coding::kOther;
    case compression::kLossyJpeg:
        return Coding::kLossyJpeg;
    case compression::kOlympusOrPentax:
        return is_orf ? Coding::kRun : Coding::kOther;
    default:
        return Coding::kOther;
    }
}

bool is_sensor_compression(std::uint32_t compression) {
    constexpr std::array<std::uint32_t, 6> kAll{compression::kSony,    compression::kEpson,
                                                compression::kSamsung, compression::kPanasonic,
                                                compression::kNikon,   compression::kOlympusOrPentax};
    return std::ranges::find(kAll, compression) != kAll.end();
}

} // namespace raw_mend
