#include "support/CrxEncoder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

// The layout of a track. All numbers are big-endian. A tile holds four planes, one for each place in the 2 by
// 2 filter: red, green beside red, green below red, blue. Each plane has one band. Each of them has a header
// of 12 bytes, in the order tile, plane 0, its band, plane 1, its band...
//
//   offset  width
//   0       2      FF01 a tile, FF02 a plane, FF03 a band
//   2       2      8: the rest of the header
//   4       4      length of its coded bytes
//   8       4      tile: 0. Plane: its number in the high four bits, then a bit for "predicted from the
//                  line above" (bit 27). Band: the quantizer (4: none) from bit 19 on, and in the low 11
//                  bits how many of its bytes are filler
//
// Four zeros bring the headers to 112 bytes; the coded planes follow, each filled up to a multiple of 8.
//
// A picture of several tiles has them side by side. The headers of the second one follow those of the first,
// and so do its planes. The number of a tile is in the high half of its word.
//
// How a plane is coded. The middle of the range is subtracted from each sample. The prediction, the run mode
// and its table are those of JPEG-LS (ITU-T T.87, A.4.1 and A.7); what the prediction missed is written in
// an adaptive Rice code. x is the sample, a to d are its neighbours:
//
//     c b d    Above the first line are zeros. Before a line is the first sample of the one
//     a x      above it.
//
// Runs: where a, b and d are the same, and x is not the last of its line, the number of samples equal to a
// is coded first. If samples are left, the next one is predicted to be b, without another run.
//
// Prediction elsewhere: the median of a, b and a + b - c.
//
// Errors: e is coded as the number 2e, or -2e - 1 when e < 0. All of it except the low k bits is written as
// that many zeros and a one, then come these k bits. More than 40 zeros are written as 41, a one, and the
// number in 21 bits.
//
// k begins at 0 and is at most 15. What moves it is the number; on all lines but the first, and for all
// samples but the last of a line, the mean of the number and 2 |b - d|. Below half of 2^k it goes down by
// one, from 3 times 2^k on up by one, from 6 times on up by two.

namespace test {

namespace {

constexpr ByteOrder kBig = ByteOrder::kBig;
constexpr unsigned kPlanes = 4;
constexpr std::uint32_t kNotQuantized = 4U << 19U;
constexpr std::uint32_t kPredictedFromAbove = 1U << 27U;

/// Bits, the high bit of each byte first.
class BitWriter {
  public:
    /// The low bits of a value, at most 32.
    void put(std::uint32_t value, unsigned count) {
        for (unsigned bit = count; bit-- > 0;) {
            if (filled_ % 8 == 0) {
                bytes_.push_back(0);
            }
            const unsigned set = value >> bit & 1U;
            bytes_.back() = static_cast<unsigned char>(bytes_.back() | set << (7 - filled_ % 8));
            ++filled_;
        }
    }

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

  private:
    Bytes bytes_;
    std::size_t filled_ = 0;
};

/// Codes the lines of one plane from top to bottom.
class PlaneEncoder {
  public:
    explicit PlaneEncoder(std::size_t width) : width_(width), line_(width + 1), above_(width + 1) {}

    void put_line(const std::vector<int>& samples) {
        std::copy(samples.begin(), samples.end(), line_.begin() + 1);
        line_[0] = above_[1];
        for (std::size_t x = 1; x <= width_; ++x) {
            const int a = line_[x - 1];
            const bool flat = x < width_ && a == above_[x] && a == above_[x + 1];
            if (flat) {
                const auto begin = line_.begin() + static_cast<std::ptrdiff_t>(x);
                const auto end = std::find_if(begin, line_.end(), [a](int sample) { return sample != a; });
                const auto run = static_cast<std::size_t>(end - begin);
                put_run(run, width_ - x + 1);
                x += run;
                if (x > width_) {
                    break;
                }
            }
            put_sample(x, flat ? above_[x] : median(x));
        }
        line_.swap(above_);
        first_line_ = false;
    }

    [[nodiscard]] const Bytes& bytes() const { return bits_.bytes(); }

  private:
    [[nodiscard]] int median(std::size_t x) const {
        const int a = line_[x - 1];
        const int b = above_[x];
        return std::clamp(a + b - above_[x - 1], std::min(a, b), std::max(a, b));
    }

