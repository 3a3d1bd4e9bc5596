#include "judge/LosslessJpeg.h"

#include <jpeg_bits/BitReader.h>
#include <jpeg_bits/HuffmanTable.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace plate_mend::host {

namespace {

using jpeg_bits::BitReader;
using jpeg_bits::HuffmanCodes;
using jpeg_bits::HuffmanTable;

constexpr unsigned kMostCategory = 16; // Of a difference of 16-bit samples (T.81, table H.2).

// The byte after FF (T.81, table B.1).
constexpr unsigned kSof3 = 0xC3;
constexpr unsigned kDht = 0xC4;
constexpr unsigned kRst0 = 0xD0;
constexpr unsigned kRst7 = 0xD7;
constexpr unsigned kSoi = 0xD8;
constexpr unsigned kEoi = 0xD9;
constexpr unsigned kSos = 0xDA;
constexpr unsigned kDri = 0xDD;

class Jpeg {
  public:
    explicit Jpeg(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}

    bool is_complete() { return skip_soi() && read_header() && read_scan(); }

  private:
    [[nodiscard]] bool has(std::size_t count) const { return at_ + count <= bytes_.size(); }
    [[nodiscard]] unsigned byte(std::size_t offset) const { return bytes_[at_ + offset]; }
    [[nodiscard]] unsigned word(std::size_t offset) const { return byte(offset) << 8U | byte(offset + 1); }

    bool skip_soi() {
        const bool soi = has(2) && byte(0) == 0xFF && byte(1) == kSoi;
        at_ += 2;
        return soi;
    }

    /// Segments up to SOS; at_ is after that then.
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
            if (marker == kSos) {
                return width_ != 0;
            }
        }
        return false;
    }

    bool read_segment(unsigned marker, std::size_t length) {
        switch (marker) {
        case kSof3:
            return read_frame(length);
        case kDht:
            return read_tables(length);
        case kSos:
            return read_scan_header(length);
        case kDri:
            interval_ = length == 4 ? word(4) : 0;
            return true;
        default:
            return true;
        }
    }

    /// | FF C3 | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 per component |
    bool read_frame(std::size_t length) {
        if (length < 8 || length != 8 + 3 * std::size_t{byte(9)}) {
            return false;
        }
        height_ = word(5);
        width_ = word(7);
        components_ = byte(9);
        return width_ != 0 && height_ != 0 && components_ >= 1 && components_ <= 4;
    }

    /// | FF C4 | length (2) | then tables: number (1) | counts of codes of 1 to 16 bits (16) | categories |
    bool read_tables(std::size_t length) {
        std::size_t offset = 4;
        while (offset + 17 <= 2 + length) {
            const unsigned number = byte(offset) & 3U;
            const unsigned char* table = bytes_.data() + at_ + offset;
            HuffmanCodes codes;
            std::copy_n(table + 1, codes.counts.size(), codes.counts.begin());
            const std::size_t count = codes.size();
            if (count > codes.symbols.size() || offset + 17 + count > 2 + length || !codes.is_prefix_code()) {
                return false;
            }
            std::copy_n(table + 17, count, codes.symbols.begin());
            if (*std::max_element(codes.symbols.begin(), codes.symbols.end()) > kMostCategory) {
                return false;
            }
            tables_[number].emplace(codes);
            offset += 17 + count;
        }
        return true;
    }

    /// | FF DA | length (2) | components (1) | per component: id (1), table (high four bits) | ...
    bool read_scan_header(std::size_t length) {
        if (length < 6 || byte(4) != components_ || length != 6 + 2 * std::size_t{components_}) {
            return false;
        }
        for (std::size_t component = 0; component < components_; ++component) {
            const unsigned number = byte(6 + 2 * component) >> 4U;
            if (number > 3 || !tables_[number]) {
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
                if (!bits.closes() || !is_marker(bits.stop(), kRst0, kRst7)) {
                    return false;
                }
                bits = BitReader(bytes_, bits.stop() + 2);
            }
            for (std::size_t component = 0; component < components_; ++component) {
                if (!skip_difference(bits, *tables_[of_component_[component]])) {
                    return false;
                }
            }
            if (bits.overrun()) {
                return false;
            }
        }
        return bits.closes() && is_marker(bits.stop(), kEoi, kEoi);
    }

    static bool skip_difference(BitReader& bits, const HuffmanTable& table) {
        const int category = table.decode(bits);
        if (category > 0 && category < 16) { // One of category 16 has no further bits.
            static_cast<void>(bits.get(static_cast<unsigned>(category)));
        }
        return category >= 0;
    }

    [[nodiscard]] bool is_marker(std::size_t at, unsigned first, unsigned last) const {
        while (at + 2 < bytes_.size() && bytes_[at] == 0xFF && bytes_[at + 1] == 0xFF) {
            ++at; // Markers may have more than one FF.
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
    std::array<std::optional<HuffmanTable>, 4> tables_;
    std::array<std::size_t, 4> of_component_{};
};

} // namespace

bool is_complete_lossless_jpeg(const std::vector<unsigned char>& bytes) {
    return Jpeg(bytes).is_complete();
}

} // namespace plate_mend::host
