#include "judge/LosslessJpeg.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace plate_mend::host {

namespace {

constexpr unsigned kLongestCode = 16;

/// For each 16 bits that a code may begin: its length, and how many bits of a difference follow.
struct HuffmanTable {
    struct Code {
        std::uint8_t length = 0; ///< 0: no code begins so.
        std::uint8_t category = 0;
    };
    std::vector<Code> codes;
};

/// Bits of entropy-coded data: FF 00 stands for FF, and a marker ends them.
class BitReader {
  public:
    BitReader(const std::vector<unsigned char>& bytes, std::size_t at) : bytes_(bytes), at_(at) {}

    /// The next 16 bits, with ones behind the end.
    [[nodiscard]] unsigned peek() {
        while (held_ < kLongestCode) {
            bits_ = (bits_ << 8U) | next();
            held_ += 8;
        }
        return static_cast<unsigned>(bits_ >> (held_ - kLongestCode)) & 0xFFFFU;
    }

    /// At most 16.
    void skip(unsigned count) {
        static_cast<void>(peek());
        held_ -= count;
    }

    /// Whether more bits were taken than there were.
    [[nodiscard]] bool overdrawn() const { return held_ < 8 * made_up_; }

    /// Whether all but the bits that fill the last byte were taken.
    [[nodiscard]] bool exhausted() {
        static_cast<void>(peek());
        return made_up_ != 0 && held_ - 8 * made_up_ < 8;
    }

    /// Where the marker stands at which the bits end.
    [[nodiscard]] std::size_t end() const { return at_; }

    /// Goes on behind a marker.
    void restart() {
        at_ += 2;
        bits_ = 0;
        held_ = 0;
        made_up_ = 0;
    }

  private:
    std::uint64_t next() {
        if (at_ >= bytes_.size() ||
            (bytes_[at_] == 0xFF && (at_ + 1 >= bytes_.size() || bytes_[at_ + 1] != 0))) {
            ++made_up_;
            return 0xFF;
        }
        const unsigned byte = bytes_[at_];
        at_ += byte == 0xFF ? 2 : 1;
        return byte;
    }

    const std::vector<unsigned char>& bytes_;
    std::size_t at_;
    std::uint64_t bits_ = 0;
    unsigned held_ = 0;
    unsigned made_up_ = 0; ///< Bytes behind the end.
};

class Jpeg {
  public:
    explicit Jpeg(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}

    bool is_complete() { return starts() && read_header() && read_scan(); }

  private:
    [[nodiscard]] bool has(std::size_t count) const { return at_ + count <= bytes_.size(); }
    [[nodiscard]] unsigned byte(std::size_t offset) const { return bytes_[at_ + offset]; }
    [[nodiscard]] unsigned word(std::size_t offset) const { return byte(offset) << 8U | byte(offset + 1); }

    bool starts() {
        const bool soi = has(2) && byte(0) == 0xFF && byte(1) == 0xD8;
        at_ += 2;
        return soi;
    }

    /// Segments up to SOS; at_ is behind that then.
    bool read_header() {
        while (has(4) && byte(0) == 0xFF) {
            const unsigned marker = byte(1);
            const std::size_t length = word(2);
            if (length < 2 || !has(2 + length)) {
                return false;
            }
            if (!read_segment(marker, length)) {
                return false;
            }
            at_ += 2 + length;
            if (marker == 0xDA) {
                return width_ != 0;
            }
        }
        return false;
    }

    bool read_segment(unsigned marker, std::size_t length) {
        switch (marker) {
        case 0xC3:
            return read_frame(length);
        case 0xC4:
            return read_tables(length);
        case 0xDA:
            return read_scan_header(length);
        case 0xDD:
            interval_ = length == 4 ? word(4) : 0;
            return true;
        default:
            return true;
        }
    }

