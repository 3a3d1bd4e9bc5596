#include "coding/CrxHeads.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

// | code (2) | size of the rest (2) | length of the coded bytes (4) | more |, high byte first.
// A tile's with a rest of 16 goes on: | (4) | length of a table of quantizers (4) | of more bytes (2) | (2) |
constexpr unsigned kTile = 0xFF01; // Plane and band follow. Larger headers have 10 more.
constexpr unsigned kRestWithTables = 16;
constexpr unsigned kLeastRest = 8;
constexpr unsigned kMostHeadRest = 64;

std::uint64_t number(Bytes bytes, std::uint64_t offset, unsigned count) {
    std::uint64_t value = 0;
    for (const unsigned char byte : bytes.subspan(static_cast<std::size_t>(offset), count)) {
        value = value << 8U | byte;
    }
    return value;
}

std::optional<CrxHeader> read_header(Bytes bytes, std::uint64_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < 4 + kLeastRest) {
        return std::nullopt;
    }
    const auto code = static_cast<unsigned>(number(bytes, offset, 2));
    const auto rest = static_cast<unsigned>(number(bytes, offset + 2, 2));
    const unsigned nth = (code & ~0x10U) - kTile;
    if (nth > 2 || rest < kLeastRest || rest > kMostHeadRest || bytes.size() - offset < 4 + rest) {
        return std::nullopt;
    }
    CrxHeader header{static_cast<CrxHeader::Kind>(nth), code, 4 + rest, offset,
                     number(bytes, offset + 4, 4),      0};
    if (nth == 0 && rest == kRestWithTables) {
        header.own = number(bytes, offset + 12, 4) + number(bytes, offset + 16, 2);
    }
    return header;
}

/// Whether each header of a kind states the sum of the next kind's headers up to the next one like it.
bool sums_agree(const std::vector<CrxHeader>& headers, CrxHeader::Kind whole, CrxHeader::Kind part) {
    std::uint64_t stated = 0;
    std::uint64_t sum = 0;
    for (const CrxHeader& header : headers) {
        if (header.kind == part) {
            sum += header.length;
        } else if (header.kind == whole) {
            if (sum != stated) {
                return false;
            }
            stated = header.length;
            sum = header.own;
        }
    }
    return sum == stated;
}

bool do_lengths_agree(const CrxHeads& heads) {
    using Kind = CrxHeader::Kind;
    return sums_agree(heads.headers, Kind::kTile, Kind::kPlane) &&
           sums_agree(heads.headers, Kind::kPlane, Kind::kBand);
}

} // namespace

std::uint64_t CrxHeads::coded_length() const {
    std::uint64_t sum = 0;
    for (const CrxHeader& header : headers) {
        sum += header.kind == CrxHeader::Kind::kTile ? header.length : 0;
    }
    return sum;
}

std::optional<CrxHeads> read_crx_heads(Bytes bytes, std::uint64_t offset) {
    CrxHeads heads;
    auto header = read_header(bytes, offset);
    if (!header || header->kind != CrxHeader::Kind::kTile) {
        return std::nullopt;
    }
    for (; header && heads.headers.size() < kMostCrxHeaders; header = read_header(bytes, offset)) {
        heads.headers.push_back(*header);
        offset += header->size;
    }
    heads.lengths_agree = do_lengths_agree(heads);
    return heads;
}

std::optional<CrxHeads> read_crx_heads(Bytes bytes, std::uint64_t offset, const CrxHeads& sample) {
    CrxHeads heads;
    for (const CrxHeader& like : sample.headers) {
        const auto header = read_header(bytes, offset);
        if (!header || header->code != like.code || header->size != like.size) {
            return std::nullopt;
        }
        heads.headers.push_back(*header);
        offset += header->size;
    }
    heads.lengths_agree = do_lengths_agree(heads);
    return heads;
}

std::vector<CrxHeads> find_crx_heads(Bytes damaged, const CrxHeads& sample) {
    std::vector<CrxHeads> found;
    for (auto at = damaged.begin(); (at = std::find(at, damaged.end(), 0xFF)) != damaged.end();) {
        auto heads = read_crx_heads(damaged, static_cast<std::uint64_t>(at - damaged.begin()), sample);
        if (heads && (heads->lengths_agree || !sample.lengths_agree)) {
            at += static_cast<std::ptrdiff_t>(heads->end() - heads->begin());
            found.push_back(std::move(*heads));
        } else {
            ++at;
        }
    }
    return found;
}

} // namespace raw_mend
