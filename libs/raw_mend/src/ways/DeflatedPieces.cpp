#include "ways/DeflatedPieces.h"

#include "coding/ZlibStream.h"
#include "mend/StreamAreas.h"
#include "ways/StreamRow.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::size_t kHead = 2;            ///< Bytes before a stream's first block.
constexpr std::uint64_t kMostInflated = 16; ///< Bytes that are inflated for each byte of the file.

class DeflatedSearch {
  public:
    DeflatedSearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), of_sample_(sample.deflated) {}

    std::optional<FoundImage> find() {
        if (of_sample_.empty()) {
            return std::nullopt;
        }
        read_heads();
        find_streams();
        auto image = place_streams(damaged_, sample_, of_sample_, streams_);
        if (image) {
            fill_lost(*image);
        }
        return image;
    }

  private:
    void find_streams() {
        const std::uint64_t most = std::ranges::max(of_sample_, {}, &WholeStream::kind).kind;
        std::uint64_t all = 0;
        for (const WholeStream& stream : of_sample_) {
            all += stream.kind;
        }
        std::uint64_t reads_left = kMostInflated * (damaged_.size() + all);
        std::size_t at = find_head(0);
        while (at < damaged_.size() && reads_left != 0) {
            const ZlibCheck check = check_zlib_stream(damaged_, at, most);
            const bool is_piece = check.length && has_kind(of_sample_, check.inflated);
            if (is_piece) {
                streams_.push_back({{at, *check.length}, check.inflated});
            }
            reads_left -= std::min(reads_left, check.bytes_read + check.inflated + 1);
            at = find_head(at + (is_piece ? static_cast<std::size_t>(*check.length) : 1));
        }
    }

    /// The next place where a stream may begin; the size of the file if there is none.
    [[nodiscard]] std::size_t find_head(std::size_t from) const {
        for (; from + kHead < damaged_.size(); ++from) {
            const void* const found =
                std::memchr(damaged_.data() + from, first_byte_, damaged_.size() - kHead - from);
            if (found == nullptr) {
                break;
            }
            from = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - damaged_.data());
            if (second_bytes_[damaged_[from + 1]] && may_be_zlib(damaged_.subspan(from))) {
                return from;
            }
        }
        return damaged_.size();
    }

    /// One program writes all pieces, with the same window; how hard it tries may differ.
    void read_heads() {
        first_byte_ = sample_.file[static_cast<std::size_t>(of_sample_.front().data.offset)];
        for (const WholeStream& stream : of_sample_) {
            second_bytes_[sample_.file[static_cast<std::size_t>(stream.data.offset) + 1]] = true;
        }
    }

    void fill_lost(FoundImage& image) const {
        for (std::size_t piece = 0; piece < image.pieces.size(); ++piece) {
            if (!image.pieces[piece]) {
                image.mended.push_back({piece, make_zlib_zeros(of_sample_[piece].kind)});
                const auto areas = area_of_piece(sample_.description.raw, piece);
                image.lost.insert(image.lost.end(), areas.begin(), areas.end());
            }
        }
    }

    Bytes damaged_;
    const Sample& sample_;
    std::span<const WholeStream> of_sample_;
    unsigned char first_byte_ = 0;         ///< Of each of them,
    std::array<bool, 256> second_bytes_{}; ///< and which bytes follow it.
    std::vector<WholeStream> streams_;     ///< In the damaged file, by offset; they do not overlap.
};

} // namespace

std::optional<FoundImage> find_deflated_pieces(Bytes damaged, const Sample& sample) {
    return sample.description.raw.frame.coding == Coding::kDeflate ? DeflatedSearch(damaged, sample).find()
                                                                   : std::nullopt;
}

bool has_whole_deflated_pieces(Bytes file, const Image& image, const Sample& sample) {
    const std::span<const WholeStream> expected = sample.deflated;
    for (std::size_t piece = 0; piece < expected.size(); ++piece) {
        const Extent& data = image.pieces[piece].data;
        const ZlibCheck check = check_zlib_stream(file.first(static_cast<std::size_t>(data.end())),
                                                  data.offset, expected[piece].kind);
        if (!check.length || check.inflated != expected[piece].kind) {
            return false;
        }
    }
    return !expected.empty();
}

} // namespace raw_mend
