#include "host/GreyPixels.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace test {
namespace {

constexpr std::size_t kSignature = 8;

struct Chunk {
    std::string type;
    Bytes data;
};

/// Throws std::runtime_error for a wrong sum, and std::out_of_range for a truncated chunk.
Chunk chunk_at(const Bytes& file, std::size_t& at) {
    const std::size_t length = get_u32(file, at, ByteOrder::kBig);
    const Bytes covered = part(file, at + 4, at + 8 + length);
    if (covered.size() != length + 4 || at + 12 + length > file.size()) {
        throw std::out_of_range("a chunk is truncated");
    }
    if (crc32(0, covered.data(), static_cast<uInt>(covered.size())) !=
        get_u32(file, at + 8 + length, ByteOrder::kBig)) {
        throw std::runtime_error("a chunk's sum is wrong");
    }
    at += 12 + length;
    return {std::string(covered.begin(), covered.begin() + 4), Bytes(covered.begin() + 4, covered.end())};
}

/// Each row has a byte for its filter before its pixels.
Bytes inflate_rows(const Bytes& compressed, const GreyPixels& size) {
    const std::size_t row = std::size_t{size.width} + 1;
    Bytes rows(row * size.height);
    auto length = static_cast<uLongf>(rows.size());
    if (uncompress(rows.data(), &length, compressed.data(), static_cast<uLong>(compressed.size())) != Z_OK ||
        length != rows.size()) {
        throw std::runtime_error("the data are not as long as the picture");
    }
    Bytes pixels;
    for (std::size_t first = 0; first < rows.size(); first += row) {
        if (rows[first] != 0) {
            throw std::runtime_error("a row has a filter");
        }
        pixels.insert(pixels.end(), rows.begin() + static_cast<std::ptrdiff_t>(first + 1),
                      rows.begin() + static_cast<std::ptrdiff_t>(first + row));
    }
    return pixels;
}

} // namespace

GreyPixels read_grey_png(const std::filesystem::path& path) {
    const Bytes file = read_file(path);
    const Bytes signature{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    if (part(file, 0, std::min(file.size(), kSignature)) != signature) {
        return {};
    }
    std::size_t at = kSignature;
    const Chunk header = chunk_at(file, at);
    const Bytes kind{8, 0, 0, 0, 0};
    if (header.type != "IHDR" || header.data.size() != 13 || part(header.data, 8, 13) != kind) {
        throw std::runtime_error("no picture of 8-bit grey");
    }
    GreyPixels picture{
        get_u32(header.data, 0, ByteOrder::kBig), get_u32(header.data, 4, ByteOrder::kBig), {}};
    Bytes compressed;
    for (Chunk chunk = chunk_at(file, at); chunk.type != "IEND"; chunk = chunk_at(file, at)) {
        if (chunk.type != "IDAT") {
            throw std::runtime_error("unexpected chunk " + chunk.type);
        }
        compressed = joined(compressed, chunk.data);
    }
    if (at != file.size()) {
        throw std::runtime_error("something follows the picture");
    }
    picture.pixels = inflate_rows(compressed, picture);
    return picture;
}

} // namespace test
