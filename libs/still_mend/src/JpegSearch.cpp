#include "JpegSearch.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace still_mend {

namespace {

using Bytes = std::span<const unsigned char>;

// Markers (ITU T.81, table B.1), the byte behind FF.
constexpr unsigned char kSof0 = 0xC0;
constexpr unsigned char kSof2 = 0xC2;
constexpr unsigned char kRst0 = 0xD0;
constexpr unsigned char kRst7 = 0xD7;
constexpr unsigned char kSoi = 0xD8;
constexpr unsigned char kEoi = 0xD9;
constexpr unsigned char kSos = 0xDA;
constexpr unsigned char kTem = 0x01;

bool is_other_frame(unsigned char marker) {
    // Lossless, differential and arithmetic frames. C4, C8 and CC are no frames.
    return marker >= 0xC3 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// The offset of the next marker behind entropy-coded data: FF followed by neither 00 nor a restart nor FF.
std::optional<std::size_t> skip_entropy_coded(Bytes file, std::size_t offset) {
    for (; offset + 1 < file.size(); ++offset) {
        const unsigned char next = file[offset + 1];
        if (file[offset] == 0xFF && next != 0x00 && next != 0xFF && (next < kRst0 || next > kRst7)) {
            return offset;
        }
    }
    return std::nullopt;
}

/// The length of the whole picture whose SOI stands at the offset, if there is one.
std::optional<std::size_t> whole_jpeg_length(Bytes file, std::size_t start) {
    bool has_frame = false;
    bool has_scan = false;
    std::size_t offset = start + 2;
    while (offset + 1 < file.size()) {
        if (file[offset] != 0xFF) {
            return std::nullopt;
        }
        const unsigned char marker = file[offset + 1];
        if (marker == 0xFF) { // Fill byte.
            ++offset;
            continue;
        }
        if (marker == kEoi) {
            return has_frame && has_scan ? std::optional(offset + 2 - start) : std::nullopt;
        }
        if (marker == 0x00 || marker == kTem || marker == kSoi || is_other_frame(marker) ||
            offset + 4 > file.size()) {
            return std::nullopt;
        }
        const std::size_t length = std::size_t{file[offset + 2]} << 8U | file[offset + 3];
        if (length < 2 || length > file.size() - offset - 2) {
            return std::nullopt;
        }
        has_frame = has_frame || (marker >= kSof0 && marker <= kSof2);
        offset += 2 + length;
        if (marker == kSos) {
            has_scan = true;
            const auto next = skip_entropy_coded(file, offset);
            if (!next) {
                return std::nullopt;
            }
            offset = *next;
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<Bytes> find_whole_jpegs(Bytes file) {
    std::vector<Bytes> found;
    for (std::size_t offset = 0; offset + 2 < file.size(); ++offset) {
        if (file[offset] == 0xFF && file[offset + 1] == kSoi && file[offset + 2] == 0xFF) {
            if (const auto length = whole_jpeg_length(file, offset)) {
                found.push_back(file.subspan(offset, *length));
            }
        }
    }
    std::stable_sort(found.begin(), found.end(), [](Bytes a, Bytes b) { return a.size() > b.size(); });
    return found;
}

} // namespace still_mend
