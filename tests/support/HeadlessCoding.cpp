#include "support/HeadlessCoding.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace test {

namespace {

/// Writes bits, the highest of each byte first; the last byte is filled with zeros.
class BitWriter {
  public:
    explicit BitWriter(Bytes bytes = {}) : bytes_(std::move(bytes)) {}

    void put(std::uint32_t value, unsigned count) {
        for (unsigned bit = count; bit-- > 0;) {
            if (free_ == 0) {
                bytes_.push_back(0);
                free_ = 8;
            }
            --free_;
            bytes_.back() = static_cast<unsigned char>(bytes_.back() | (value >> bit & 1U) << free_);
        }
    }

    void put(std::string_view digits) {
        for (const char digit : digits) {
            put(digit == '1' ? 1 : 0, 1);
        }
    }

    [[nodiscard]] Bytes bytes() const { return bytes_; }

  private:
    Bytes bytes_;
    unsigned free_ = 0;
};

/// The bits of a number: for a negative one, those of the number less one, without the sign.
unsigned category_of(int difference) {
    return static_cast<unsigned>(std::bit_width(static_cast<unsigned>(std::abs(difference))));
}

void put_difference(BitWriter& bits, int difference) {
    const unsigned category = category_of(difference);
    const int stored = difference < 0 ? difference + (1 << category) - 1 : difference;
    bits.put(static_cast<std::uint32_t>(stored), category);
}

/// Bits from the lowest of the first byte on.
void put_low_first(Bytes& bytes, std::size_t at, unsigned value, unsigned count) {
    for (unsigned bit = 0; bit < count; ++bit, ++at) {
        bytes[at / 8] = static_cast<unsigned char>(bytes[at / 8] | (value >> bit & 1U) << at % 8);
    }
}

Bytes sony_cell(const std::array<unsigned, 16>& samples) {
    const auto greatest = static_cast<unsigned>(std::ranges::max_element(samples) - samples.begin());
    auto least = static_cast<unsigned>(std::ranges::min_element(samples) - samples.begin());
    if (greatest == least) {
        least = greatest == 0 ? 1 : 0;
    }
    unsigned shift = 0;
    while (shift < 4 && 128U << shift <= samples[greatest] - samples[least]) {
        ++shift;
    }
    Bytes cell(16);
    put_low_first(cell, 0, samples[greatest], 11);
    put_low_first(cell, 11, samples[least], 11);
    put_low_first(cell, 22, greatest, 4);
    put_low_first(cell, 26, least, 4);
    std::size_t at = 30;
    for (unsigned i = 0; i < 16; ++i) {
        if (i != greatest && i != least) {
            put_low_first(cell, at, (samples[i] - samples[least]) >> shift, 7);
            at += 7;
        }
    }
    return cell;
}

/// Sony's codes by category.
constexpr std::array<std::string_view, 13> kSonyCodes{
    "011",    "11",      "10",       "010",       "001",        "0001",       "00001",
    "000001", "0000001", "00000001", "000000001", "0000000001", "00000000001"};

/// Nikon's: how many codes have 1, 2 and more bits, and their categories in order.
struct NikonCodes {
    std::array<unsigned, 10> counts;
    std::vector<unsigned> categories;
};

const NikonCodes& nikon_codes(NikonTree tree) {
    static const std::array<NikonCodes, 4> all{{
        {{0, 1, 5, 1, 1, 1, 1, 1, 1, 2}, {5, 4, 3, 6, 2, 7, 1, 0, 8, 9, 11, 10, 12}},
        {{0, 1, 4, 2, 3, 1, 2}, {5, 4, 6, 3, 7, 2, 8, 1, 9, 0, 10, 11, 12}},
        {{0, 1, 4, 3, 1, 1, 1, 1, 1, 2}, {5, 6, 4, 7, 8, 3, 9, 2, 1, 0, 10, 11, 12, 13, 14}},
        {{0, 1, 4, 2, 2, 3, 1, 2}, {7, 6, 8, 5, 9, 4, 10, 3, 11, 12, 2, 0, 1, 13, 14}},
    }};
    return all.at(static_cast<std::size_t>(tree));
}

struct CodeWord {
    std::uint32_t bits = 0;
    unsigned length = 0;
};

/// The words by category: as in a JPEG's table, counted up from 0, and doubled for each bit more.
std::vector<CodeWord> nikon_words(const NikonCodes& codes) {
    std::vector<CodeWord> words(16);
    std::uint32_t word = 0;
    std::size_t nth = 0;
    for (unsigned length = 1; length <= codes.counts.size(); ++length, word <<= 1U) {
        for (unsigned count = 0; count < codes.counts.at(length - 1); ++count, ++word) {
            if (nth < codes.categories.size()) { // The longest words of some trees are not used.
                words.at(codes.categories.at(nth++)) = {word, length};
            }
        }
    }
    return words;
}

/// Differences from the sample two to the left; of the first two of a row, from those two rows above.
Bytes row_differences(const std::vector<std::uint16_t>& samples, unsigned width,
                      const std::vector<CodeWord>& words, std::uint16_t first) {
    BitWriter bits;
    for (std::size_t at = 0; at < samples.size(); ++at) {
        int predicted = first;
        if (at % width >= 2) {
            predicted = samples[at - 2];
        } else if (at >= 2 * std::size_t{width}) {
            predicted = samples[at - 2 * std::size_t{width}];
        }
        const int difference = samples[at] - predicted;
        const CodeWord& word = words.at(category_of(difference));
        bits.put(word.bits, word.length);
        put_difference(bits, difference);
    }
    return bits.bytes();
}

/// What Olympus's coder remembers of one colour in a row.
struct OlympusState {
    unsigned magnitude = 0;
    int drift = 0;
    unsigned calm = 0;
};

void put_olympus(BitWriter& bits, int difference, OlympusState& state) {
    const unsigned more = state.calm < 3 ? 2 : 0;
    unsigned middle = 2 + more;
    while (state.magnitude >> (middle + more) != 0) {
        ++middle;
    }
    const int low = difference & 3;
    const int whole = (difference - low) / 4;
    const int coded = whole - state.drift;
    state.magnitude = static_cast<unsigned>(coded < 0 ? -coded - 1 : coded);
    const unsigned high = state.magnitude >> middle;
    bits.put(coded < 0 ? 1 : 0, 1);
    bits.put(static_cast<std::uint32_t>(low), 2);
    if (high < 12) {
        bits.put(1, high + 1);
    } else {
        bits.put(0, 12);
        bits.put(high << 1U, 16 - middle);
    }
    bits.put(state.magnitude & ((1U << middle) - 1), middle);
    state.drift = (whole * 3 + state.drift) >> 5U;
    state.calm = state.magnitude > 16 ? 0 : state.calm + 1;
}

int olympus_prediction(const std::vector<std::uint16_t>& samples, unsigned width, std::size_t at) {
    const std::size_t row = at / width;
    const std::size_t column = at % width;
    if (row < 2 || column < 2) {
        return row < 2 && column < 2 ? 0 : row < 2 ? samples[at - 2] : samples[at - 2 * std::size_t{width}];
    }
    const int west = samples[at - 2];
    const int north = samples[at - 2 * std::size_t{width}];
    const int corner = samples[at - 2 * std::size_t{width} - 2];
    const int to_west = std::abs(west - corner);
    const int to_north = std::abs(north - corner);
    if (corner > std::min(west, north) && corner < std::max(west, north)) {
        return to_west > 32 || to_north > 32 ? west + north - corner : (west + north) >> 1U;
    }
    return to_west > to_north ? west : north;
}

} // namespace

