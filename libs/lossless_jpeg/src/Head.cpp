#include <lossless_jpeg/Head.h>

#include "McuLayout.h"

#include <lossless_jpeg/Markers.h>

#include <algorithm>

namespace lossless_jpeg {

namespace {

using jpeg_bits::HuffmanCodes;

constexpr unsigned kMostCategory = 16; // The highest of 16-bit samples (T.81, table H.2).

class Reader {
  public:
    Reader(Bytes bytes, std::uint64_t offset) : bytes_(bytes), at_(offset) { head_.begin = offset; }

    std::optional<Head> read() {
        if (!has(2) || byte(0) != 0xFF || byte(1) != kSoi) {
            return std::nullopt;
        }
        at_ += 2;
        while (read_segment()) {
            if (head_.segments.back().code == kSos) {
                head_.end = at_;
                return head_;
            }
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] bool has(std::uint64_t count) const {
        return at_ <= bytes_.size() && count <= bytes_.size() - at_;
    }
    [[nodiscard]] unsigned byte(std::uint64_t offset) const {
        return bytes_[static_cast<std::size_t>(at_ + offset)];
    }
    [[nodiscard]] unsigned word(std::uint64_t offset) const { return byte(offset) << 8U | byte(offset + 1); }

    bool skip_fill_bytes() {
        while (has(2) && byte(0) == 0xFF && byte(1) == 0xFF) {
            if (++fill_bytes_ > kMostFillBytes) {
                return false;
            }
            ++at_;
        }
        return true;
    }

    bool read_segment() {
        if (!skip_fill_bytes() || !has(4) || byte(0) != 0xFF || head_.segments.size() == kMostSegments) {
            return false;
        }
        const unsigned code = byte(1);
        const unsigned length = word(2);
        if (!has_length(code) || length < 2 || !has(2 + std::uint64_t{length}) ||
            !read_content(code, length)) {
            return false;
        }
        head_.segments.push_back({static_cast<unsigned char>(code), at_, length});
        at_ += 2 + length;
        return true;
    }

    bool read_content(unsigned code, unsigned length) {
        switch (code) {
        case kSof3:
            return read_frame(length);
        case kDht:
            return read_tables(length);
        case kSos:
            return read_scan(length);
        case kDri:
            head_.restart_interval = length == 4 ? word(4) : 0;
            return true;
        default:
            return !is_other_frame(code);
        }
    }

    /// | FF C3 | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 per component |
    bool read_frame(unsigned length) {
        if (length < 8 || length != 8 + 3 * byte(9) || !head_.components.empty()) {
            return false;
        }
        head_.precision = byte(4);
        head_.height = word(5);
        head_.width = word(7);
        const unsigned count = byte(9);
        for (unsigned nth = 0; nth < count && count <= 4; ++nth) {
            const unsigned factors = byte(11 + 3 * nth);
            head_.components.push_back(
                {static_cast<unsigned char>(byte(10 + 3 * nth)), factors >> 4U, factors & 0xFU, 0});
        }
        return head_.width != 0 && head_.height != 0 && !head_.components.empty();
    }

    /// | FF C4 | length (2) | then tables: number (1) | counts of codes of 1 to 16 bits (16) | categories |
    bool read_tables(unsigned length) {
        unsigned offset = 4;
        while (offset + 17 <= 2 + length) {
            HuffmanCodes codes;
            for (unsigned nth = 0; nth < codes.counts.size(); ++nth) {
                codes.counts[nth] = static_cast<std::uint8_t>(byte(offset + 1 + nth));
            }
            const unsigned count = codes.size();
            if (count > codes.symbols.size() || offset + 17 + count > 2 + length || !codes.is_prefix_code()) {
                return false;
            }
            for (unsigned nth = 0; nth < count; ++nth) {
                codes.symbols[nth] = static_cast<std::uint8_t>(byte(offset + 17 + nth));
            }
            if (*std::max_element(codes.symbols.begin(), codes.symbols.end()) > kMostCategory) {
                return false;
            }
            head_.tables[byte(offset) & 3U] = codes;
            offset += 17 + count;
        }
        return true;
    }

    /// | FF DA | length (2) | components (1) | per component: id (1), table (high four bits) | Ss | Se | Ah,
    /// Al |
    bool read_scan(unsigned length) {
        const auto count = static_cast<unsigned>(head_.components.size());
        if (count == 0 || length != 6 + 2 * count || byte(4) != count) {
            return false;
        }
        for (unsigned nth = 0; nth < count; ++nth) {
            const unsigned table = byte(6 + 2 * nth) >> 4U;
            if (table > 3 || !head_.tables[table]) {
                return false;
            }
            head_.components[nth].table = table;
        }
        head_.predictor = byte(5 + 2 * count);
        head_.point_transform = byte(7 + 2 * count) & 0xFU;
        return true;
    }

    Bytes bytes_;
    std::uint64_t at_;
    std::size_t fill_bytes_ = 0;
    Head head_;
};

} // namespace

std::uint64_t Head::samples() const {
    const McuLayout layout(*this);
    return layout.mcus() * layout.components().size();
}

std::optional<Head> read_head(Bytes bytes, std::uint64_t offset) {
    return Reader(bytes, offset).read();
}

} // namespace lossless_jpeg
