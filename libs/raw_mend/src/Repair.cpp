#include "Repair.h"

#include "assemble/Transplant.h"
#include "container/Describe.h"
#include "locate/CodedRow.h"
#include "locate/ImageRows.h"
#include "locate/RowExtent.h"

#include <lossless_jpeg/Stream.h>

#include <algorithm>

namespace raw_mend {

namespace {

std::size_t count_found(const std::vector<std::optional<Extent>>& pieces) {
    return static_cast<std::size_t>(
        std::ranges::count_if(pieces, [](const auto& piece) { return piece.has_value(); }));
}

class Engine {
  public:
    Engine(Bytes damaged, Bytes sample, const Description& description)
        : damaged_(damaged), sample_(sample), description_(description), raw_(description.raw),
          rows_(rows_of(raw_)) {
        if (rows_) {
            traits_ = measure_row_traits(rows_->extent.of(sample_), rows_->geometry);
        }
    }

    std::optional<Repaired> run() {
        if (auto own = with_own_tables()) {
            return own;
        }
        if (raw_.frame.coding == Coding::kLosslessJpeg) {
            return with_coded_heads();
        }
        return rows_ ? with_rows() : std::nullopt;
    }

  private:
    // Its own tables.

    /// The damaged file from where its own header is, if these tables lead to an image like the sample's that
    /// is proved.
    std::optional<Repaired> with_own_tables() {
        std::size_t offset = 0;
        for (unsigned count = 0; count < kMostHeaders; ++count, ++offset) {
            offset = next_header(offset);
            if (offset == damaged_.size()) {
                break;
            }
            const Bytes file = damaged_.subspan(offset);
            const auto own = describe(file);
            if (!own || own->raw.frame != raw_.frame || own->raw.pieces.size() != raw_.pieces.size() ||
                !is_proved(file, own->raw)) {
                continue;
            }
            Repaired result;
            result.file.append(file);
            result.way = Way::kOwnTables;
            result.pieces = result.found = result.proved = raw_.pieces.size();
            return result;
        }
        return std::nullopt;
    }

    /// Where the sample's first bytes are, from an offset on; the size of the file if they are not there.
    [[nodiscard]] std::size_t next_header(std::size_t from) const {
        const Bytes signature = sample_.first(std::min<std::size_t>(sample_.size(), kSignature));
        const auto found = std::search(damaged_.begin() + static_cast<std::ptrdiff_t>(from), damaged_.end(),
                                       signature.begin(), signature.end());
        return static_cast<std::size_t>(found - damaged_.begin());
    }

    [[nodiscard]] bool is_proved(Bytes file, const Image& image) const {
        const bool inside = std::ranges::all_of(
            image.pieces, [&](const Piece& piece) { return piece.data.is_within(file); });
        if (!inside) {
            return false;
        }
        if (image.frame.coding == Coding::kLosslessJpeg) {
            return std::ranges::all_of(image.pieces,
                                       [&](const Piece& piece) { return is_whole(file, piece.data); });
        }
        const auto rows = rows_of(image);
        return rows && rows_ && find_row_phase(rows->extent.of(file), rows->geometry, traits_).phase == 0U;
    }

    static bool is_whole(Bytes file, const Extent& extent) {
        const Bytes stream = file.first(static_cast<std::size_t>(extent.end()));
        const auto head = lossless_jpeg::read_head(stream, extent.offset);
        return head && lossless_jpeg::check(stream, *head).is_complete();
    }

    // Coded heads.

    std::optional<Repaired> with_coded_heads() {
        std::vector<ByteRange> ranges;
        for (const Piece& piece : raw_.pieces) {
            ranges.push_back({piece.data.offset, piece.data.end()});
        }
        const auto coded = CodedSample::read(sample_, ranges);
        if (!coded) {
            return std::nullopt;
        }
        const auto places = find_coded_streams(damaged_, *coded);
        const CodedRow row = choose_row(damaged_, places, *coded);
        std::vector<std::optional<Extent>> pieces;
        std::size_t proved = 0;
        for (const auto& piece : row.pieces) {
            if (piece) {
                const CodedPlace& place = places[piece->place];
                pieces.emplace_back(Extent{place.offset, place.end - place.offset});
                proved += place.proved ? 1U : 0U;
            } else {
                pieces.emplace_back();
            }
        }
        return assemble(pieces, Way::kCodedHeads, proved, row.doubts);
    }

    // Rows.

    std::optional<Repaired> with_rows() {
        const SamplePlace place{rows_->extent.offset, sample_.size() - rows_->extent.end()};
        const RowExtent found = find_row_extent(damaged_, rows_->geometry, traits_, place);
        if (found.images.size() != 1 || found.images[0].is_doubtful() || found.images[0].start < 0) {
            return std::nullopt;
        }
        auto offset = static_cast<std::uint64_t>(found.images[0].start);
        std::vector<std::optional<Extent>> pieces;
        for (const Piece& piece : raw_.pieces) {
            const Extent extent{offset, piece.data.length};
            pieces.push_back(extent.end() <= damaged_.size() ? std::optional(extent) : std::nullopt);
            offset += piece.data.length;
        }
        return assemble(pieces, Way::kRows, found.pieces.size() == 1 ? count_found(pieces) : 0, {});
    }

    std::optional<Repaired> assemble(const std::vector<std::optional<Extent>>& pieces, Way way,
                                     std::size_t proved, const std::vector<std::string>& doubts) {
        auto file = transplant(sample_, description_, damaged_, pieces);
        const std::size_t found = count_found(pieces);
        if (!file || found == 0) {
            return std::nullopt;
        }
        return Repaired{std::move(*file), way, pieces.size(), found, proved, doubts};
    }

    static constexpr std::size_t kSignature = 8;
    static constexpr unsigned kMostHeaders = 32; // Previews begin with headers of their own, one each.

    Bytes damaged_;
    Bytes sample_;
    const Description& description_;
    const Image& raw_;
    std::optional<ImageRows> rows_; // The sample's.
    RowTraits traits_;
};

} // namespace

std::optional<Repaired> repair(Bytes damaged, Bytes sample) {
    const auto description = describe(sample);
    if (!description || description->raw.pieces.empty()) {
        return std::nullopt;
    }
    return Engine(damaged, sample, *description).run();
}

} // namespace raw_mend
