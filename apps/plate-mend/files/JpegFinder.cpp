#include "files/JpegFinder.h"

#include <byte_reader/ByteReader.h>

#include <cstddef>
#include <optional>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

class JpegFinder {
  public:
    explicit JpegFinder(std::span<const unsigned char> bytes) : reader_(bytes, std::endian::big) {}

    std::vector<JpegFound> run() {
        constexpr std::size_t kMostJpegs = 64;
        constexpr std::size_t kMostSteps = std::size_t{1} << 22U; // Photographs take a few thousand.
        std::vector<JpegFound> jpegs;
        auto start = reader_.find(kStart);
        while (start && jpegs.size() < kMostJpegs && steps_ < kMostSteps) {
            if (const auto jpeg = read_header(*start)) {
                jpegs.push_back(*jpeg);
            }
            start = reader_.find(kStart, *start + 1);
        }
        return jpegs;
    }

  private:
    static constexpr std::string_view kStart = "\xFF\xD8\xFF";

    static bool is_frame_header(unsigned marker) {
        return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    }

    /// The size that the frame header after a SOI gives; nothing when the segments lead to none.
    ///
    ///   | FF | marker (1) | length (2) | in a frame header: precision (1) | height (2) | width (2) |
    std::optional<JpegFound> read_header(std::size_t start) {
        constexpr std::size_t kFrameHeader = 9;
        constexpr unsigned kLossless = 0xC3;
        constexpr int kMostSegments = 64;
        std::size_t at = start + 2;
        for (int segment = 0;
             segment < kMostSegments && reader_.holds(at, kFrameHeader) && reader_.u8(at) == 0xFF;
             ++segment, ++steps_) {
            const unsigned marker = reader_.u8(at + 1).value_or(0);
            const std::size_t length = reader_.u16(at + 2).value_or(0);
            if (is_frame_header(marker)) {
                const JpegFound jpeg{start, reader_.u16(at + 7).value_or(0), reader_.u16(at + 5).value_or(0)};
                return jpeg.width == 0 || jpeg.height == 0 || marker == kLossless ? std::nullopt
                                                                                  : std::optional(jpeg);
            }
            if (marker < 0xC0 || length < 2) {
                break;
            }
            at += 2 + length;
        }
        ++steps_;
        return std::nullopt;
    }

    ByteReader reader_;
    std::size_t steps_ = 0; ///< Segments and starts.
};

} // namespace

std::vector<JpegFound> find_jpegs(std::span<const unsigned char> bytes) {
    return JpegFinder(bytes).run();
}

} // namespace plate_mend::host
