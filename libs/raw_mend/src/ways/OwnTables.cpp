#include "ways/OwnTables.h"

#include "coding/BaselineJpeg.h"
#include "coding/Cells.h"
#include "container/Describe.h"
#include "container/Likeness.h"
#include "locate/ImageContent.h"
#include "ways/CrxTracks.h"
#include "ways/DeflatedPieces.h"
#include "ways/FujiStream.h"

#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kSignature = 8;
constexpr unsigned kMostHeaders = 32; // Previews begin with headers of their own, one each.

/// Where the sample's first bytes are, from an offset on; the size of the file if they are not there.
std::size_t find_header(Bytes damaged, const Sample& sample, std::size_t from) {
    const Bytes signature = sample.file.first(std::min<std::size_t>(sample.file.size(), kSignature));
    while (damaged.size() - from >= signature.size()) {
        const std::size_t places = damaged.size() - from - signature.size() + 1;
        const void* const first = std::memchr(damaged.data() + from, signature.front(), places);
        if (first == nullptr) {
            break;
        }
        from = static_cast<std::size_t>(static_cast<const unsigned char*>(first) - damaged.data());
        if (std::memcmp(first, signature.data(), signature.size()) == 0) {
            return from;
        }
        ++from;
    }
    return damaged.size();
}

bool is_whole_stream(Bytes file, const Extent& extent) {
    const Bytes stream = file.first(static_cast<std::size_t>(extent.end()));
    const auto head = lossless_jpeg::read_head(stream, extent.offset);
    return head && lossless_jpeg::check(stream, *head).is_complete();
}

/// What the bytes at the places that tables name say about them.
enum class Judgement { kProved, kPossible, kRefuted };

bool is_whole_baseline_jpeg(Bytes file, const Extent& extent) {
    const auto jpeg = check_baseline_jpeg(file, extent.offset).jpeg;
    return jpeg && jpeg->data.length <= extent.length;
}

Judgement judge_streams(Bytes file, const Image& image) {
    const bool is_lossless = image.frame.coding == Coding::kLosslessJpeg;
    const bool are_whole = std::ranges::all_of(image.pieces, [&](const Piece& piece) {
        return is_lossless ? is_whole_stream(file, piece.data) : is_whole_baseline_jpeg(file, piece.data);
    });
    return are_whole ? Judgement::kProved : Judgement::kRefuted;
}

/// Decodes with the parameters of the file itself.
Judgement judge_headless(Bytes file, const Image& image, const Sample& sample) {
    constexpr std::uint64_t kMostTrailing = 16;
    const Extent& piece = image.pieces.front().data;
    for (const HeadlessCoding& coding : headless_codings(file, image)) {
        const auto decoded = coding.decode_at(file, piece.offset);
        if (decoded && decoded->length <= piece.length) {
            const Bytes rest = piece.of(file).subspan(static_cast<std::size_t>(decoded->length));
            const bool ends_well = rest.size() <= kMostTrailing || is_filler(rest);
            return ends_well && sample.has_steady_rows(coding, piece.of(file)) ? Judgement::kProved
                                                                               : Judgement::kPossible;
        }
    }
    return Judgement::kRefuted;
}

Judgement judge_cells(Bytes file, const Image& image) {
    const bool all =
        std::ranges::all_of(image.pieces, [&](const Piece& piece) { return are_cells(piece.data.of(file)); });
    return all ? Judgement::kProved : Judgement::kRefuted;
}

/// Of an image with many rows, a part of them: where they begin shows in few.
std::vector<Bytes> windows_of(Bytes image, const RowGeometry& geometry) {
    constexpr std::uint64_t kManyRows = 1024;
    return geometry.rows > kManyRows ? spread_windows(image, geometry) : std::vector{image};
}

Judgement judge_rows(Bytes file, const Image& image, const Sample& sample) {
    const auto rows = rows_of(image);
    if (!rows || !sample.rows || rows->extent.length != sample.rows->extent.length) {
        return rows.has_value() == sample.rows.has_value() ? Judgement::kPossible : Judgement::kRefuted;
    }
    const auto windows = windows_of(rows->extent.of(file), rows->geometry);
    const auto phase = find_row_phase(windows, rows->geometry, sample.traits).phase;
    return !phase ? Judgement::kPossible : *phase == 0 ? Judgement::kProved : Judgement::kRefuted;
}

/// Judges what has no proof of its own by what it looks like.
Judgement judge_content(Bytes file, const Image& image, const Sample& sample) {
    ImageContent expected(image.frame);
    for (const Piece& piece : sample.description.raw.pieces) {
        if (piece.data.is_within(sample.file)) {
            expected.add(piece.data.of(sample.file));
        }
    }
    ImageContent content(image.frame);
    for (const Piece& piece : image.pieces) {
        content.add(piece.data.of(file));
    }
    return content.can_be_like(expected) ? Judgement::kPossible : Judgement::kRefuted;
}

