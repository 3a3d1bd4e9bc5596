#include "coding/DifferenceRows.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <array>
#include <bit>
#include <span>

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

} // namespace

std::optional<HeadlessCoding> nikon_coding(Bytes parameters, ByteOrder order, const Frame& frame) {
    const auto known = read_parameters(parameters, order, frame.bits);
    if (!known) {
        return std::nullopt;
    }
    DifferenceRows image{frame.width, frame.height, known->first, known->values, codes(known->tree)};
    if (known->split != 0) {
        image.split = known->split;
        image.codes_after_split = codes(known->tree + kAfterSplit);
    }
    return coding_of(image);
}

} // namespace raw_mend
