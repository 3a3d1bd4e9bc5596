#include "Walk.h"

#include <algorithm>
#include <utility>

namespace lossless_jpeg {

namespace {

using jpeg_bits::BitReader;

/// Decodes the differences of samples that are pixels of kComponents samples each.
template <std::size_t kComponents>
bool take_differences(BitReader& shared, const McuTables::Order& order, std::span<std::uint16_t> row) {
    std::array<const DifferenceTable*, kComponents> tables{};
    std::copy_n(order.begin(), kComponents, tables.begin());
    BitReader reader = shared;
    bool good = true;
    for (std::size_t pixel = 0; pixel < row.size() && good; pixel += kComponents) {
        for (std::size_t nth = 0; nth < kComponents; ++nth) {
            reader.fill();
            good = tables[nth]->take(reader, row[pixel + nth]) && good;
        }
    }
    shared = reader;
    return good && !reader.overrun();
}

bool take_row(BitReader& reader, const McuTables::Order& order, std::span<std::uint16_t> row) {
    switch (order.size()) {
    case 1:
        return take_differences<1>(reader, order, row);
    case 2:
        return take_differences<2>(reader, order, row);
    case 3:
        return take_differences<3>(reader, order, row);
    default:
        return take_differences<4>(reader, order, row);
    }
}

std::uint16_t low_16(int number) {
    return static_cast<std::uint16_t>(number);
}

/// Turns a row of differences into samples; step is the number of components. ITU-T T.81, H.1.2.1 and table
/// H.1.
class Prediction {
  public:
    Prediction(const Head& head, std::vector<std::uint16_t>& row, const std::vector<std::uint16_t>& above)
        : step_(head.components.size()), predictor_(head.predictor), row_(row), above_(above),
          first_(1 << (head.precision - head.point_transform - 1)) {}

    /// The first row of the scan or of a restart interval.
    void undo_first() {
        for (std::size_t nth = 0; nth < row_.size(); ++nth) {
            row_[nth] = low_16(row_[nth] + (nth < step_ ? first_ : row_[nth - step_]));
        }
    }

    void undo() {
        for (std::size_t nth = 0; nth < step_; ++nth) {
            row_[nth] = low_16(row_[nth] + above_[nth]);
        }
        switch (predictor_) {
        case 1:
            return undo_with([](int left, int, int) { return left; });
        case 2:
            return undo_with([](int, int above, int) { return above; });
        case 3:
            return undo_with([](int, int, int corner) { return corner; });
        case 4:
            return undo_with([](int left, int above, int corner) { return left + above - corner; });
        case 5:
            return undo_with([](int left, int above, int corner) { return left + ((above - corner) >> 1); });
        case 6:
            return undo_with([](int left, int above, int corner) { return above + ((left - corner) >> 1); });
        default:
            return undo_with([](int left, int above, int) { return (left + above) / 2; });
        }
    }

  private:
    template <class Predict>
    void undo_with(const Predict& predict) {
        for (std::size_t nth = step_; nth < row_.size(); ++nth) {
            row_[nth] = low_16(row_[nth] + predict(row_[nth - step_], above_[nth], above_[nth - step_]));
        }
    }

    std::size_t step_;
    unsigned predictor_;
    std::vector<std::uint16_t>& row_;
    const std::vector<std::uint16_t>& above_;
    int first_;
};

/// Decodes rows of samples from differences.
class RowDecoder {
  public:
    RowDecoder(const Head& head, const McuTables& tables, const RowSink& sink, Decoded& decoded)
        : head_(head), order_(tables.order()), sink_(sink), decoded_(decoded),
          row_(std::size_t{head.width} * head.components.size()), above_(row_.size()), shifted_(row_.size()) {
    }

    /// Decodes a row; the MCU is its first.
    bool take(BitReader& reader, std::uint64_t mcu) {
        if (!take_row(reader, order_, row_)) {
            return false;
        }
        Prediction prediction(head_, row_, above_);
        if (mcu == 0 || (head_.restart_interval != 0 && mcu % head_.restart_interval == 0)) {
            prediction.undo_first();
        } else {
            prediction.undo();
        }
        count_out_of_range();
        for (std::size_t nth = 0; nth < row_.size(); ++nth) {
            shifted_[nth] = low_16(row_[nth] << head_.point_transform);
        }
        sink_(decoded_.rows, shifted_);
        ++decoded_.rows;
        std::swap(row_, above_);
        return true;
    }

  private:
    void count_out_of_range() {
        const unsigned limit = 1U << (head_.precision - head_.point_transform);
        const auto outside = [&](std::uint16_t sample) { return sample >= limit; };
        const auto count = static_cast<std::uint64_t>(std::count_if(row_.begin(), row_.end(), outside));
        if (decoded_.out_of_range == 0 && count != 0) {
            const auto first = std::find_if(row_.begin(), row_.end(), outside);
            decoded_.first_out_of_range =
                decoded_.rows * row_.size() + static_cast<std::uint64_t>(first - row_.begin());
        }
        decoded_.out_of_range += count;
    }

    const Head& head_;
    const McuTables::Order& order_;
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
