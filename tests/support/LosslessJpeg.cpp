#include "support/LosslessJpeg.h"

#include <algorithm>
#include <cstdlib>

namespace test {

namespace {

/// Bits of an entropy-coded segment, high bit first, with a 0 stuffed after each FF.
class BitWriter {
  public:
    void put(std::uint32_t value, unsigned count) {
        for (unsigned bit = count; bit-- > 0;) {
            byte_ = byte_ << 1U | (value >> bit & 1U);
            if (++filled_ == 8) {
                push();
            }
        }
    }

    /// Fills the last byte up with ones, and appends a marker.
    void put_marker(unsigned char code, std::size_t fill_bytes) {
        while (filled_ != 0) {
            put(1, 1);
        }
        bytes_.insert(bytes_.end(), fill_bytes + 1, 0xFF);
        bytes_.push_back(code);
    }

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

  private:
    void push() {
        bytes_.push_back(static_cast<unsigned char>(byte_));
        if (byte_ == 0xFF) {
            bytes_.push_back(0);
        }
        byte_ = 0;
        filled_ = 0;
    }

    Bytes bytes_;
    std::uint32_t byte_ = 0; ///< The low filled_ bits are those of the next byte.
    unsigned filled_ = 0;
};

/// Writes differences with the codes of one table.
class DifferenceWriter {
  public:
    explicit DifferenceWriter(const DifferenceCodes& codes) {
        std::uint32_t code = 0;
        std::size_t index = 0;
        for (unsigned length = 1; length <= 16; ++length) {
            for (unsigned nth = 0; nth < codes.counts[length - 1]; ++nth) {
                codes_.at(codes.categories.at(index++)) = {code++, length};
            }
            code <<= 1U;
        }
    }

    /// The category's code, then as many bits as the category says; none for category 16.
    void put(BitWriter& bits, int difference) const {
        const auto size = static_cast<unsigned>(std::abs(difference));
        unsigned category = 0;
        while (size >> category != 0) {
            ++category;
        }
        const auto& [code, length] = codes_.at(category);
        bits.put(code, length);
        const int coded = difference < 0 ? difference + (1 << category) - 1 : difference;
        bits.put(static_cast<std::uint32_t>(coded), category == 16 ? 0 : category);
    }

