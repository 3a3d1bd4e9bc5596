#include "RowImages.h"

#include <cstdio> // Before jpeglib.h, which needs it.

#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace test {

namespace {

using raw_mend::Packing;
using raw_mend::RowGeometry;

constexpr unsigned kWhite = 4095;

/// Random numbers on a grid, and values between them.
class Grid {
  public:
    Grid(std::size_t width, std::size_t height, double spacing, std::mt19937& random)
        : spacing_(spacing), columns_(static_cast<std::size_t>(static_cast<double>(width) / spacing) + 2),
          values_(columns_ * (static_cast<std::size_t>(static_cast<double>(height) / spacing) + 2)) {
        std::uniform_real_distribution<double> value(-1, 1);
        std::ranges::generate(values_, [&] { return value(random); });
    }

    [[nodiscard]] double at(std::size_t x, std::size_t y) const {
        const double column = static_cast<double>(x) / spacing_;
        const double row = static_cast<double>(y) / spacing_;
        const auto left = static_cast<std::size_t>(column);
        const auto top = static_cast<std::size_t>(row);
        const double right_share = column - static_cast<double>(left);
        const double lower_share = row - static_cast<double>(top);
        const double* const upper = values_.data() + top * columns_ + left;
        const double* const lower = upper + columns_;
        return (upper[0] * (1 - right_share) + upper[1] * right_share) * (1 - lower_share) +
               (lower[0] * (1 - right_share) + lower[1] * right_share) * lower_share;
    }

  private:
    double spacing_;
    std::size_t columns_;
    std::vector<double> values_;
};

void put_bits(Bytes& row, std::size_t at, unsigned value, unsigned bits, bool high_first) {
    for (unsigned i = 0; i < bits; ++i) {
        const std::size_t place = at + i;
        const unsigned bit = high_first ? value >> (bits - 1 - i) & 1U : value >> i & 1U;
        const std::size_t shift = high_first ? 7 - place % 8 : place % 8;
        row[place / 8] = static_cast<unsigned char>(row[place / 8] | bit << shift);
    }
}

Bytes packed_row(const std::vector<unsigned>& row, unsigned bits, bool high_first) {
    Bytes bytes((row.size() * bits + 7) / 8);
    for (std::size_t i = 0; i < row.size(); ++i) {
        put_bits(bytes, i * bits, row[i], bits, high_first);
    }
    return bytes;
}

Bytes words_of_row(const std::vector<unsigned>& row, bool low_first) {
    Bytes bytes;
    for (const unsigned value : row) {
        const auto low = static_cast<unsigned char>(value & 0xFFU);
        const auto high = static_cast<unsigned char>(value >> 8U);
        bytes.push_back(low_first ? low : high);
        bytes.push_back(low_first ? high : low);
    }
    return bytes;
}

/// 16 samples of 11 bits.
Bytes cell(const std::vector<unsigned>& samples) {
    const auto greatest = static_cast<unsigned>(std::ranges::max_element(samples) - samples.begin());
    auto least = static_cast<unsigned>(std::ranges::min_element(samples) - samples.begin());
    if (greatest == least) {
        least = greatest == 0 ? 1 : 0;
    }
    unsigned shift = 0;
    while (shift < 4 && 128U << shift <= samples[greatest] - samples[least]) {
        ++shift;
    }
    Bytes bytes(16);
    put_bits(bytes, 0, samples[greatest], 11, false);
    put_bits(bytes, 11, samples[least], 11, false);
    put_bits(bytes, 22, greatest, 4, false);
    put_bits(bytes, 26, least, 4, false);
    std::size_t at = 30;
    for (unsigned i = 0; i < 16; ++i) {
        if (i != greatest && i != least) {
            put_bits(bytes, at, std::min(127U, (samples[i] - samples[least]) >> shift), 7, false);
            at += 7;
        }
    }
    return bytes;
}

Bytes cells_of_row(const std::vector<unsigned>& row) {
    Bytes bytes;
    for (std::size_t first = 0; first < row.size(); first += 32) {
        for (std::size_t colour = 0; colour < 2; ++colour) {
            std::vector<unsigned> samples;
            for (std::size_t i = 0; i < 16; ++i) {
                samples.push_back(row[first + 2 * i + colour]);
            }
            const Bytes coded = cell(samples);
            bytes.insert(bytes.end(), coded.begin(), coded.end());
        }
    }
    return bytes;
}

Bytes coded_row(const std::vector<unsigned>& row, const RowGeometry& geometry) {
    switch (geometry.packing) {
    case Packing::kLittleWords:
        return words_of_row(row, true);
    case Packing::kBigWords:
        return words_of_row(row, false);
    case Packing::kCells:
        return cells_of_row(row);
    case Packing::kPackedLowFirst:
        return packed_row(row, geometry.bits, false);
    default:
        return packed_row(row, geometry.bits, true);
    }
}

/// Interleaved 8-bit RGB rows.
std::vector<unsigned char> decode(const Bytes& jpeg, std::size_t& width, std::size_t& height) {
    ::jpeg_decompress_struct decoder{};
    ::jpeg_error_mgr errors{};
    decoder.err = ::jpeg_std_error(&errors);
    ::jpeg_create_decompress(&decoder);
    ::jpeg_mem_src(&decoder, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    ::jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = JCS_RGB;
    ::jpeg_start_decompress(&decoder);
    width = decoder.output_width;
    height = decoder.output_height;
    std::vector<unsigned char> rgb(width * height * 3);
    while (decoder.output_scanline < height) {
        unsigned char* row = rgb.data() + decoder.output_scanline * width * 3;
        ::jpeg_read_scanlines(&decoder, &row, 1);
    }
    ::jpeg_destroy_decompress(&decoder);
    return rgb;
}

std::uint16_t limited(double value) {
    return static_cast<std::uint16_t>(std::clamp(std::round(value), 0.0, double{kWhite}));
}

} // namespace

Picture clouds(std::size_t width, std::size_t height, unsigned number) {
    std::mt19937 random(number);
    std::vector<Grid> grids;
    std::vector<double> strengths;
    for (double spacing = 3; spacing < 200; spacing *= 2) {
        grids.emplace_back(width, height, spacing, random);
        strengths.push_back(spacing < 20 ? 25 * spacing : 500);
    }
    std::normal_distribution<double> noise(0, 4);
    Picture picture{width, height, std::vector<std::uint16_t>(width * height)};
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            double value = 1400;
            for (std::size_t i = 0; i < grids.size(); ++i) {
                value += strengths[i] * grids[i].at(x, y);
            }
            const double filter = x % 2 == y % 2 ? 1 : x % 2 == 0 ? 0.6 : 0.8;
            picture.at(x, y) = limited(128 + std::max(value, 0.0) * filter + noise(random));
        }
    }
    return picture;
}

