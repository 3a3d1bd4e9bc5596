#include "judge/FoundPieces.h"

#include "files/FileBytes.h"
#include "judge/Lengths.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

namespace {

constexpr std::uint64_t kNeedle = 256;       ///< Bytes by which image data are found in the damaged file.
constexpr std::uint64_t kPastTheHead = 4096; ///< From the start of a piece: past its head.
constexpr std::size_t kMostSearched = 16;    ///< Pieces; each search reads the damaged file.

/// Photographs from one camera differ by their previews and by how well they compress.
bool have_similar_lengths(std::uint64_t one, std::uint64_t other) {
    return std::max(one, other) - std::min(one, other) <= std::min(one, other) / 2;
}

std::string describe_pieces(std::uint64_t some, std::uint64_t all) {
    return all == 1 ? "the image's only piece"
                    : std::to_string(some) + " of " + std::to_string(all) + " pieces of the image";
}

/// Found pieces that are neither proved nor accounted for by pixels.
std::uint64_t count_open(const FoundImage& image, std::uint64_t found) {
    const std::uint64_t unproved = found - std::min(found, image.pieces_proved);
    return unproved - std::min(unproved, image.pieces_mended);
}

/// Some bytes of a piece, past its head, by which it is recognised.
struct Needle {
    std::uint64_t offset = 0; ///< In the result.
    std::vector<unsigned char> bytes;
};

/// Of the pieces of the image, and of not too many of them.
std::vector<Needle> choose_needles(const RawDecoder& decoder, FileBytes& file) {
    const auto parts = decoder.part_offsets(file);
    const std::size_t step = parts.size() / kMostSearched + 1;
    std::vector<Needle> needles;
    for (std::size_t part = 0; part < parts.size(); part += step) {
        const std::uint64_t first = parts[part];
        const std::uint64_t end = std::max(first, part + 1 < parts.size() ? parts[part + 1] : file.size());
        const std::uint64_t at = first + std::min(kPastTheHead, (end - first) / 2);
        needles.push_back({at, file.read(at, static_cast<std::size_t>(std::min(kNeedle, end - at)))});
    }
    return needles;
}

/// Where a needle is in the damaged file, at the place where it should be if it is there.
std::optional<std::uint64_t> find_needle(const Needle& needle, FileBytes& damaged, std::uint64_t expected,
                                         std::uint64_t from) {
    return damaged.read(expected, needle.bytes.size()) == needle.bytes ? expected
                                                                       : damaged.find(needle.bytes, from);
}

} // namespace

PieceDoubts find_doubts(const FoundImage& image, bool decodes_exactly) {
    PieceDoubts doubts;
    const std::uint64_t found = std::min(image.pieces_found, image.pieces);
    const std::uint64_t lost = image.pieces - found;
    if (lost != 0) {
        doubts.findings.push_back(describe_pieces(lost, image.pieces) +
                                  (lost == 1 ? " is lost" : " are lost"));
    } else if ((image.notes & RAW_MEND_PIECES_LOST) != 0) {
        doubts.findings.emplace_back("parts of the image are lost");
    }
    if ((image.notes & RAW_MEND_PLACES_GUESSED) != 0) {
        doubts.findings.emplace_back("the place of parts of the image is a guess");
        doubts.place_unknown = true;
    } else if (const std::uint64_t open = count_open(image, found); open != 0 && !decodes_exactly) {
        doubts.findings.push_back(
            "nothing proves that " + describe_pieces(open, image.pieces) +
            (open == 1 ? " is complete and in its place" : " are complete and in their place"));
        doubts.place_unknown = image.way == RAW_MEND_WAY_SAMPLE_PLACES;
        doubts.damaged_inside = true;
    }
    return doubts;
}

bool is_proved(const FoundImage& image) {
    return image.pieces != 0 && image.pieces_proved == image.pieces && image.pieces_mended == 0 &&
           !image.is_incomplete() && (image.notes & (RAW_MEND_PLACES_GUESSED | RAW_MEND_PIECES_LOST)) == 0;
}

bool is_refuted_guess(const FoundImage& image, std::size_t signs) {
    return (image.notes & RAW_MEND_PLACES_GUESSED) != 0 && image.pieces_proved == 0 && signs != 0;
}

std::vector<std::string> compare_with_damaged(const JudgeRequest& request, const RawDecoder& decoder,
                                              FileBytes& file) {
    FileBytes damaged(request.damaged);
    const FoundImage& image = request.image.value();
    if ((image.notes & RAW_MEND_PLACES_GUESSED) != 0 &&
        !have_similar_lengths(damaged.size(), FileBytes(request.sample).size())) {
        return {"the damaged file is not about as long as the sample"};
    }
    const auto needles = choose_needles(decoder, file);
    if (image.pieces_found < image.pieces) {
        return {}; // Any of the needles may be in zeros.
    }
    const std::uint64_t start = decoder.image_offset(file);
    const bool is_rotated = (image.notes & RAW_MEND_ROTATION_UNDONE) != 0;
    const std::uint64_t from = is_rotated ? 0 : image.offset;
    std::uint64_t end = 0; // Of what the result has from the image on, in the damaged file.
    std::uint64_t missing = 0;
    for (const Needle& needle : needles) {
        const auto found = find_needle(needle, damaged, image.offset + (needle.offset - start), from);
        missing += found ? 0U : 1U;
        end = found ? *found + (file.size() - needle.offset) : end;
    }
    if (missing > image.pieces_mended) { // These have bytes of their own.
        return {"the image data are not those of the damaged file"};
    }
    if (image.pieces_mended != 0 || is_proved(image)) {
        return {}; // What was put in or is torn apart says nothing about what follows.
    }
    if (end < damaged.size() && is_image_last(request.sample, decoder) && !damaged.only_slack_after(end)) {
        return {describe_bytes_after_image(damaged.size() - end)};
    }
    return {};
}

} // namespace plate_mend::host