  private:
    struct Code {
        std::uint32_t code = 0;
        unsigned length = 0;
    };
    std::array<Code, 17> codes_{};
};

unsigned char byte_of(unsigned value) {
    return static_cast<unsigned char>(value);
}

std::vector<DifferenceCodes> tables_of(const LosslessJpegOptions& options) {
    return options.tables.empty() ? std::vector{codes_for_14_bits()} : options.tables;
}

Bytes huffman_tables(const LosslessJpegOptions& options) {
    Bytes content;
    Bytes segments;
    const auto end_segment = [&] {
        const auto length = static_cast<unsigned>(content.size() + 2);
        segments = joined(joined(segments, {0xFF, 0xC4, byte_of(length >> 8U), byte_of(length)}), content);
        content.clear();
    };
    const auto tables = tables_of(options);
    for (std::size_t nth = 0; nth < tables.size(); ++nth) {
        content.push_back(static_cast<unsigned char>(nth));
        content.insert(content.end(), tables[nth].counts.begin(), tables[nth].counts.end());
        content = joined(content, tables[nth].categories);
        if (!options.one_table_segment || nth + 1 == tables.size()) {
            end_segment();
        }
    }
    return segments;
}

Bytes frame_header(unsigned columns, unsigned rows, const LosslessJpegOptions& options) {
    Bytes segment{0xFF,
                  0xC3,
                  0,
                  byte_of(8 + 3 * options.components),
                  byte_of(options.bits),
                  byte_of(rows >> 8U),
                  byte_of(rows),
                  byte_of(columns >> 8U),
                  byte_of(columns),
                  byte_of(options.components)};
    for (unsigned component = 1; component <= options.components; ++component) {
        segment = joined(segment, {byte_of(component), component == 1 ? options.factors : byte_of(0x11), 0});
    }
    return segment;
}

std::size_t table_of(std::size_t component, const LosslessJpegOptions& options) {
    return std::min(component, tables_of(options).size() - 1);
}

Bytes scan_header(const LosslessJpegOptions& options) {
    Bytes segment{0xFF, 0xDA, 0, byte_of(6 + 2 * options.components), byte_of(options.components)};
    for (unsigned component = 0; component < options.components; ++component) {
        const auto table = static_cast<unsigned>(table_of(component, options));
        segment = joined(segment, {byte_of(component + 1), byte_of(table << 4U)});
    }
    return joined(segment, {byte_of(options.predictor), 0, byte_of(options.point_transform)});
}

Bytes head(unsigned columns, unsigned rows, const LosslessJpegOptions& options) {
    const Bytes frame = frame_header(columns, rows, options);
    const Bytes tables = huffman_tables(options);
    Bytes bytes{0xFF, 0xD8}; // SOI
    bytes = joined(bytes, options.frame_first ? joined(frame, tables) : joined(tables, frame));
    if (options.restart_interval != 0) {
        bytes = joined(bytes, {0xFF, 0xDD, 0, 4, byte_of(options.restart_interval >> 8U),
                               byte_of(options.restart_interval)});
    }
    return joined(joined(bytes, options.more_segments), scan_header(options));
}

/// The component of each sample of an MCU.
std::vector<std::size_t> mcu_components(const LosslessJpegOptions& options) {
    std::vector<std::size_t> components(
        options.components == 1 ? 1 : (std::size_t{options.factors} >> 4U) * (options.factors & 0xFU), 0);
    for (std::size_t component = 1; component < options.components; ++component) {
        components.push_back(component);
    }
    return components;
}

/// What ITU-T T.81, H.1.2.1 predicts.
int prediction(const std::vector<int>& values, std::size_t at, std::size_t row_length, bool first_row,
               const LosslessJpegOptions& options) {
    const std::size_t step = options.components;
    const bool first_column = at % row_length < step;
    if (first_row) {
        return first_column ? 1 << (options.bits - options.point_transform - 1) : values[at - step];
    }
    const int above = values[at - row_length];
    if (first_column) {
        return above;
    }
    const int left = values[at - step];
    const int corner = values[at - row_length - step];
    const std::array<int, 8> predictions{0,
                                         left,
                                         above,
                                         corner,
                                         left + above - corner,
                                         left + ((above - corner) >> 1),
                                         above + ((left - corner) >> 1),
                                         (left + above) >> 1};
    return predictions.at(options.predictor);
}

} // namespace

DifferenceCodes codes_for_14_bits() {
    return {{0, 0, 0, 15}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}};
}

DifferenceCodes codes_for_16_bits() {
    return {{0, 0, 0, 14, 3}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
}

Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows, unsigned bits,
                    unsigned components) {
    LosslessJpegOptions options;
    options.bits = bits;
    options.components = components;
    return lossless_jpeg(samples, columns, rows, options);
}

Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows,
                    const LosslessJpegOptions& options) {
    const std::size_t row_length = std::size_t{columns} * options.components;
    std::vector<int> values(samples.begin(), samples.end());
    for (int& value : values) {
        value = value >> options.point_transform;
    }
    std::vector<int> differences;
    differences.reserve(values.size());
    for (std::size_t row = 0; row < rows; ++row) {
        const bool first_row =
            row == 0 || (options.restart_interval != 0 && row * columns % options.restart_interval == 0);
        for (std::size_t index = 0; index < row_length; ++index) {
            const std::size_t at = row * row_length + index;
            const int difference =
                values.at(at) - prediction(values, at, row_length, first_row, options); // Modulo 65536.
            const int low = difference & 0xFFFF;
            differences.push_back(low > 32768 ? low - 65536 : low);
        }
    }
    return lossless_jpeg_of(differences, columns, rows, options);
}

Bytes lossless_jpeg_of(const std::vector<int>& differences, unsigned columns, unsigned rows,
                       const LosslessJpegOptions& options) {
    std::vector<DifferenceWriter> writers;
    for (const DifferenceCodes& codes : tables_of(options)) {
        writers.emplace_back(codes);
    }
    const auto components = mcu_components(options);
    const std::size_t interval = options.restart_interval * components.size();
    BitWriter bits;
    for (std::size_t nth = 0; nth < differences.size(); ++nth) {
        if (interval != 0 && nth != 0 && nth % interval == 0) {
            bits.put_marker(byte_of(0xD0 + static_cast<unsigned>((nth / interval - 1) % 8)),
                            options.fill_bytes);
        }
        writers.at(table_of(components[nth % components.size()], options)).put(bits, differences[nth]);
    }
    bits.put_marker(0xD9, options.fill_bytes); // EOI
    return joined(head(columns, rows, options), bits.bytes());
}

} // namespace test