    /// | FF C3 | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 a component |
    bool read_frame(std::size_t length) {
        if (length < 8 || length != 8 + 3 * std::size_t{byte(9)}) {
            return false;
        }
        height_ = word(5);
        width_ = word(7);
        components_ = byte(9);
        return width_ != 0 && height_ != 0 && components_ >= 1 && components_ <= 4;
    }

    /// | FF C4 | length (2) | then tables: number (1) | how many codes of 1 to 16 bits (16) | values |
    bool read_tables(std::size_t length) {
        std::size_t offset = 4;
        while (offset + 17 <= 2 + length) {
            const unsigned number = byte(offset) & 3U;
            std::size_t count = 0;
            for (std::size_t bits = 1; bits <= kLongestCode; ++bits) {
                count += byte(offset + bits);
            }
            if (offset + 17 + count > 2 + length || !build(tables_[number], offset)) {
                return false;
            }
            offset += 17 + count;
        }
        return true;
    }

    bool build(HuffmanTable& table, std::size_t offset) {
        table.codes.assign(std::size_t{1} << kLongestCode, {});
        std::size_t filled = 0;
        std::size_t value = offset + 17;
        for (unsigned bits = 1; bits <= kLongestCode; ++bits) {
            for (unsigned index = 0; index < byte(offset + bits); ++index, ++value) {
                const std::size_t share = std::size_t{1} << (kLongestCode - bits);
                if (filled + share > table.codes.size() || byte(value) > 16) {
                    return false;
                }
                for (std::size_t code = filled; code < filled + share; ++code) {
                    table.codes[code] = {static_cast<std::uint8_t>(bits),
                                         static_cast<std::uint8_t>(byte(value))};
                }
                filled += share;
            }
        }
        return true;
    }

    /// | FF DA | length (2) | components (1) | a component: id (1), table (high four bits) | ...
    bool read_scan_header(std::size_t length) {
        if (length < 6 || byte(4) != components_ || length != 6 + 2 * std::size_t{components_}) {
            return false;
        }
        for (std::size_t component = 0; component < components_; ++component) {
            const unsigned number = byte(6 + 2 * component) >> 4U;
            if (number > 3 || tables_[number].codes.empty()) {
                return false;
            }
            of_component_[component] = number;
        }
        return true;
    }

    bool read_scan() {
        BitReader bits(bytes_, at_);
        const std::size_t pixels = std::size_t{width_} * height_;
        for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
            if (interval_ != 0 && pixel != 0 && pixel % interval_ == 0) {
                if (!bits.exhausted() || !is_marker(bits.end(), 0xD0, 0xD7)) {
                    return false;
                }
                bits.restart();
            }
            for (std::size_t component = 0; component < components_; ++component) {
                const auto code = tables_[of_component_[component]].codes[bits.peek()];
                if (code.length == 0) {
                    return false;
                }
                bits.skip(code.length);
                bits.skip(code.category < 16 ? code.category : 0);
            }
            if (bits.overdrawn()) {
                return false;
            }
        }
        return bits.exhausted() && is_marker(bits.end(), 0xD9, 0xD9);
    }

    [[nodiscard]] bool is_marker(std::size_t at, unsigned first, unsigned last) const {
        while (at + 2 < bytes_.size() && bytes_[at] == 0xFF && bytes_[at + 1] == 0xFF) {
            ++at; // Markers may have more than one FF in front.
        }
        return at + 2 <= bytes_.size() && bytes_[at] == 0xFF && bytes_[at + 1] >= first &&
               bytes_[at + 1] <= last;
    }

    const std::vector<unsigned char>& bytes_;
    std::size_t at_ = 0;
    unsigned width_ = 0;
    unsigned height_ = 0;
    unsigned components_ = 0;
    unsigned interval_ = 0; ///< Pixels from restart marker to restart marker; 0 for none.
    std::array<HuffmanTable, 4> tables_;
    std::array<std::size_t, 4> of_component_{};
};

} // namespace

bool is_complete_lossless_jpeg(const std::vector<unsigned char>& bytes) {
    return Jpeg(bytes).is_complete();
}

} // namespace plate_mend::host
