#include "support/LosslessJpeg.h"

#include <cstdlib>

namespace test {

namespace {

constexpr unsigned kCategories = 15; // Differences of 0 to 14 bits. Each category has a code of four bits.

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

    /// All bytes, the last one filled up with ones.
    [[nodiscard]] Bytes finish() {
        while (filled_ != 0) {
            put(1, 1);
        }
        return bytes_;
    }

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

/// The category's code, then as many bits as the category says.
void put_difference(BitWriter& bits, int difference) {
    const auto size = static_cast<unsigned>(std::abs(difference));
    unsigned category = 0;
    while (size >> category != 0) {
        ++category;
    }
    bits.put(category, 4);
    const int coded = difference < 0 ? difference + (1 << category) - 1 : difference;
    bits.put(static_cast<std::uint32_t>(coded), category);
}

unsigned char byte_of(unsigned value) {
    return static_cast<unsigned char>(value);
}

Bytes huffman_table() {
    Bytes segment{0xFF, 0xC4, 0, 19 + kCategories, 0x00, 0, 0, 0, kCategories, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                  0,    0,    0};
    for (unsigned category = 0; category < kCategories; ++category) {
        segment.push_back(byte_of(category));
    }
    return segment;
}

Bytes frame_header(unsigned columns, unsigned rows, unsigned bits, unsigned components) {
    Bytes segment{0xFF,
                  0xC3,
                  0,
                  byte_of(8 + 3 * components),
                  byte_of(bits),
                  byte_of(rows >> 8U),
                  byte_of(rows),
                  byte_of(columns >> 8U),
                  byte_of(columns),
                  byte_of(components)};
    for (unsigned component = 1; component <= components; ++component) {
        segment = joined(segment, {byte_of(component), 0x11, 0});
    }
    return segment;
}

Bytes scan_header(unsigned components) {
    Bytes segment{0xFF, 0xDA, 0, byte_of(6 + 2 * components), byte_of(components)};
    for (unsigned component = 1; component <= components; ++component) {
        segment = joined(segment, {byte_of(component), 0});
    }
    return joined(segment, {1, 0, 0}); // Ss: the predictor.
}

} // namespace

Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows, unsigned bits,
                    unsigned components) {
    BitWriter writer;
    const std::size_t row_length = std::size_t{columns} * components;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t index = 0; index < row_length; ++index) {
            const std::size_t at = row * row_length + index;
            int predicted = 1 << (bits - 1); // The sample to the left; at the edge the one above.
            if (index >= components) {
                predicted = samples.at(at - components);
            } else if (row > 0) {
                predicted = samples.at(at - row_length);
            }
            put_difference(writer, samples.at(at) - predicted);
        }
    }
    Bytes jpeg{0xFF, 0xD8}; // SOI
    jpeg = joined(jpeg, huffman_table());
    jpeg = joined(jpeg, frame_header(columns, rows, bits, components));
    jpeg = joined(jpeg, scan_header(components));
    return joined(joined(jpeg, writer.finish()), {0xFF, 0xD9}); // EOI
}

} // namespace test
