#include "coding/Headless.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <span>
#include <utility>

namespace raw_mend {

namespace {

/// Codes as a camera has them: how many of each length from 1 bit on, and their differences in order. A
/// difference is its bits, and 16 times those that are not stored.
struct Tree {
    std::array<std::uint8_t, 12> counts;
    std::array<std::uint8_t, 15> differences;
};

constexpr std::array<Tree, 6> kTrees{{
    // 12 bits: lossy, lossy after the split, lossless.
    {{0, 1, 5, 1, 1, 1, 1, 1, 1, 2, 0, 0}, {5, 4, 3, 6, 2, 7, 1, 0, 8, 9, 11, 10, 12, 0}},
    {{0, 1, 5, 1, 1, 1, 1, 1, 1, 2, 0, 0}, {0x39, 0x5A, 0x38, 0x27, 0x16, 5, 4, 3, 2, 1, 0, 11, 12, 12}},
    {{0, 1, 4, 2, 3, 1, 2, 0, 0, 0, 0, 0}, {5, 4, 6, 3, 7, 2, 8, 1, 9, 0, 10, 11, 12}},
    // 14 bits: likewise.
    {{0, 1, 4, 3, 1, 1, 1, 1, 1, 2, 0, 0}, {5, 6, 4, 7, 8, 3, 9, 2, 1, 0, 10, 11, 12, 13, 14}},
    {{0, 1, 5, 1, 1, 1, 1, 1, 1, 1, 2, 0}, {8, 0x5C, 0x4B, 0x3A, 0x29, 7, 6, 5, 4, 3, 2, 1, 0, 13, 14}},
    {{0, 1, 4, 2, 2, 3, 1, 2, 0, 0, 0, 0}, {7, 6, 8, 5, 9, 4, 10, 3, 11, 12, 2, 0, 1, 13, 14}},
}};
constexpr std::size_t kAfterSplit = 1; // Place of a tree among the three of its bits.
constexpr std::size_t kLossless = 2;
constexpr std::size_t kOf14Bits = 3;

std::shared_ptr<const DifferenceCodes> make_codes(const Tree& tree) {
    constexpr unsigned kMostBits = 16;
    std::vector<DifferenceCode> codes;
    for (std::size_t length = 0; length < tree.counts.size(); ++length) {
        for (unsigned count = 0; count < tree.counts[length]; ++count) {
            const std::uint8_t difference = tree.differences[codes.size()];
            codes.push_back({static_cast<std::uint8_t>(length + 1),
                             static_cast<std::uint8_t>(difference & 15U),
                             static_cast<std::uint8_t>(difference >> 4U)});
        }
    }
    return std::make_shared<const DifferenceCodes>(codes, kMostBits);
}

const std::shared_ptr<const DifferenceCodes>& codes(std::size_t tree) {
    static const auto all = [] {
        std::array<std::shared_ptr<const DifferenceCodes>, kTrees.size()> made;
        for (std::size_t at = 0; at < made.size(); ++at) {
            made[at] = make_codes(kTrees[at]);
        }
        return made;
    }();
    return all[tree];
}

/// What the maker note says about the values.
struct Parameters {
    std::array<std::array<int, 2>, 2> first{}; ///< What the first values of even and odd rows add to.
    int values = 0;                            ///< They are less than this.
    std::size_t tree = 0;
    std::uint64_t split = 0; ///< The row from which on the tree is another; 0 for none.
};

/// Values are less than the places of the curve, without those at its end that are all the same.
std::optional<int> count_values(const byte_reader::ByteReader& reader, std::uint64_t at, int count) {
    if (!reader.holds(at, 2 * static_cast<std::uint64_t>(count))) {
        return std::nullopt;
    }
    const auto curve = [&](int place) { return reader.u16(at + 2 * static_cast<std::uint64_t>(place)); };
    while (count > 2 && curve(count - 2) == curve(count - 1)) {
        --count;
    }
    return count;
}

std::optional<Parameters> read_parameters(Bytes bytes, ByteOrder order, unsigned bits) {
    constexpr unsigned kLosslessVersion = 0x46;
    constexpr unsigned kSplitVersion = 0x44;
    constexpr std::array<unsigned, 2> kSplitRevisions{0x20, 0x40};
    constexpr std::uint64_t kSplit = 562;
    constexpr std::uint64_t kLongestCurve = 0x4001;
    const byte_reader::ByteReader reader(bytes,
                                         order == ByteOrder::kBig ? std::endian::big : std::endian::little);
    const auto version = reader.u8(0);
    const auto revision = reader.u8(1);
    const std::uint64_t at = version == 0x49U || revision == 0x58U ? 2 + 2110 : 2;
    const auto count = reader.u16(at + 8);
    if (!count || (bits != 12 && bits != 14)) {
        return std::nullopt;
    }
    Parameters found;
    for (unsigned nth = 0; nth < 4; ++nth) {
        found.first[nth / 2][nth % 2] = static_cast<int>(*reader.u16(at + std::uint64_t{2} * nth));
    }
    found.tree = (bits == 14 ? kOf14Bits : 0) + (*version == kLosslessVersion ? kLossless : 0);
    found.values = 1 << bits;
    const bool is_stepped = *version == kSplitVersion && *count > 1 &&
                            std::ranges::find(kSplitRevisions, *revision) != kSplitRevisions.end();
    if (is_stepped) {
        found.split = reader.u16(kSplit).value_or(0);
    } else if (*version != kLosslessVersion && *count > 1 && *count <= kLongestCurve) {
        const auto values = count_values(reader, at + 10, *count);
        if (!values) {
            return std::nullopt;
        }
        found.values = *values;
    }
    return found;
}

/// Decodes one image.
class Decoder {
  public:
    Decoder(const Parameters& parameters, Bytes data, std::uint64_t columns)
        : values_(parameters.values), above_(parameters.first), bits_(data), columns_(columns) {}

