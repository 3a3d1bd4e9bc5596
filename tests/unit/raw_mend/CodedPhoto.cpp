#include "CodedPhoto.h"

#include "support/Jpeg.h"
#include "support/LosslessJpeg.h"
#include "support/Scene.h"

#include <random>

namespace test {

namespace {

constexpr unsigned kColumns = 64;

/// Bytes without an FF.
Bytes plain_bytes(std::size_t count, std::uint32_t seed) {
    Bytes bytes = noise(count, seed);
    for (unsigned char& byte : bytes) {
        byte = byte == 0xFF ? 0xFE : byte;
    }
    return bytes;
}

/// One of three tables.
DifferenceCodes own_codes(std::uint32_t number) {
    DifferenceCodes codes = number % 3 == 2 ? codes_for_16_bits() : codes_for_14_bits();
    if (number % 3 == 1) { // Without category 14, which no difference has.
        --codes.counts[3];
        codes.categories.pop_back();
    }
    return codes;
}

/// The differences grow and shrink, so that streams have different lengths.
Bytes stream(std::uint32_t seed, unsigned rows, bool own_tables) {
    std::mt19937 random(seed);
    std::vector<std::uint16_t> samples(std::size_t{kColumns} * rows);
    const auto range = 300 + random() % 600;
    for (auto& sample : samples) {
        sample = static_cast<std::uint16_t>(2000 + random() % range);
    }
    LosslessJpegOptions options;
    if (own_tables) {
        options.tables = {own_codes(seed)};
    }
    return lossless_jpeg(samples, kColumns, rows, options);
}

} // namespace

CodedPhoto::CodedPhoto(const Options& options) : bytes(plain_bytes(options.before, options.seed)) {
    if (options.eoi_before) {
        bytes = joined(bytes, make_preview(Scene(options.seed), 160, 120));
    }
    for (std::size_t nth = 0; nth < options.pieces; ++nth) {
        const bool last = nth + 1 == options.pieces;
        const std::size_t begin = bytes.size();
        bytes = joined(bytes, stream(options.seed * 1000 + static_cast<std::uint32_t>(nth),
                                     last ? options.last_rows : 48, options.own_tables));
        streams.push_back({begin, bytes.size()});
        while (!last && (bytes.size() - begin) % options.alignment != 0) {
            bytes.push_back(0);
        }
    }
    bytes = joined(bytes, plain_bytes(options.after, options.seed + 2));
}

} // namespace test
