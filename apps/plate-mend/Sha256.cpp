#include "Sha256.h"

#include "SafeOutput.h"

#include <nettle/sha2.h>

#include <array>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace plate_mend::host {

namespace {

std::string hexadecimal(const std::array<unsigned char, SHA256_DIGEST_SIZE>& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

} // namespace

std::string sha256_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    sha256_ctx sum{};
    ::sha256_init(&sum);
    std::vector<unsigned char> piece(std::size_t{1} << 18);
    while (stream) {
        stream.read(reinterpret_cast<char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
        ::sha256_update(&sum, static_cast<std::size_t>(stream.gcount()), piece.data());
    }
    if (!stream.eof()) { // It did not open, or a read failed.
        throw std::runtime_error(utf8_from(file) + ": cannot be read");
    }
    std::array<unsigned char, SHA256_DIGEST_SIZE> digest{};
    ::sha256_digest(&sum, digest.size(), digest.data());
    return hexadecimal(digest);
}

} // namespace plate_mend::host