Bytes sony_cells(const std::vector<std::uint16_t>& samples, unsigned width) {
    Bytes bytes;
    bytes.reserve(samples.size());
    for (std::size_t first = 0; first < samples.size(); first += 32) {
        if (first % width + 32 > width) {
            throw std::invalid_argument("a width that is no multiple of 32");
        }
        for (std::size_t colour = 0; colour < 2; ++colour) {
            std::array<unsigned, 16> cell{};
            for (std::size_t i = 0; i < cell.size(); ++i) {
                cell.at(i) = samples[first + 2 * i + colour];
            }
            const Bytes coded = sony_cell(cell);
            bytes.insert(bytes.end(), coded.begin(), coded.end());
        }
    }
    return bytes;
}

Bytes sony_differences(const std::vector<std::uint16_t>& samples, unsigned width) {
    BitWriter bits;
    const std::size_t rows = samples.size() / width;
    int last = 0;
    for (std::size_t column = width; column-- > 0;) {
        for (std::size_t half = 0; half < 2; ++half) {
            for (std::size_t row = half; row < rows; row += 2) {
                const int difference = int{samples[row * width + column]} - last;
                bits.put(kSonyCodes.at(category_of(difference)));
                put_difference(bits, difference);
                last += difference;
            }
        }
    }
    return bits.bytes();
}

Bytes olympus_run(const std::vector<std::uint16_t>& samples, unsigned width) {
    BitWriter bits(Bytes(7));
    std::array<OlympusState, 2> states;
    for (std::size_t at = 0; at < samples.size(); ++at) {
        if (at % width == 0) {
            states = {};
        }
        put_olympus(bits, samples[at] - olympus_prediction(samples, width, at), states.at(at % width % 2));
    }
    return bits.bytes();
}

Bytes nikon_differences(const std::vector<std::uint16_t>& samples, unsigned width, NikonTree tree,
                        std::uint16_t first) {
    return row_differences(samples, width, nikon_words(nikon_codes(tree)), first);
}

Bytes pentax_differences(const std::vector<std::uint16_t>& samples, unsigned width,
                         const std::vector<unsigned>& lengths) {
    std::vector<CodeWord> words;
    std::uint32_t begin = 0;
    for (const unsigned length : lengths) {
        words.push_back({begin >> (12 - length), length});
        begin += 1U << (12 - length);
    }
    return row_differences(samples, width, words, 0);
}

} // namespace test
