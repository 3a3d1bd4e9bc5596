#include "judge/Repeats.h"

#include "platform/MappedFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kRepeatedBytes = 512;
constexpr std::size_t kHashedBytes =
    256; ///< That is hashed: one of them is in each sector, wherever that begins.
constexpr std::size_t kGroupBytes = 4;    ///< Bytes.
constexpr std::size_t kFewestGroups = 64; ///< Different groups of bytes in a block that is no pattern.
constexpr std::uint64_t kMostReads = 4;   ///< Of each byte, to compare places whose hashes are the same.

/// The hashes of so many blocks, side by side from the first one's first byte on: while a processor waits for
/// a product of one, it works on the others.
template <std::size_t kBlocks>
std::array<std::uint64_t, kBlocks> hashes_of(const unsigned char* bytes) {
    std::array<std::uint64_t, kBlocks> hashes{};
    hashes.fill(14695981039346656037U);
    for (std::size_t at = 0; at < kHashedBytes; at += sizeof(std::uint64_t)) {
        for (std::size_t block = 0; block < kBlocks; ++block) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + block * kHashedBytes + at, sizeof(word));
            std::uint64_t& hash = hashes[block];
            hash = (hash ^ word) * 1099511628211U;
            hash ^= hash >> 29U;
        }
    }
    return hashes;
}

/// The hashes of all whole blocks.
std::vector<std::uint64_t> hash_all(Bytes bytes) {
    constexpr std::size_t kAtATime = 4;
    std::vector<std::uint64_t> hashes(bytes.size() / kHashedBytes);
    std::size_t block = 0;
    for (; block + kAtATime <= hashes.size(); block += kAtATime) {
        std::ranges::copy(hashes_of<kAtATime>(bytes.data() + block * kHashedBytes),
                          hashes.begin() + static_cast<std::ptrdiff_t>(block));
    }
    for (; block < hashes.size(); ++block) {
        hashes[block] = hashes_of<1>(bytes.data() + block * kHashedBytes).front();
    }
    return hashes;
}

/// Counts hashes by some of their bits, up to 2: most blocks of a photograph have a hash that no other has.
class HashCounts {
  public:
    explicit HashCounts(const std::vector<std::uint64_t>& hashes)
        : counts_(std::bit_ceil(kPlacesPerHash * hashes.size() + 1)) {
        for (const std::uint64_t hash : hashes) {
            unsigned char& count = counts_[place_of(hash)];
            count = static_cast<unsigned char>(std::min(2, count + 1));
        }
    }

    /// False only for a hash that is there once.
    [[nodiscard]] bool may_be_repeated(std::uint64_t hash) const { return counts_[place_of(hash)] > 1; }

  private:
    static constexpr std::size_t kPlacesPerHash = 8;

    [[nodiscard]] std::size_t place_of(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash ^ hash >> 32U) & (counts_.size() - 1);
    }

    std::vector<unsigned char> counts_;
};

/// Whether a block is no pattern that an even area may have.
bool is_telling(Bytes block) {
    std::array<std::uint32_t, kHashedBytes - kGroupBytes + 1> groups{};
    for (std::size_t at = 0; at < groups.size(); ++at) {
        std::memcpy(&groups[at], block.data() + at, kGroupBytes);
    }
    std::sort(groups.begin(), groups.end());
    return std::unique(groups.begin(), groups.end()) - groups.begin() >=
           static_cast<std::ptrdiff_t>(kFewestGroups);
}

struct HashedBlock {
    std::uint64_t hash = 0;
    std::size_t offset = 0;
};

/// Blocks with the same hash side by side, those in the order of their offsets. Most of those are left out
/// whose hash no other has.
std::vector<HashedBlock> hash_blocks(Bytes bytes) {
    const auto hashes = hash_all(bytes);
    const HashCounts counts(hashes);
    std::vector<HashedBlock> blocks;
    for (std::size_t nth = 0; nth < hashes.size(); ++nth) {
        if (counts.may_be_repeated(hashes[nth])) {
            blocks.push_back({hashes[nth], nth * kHashedBytes});
        }
    }
    std::sort(blocks.begin(), blocks.end(), [](const HashedBlock& one, const HashedBlock& other) {
        return one.hash != other.hash ? one.hash < other.hash : one.offset < other.offset;
    });
    return blocks;
}

class RepeatSearch {
  public:
    explicit RepeatSearch(Bytes bytes)
        : bytes_(bytes), is_second_(bytes.size() / kHashedBytes), reads_left_(kMostReads * bytes.size()) {}

