#include "coding/FujiHead.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

// | "IS" (2) | version: 1 (1) | type (1) | bits (1) | height (2) | width in whole blocks (2) | width (2) |
// | width of a block (2) | blocks (1) | lines (2) | length of each block (4) | up to a multiple of 16: zeros
// | High byte first.
constexpr std::uint64_t kFixedSize = 16;
constexpr unsigned kFujiSignature = 0x4953;
constexpr unsigned kRowsPerLine = 6;

class Numbers {
  public:
    explicit Numbers(Bytes bytes) : bytes_(bytes) {}

    [[nodiscard]] std::uint32_t next(unsigned count) {
        std::uint32_t value = 0;
        for (; count > 0; --count) {
            value = value << 8U | bytes_[at_++];
        }
        return value;
    }

  private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

bool is_sound(const FujiHead& head, unsigned blocks, unsigned rounded_width, unsigned lines) {
    const bool frame = head.width != 0 && head.height != 0 && blocks != 0 && head.block_width != 0;
    const bool coding =
        (head.type == 0 || head.type == 16) && (head.bits == 12 || head.bits == 14 || head.bits == 16);
    return frame && coding && rounded_width == head.block_width * blocks && head.width <= rounded_width &&
           rounded_width - head.width < head.block_width && lines * kRowsPerLine == head.height;
}

} // namespace

std::uint64_t FujiHead::end() const {
    std::uint64_t sum = data;
    for (const std::uint32_t length : lengths) {
        sum += length;
    }
    return sum;
}

bool FujiHead::is_like(const FujiHead& other) const {
    return type == other.type && bits == other.bits && width == other.width && height == other.height &&
           block_width == other.block_width && lengths.size() == other.lengths.size();
}

std::optional<FujiHead> read_fuji_head(Bytes bytes, std::uint64_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < kFixedSize) {
        return std::nullopt;
    }
    Numbers numbers(bytes.subspan(static_cast<std::size_t>(offset)));
    if (numbers.next(2) != kFujiSignature || numbers.next(1) != 1) {
        return std::nullopt;
    }
    FujiHead head;
    head.offset = offset;
    head.type = numbers.next(1);
    head.bits = numbers.next(1);
    head.height = numbers.next(2);
    const unsigned rounded_width = numbers.next(2);
    head.width = numbers.next(2);
    head.block_width = numbers.next(2);
    const unsigned blocks = numbers.next(1);
    const unsigned lines = numbers.next(2);
    const std::uint64_t table = (std::uint64_t{4} * blocks + 15) / 16 * 16;
    if (!is_sound(head, blocks, rounded_width, lines) || bytes.size() - offset < kFixedSize + table) {
        return std::nullopt;
    }
    for (unsigned nth = 0; nth < blocks; ++nth) {
        head.lengths.push_back(numbers.next(4));
    }
    head.data = offset + kFixedSize + table;
    return head;
}

std::vector<FujiHead> find_fuji_heads(Bytes damaged, const FujiHead& sample) {
    std::vector<FujiHead> found;
    for (auto at = damaged.begin();
         (at = std::find(at, damaged.end(), kFujiSignature >> 8U)) != damaged.end(); ++at) {
        auto head = read_fuji_head(damaged, static_cast<std::uint64_t>(at - damaged.begin()));
        if (head && head->is_like(sample)) {
            found.push_back(std::move(*head));
        }
    }
    return found;
}

} // namespace raw_mend
