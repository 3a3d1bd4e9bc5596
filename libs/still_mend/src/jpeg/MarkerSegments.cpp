#include "jpeg/MarkerSegments.h"

#include "jpeg/Markers.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr unsigned kMaxSide = 65500; // The most that libjpeg accepts.

unsigned ceil_div(unsigned value, unsigned by) {
    return (value + by - 1) / by;
}

bool are_symbols(const HuffmanCodes& codes, unsigned size, bool ac) {
    if (size == 0) {
        return false;
    }
    std::array<bool, 256> seen{};
    for (unsigned index = 0; index < size; ++index) {
        const unsigned symbol = codes.symbols[index];
        if (seen[symbol] || (!ac && symbol > 15)) {
            return false;
        }
        seen[symbol] = true;
    }
    return true;
}

} // namespace

bool Frame::progressive() const {
    return code == marker::kSof2;
}

unsigned Frame::h_max() const {
    unsigned most = 1;
    for (const auto& component : components) {
        most = std::max(most, component.h_samp);
    }
    return most;
}

unsigned Frame::v_max() const {
    unsigned most = 1;
    for (const auto& component : components) {
        most = std::max(most, component.v_samp);
    }
    return most;
}

unsigned Frame::mcus_wide() const {
    return ceil_div(width, 8 * h_max());
}

unsigned Frame::mcus_high() const {
    return ceil_div(height, 8 * v_max());
}

unsigned Frame::blocks_per_mcu() const {
    unsigned sum = 0;
    for (const auto& component : components) {
        sum += component.h_samp * component.v_samp;
    }
    return sum;
}

unsigned Frame::blocks_wide(const Component& component) const {
    return ceil_div(width * component.h_samp, 8 * h_max());
}

unsigned Frame::blocks_high(const Component& component) const {
    return ceil_div(height * component.v_samp, 8 * v_max());
}

// DQT (B.2.4.1), repeated:  precision and number | 64 values of 8 or 16 bits, zigzag
bool read_quant_tables(Bytes content, Tables& tables) {
    Tables read = tables;
    if (content.empty()) {
        return false;
    }
    while (!content.empty()) {
        const unsigned precision = content[0] >> 4U;
        const unsigned number = content[0] & 15U;
        const std::size_t length = 1 + std::size_t{64} * (precision + 1);
        if (precision > 1 || number > 3 || content.size() < length) {
            return false;
        }
        QuantTable table;
        for (std::size_t index = 0; index < 64; ++index) {
            table.values[index] = static_cast<std::uint16_t>(
                precision == 0 ? content[1 + index] : read_u16(content, 1 + 2 * index));
            if (table.values[index] == 0) {
                return false;
            }
        }
        read.quant[number] = table;
        content = content.subspan(length);
    }
    tables = read;
    return true;
}

// DHT (B.2.4.2), repeated:  class and number | 16 counts | symbols
bool read_huffman_tables(Bytes content, Tables& tables) {
    Tables read = tables;
    if (content.empty()) {
        return false;
    }
    while (!content.empty()) {
        const bool ac = content[0] >> 4U == 1;
        const unsigned number = content[0] & 15U;
        if (content[0] >> 4U > 1 || number > 3 || content.size() < 17) {
            return false;
        }
        HuffmanCodes codes;
        std::copy_n(content.begin() + 1, 16, codes.counts.begin());
        const unsigned size = codes.size();
        if (size > 256 || content.size() < 17 + size || !codes.is_prefix_code()) {
            return false;
        }
        std::copy_n(content.begin() + 17, size, codes.symbols.begin());
        if (!are_symbols(codes, size, ac)) {
            return false;
        }
        (ac ? read.ac : read.dc)[number] = codes;
        content = content.subspan(17 + size);
    }
    tables = read;
    return true;
}

bool read_restart_interval(Bytes content, Tables& tables) {
    if (content.size() != 2) {
        return false;
    }
    tables.restart_interval = read_u16(content, 0);
    return true;
}

