#include "judge/Repeats.h"

#include "platform/MappedFile.h"

#include <algorithm>
#include <array>
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

std::uint64_t hash_of(Bytes block) {
    std::uint64_t hash = 14695981039346656037U;
    for (std::size_t at = 0; at < block.size(); at += sizeof(hash)) {
        std::uint64_t word = 0;
        std::memcpy(&word, block.data() + at, sizeof(word));
        hash = (hash ^ word) * 1099511628211U;
        hash ^= hash >> 29U;
    }
    return hash;
}

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

/// Blocks with the same hash side by side, those in the order of their offsets.
std::vector<HashedBlock> hash_blocks(Bytes bytes) {
    std::vector<HashedBlock> blocks;
    blocks.reserve(bytes.size() / kHashedBytes);
    for (std::size_t at = 0; at + kHashedBytes <= bytes.size(); at += kHashedBytes) {
        blocks.push_back({hash_of(bytes.subspan(at, kHashedBytes)), at});
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
