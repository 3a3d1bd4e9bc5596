#include "coding/DifferenceRows.h"

#include "coding/RowLevels.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace raw_mend {

namespace {

/// Decodes one image.
class RowsDecoder {
  public:
    RowsDecoder(const DifferenceRows& image, Bytes data) : image_(image), above_(image.first), bits_(data) {}

    /// The rows from the first on; each value of theirs is passed on. Ends at the first that cannot be.
    template <typename Sink>
    void decode_rows(const Sink& sink) {
        constexpr int kBelowAfterSplit = 16;
        for (std::uint64_t row = 0; row < image_.rows; ++row) {
            const bool is_split = image_.split != 0 && row >= image_.split;
            if (!decode_row(row, is_split ? *image_.codes_after_split : *image_.codes,
                            is_split ? kBelowAfterSplit : 0, sink)) {
                return;
            }
        }
    }

    [[nodiscard]] std::uint64_t decoded() const { return decoded_; }
    [[nodiscard]] std::uint64_t bytes() const { return bits_.bytes(); }

  private:
    /// A row; false at the first value that cannot be. Values may be less than 0 by so many.
    template <typename Sink>
    bool decode_row(std::uint64_t row, const DifferenceCodes& codes, int below, const Sink& sink) {
        std::array<int, 2>& first = above_[row % 2];
        std::array<int, 2> last{};
        int difference = 0;
        for (std::uint64_t column = 0; column < image_.columns; ++column) {
            if (!codes.read(bits_, difference)) {
                return false;
            }
            const std::size_t colour = column % 2;
            last[colour] = (column < 2 ? first[colour] : last[colour]) + difference;
            if (column < 2) {
                first[colour] = last[colour];
            }
            if (last[colour] < -below || last[colour] >= image_.values + below || bits_.overrun()) {
                return false;
            }
            ++decoded_;
            sink(last[colour]);
        }
        return true;
    }

    const DifferenceRows& image_;
    std::array<std::array<int, 2>, 2> above_;
    PlainBits bits_;
    std::uint64_t decoded_ = 0;
};

/// The mean difference of a value to the one two rows above.
double measure_roughness(const DifferenceRows& image, Bytes data) {
    std::vector<int> above(static_cast<std::size_t>(2 * image.columns));
    std::uint64_t count = 0;
    double sum = 0;
    RowsDecoder decoder(image, data);
    decoder.decode_rows([&](int value) {
        int& last = above[static_cast<std::size_t>(count % above.size())];
        sum += count >= above.size() ? std::abs(value - last) : 0;
        last = value;
        ++count;
    });
    return sum / static_cast<double>(std::max<std::uint64_t>(count, 1));
}

double measure_unsteadiness(const DifferenceRows& image, Bytes data) {
    RowLevels levels(static_cast<std::size_t>(image.columns));
    RowsDecoder decoder(image, data);
    decoder.decode_rows([&](int value) { levels.add(value); });
    return levels.unsteadiness();
}

} // namespace

HeadlessCoding coding_of(const DifferenceRows& image) {
    const auto decode = [image](Bytes data) {
        RowsDecoder decoder(image, data);
        decoder.decode_rows([](int) {});
        return Trial{decoder.decoded(), decoder.bytes()};
    };
    const auto roughness = [image](Bytes data) { return measure_roughness(image, data); };
    const auto unsteadiness = [image](Bytes data) { return measure_unsteadiness(image, data); };
    return {image.columns * image.rows, decode, image.split == 0 ? image.codes : nullptr, roughness,
            unsteadiness};
}

} // namespace raw_mend
