#include "coding/BaselineJpeg.h"

#include <byte_reader/ByteReader.h>
#include <jpeg_bits/HuffmanTable.h>
#include <lossless_jpeg/Markers.h>

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <vector>

namespace raw_mend {

namespace {

using jpeg_bits::BitReader;
using jpeg_bits::HuffmanTable;

struct Component {
    unsigned id = 0;
    unsigned horizontal = 1;
    unsigned vertical = 1;
    const HuffmanTable* dc = nullptr;
    const HuffmanTable* ac = nullptr;
};

/// The segments before the entropy-coded data.
class Head {
  public:
    explicit Head(Bytes bytes) : reader_(bytes, std::endian::big) {}

    /// Reads up to the end of SOS; false if that is no head of a baseline JPEG.
    bool read(std::uint64_t offset) {
        constexpr unsigned kMostSegments = 256;
        if (reader_.u16(offset) != (0xFF00U | lossless_jpeg::kSoi)) {
            return false;
        }
        at_ = offset + 2;
        for (unsigned count = 0; count < kMostSegments; ++count) {
            const auto marker = reader_.u16(at_);
            const auto length = reader_.u16(at_ + 2);
            if (!marker || *marker >> 8U != 0xFF || !length || *length < 2 ||
                !reader_.holds(at_ + 2, *length)) {
                return false;
            }
            const unsigned code = *marker & 0xFFU;
            const std::uint64_t payload = at_ + 4;
            at_ += 2 + std::uint64_t{*length};
            if (!read_segment(code, payload)) {
                return false;
            }
            if (code == lossless_jpeg::kSos) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] std::uint64_t end() const { return at_; }
    [[nodiscard]] std::uint32_t width() const { return width_; }
    [[nodiscard]] std::uint32_t height() const { return height_; }
    [[nodiscard]] unsigned restart_interval() const { return restart_interval_; }
    [[nodiscard]] const std::vector<Component>& components() const { return components_; }

    [[nodiscard]] std::uint64_t mcus() const {
        unsigned horizontal = 1;
        unsigned vertical = 1;
        for (const Component& component : components_) {
            horizontal = std::max(horizontal, component.horizontal);
            vertical = std::max(vertical, component.vertical);
        }
        const auto parts = [](std::uint64_t whole, std::uint64_t part) { return (whole + part - 1) / part; };
        if (components_.size() == 1) {
            return parts(width_, 8) * parts(height_, 8);
        }
        return parts(width_, std::uint64_t{8} * horizontal) * parts(height_, std::uint64_t{8} * vertical);
    }

    [[nodiscard]] unsigned blocks(const Component& component) const {
        return components_.size() == 1 ? 1 : component.horizontal * component.vertical;
    }

  private:
    bool read_segment(unsigned code, std::uint64_t payload) {
        constexpr unsigned kSof1 = lossless_jpeg::kSof0 + 1;
        switch (code) {
        case lossless_jpeg::kSof0:
        case kSof1:
            return read_frame(payload);
        case lossless_jpeg::kDht:
            return read_tables(payload);
        case lossless_jpeg::kDri:
            restart_interval_ = reader_.u16(payload).value_or(0);
            return true;
        case lossless_jpeg::kSos:
            return read_scan(payload);
        default:
            return lossless_jpeg::has_length(code) && code != lossless_jpeg::kSof3 &&
                   !lossless_jpeg::is_other_frame(code);
        }
    }

    bool read_frame(std::uint64_t payload) {
        const unsigned count = reader_.u8(payload + 5).value_or(0);
        if (!components_.empty() || reader_.u8(payload) != 8U || count < 1 || count > 4 ||
            payload + 6 + std::uint64_t{3} * count > at_) {
            return false;
        }
        height_ = *reader_.u16(payload + 1);
        width_ = *reader_.u16(payload + 3);
        for (unsigned nth = 0; nth < count; ++nth) {
            const std::uint64_t at = payload + 6 + std::uint64_t{3} * nth;
            const unsigned factors = *reader_.u8(at + 1);
            components_.push_back({*reader_.u8(at), factors >> 4U, factors & 15U});
            const Component& last = components_.back();
            if (last.horizontal < 1 || last.horizontal > 4 || last.vertical < 1 || last.vertical > 4) {
                return false;
            }
        }
        return width_ != 0 && height_ != 0;
    }

    bool read_tables(std::uint64_t payload) {
        while (payload < at_) {
            const unsigned place = *reader_.u8(payload);
            jpeg_bits::HuffmanCodes codes;
            if ((place & ~0x13U) != 0 || payload + 17 > at_) {
                return false;
            }
            for (unsigned length = 0; length < 16; ++length) {
                codes.counts[length] = *reader_.u8(payload + 1 + length);
            }
            payload += 17;
            if (codes.size() > 256 || payload + codes.size() > at_ || !codes.is_prefix_code()) {
                return false;
            }
            for (unsigned nth = 0; nth < codes.size(); ++nth) {
                codes.symbols[nth] = *reader_.u8(payload + nth);
            }
            payload += codes.size();
            tables_[place >> 4U][place & 3U] = std::make_unique<HuffmanTable>(codes);
        }
        return true;
    }

    bool read_scan(std::uint64_t payload) {
        const unsigned count = reader_.u8(payload).value_or(0);
        if (components_.empty() || count != components_.size() ||
            payload + 4 + std::uint64_t{2} * count > at_) {
            return false;
        }
        for (unsigned nth = 0; nth < count; ++nth) {
            const unsigned places = *reader_.u8(payload + 2 + std::uint64_t{2} * nth);
            Component& component = components_[nth];
            if (*reader_.u8(payload + 1 + std::uint64_t{2} * nth) != component.id || (places & 0xCCU) != 0) {
                return false;
            }
            component.dc = tables_[0][places >> 4U].get();
            component.ac = tables_[1][places & 15U].get();
            if (component.dc == nullptr || component.ac == nullptr) {
                return false;
            }
        }
        return true;
    }

    byte_reader::ByteReader reader_;
    std::uint64_t at_ = 0;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    unsigned restart_interval_ = 0;
    std::vector<Component> components_;
    std::array<std::array<std::unique_ptr<HuffmanTable>, 4>, 2> tables_; // DC, AC.
};

/// Consumes 0 to 16 bits.
void pass_bits(BitReader& bits, unsigned count) {
    if (count != 0) {
        static_cast<void>(bits.get(count));
    }
}

bool read_block(BitReader& bits, const Component& component) {
    constexpr int kMostDcBits = 11;
    constexpr int kMostAcBits = 10;
    const int dc = component.dc->decode(bits);
    if (dc < 0 || dc > kMostDcBits) {
        return false;
    }
    pass_bits(bits, static_cast<unsigned>(dc));
    for (unsigned place = 1; place < 64; ++place) {
        const int symbol = component.ac->decode(bits);
        if (symbol == 0) {
            return true;
        }
        const auto run = static_cast<unsigned>(symbol) >> 4U;
        const auto size = static_cast<unsigned>(symbol) & 15U;
        place += run;
        if (symbol < 0 || place > 63 || size > kMostAcBits || (size == 0 && run != 15)) {
            return false;
        }
        pass_bits(bits, size);
    }
    return true;
}

bool read_mcu(BitReader& bits, const Head& head) {
    for (const Component& component : head.components()) {
        for (unsigned block = 0; block < head.blocks(component); ++block) {
            if (!read_block(bits, component)) {
                return false;
            }
        }
    }
    return !bits.overrun();
}

/// The offset after the marker that follows the data, if it is this one.
std::optional<std::uint64_t> pass_marker(Bytes bytes, BitReader& bits, unsigned code) {
    if (!bits.closes()) {
        return std::nullopt;
    }
    const byte_reader::ByteReader reader(bytes, std::endian::big);
    const std::uint64_t at = bits.stop();
    return reader.u16(at) == (0xFF00U | code) ? std::optional(at + 2) : std::nullopt;
}

/// The end of the image, or nothing. Leaves the reader where the data end or are at fault.
std::optional<std::uint64_t> read_scan_data(Bytes bytes, const Head& head, BitReader& bits) {
    const std::uint64_t mcus = head.mcus();
    for (std::uint64_t mcu = 0; mcu < mcus; ++mcu) {
        if (head.restart_interval() != 0 && mcu != 0 && mcu % head.restart_interval() == 0) {
            const std::uint64_t nth = mcu / head.restart_interval() - 1;
            const auto after =
                pass_marker(bytes, bits, lossless_jpeg::kRst0 + static_cast<unsigned>(nth % 8));
            if (!after) {
                return std::nullopt;
            }
            bits = BitReader(bytes, static_cast<std::size_t>(*after));
        }
        if (!read_mcu(bits, head)) {
            return std::nullopt;
        }
    }
    return pass_marker(bytes, bits, lossless_jpeg::kEoi);
}

} // namespace

BaselineCheck check_baseline_jpeg(Bytes bytes, std::uint64_t offset) {
    Head head(bytes);
    if (!head.read(offset)) {
        return {std::nullopt, head.end() - std::min(offset, head.end())};
    }
    BitReader bits(bytes, static_cast<std::size_t>(head.end()));
    const auto end = read_scan_data(bytes, head, bits);
    if (!end) {
        return {std::nullopt, bits.stop() - offset};
    }
    const auto components = static_cast<unsigned>(head.components().size());
    return {BaselineJpeg{{offset, *end - offset}, head.width(), head.height(), components}, *end - offset};
}

} // namespace raw_mend