    [[nodiscard]] std::vector<Repeat> run() {
        const auto blocks = hash_blocks(bytes_);
        for (std::size_t nth = 1; nth < blocks.size() && reads_left_ != 0; ++nth) {
            const HashedBlock& other = blocks[nth];
            if (blocks[nth - 1].hash != other.hash || is_second_[other.offset / kHashedBytes]) {
                continue;
            }
            const bool is_asked = nth < 2 || blocks[nth - 2].hash != other.hash;
            is_telling_ = is_asked ? is_telling(bytes_.subspan(other.offset, kHashedBytes)) : is_telling_;
            if (is_telling_) {
                add(extend(blocks[nth - 1].offset, other.offset));
            }
        }
        std::sort(repeats_.begin(), repeats_.end(),
                  [](const Repeat& one, const Repeat& other) { return one.second < other.second; });
        return std::move(repeats_);
    }

  private:
    /// What two blocks are part of, if they are the same.
    [[nodiscard]] Repeat extend(std::size_t first, std::size_t second) const {
        const std::size_t apart = second - first;
        std::size_t begin = first;
        std::size_t end = first;
        while (end + apart < bytes_.size() && end - begin < apart && bytes_[end] == bytes_[end + apart]) {
            ++end;
        }
        while (begin > 0 && end - begin < apart && bytes_[begin - 1] == bytes_[begin - 1 + apart]) {
            --begin;
        }
        return {begin, begin + apart, end - begin};
    }

    void add(const Repeat& repeat) {
        reads_left_ -= std::min(reads_left_, repeat.length + 1);
        if (repeat.length < kRepeatedBytes) {
            return;
        }
        repeats_.push_back(repeat);
        for (std::uint64_t at = (repeat.second + kHashedBytes - 1) / kHashedBytes;
             (at + 1) * kHashedBytes <= repeat.second + repeat.length; ++at) {
            is_second_[static_cast<std::size_t>(at)] = true;
        }
    }

    Bytes bytes_;
    std::vector<bool> is_second_; ///< Blocks of repeats that are known.
    std::uint64_t reads_left_;
    bool is_telling_ = false; ///< The last block whose hash is that of another.
    std::vector<Repeat> repeats_;
};

/// The image of a file, if it is in one part whose length is known.
Bytes image_in(Bytes file, const RawDecoder& decoder) {
    const auto parts = decoder.part_offsets(file);
    if (parts.size() != 1 || parts.front() >= file.size()) {
        return {};
    }
    const Bytes rest = file.subspan(static_cast<std::size_t>(parts.front()));
    const std::uint64_t length = decoder.has_fixed_rate() ? decoder.fixed_length() : decoder.image_length();
    return rest.first(static_cast<std::size_t>(std::min<std::uint64_t>(rest.size(), length)));
}

/// The rows of the picture that have some of an image's bytes.
void add_rows(const RawDecoder& decoder, std::uint64_t begin, std::uint64_t end,
              std::vector<std::size_t>& rows) {
    const double above = decoder.rows_above_picture();
    const double last =
        std::min(decoder.rows_in(end) - above, static_cast<double>(decoder.sensor_view().rows));
    const double first = std::max(0.0, decoder.rows_in(begin) - above);
    for (auto row = static_cast<std::size_t>(first); static_cast<double>(row) < last; ++row) {
        rows.push_back(row);
    }
}

} // namespace

std::vector<Repeat> find_repeats(std::span<const unsigned char> bytes) {
    return RepeatSearch(bytes).run();
}

Sign find_repeated_sectors(const RawDecoder& decoder, const std::filesystem::path& file) {
    platform::MappedFile mapped;
    if (mapped.open(file, std::numeric_limits<std::uint64_t>::max()) != platform::MapResult::kMapped) {
        return {};
    }
    const auto repeats = find_repeats(image_in(mapped.bytes(), decoder));
    if (repeats.empty()) {
        return {};
    }
    constexpr const char* kFinding = "sectors of the image data are there twice";
    std::vector<std::size_t> rows;
    for (const Repeat& repeat : repeats) {
        if (decoder.has_fixed_rate()) {
            add_rows(decoder, repeat.first, repeat.first + repeat.length, rows);
            add_rows(decoder, repeat.second, repeat.second + repeat.length, rows);
        }
    }
    if (rows.empty()) {
        return {kFinding, {}, std::nullopt};
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return sign_of_rows(std::move(rows), kFinding);
}

} // namespace plate_mend::host