Judgement judge(Bytes file, const Description& own, const Sample& sample) {
    const Image& image = own.raw;
    const bool inside =
        std::ranges::all_of(image.pieces, [&](const Piece& piece) { return piece.data.is_within(file); });
    if (!inside) {
        return Judgement::kRefuted;
    }
    const Coding coding = image.frame.coding;
    if (coding == Coding::kLosslessJpeg || coding == Coding::kLossyJpeg) {
        return judge_streams(file, image);
    }
    if (coding == Coding::kCrx) {
        return has_whole_crx_tracks(file, own, sample) ? Judgement::kProved : Judgement::kRefuted;
    }
    if (coding == Coding::kFujiLossless) {
        return has_whole_fuji_stream(file, own, sample) ? Judgement::kProved : Judgement::kRefuted;
    }
    if (coding == Coding::kDeflate && has_whole_deflated_pieces(file, image, sample)) {
        return Judgement::kProved;
    }
    if (sample.has_cells) {
        return judge_cells(file, image);
    }
    const Judgement result =
        sample.headless ? judge_headless(file, image, sample) : judge_rows(file, image, sample);
    return result == Judgement::kPossible ? judge_content(file, image, sample) : result;
}

bool is_like(const Image& image, const Sample& sample) {
    const Image& raw = sample.description.raw;
    return image.frame == raw.frame && image.pieces.size() == raw.pieces.size();
}

/// The photograph that begins at an offset, unless something speaks against it.
std::optional<OwnStructure> read_own_structure(Bytes damaged, std::size_t offset, const Sample& sample) {
    const Bytes file = damaged.subspan(offset);
    auto own = describe(file);
    if (!own || !is_like(own->raw, sample) || !are_read_alike(file, sample.file)) {
        return std::nullopt;
    }
    const Judgement judgement = judge(file, *own, sample);
    if (judgement == Judgement::kRefuted) {
        return std::nullopt;
    }
    const auto end = end_of_boxes(*own, sample);
    const std::uint64_t size = std::min<std::uint64_t>(end.value_or(file.size()), file.size());
    return OwnStructure{offset, size, std::move(*own), judgement == Judgement::kProved, std::nullopt};
}

/// Whether the image is the sample's own: cards and recovered files hold remains of other photographs.
bool is_image_of(const Sample& sample, Bytes damaged, const std::vector<Extent>& pieces) {
    return std::ranges::equal(pieces, sample.description.raw.pieces,
                              [&](const Extent& piece, const Piece& other) {
                                  return piece.is_within(damaged) && other.data.is_within(sample.file) &&
                                         std::ranges::equal(piece.of(damaged), other.data.of(sample.file));
                              });
}

bool ends_as_sample(const OwnStructure& own, Bytes damaged, const Sample& sample) {
    return own.pieces().back().end() + sample.bytes_after() == damaged.size();
}

OwnStructure choose(OwnStructure first, OwnStructure second, Bytes damaged, const Sample& sample) {
    const bool is_first_sample = is_image_of(sample, damaged, first.pieces());
    const bool is_second_sample = is_image_of(sample, damaged, second.pieces());
    if (is_first_sample != is_second_sample) {
        return is_first_sample ? std::move(second) : std::move(first);
    }
    const bool takes_second =
        ends_as_sample(second, damaged, sample) && !ends_as_sample(first, damaged, sample);
    OwnStructure& chosen = takes_second ? second : first;
    chosen.other = takes_second ? first.header : second.header;
    return std::move(chosen);
}

} // namespace

std::vector<Extent> OwnStructure::pieces() const {
    std::vector<Extent> all;
    for (const Piece& piece : description.raw.pieces) {
        all.push_back({header + piece.data.offset, piece.data.length});
    }
    return all;
}

std::vector<OwnStructure> find_named_images(Bytes damaged, const Sample& sample) {
    std::vector<OwnStructure> all;
    std::size_t offset = 0;
    for (unsigned count = 0; count < kMostHeaders; ++count, ++offset) {
        offset = find_header(damaged, sample, offset);
        if (offset == damaged.size()) {
            break;
        }
        const Bytes file = damaged.subspan(offset);
        auto own = describe(file);
        if (own && is_like(own->raw, sample) && are_read_alike(file, sample.file)) {
            all.push_back({offset, file.size(), std::move(*own), false, std::nullopt});
        }
    }
    return all;
}

std::vector<OwnStructure> find_own_rows(Bytes damaged, const Sample& sample) {
    auto all = find_named_images(damaged, sample);
    std::erase_if(all, [&](const OwnStructure& own) {
        const auto rows = rows_of(own.description.raw);
        return !rows || rows->geometry != sample.rows->geometry || rows->extent.offset >= own.size;
    });
    return all;
}

std::optional<OwnStructure> find_own_structure(Bytes damaged, const Sample& sample) {
    std::optional<OwnStructure> proved;
    std::optional<OwnStructure> possible;
    std::size_t offset = 0;
    for (unsigned count = 0; count < kMostHeaders; ++count, ++offset) {
        offset = find_header(damaged, sample, offset);
        if (offset == damaged.size()) {
            break;
        }
        auto found = read_own_structure(damaged, offset, sample);
        if (found && !found->is_proved && !possible) {
            possible = std::move(found);
        } else if (found && found->is_proved && proved) {
            return choose(std::move(*proved), std::move(*found), damaged, sample);
        } else if (found && found->is_proved) {
            proved = std::move(found);
        }
    }
    return proved ? std::move(proved) : std::move(possible);
}

} // namespace raw_mend
