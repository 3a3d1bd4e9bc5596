#include "support/Bytes.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <stdexcept>

namespace test {

namespace {

void put(Bytes& bytes, std::size_t offset, std::uint32_t value, std::size_t width, ByteOrder order) {
    for (std::size_t index = 0; index < width; ++index) {
        const std::size_t shift = 8 * (order == ByteOrder::kLittle ? index : width - 1 - index);
        bytes.at(offset + index) = static_cast<unsigned char>(value >> shift);
    }
}

std::uint32_t get(const Bytes& bytes, std::size_t offset, std::size_t width, ByteOrder order) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < width; ++index) {
        const std::size_t shift = 8 * (order == ByteOrder::kLittle ? index : width - 1 - index);
        value |= static_cast<std::uint32_t>(bytes.at(offset + index)) << shift;
    }
    return value;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, ByteOrder order) {
    return stream << (order == ByteOrder::kLittle ? "II" : "MM");
}

void put_u16(Bytes& bytes, std::size_t offset, std::uint16_t value, ByteOrder order) {
    put(bytes, offset, value, 2, order);
}

void put_u32(Bytes& bytes, std::size_t offset, std::uint32_t value, ByteOrder order) {
    put(bytes, offset, value, 4, order);
}

std::uint16_t get_u16(const Bytes& bytes, std::size_t offset, ByteOrder order) {
    return static_cast<std::uint16_t>(get(bytes, offset, 2, order));
}

std::uint32_t get_u32(const Bytes& bytes, std::size_t offset, ByteOrder order) {
    return get(bytes, offset, 4, order);
}

void put_bytes(Bytes& bytes, std::size_t offset, const Bytes& value) {
    if (offset > bytes.size() || value.size() > bytes.size() - offset) {
        throw std::out_of_range("put_bytes");
    }
    std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void put_text(Bytes& bytes, std::size_t offset, std::string_view text) {
    put_bytes(bytes, offset, Bytes(text.begin(), text.end()));
}

Bytes noise(std::size_t count, std::uint32_t seed) {
    std::mt19937 engine(seed);
    Bytes bytes(count);
    for (auto& byte : bytes) {
        byte = static_cast<unsigned char>(engine());
    }
    return bytes;
}

Bytes in_text_mode(const Bytes& bytes) {
    Bytes changed;
    changed.reserve(bytes.size() + bytes.size() / 64);
    for (const unsigned char byte : bytes) {
        if (byte == 0x0A) {
            changed.push_back(0x0D);
        }
        changed.push_back(byte);
    }
    return changed;
}

Bytes part(const Bytes& bytes, std::size_t first, std::size_t last) {
    if (first > last || last > bytes.size()) {
        throw std::out_of_range("part");
    }
    return {bytes.begin() + static_cast<std::ptrdiff_t>(first),
            bytes.begin() + static_cast<std::ptrdiff_t>(last)};
}

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes zeroed(Bytes bytes, std::size_t first, std::size_t last) {
    put_bytes(bytes, first, Bytes(last - first));
    return bytes;
}

Bytes with(Bytes bytes, std::size_t offset, const Bytes& value) {
    put_bytes(bytes, offset, value);
    return bytes;
}

Bytes u16_bytes(const std::vector<std::uint16_t>& values, ByteOrder order) {
    Bytes bytes(2 * values.size());
    for (std::size_t index = 0; index < values.size(); ++index) {
        put_u16(bytes, 2 * index, values[index], order);
    }
    return bytes;
}

Bytes u32_bytes(const std::vector<std::uint32_t>& values, ByteOrder order) {
    Bytes bytes(4 * values.size());
    for (std::size_t index = 0; index < values.size(); ++index) {
        put_u32(bytes, 4 * index, values[index], order);
    }
    return bytes;
}

Bytes read_file(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    Bytes bytes(static_cast<std::size_t>(std::filesystem::file_size(path)));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw std::runtime_error("cannot read " + utf8(path));
    }
    return bytes;
}

void write_file(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + utf8(path));
    }
}

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace test
