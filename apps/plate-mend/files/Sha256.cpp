#include "files/Sha256.h"

#include "files/Failures.h"
#include "platform/Files.h"
#include "text/Paths.h"

#include <nettle/sha2.h>

#include <array>
#include <system_error>
#include <vector>

namespace plate_mend::host {

struct Sha256::State {
    sha256_ctx sum{};
};

Sha256::Sha256() : state_(std::make_unique<State>()) {
    ::sha256_init(&state_->sum);
}

Sha256::~Sha256() = default;

void Sha256::add(const unsigned char* data, std::size_t count) {
    ::sha256_update(&state_->sum, count, data);
}

std::string Sha256::hexadecimal() {
    std::array<unsigned char, SHA256_DIGEST_SIZE> digest{};
    ::sha256_digest(&state_->sum, digest.size(), digest.data()); // Also starts over.
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

std::string sha256_of(const std::filesystem::path& file) {
    try {
        const platform::SourceFile source(file);
        Sha256 sum;
        std::vector<unsigned char> piece(std::size_t{1} << 18);
        std::size_t count = piece.size();
        for (std::uint64_t offset = 0; count == piece.size(); offset += count) {
            check_interruption();
            count = source.read(offset, piece.data(), piece.size());
            sum.add(piece.data(), count);
        }
        return sum.hexadecimal();
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(file) + ": cannot be read", e.code());
    }
}

} // namespace plate_mend::host