    void put_sample(std::size_t x, int predicted) {
        const int error = line_[x] - predicted;
        const auto number = static_cast<std::uint32_t>(error < 0 ? -2 * error - 1 : 2 * error);
        const std::uint32_t zeros = std::min(number >> k_, kEscape);
        for (std::uint32_t zero = 0; zero < zeros; ++zero) {
            bits_.put(0, 1);
        }
        bits_.put(1, 1);
        bits_.put(number, zeros < kEscape ? k_ : kEscapedBits);
        if (first_line_ || x == width_) {
            follow(number);
        } else {
            const int ahead = std::abs(above_[x + 1] - above_[x]);
            follow((number + 2 * static_cast<std::uint32_t>(ahead)) / 2);
        }
    }

    void follow(std::uint32_t number) {
        const std::uint32_t zeros = number >> k_;
        if (number < (1U << k_) / 2) {
            --k_;
        }
        k_ = std::min(k_ + (zeros > 2 ? 1 : 0) + (zeros > 5 ? 1 : 0), kMaxK);
    }

    /// A zero where there is no run. Else a one, which counts one sample, and a one for each whole block of
    /// samples, whose lengths grow with the runs; then, unless the run ends the line, a zero and the number
    /// of samples left. to_end counts the samples from here to the end of the line.
    void put_run(std::size_t run, std::size_t to_end) {
        if (run == 0) {
            bits_.put(0, 1);
            return;
        }
        bits_.put(1, 1);
        std::size_t coded = 1;
        while (coded < run && run - coded >= block()) {
            bits_.put(1, 1);
            coded += block();
            run_index_ = std::min(run_index_ + 1, kBlockBits.size() - 1);
        }
        if (run == to_end) {
            if (coded < run) { // The last block goes beyond the line.
                bits_.put(1, 1);
            }
            return;
        }
        bits_.put(0, 1);
        bits_.put(static_cast<std::uint32_t>(run - coded), kBlockBits[run_index_]);
        if (run_index_ > 0) {
            --run_index_;
        }
    }

    [[nodiscard]] std::size_t block() const { return std::size_t{1} << kBlockBits[run_index_]; }

    static constexpr std::uint32_t kEscape = 41;
    static constexpr unsigned kEscapedBits = 21;
    static constexpr unsigned kMaxK = 15;
    static constexpr std::array<unsigned, 32> kBlockBits{
        0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 9, 10, 11, 12, 13, 14, 15};

    std::size_t width_;
    std::vector<int> line_; ///< Sample x is at x + 1.
    std::vector<int> above_;
    BitWriter bits_;
    bool first_line_ = true;
    unsigned k_ = 0;
    std::size_t run_index_ = 0;
};

Bytes header(std::uint16_t kind, std::size_t length, std::uint32_t word) {
    Bytes bytes(12);
    put_u16(bytes, 0, kind, kBig);
    put_u16(bytes, 2, 8, kBig);
    put_u32(bytes, 4, static_cast<std::uint32_t>(length), kBig);
    put_u32(bytes, 8, word, kBig);
    return bytes;
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

} // namespace

Bytes encode_crx(const std::vector<std::uint16_t>& samples, unsigned width, unsigned height, unsigned bits,
                 unsigned tile_width) {
    const int middle = 1 << (bits - 1);
    Bytes headers;
    Bytes planes;
    for (unsigned left = 0; left < width; left += tile_width) {
        Bytes tile_headers;
        Bytes tile_planes;
        const unsigned columns = std::min(tile_width, width - left);
        for (unsigned plane = 0; plane < kPlanes; ++plane) {
            PlaneEncoder encoder(columns / 2);
            std::vector<int> line(columns / 2);
            for (std::size_t row = plane / 2; row < height; row += 2) {
                for (std::size_t x = 0; x < line.size(); ++x) {
                    line[x] = samples.at(row * width + left + 2 * x + plane % 2) - middle;
                }
                encoder.put_line(line);
            }
            Bytes coded = encoder.bytes();
            const std::size_t filler = (8 - coded.size() % 8) % 8;
            coded = joined(coded, Bytes(filler));
            const auto band = kNotQuantized | static_cast<std::uint32_t>(filler);
            append(tile_headers, header(0xFF02, coded.size(), plane << 28U | kPredictedFromAbove));
            append(tile_headers, header(0xFF03, coded.size(), band));
            append(tile_planes, coded);
        }
        append(headers, header(0xFF01, tile_planes.size(), left / tile_width << 16U));
        append(headers, tile_headers);
        append(planes, tile_planes);
    }
    append(headers, Bytes((8 - headers.size() % 8) % 8));
    append(headers, planes);
    return headers;
}

Bytes encode_crx(const std::vector<std::uint16_t>& samples, unsigned width, unsigned height, unsigned bits) {
    return encode_crx(samples, width, height, bits, width);
}

} // namespace test
