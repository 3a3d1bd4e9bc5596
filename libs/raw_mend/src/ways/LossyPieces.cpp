#include "ways/LossyPieces.h"

#include "coding/BaselineJpeg.h"
#include "ways/Layouts.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostReads = 16; ///< Bytes that are decoded for each byte of the file.

/// The frames of the sample's pieces. Nothing if one is no complete baseline JPEG.
std::vector<BaselineJpeg> read_frames(const Sample& sample) {
    std::vector<BaselineJpeg> frames;
    for (const Piece& piece : sample.description.raw.pieces) {
        const auto jpeg = check_baseline_jpeg(sample.file, piece.data.offset).jpeg;
        if (!jpeg) {
            return {};
        }
        frames.push_back(*jpeg);
    }
    return frames;
}

bool is_alike(const BaselineJpeg& one, const BaselineJpeg& other) {
    return one.width == other.width && one.height == other.height && one.components == other.components;
}

class LossySearch {
  public:
    LossySearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), frames_(read_frames(sample)) {}

    std::optional<FoundImage> find() {
        if (frames_.empty()) {
            return std::nullopt;
        }
        find_streams();
        auto image = in_a_row();
        return image ? std::move(image) : by_layouts();
    }

  private:
    void find_streams() {
        static constexpr std::array<unsigned char, 3> kStart{0xFF, 0xD8, 0xFF};
        std::uint64_t reads_left = kMostReads * damaged_.size();
        auto at = damaged_.begin();
        while (reads_left != 0) {
            at = std::search(at, damaged_.end(), kStart.begin(), kStart.end());
            if (at == damaged_.end()) {
                return;
            }
            const auto offset = static_cast<std::uint64_t>(at - damaged_.begin());
            const auto [jpeg, bytes_read] = check_baseline_jpeg(damaged_, offset);
            const bool is_piece = jpeg && is_of_sample(*jpeg);
            if (is_piece) {
                streams_.push_back(*jpeg);
            }
            reads_left -= std::min(reads_left, bytes_read + 1);
            at += is_piece ? static_cast<std::ptrdiff_t>(jpeg->data.length) : 1;
        }
    }

    [[nodiscard]] bool is_of_sample(const BaselineJpeg& jpeg) const {
        return std::ranges::any_of(frames_, [&](const BaselineJpeg& frame) { return is_alike(jpeg, frame); });
    }

    /// As many streams as there are pieces, one after another, with the sample's frames in its order.
    std::optional<FoundImage> in_a_row() const {
        const std::vector<std::size_t> order = order_of_pieces();
        std::vector<std::size_t> rows;
        for (std::size_t first = 0; first + order.size() <= streams_.size(); ++first) {
            if (is_row(first, order)) {
                rows.push_back(first);
            }
        }
        if (rows.empty()) {
            return std::nullopt;
        }
        FoundImage image{Way::kCodedHeads, {}, 0, {}};
        image.pieces.resize(order.size());
        for (std::size_t nth = 0; nth < order.size(); ++nth) {
            image.pieces[order[nth]] = streams_[rows.back() + nth].data;
        }
        image.proved = rows.size() == 1 ? order.size() : 0;
        if (rows.size() > 1) {
            image.doubts.emplace_back("The file has several images of this kind; the last is chosen.");
        }
        return image;
    }

    /// Whether streams follow each other as closely as the sample's pieces, and have their frames.
    [[nodiscard]] bool is_row(std::size_t first, const std::vector<std::size_t>& order) const {
        constexpr std::uint64_t kMostBetween = 4096;
        for (std::size_t nth = 0; nth < order.size(); ++nth) {
            const Extent& data = streams_[first + nth].data;
            if (!is_alike(streams_[first + nth], frames_[order[nth]]) ||
                (nth > 0 && data.offset - streams_[first + nth - 1].data.end() > kMostBetween)) {
                return false;
            }
        }
        return true;
    }

    /// By their offsets in the sample.
    [[nodiscard]] std::vector<std::size_t> order_of_pieces() const {
        std::vector<std::size_t> order(frames_.size());
        for (std::size_t piece = 0; piece < order.size(); ++piece) {
            order[piece] = piece;
        }
        std::ranges::sort(order, {}, [&](std::size_t piece) { return frames_[piece].data.offset; });
        return order;
    }

    /// The pieces of the layout that agrees with the most streams, as far as they do.
    std::optional<FoundImage> by_layouts() const {
        std::optional<FoundImage> best;
        for (const Layout& layout : find_layouts(damaged_, sample_)) {
            FoundImage image{Way::kSamplePlaces, {}, 0, {}};
            for (const Extent& piece : layout.pieces) {
                const auto stream = std::ranges::find(
                    streams_, piece.offset, [](const BaselineJpeg& jpeg) { return jpeg.data.offset; });
                image.pieces.push_back(stream == streams_.end() ? std::nullopt : std::optional(stream->data));
            }
            image.proved = image.count_found();
            if (image.proved > (best ? best->proved : 0)) {
                best = std::move(image);
            }
        }
        return best;
    }

    Bytes damaged_;
    const Sample& sample_;
    std::vector<BaselineJpeg> frames_;  ///< Of the pieces, in the order of the container's lists.
    std::vector<BaselineJpeg> streams_; ///< In the damaged file, by offset; they do not overlap.
};

} // namespace

std::optional<FoundImage> find_lossy_pieces(Bytes damaged, const Sample& sample) {
    return sample.description.raw.frame.coding == Coding::kLossyJpeg ? LossySearch(damaged, sample).find()
                                                                     : std::nullopt;
}

} // namespace raw_mend