// SOF (B.2.2):  precision | height | width | count | (id | h and v | quantisation table) ...
std::optional<Frame> read_frame(unsigned char code, Bytes content) {
    if (!marker::is_picture_frame(code) || content.size() < 6 || content[0] != 8) {
        return std::nullopt;
    }
    Frame frame;
    frame.code = code;
    frame.height = read_u16(content, 1);
    frame.width = read_u16(content, 3);
    const std::size_t count = content[5];
    if ((count != 1 && count != 3 && count != 4) || content.size() != 6 + 3 * count || frame.width == 0 ||
        frame.height == 0 || frame.width > kMaxSide || frame.height > kMaxSide ||
        std::uint64_t{frame.width} * frame.height > kMaxPixels) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < count; ++index) {
        const Bytes entry = content.subspan(6 + 3 * index, 3);
        const unsigned sampling = entry[1];
        const Component component{entry[0], sampling >> 4U, sampling & 15U, entry[2]};
        const bool known = std::any_of(frame.components.begin(), frame.components.end(),
                                       [&](const Component& other) { return other.id == component.id; });
        if (known || component.h_samp < 1 || component.h_samp > 4 || component.v_samp < 1 ||
            component.v_samp > 4 || component.quant > 3) {
            return std::nullopt;
        }
        frame.components.push_back(component);
    }
    if (count == 1) {
        frame.components[0].h_samp = 1;
        frame.components[0].v_samp = 1;
    }
    if (frame.blocks_per_mcu() > 10) {
        return std::nullopt;
    }
    return frame;
}

// SOS (B.2.3):  count | (id | dc and ac table) ... | first | last | high and low
bool is_scan(Bytes content) {
    if (content.empty() || content[0] < 1 || content[0] > 4 || content.size() != 4U + 2U * content[0]) {
        return false;
    }
    const std::size_t count = content[0];
    for (std::size_t index = 0; index < count; ++index) {
        const unsigned numbers = content[2 + 2 * index];
        if (numbers >> 4U > 3 || (numbers & 15U) > 3) {
            return false;
        }
    }
    const unsigned first = content[1 + 2 * count];
    const unsigned last = content[2 + 2 * count];
    const unsigned high = content[3 + 2 * count] >> 4U;
    const unsigned low = content[3 + 2 * count] & 15U;
    return first <= last && last <= 63 && low <= 13 && (high == 0 || high == low + 1);
}

std::optional<Scan> read_scan(Bytes content, const Frame& frame) {
    if (!is_scan(content)) {
        return std::nullopt;
    }
    const std::size_t count = content[0];
    Scan scan;
    for (std::size_t index = 0; index < count; ++index) {
        const unsigned id = content[1 + 2 * index];
        const auto found = std::find_if(frame.components.begin(), frame.components.end(),
                                        [id](const Component& component) { return component.id == id; });
        if (found == frame.components.end()) {
            return std::nullopt;
        }
        const auto place = static_cast<std::size_t>(found - frame.components.begin());
        for (const auto& earlier : scan.components) {
            if (earlier.index >= place) { // B.2.3: in the order of the frame.
                return std::nullopt;
            }
        }
        const unsigned numbers = content[2 + 2 * index];
        scan.components.push_back({place, numbers >> 4U, numbers & 15U});
    }
    scan.ss = content[1 + 2 * count];
    scan.se = content[2 + 2 * count];
    scan.ah = content[3 + 2 * count] >> 4U;
    scan.al = content[3 + 2 * count] & 15U;
    if (!frame.progressive()) {
        // The last three bytes mean nothing here, and some writers fill them with zeros.
        scan.ss = 0;
        scan.se = 63;
        scan.ah = 0;
        scan.al = 0;
    } else if ((scan.ss == 0) != (scan.se == 0) || (scan.ss > 0 && count != 1)) {
        return std::nullopt;
    }
    return scan;
}

std::optional<Bytes> segment_content(Bytes file, std::size_t offset) {
    if (offset > file.size() || file.size() - offset < 4) {
        return std::nullopt;
    }
    const std::size_t length = read_u16(file, offset + 2);
    if (length < 2 || length > file.size() - offset - 2) {
        return std::nullopt;
    }
    return file.subspan(offset + 4, length - 2);
}

} // namespace still_mend
