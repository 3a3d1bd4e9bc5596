#include "judge/CompressedData.h"

#include "judge/LosslessJpeg.h"

#include <algorithm>

namespace plate_mend::host {

namespace {

/// The smallest number of equal bytes in a row that counts as a filler. No code of a CR3 image has more than
/// about sixty zero bits in a row. Ones mean that samples are as predicted: this many of them occur only
/// where many whole rows are overexposed.
constexpr std::size_t kFewestZeros = 64;
constexpr std::size_t kFewestOnes = 256;

std::string describe_broken_parts(std::size_t broken, std::size_t parts) {
    return std::to_string(broken) + " of " + std::to_string(parts) + " parts of the compressed data " +
           (broken == 1 ? "does not end where its image does" : "do not end where their image does");
}

/// Whether a part is complete, or only lacks its EOI at the end of the file, which no value needs.
bool is_complete(std::vector<unsigned char> part, bool is_last) {
    if (is_complete_lossless_jpeg(part)) {
        return true;
    }
    constexpr unsigned char kMarker = 0xFF;
    constexpr unsigned char kEoi = 0xD9;
    const bool has_half = !part.empty() && part.back() == kMarker;
    if (!has_half) {
        part.push_back(kMarker);
    }
    part.push_back(kEoi);
    return is_last && is_complete_lossless_jpeg(part);
}

/// The number of incomplete parts of a lossless JPEG. Each part is taken to extend to the next.
std::size_t count_broken_parts(const std::vector<std::uint64_t>& offsets, FileBytes& file) {
    std::size_t broken = 0;
    for (std::size_t part = 0; part < offsets.size(); ++part) {
        const std::uint64_t offset = offsets[part];
        const std::uint64_t end = part + 1 < offsets.size() ? offsets[part + 1] : file.size();
        const auto bytes = file.read(offset, static_cast<std::size_t>(end - std::min(offset, end)));
        broken += is_complete(bytes, end == file.size()) ? 0U : 1U;
    }
    return broken;
}

void find_filler(const std::vector<unsigned char>& bytes, unsigned char filler, std::size_t fewest,
                 std::vector<std::string>& findings) {
    const auto run = std::search_n(bytes.begin(), bytes.end(), fewest, filler);
    if (run != bytes.end()) {
        findings.push_back(std::string("a run of ") + (filler == 0 ? "zeros" : "ones") +
                           " in the compressed data begins at byte " + std::to_string(run - bytes.begin()));
    }
}

} // namespace

std::vector<std::string> check_compressed_data(const RawDecoder& decoder, FileBytes& file,
                                               std::uint64_t image) {
    std::vector<std::string> findings;
    if (decoder.is_lossless_jpeg()) {
        const auto offsets = decoder.part_offsets(file);
        const std::size_t broken = count_broken_parts(offsets, file);
        if (broken != 0) {
            findings.push_back(describe_broken_parts(broken, offsets.size()));
        }
    }
    if (decoder.is_crx()) {
        const auto bytes = file.read(image, static_cast<std::size_t>(decoder.image_length()));
        find_filler(bytes, 0x00, kFewestZeros, findings);
        find_filler(bytes, 0xFF, kFewestOnes, findings);
    }
    return findings;
}

} // namespace plate_mend::host
