#include "coding/CrxPlane.h"

#include <algorithm>
#include <array>
#include <bit>
#include <vector>

namespace raw_mend {

namespace {

constexpr unsigned kMostZeros = 41; // Then the number follows in kEscapedBits.
constexpr unsigned kEscapedBits = 21;
constexpr unsigned kMostLowBits = 15;
constexpr std::uint64_t kMostLeft = 8;

/// Bits of the lengths of blocks of equal samples (ITU-T T.87, A.7.1.2).
constexpr std::array<unsigned, 32> kBlockBits{0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,  2,  3,  3,  3,  3,
                                              4, 4, 5, 5, 6, 6, 7, 7, 8, 9, 10, 11, 12, 13, 14, 15};

/// Bits, the high one of each byte first. After the end are ones, which are counted.
class PlaneBits {
  public:
    explicit PlaneBits(Bytes bytes) : bytes_(bytes) {}

    /// At most 32.
    std::uint32_t next(unsigned count) {
        fill();
        const auto value = count == 0 ? 0 : static_cast<std::uint32_t>(bits_ >> (64 - count));
        drop(count);
        return value;
    }

    /// The zeros before a one, which is read too. More than can be are one more than can be.
    unsigned zeros() {
        fill();
        const auto count = std::min(static_cast<unsigned>(std::countl_zero(bits_)), kMostZeros + 1);
        drop(count + 1);
        return count;
    }

    [[nodiscard]] std::uint64_t bytes_read() const { return (read_ + 7) / 8; }

  private:
    void fill() {
        while (filled_ <= 56) {
            const std::uint64_t byte = at_ < bytes_.size() ? bytes_[at_] : 0xFFU;
            ++at_;
            bits_ |= byte << (56 - filled_);
            filled_ += 8;
        }
    }

    void drop(unsigned count) {
        bits_ <<= count;
        filled_ -= count;
        read_ += count;
    }

    Bytes bytes_;
    std::size_t at_ = 0;
    std::uint64_t bits_ = 0; // From the highest one on.
    unsigned filled_ = 0;
    std::uint64_t read_ = 0;
};

/// Decodes line by line.
class PlaneDecoder {
  public:
    PlaneDecoder(Bytes coded, const CrxPlaneSize& size)
        : bits_(coded), width_(static_cast<std::size_t>(size.width)), middle_(1 << (size.bits - 1)),
          line_(width_ + 1), above_(width_ + 1) {}

    /// Whether the line's samples are all in range.
    bool decode_line() {
        line_[0] = above_[1];
        for (std::size_t x = 1; x <= width_; ++x) {
            const int left = line_[x - 1];
            const bool flat = x < width_ && left == above_[x] && left == above_[x + 1];
            if (flat) {
                const std::size_t run = read_run(width_ - x + 1);
                if (run > width_ - x + 1) {
                    return false;
                }
                std::fill_n(line_.begin() + static_cast<std::ptrdiff_t>(x), run, left);
                x += run;
                if (x > width_) {
                    break;
                }
            }
            line_[x] = (flat ? above_[x] : predict(x)) + read_error(x);
            if (line_[x] < -middle_ || line_[x] >= middle_) {
                return false;
            }
        }
        line_.swap(above_);
        first_line_ = false;
        return true;
    }

    [[nodiscard]] std::uint64_t bytes_read() const { return bits_.bytes_read(); }

  private:
    /// The median of left, above, and left + above - above left.
    [[nodiscard]] int predict(std::size_t x) const {
        const int left = line_[x - 1];
        const int above = above_[x];
        const auto [low, high] = std::minmax(left, above);
        return std::clamp(left + above - above_[x - 1], low, high);
    }

    int read_error(std::size_t x) {
        const unsigned zeros = bits_.zeros();
        const std::uint32_t number =
            zeros >= kMostZeros ? bits_.next(kEscapedBits) : zeros << low_bits_ | bits_.next(low_bits_);
        const bool last = x == width_;
        const int ahead = first_line_ || last ? 0 : above_[x + 1] - above_[x];
        const auto difference = static_cast<std::uint32_t>(ahead < 0 ? -ahead : ahead);
        adapt(first_line_ || last ? number : (number + 2 * difference) / 2);
        const auto half = static_cast<int>(number >> 1U);
        return (number & 1U) != 0 ? -half - 1 : half;
    }

    /// To the numbers that are to be expected.
    void adapt(std::uint32_t number) {
        const std::uint32_t zeros = number >> low_bits_;
        if (number < (1U << low_bits_) / 2) {
            --low_bits_;
        }
        low_bits_ = std::min(low_bits_ + (zeros > 2 ? 1 : 0) + (zeros > 5 ? 1 : 0), kMostLowBits);
    }

    /// How many samples are equal to the last one, of so many at most; more than that if the bits are wrong.
    std::size_t read_run(std::size_t most) {
        if (bits_.next(1) == 0) {
            return 0;
        }
        std::size_t run = 1;
        while (run < most) {
            if (bits_.next(1) == 0) {
                run += bits_.next(kBlockBits[run_index_]);
                run_index_ -= run_index_ > 0 ? 1U : 0U;
                return run;
            }
            const std::size_t block = std::size_t{1} << kBlockBits[run_index_];
            if (block > most - run) {
                return most;
            }
            run += block;
            run_index_ = std::min(run_index_ + 1, kBlockBits.size() - 1);
        }
        return run;
    }

    PlaneBits bits_;
    std::size_t width_;
    int middle_;
    std::vector<int> line_; // Sample x is at x + 1.
    std::vector<int> above_;
    bool first_line_ = true;
    unsigned low_bits_ = 0;
    std::size_t run_index_ = 0;
};

} // namespace

bool crx_plane_decodes(Bytes coded, const CrxPlaneSize& size) {
    PlaneDecoder decoder(coded, size);
    for (std::uint64_t line = 0; line < size.height; ++line) {
        if (!decoder.decode_line() || decoder.bytes_read() > coded.size()) {
            return false;
        }
    }
    return coded.size() - decoder.bytes_read() <= kMostLeft;
}

} // namespace raw_mend
