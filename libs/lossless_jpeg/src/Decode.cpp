#include "Walk.h"

#include <utility>

namespace lossless_jpeg {

namespace {

using jpeg_bits::BitReader;

/// Decodes rows of samples from differences.
class RowDecoder {
  public:
    RowDecoder(const Head& head, const McuTables& tables, const RowSink& sink, Decoded& decoded)
        : head_(head), tables_(tables), sink_(sink), decoded_(decoded),
          row_(std::size_t{head.width} * head.components.size()), above_(row_.size()), shifted_(row_.size()) {
    }

    /// Decodes a row; the MCU is its first.
    bool take(BitReader& reader, std::uint64_t mcu) {
        const bool first = mcu == 0 || (head_.restart_interval != 0 && mcu % head_.restart_interval == 0);
        const std::uint64_t outside = decoded_.out_of_range;
        const std::uint64_t first_outside = decoded_.first_out_of_range;
        if (!take_samples(reader, first) || reader.overrun()) {
            decoded_.out_of_range = outside; // The row does not count.
            decoded_.first_out_of_range = first_outside;
            return false;
        }
        for (std::size_t nth = 0; nth < row_.size(); ++nth) {
            shifted_[nth] = static_cast<std::uint16_t>(row_[nth] << head_.point_transform);
        }
        sink_(decoded_.rows, shifted_);
        ++decoded_.rows;
        std::swap(row_, above_);
        return true;
    }

  private:
    bool take_samples(BitReader& reader, bool first_row) {
        const std::size_t step = head_.components.size();
        const unsigned limit = 1U << (head_.precision - head_.point_transform);
        for (std::size_t nth = 0; nth < row_.size(); ++nth) {
            const int category = tables_.order()[nth % step]->table().decode(reader);
            if (category < 0 || reader.overrun()) {
                return false;
            }
            const int difference =
                category == 16 ? 32768 : receive_extend(reader, static_cast<unsigned>(category));
            row_[nth] = static_cast<std::uint16_t>(predict(nth, step, first_row) + difference);
            if (row_[nth] >= limit) {
                note_outside(nth);
            }
        }
        return true;
    }

    void note_outside(std::size_t nth) {
        if (decoded_.out_of_range++ == 0) {
            decoded_.first_out_of_range = decoded_.rows * row_.size() + nth;
        }
    }

    /// ITU-T T.81, H.1.2.1 and table H.1.
    [[nodiscard]] int predict(std::size_t nth, std::size_t step, bool first_row) const {
        if (first_row) {
            return nth < step ? 1 << (head_.precision - head_.point_transform - 1) : row_[nth - step];
        }
        const int above = above_[nth];
        if (nth < step) {
            return above;
        }
        const int left = row_[nth - step];
        const int corner = above_[nth - step];
        switch (head_.predictor) {
        case 1:
            return left;
        case 2:
            return above;
        case 3:
            return corner;
        case 4:
            return left + above - corner;
        case 5:
            return left + ((above - corner) >> 1);
        case 6:
            return above + ((left - corner) >> 1);
        default:
            return (left + above) / 2;
        }
    }

    const Head& head_;
    const McuTables& tables_;
    const RowSink& sink_;
    Decoded& decoded_;
    std::vector<std::uint16_t> row_;
    std::vector<std::uint16_t> above_;
    std::vector<std::uint16_t> shifted_;
};

} // namespace

bool can_decode(const Head& head) {
    return head.precision >= 2 && head.precision <= 16 && head.predictor >= 1 && head.predictor <= 7 &&
           head.point_transform < head.precision && McuLayout(head).is_plain() &&
           head.restart_interval % head.width == 0;
}

Decoded decode(Bytes bytes, const Head& head, const RowSink& sink) {
    Decoded decoded;
    Walk walk(bytes, head);
    RowDecoder rows(head, walk.tables(), sink, decoded);
    decoded.progress = walk.run(head.width, [&](BitReader& reader, std::uint64_t mcu, std::uint64_t) {
        return rows.take(reader, mcu);
    });
    return decoded;
}

} // namespace lossless_jpeg
