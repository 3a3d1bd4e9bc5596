#include "ways/LossyPieces.h"

#include "coding/BaselineJpeg.h"
#include "ways/StreamRow.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostReads = 16; ///< Bytes that are decoded for each byte of the file.

WholeStream stream_of(const BaselineJpeg& jpeg) {
    return {jpeg.data,
            std::uint64_t{jpeg.width} << 32U | std::uint64_t{jpeg.height} << 16U | jpeg.components};
}

/// Nothing if one of the sample's pieces is no complete baseline JPEG.
std::vector<WholeStream> read_lossy_streams(const Sample& sample) {
    std::vector<WholeStream> streams;
    for (const Piece& piece : sample.description.raw.pieces) {
        const auto jpeg = check_baseline_jpeg(sample.file, piece.data.offset).jpeg;
        if (!jpeg) {
            return {};
        }
        streams.push_back(stream_of(*jpeg));
    }
    return streams;
}

class LossySearch {
  public:
    LossySearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), of_sample_(read_lossy_streams(sample)) {}

    std::optional<FoundImage> find() {
        if (of_sample_.empty()) {
            return std::nullopt;
        }
        find_streams();
        return place_streams(damaged_, sample_, of_sample_, streams_);
    }

  private:
    void find_streams() {
        static constexpr std::array<unsigned char, 3> kSoiStart{0xFF, 0xD8, 0xFF};
        std::uint64_t reads_left = kMostReads * damaged_.size();
        auto at = damaged_.begin();
        while (reads_left != 0) {
            at = std::search(at, damaged_.end(), kSoiStart.begin(), kSoiStart.end());
            if (at == damaged_.end()) {
                return;
            }
            const auto offset = static_cast<std::uint64_t>(at - damaged_.begin());
            const auto [jpeg, bytes_read] = check_baseline_jpeg(damaged_, offset);
            const bool is_piece = jpeg && has_kind(of_sample_, stream_of(*jpeg).kind);
            if (is_piece) {
                streams_.push_back(stream_of(*jpeg));
            }
            reads_left -= std::min(reads_left, bytes_read + 1);
            at += is_piece ? static_cast<std::ptrdiff_t>(jpeg->data.length) : 1;
        }
    }

    Bytes damaged_;
    const Sample& sample_;
    std::vector<WholeStream> of_sample_; ///< In the order of the container's lists.
    std::vector<WholeStream> streams_;   ///< In the damaged file, by offset; they do not overlap.
};

} // namespace

std::optional<FoundImage> find_lossy_pieces(Bytes damaged, const Sample& sample) {
    return sample.description.raw.frame.coding == Coding::kLossyJpeg ? LossySearch(damaged, sample).find()
                                                                     : std::nullopt;
}

} // namespace raw_mend