    /// The rows from the first on; each value of theirs is passed on. Ends at the first that cannot be.
    template <typename Sink>
    void decode_rows(const Parameters& parameters, std::uint64_t rows, const Sink& sink) {
        constexpr int kBelowAfterSplit = 16;
        for (std::uint64_t row = 0; row < rows; ++row) {
            const bool is_split = parameters.split != 0 && row >= parameters.split;
            const DifferenceCodes& of_row = *codes(parameters.tree + (is_split ? kAfterSplit : 0));
            if (!decode_row(row, of_row, is_split ? kBelowAfterSplit : 0, sink)) {
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
        for (std::uint64_t column = 0; column < columns_; ++column) {
            if (!codes.read(bits_, difference)) {
                return false;
            }
            const std::size_t colour = column % 2;
            last[colour] = (column < 2 ? first[colour] : last[colour]) + difference;
            if (column < 2) {
                first[colour] = last[colour];
            }
            if (last[colour] < -below || last[colour] >= values_ + below || bits_.overrun()) {
                return false;
            }
            ++decoded_;
            sink(last[colour]);
        }
        return true;
    }

    int values_;
    std::array<std::array<int, 2>, 2> above_;
    PlainBits bits_;
    std::uint64_t columns_;
    std::uint64_t decoded_ = 0;
};

/// The mean difference of a value to the one two rows above.
double measure_roughness(const Parameters& parameters, Bytes data, std::uint64_t columns,
                         std::uint64_t rows) {
    std::vector<int> above(static_cast<std::size_t>(2 * columns));
    std::uint64_t count = 0;
    double sum = 0;
    Decoder decoder(parameters, data, columns);
    decoder.decode_rows(parameters, rows, [&](int value) {
        int& last = above[static_cast<std::size_t>(count % (2 * columns))];
        sum += count >= 2 * columns ? std::abs(value - last) : 0;
        last = value;
        ++count;
    });
    return sum / static_cast<double>(std::max<std::uint64_t>(count, 1));
}

} // namespace

std::optional<HeadlessCoding> nikon_coding(Bytes parameters, ByteOrder order, const Frame& frame) {
    const auto known = read_parameters(parameters, order, frame.bits);
    if (!known) {
        return std::nullopt;
    }
    const std::uint64_t columns = frame.width;
    const std::uint64_t rows = frame.height;
    const auto decode = [known = *known, columns, rows](Bytes data) {
        Decoder decoder(known, data, columns);
        decoder.decode_rows(known, rows, [](int) {});
        return Trial{decoder.decoded(), decoder.bytes()};
    };
    const auto roughness = [known = *known, columns, rows](Bytes data) {
        return measure_roughness(known, data, columns, rows);
    };
    const bool stands_alone = known->split == 0;
    return HeadlessCoding{columns * rows, decode, stands_alone ? codes(known->tree) : nullptr, roughness};
}

} // namespace raw_mend
