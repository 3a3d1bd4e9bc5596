#pragma once

#include <cstddef>
#include <span>

namespace plate_mend::host {

/// Calls visit(offset) for each byte that begins a pair, in their order: one for which is_pair(byte, next) is
/// true. Takes little time where pairs are rare, if is_pair has no branch: whole blocks without one are
/// passed over in vector code.
template <typename IsPair, typename Visit>
void for_each_pair(std::span<const unsigned char> bytes, const IsPair& is_pair, const Visit& visit) {
    constexpr std::size_t kBlock = 256;
    const auto look_at = [&](std::size_t begin, std::size_t end) {
        for (std::size_t at = begin; at < end; ++at) {
            if (is_pair(bytes[at], bytes[at + 1])) {
                visit(at);
            }
        }
    };
    std::size_t at = 0;
    for (; at + kBlock < bytes.size(); at += kBlock) {
        const unsigned char* const block = bytes.data() + at;
        unsigned char found = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            found =
                static_cast<unsigned char>(found | static_cast<unsigned>(is_pair(block[i], block[i + 1])));
        }
        if (found != 0) {
            look_at(at, at + kBlock);
        }
    }
    if (!bytes.empty()) {
        look_at(at, bytes.size() - 1);
    }
}

} // namespace plate_mend::host
