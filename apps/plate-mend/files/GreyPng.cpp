#include "files/GreyPng.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>

namespace plate_mend::host {

namespace {

constexpr std::size_t kChunk = 65536;

using Number = std::array<unsigned char, 4>;

Number big_endian(std::uint32_t value) {
    return {static_cast<unsigned char>(value >> 24U), static_cast<unsigned char>(value >> 16U & 0xFFU),
            static_cast<unsigned char>(value >> 8U & 0xFFU), static_cast<unsigned char>(value & 0xFFU)};
}

} // namespace

/// zlib's stream, ended on every way out.
struct GreyPng::Deflater {
    Deflater() {
        if (::deflateInit(&stream, Z_DEFAULT_COMPRESSION) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    ~Deflater() { ::deflateEnd(&stream); }

    z_stream stream{};
};

/// | signature (8) | chunks: length (4), type (4), data, CRC-32 of type and data (4) |
/// IHDR: width (4), height (4), bits, colour type, compression, filter, interlace
GreyPng::GreyPng(const std::filesystem::path& path, std::uint32_t width, std::uint32_t height)
    : file_(path), deflater_(std::make_unique<Deflater>()), compressed_(kChunk) {
    constexpr std::array<unsigned char, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    constexpr unsigned char kBits = 8;
    file_.write(kSignature.data(), kSignature.size());
    std::array<unsigned char, 13> header{};
    const Number columns = big_endian(width);
    const Number rows = big_endian(height);
    std::copy(columns.begin(), columns.end(), header.begin());
    std::copy(rows.begin(), rows.end(), header.begin() + columns.size());
    header[8] = kBits; // The others are 0: grey, deflate, the one set of filters, no interlace.
    write_chunk("IHDR", header);
    deflater_->stream.next_out = compressed_.data();
    deflater_->stream.avail_out = static_cast<uInt>(compressed_.size());
}

GreyPng::~GreyPng() = default;

void GreyPng::add_row(std::span<const unsigned char> pixels) {
    constexpr std::array<unsigned char, 1> kNoFilter{0};
    deflate(kNoFilter, Z_NO_FLUSH);
    deflate(pixels, Z_NO_FLUSH);
}

void GreyPng::finish() {
    deflate({}, Z_FINISH);
    write_chunk("IEND", {});
    file_.sync();
}

void GreyPng::write_chunk(const char* type, std::span<const unsigned char> data) {
    const Number length = big_endian(static_cast<std::uint32_t>(data.size()));
    std::array<unsigned char, 4> name{};
    std::copy(type, type + name.size(), name.begin());
    uLong sum = ::crc32(0, name.data(), static_cast<uInt>(name.size()));
    sum = data.empty() ? sum : ::crc32(sum, data.data(), static_cast<uInt>(data.size()));
    const Number check = big_endian(static_cast<std::uint32_t>(sum));
    file_.write(length.data(), length.size());
    file_.write(name.data(), name.size());
    file_.write(data.data(), data.size());
    file_.write(check.data(), check.size());
}

void GreyPng::deflate(std::span<const unsigned char> bytes, int flush) {
    z_stream& stream = deflater_->stream;
    stream.next_in = const_cast<Bytef*>(bytes.data()); // zlib only reads it.
    stream.avail_in = static_cast<uInt>(bytes.size());
    for (;;) {
        const int state = ::deflate(&stream, flush);
        const bool at_end = state == Z_STREAM_END;
        if (stream.avail_out == 0 || at_end) {
            write_chunk("IDAT", {compressed_.data(), compressed_.size() - stream.avail_out});
            stream.next_out = compressed_.data();
            stream.avail_out = static_cast<uInt>(compressed_.size());
        }
        if (at_end || (flush == Z_NO_FLUSH && stream.avail_in == 0)) {
            return;
        }
    }
}

} // namespace plate_mend::host