Picture flat_picture(std::size_t width, std::size_t height, unsigned noise) {
    std::mt19937 random(noise);
    std::normal_distribution<double> change(0, std::max(noise, 1U));
    Picture picture{width, height, std::vector<std::uint16_t>(width * height)};
    std::ranges::generate(picture.samples, [&] { return limited(noise > 0 ? 900 + change(random) : 900); });
    return picture;
}

Picture picture_of_jpeg(const Bytes& jpeg, double light, double noise) {
    constexpr double kBlack = 128;
    std::size_t width = 0;
    std::size_t height = 0;
    const std::vector<unsigned char> rgb = decode(jpeg, width, height);
    Picture picture{width / 32 * 32, height, {}};
    std::mt19937 random(1);
    std::normal_distribution<double> change;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const double value = rgb[(y * width + x) * 3 + y % 2 + x % 2] / 255.0;
            const double linear = std::pow(value, 2.2) * (kWhite - kBlack) * light;
            picture.samples.push_back(
                limited(kBlack + linear + noise * std::sqrt(linear + 1) * change(random)));
        }
    }
    return picture;
}

RowGeometry geometry_of(const Picture& picture, Packing packing, unsigned bits) {
    const bool words = packing == Packing::kLittleWords || packing == Packing::kBigWords;
    const std::size_t stored = packing == Packing::kCells ? 8 : words ? 16 : bits;
    return {packing, bits, (picture.width * stored + 7) / 8, picture.height, 1, 2};
}

unsigned stored_sample(unsigned value, std::size_t place, unsigned bits, LowBits low) {
    if (bits <= 12) {
        return value >> (12 - bits);
    }
    std::uint32_t random = static_cast<std::uint32_t>(place + 1) * 2654435761U;
    random = (random ^ random >> 15U) * 2246822519U; // Otherwise, it would be periodic from row to row.
    random = (random ^ random >> 13U) * 3266489917U >> 16U;
    const unsigned mask = (1U << (bits - 12)) - 1;
    return value << (bits - 12) | (low == LowBits::kNoise ? random & mask : 0);
}

Bytes coded_rows(const Picture& picture, const RowGeometry& geometry, LowBits low) {
    Bytes bytes;
    std::vector<unsigned> row(picture.width);
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const std::size_t place = y * picture.width + x;
            row[x] = stored_sample(picture.samples[place], place, geometry.bits, low);
        }
        const Bytes coded = coded_row(row, geometry);
        bytes.insert(bytes.end(), coded.begin(), coded.end());
    }
    return bytes;
}

const std::vector<NamedPacking>& packings() {
    static const std::vector<NamedPacking> all{
        {"8 bits", Packing::kBytes, 8},
        {"10 bits, high first", Packing::kPackedHighFirst, 10},
        {"10 bits, low first", Packing::kPackedLowFirst, 10},
        {"12 bits, high first", Packing::kPackedHighFirst, 12},
        {"12 bits, low first", Packing::kPackedLowFirst, 12},
        {"14 bits, high first", Packing::kPackedHighFirst, 14},
        {"14 bits, low first", Packing::kPackedLowFirst, 14},
        {"12 bits in words, low first", Packing::kLittleWords, 12},
        {"14 bits in words, high first", Packing::kBigWords, 14},
        {"16 bits in words, low first", Packing::kLittleWords, 16},
        {"cells", Packing::kCells, 11},
    };
    return all;
}

} // namespace test
