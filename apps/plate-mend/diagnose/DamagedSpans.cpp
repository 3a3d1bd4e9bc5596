#include "diagnose/DamagedSpans.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kSector = 512;
constexpr std::size_t kFewestSectors = 4;
constexpr std::size_t kBlock = 4096;
constexpr std::size_t kHead = 65536;
constexpr double kNoiseBits = 7.5;

/// Spans of one kind, up to the largest number that is kept.
class SpanList {
  public:
    void add(SpanKind kind, std::uint64_t offset, std::uint64_t size) {
        if (spans_.size() < kMostSpansOfAKind) {
            spans_.push_back({kind, offset, size});
        }
    }
    [[nodiscard]] const std::vector<DamagedSpan>& spans() const { return spans_; }

  private:
    std::vector<DamagedSpan> spans_;
};

std::size_t end_of_run(Bytes bytes, std::size_t first) {
    constexpr std::size_t kStep = 4096;
    const unsigned char value = bytes[first];
    std::size_t end = first + 1;
    if (end == bytes.size() || bytes[end] != value) {
        return end;
    }
    // A run equals itself shifted by one byte, so whole blocks can be compared.
    while (bytes.size() - end >= kStep &&
           std::memcmp(bytes.data() + end, bytes.data() + end - 1, kStep) == 0) {
        end += kStep;
    }
    while (end < bytes.size() && bytes[end] == value) {
        ++end;
    }
    return end;
}

void add_runs(Bytes bytes, SpanList& zeros, SpanList& others) {
    for (std::size_t first = 0; first < bytes.size();) {
        const std::size_t end = end_of_run(bytes, first);
        if (end - first >= kSector) {
            const bool zero = bytes[first] == 0;
            (zero ? zeros : others).add(zero ? SpanKind::kZero : SpanKind::kRepeated, first, end - first);
        }
        first = end;
    }
}

Bytes sector(Bytes bytes, std::size_t number) {
    return bytes.subspan(number * kSector, kSector);
}

bool are_equal(Bytes one, Bytes other) {
    return std::memcmp(one.data(), other.data(), kSector) == 0;
}

bool is_uniform(Bytes text) {
    return std::memcmp(text.data(), text.data() + 1, kSector - 1) == 0;
}

std::uint64_t hash_of(Bytes text) {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    std::uint64_t hash = 0;
    for (std::size_t at = 0; at < kSector; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        hash = (std::rotl(hash, 23) ^ word) * kFactor;
    }
    return hash ^ hash >> 32U;
}

/// The first occurrences of the sectors of a file. Takes at most 16 MiB, and probes few slots for each
/// sector: if many sectors share a hash, some are not remembered.
class FirstPlaces {
  public:
    explicit FirstPlaces(Bytes bytes)
        : bytes_(bytes),
          slots_(std::bit_ceil(std::clamp(2 * (bytes.size() / kSector), kProbes, kMostSlots)), kFree) {}

    /// The sector's first occurrence; the sector itself if it is new.
    std::size_t of(std::size_t number) {
        const Bytes text = sector(bytes_, number);
        const std::uint64_t hash = hash_of(text);
        for (std::size_t probe = 0; probe < kProbes; ++probe) {
            std::uint32_t& slot = slots_[static_cast<std::size_t>(hash + probe) & (slots_.size() - 1)];
            if (slot == kFree) {
                slot = static_cast<std::uint32_t>(number);
                return number;
            }
            if (are_equal(sector(bytes_, slot), text)) {
                return slot;
            }
        }
        return number;
    }

  private:
    static constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t kProbes = 8;
    static constexpr std::size_t kMostSlots = std::size_t{1} << 22U;

    Bytes bytes_;
    std::vector<std::uint32_t> slots_;
};

/// Counts how many sectors in a row are at the same distance after their first occurrence.
void add_copies(Bytes bytes, SpanList& copies) {
    const std::size_t count = bytes.size() / kSector;
    FirstPlaces first_places(bytes);
    std::size_t run = 0;
    std::size_t distance = 0;
    const auto end_run = [&](std::size_t end) {
        if (run >= kFewestSectors) {
            copies.add(SpanKind::kCopied, (end - run) * kSector, run * kSector);
        }
        run = 0;
    };
    for (std::size_t number = 0; number < count; ++number) {
        const Bytes text = sector(bytes, number);
        if (is_uniform(text)) { // Reported as a run of one byte.
            end_run(number);
            continue;
        }
        // A sector that continues the current run belongs to it, even if it also occurs elsewhere.
        if (run != 0 && are_equal(sector(bytes, number - distance), text)) {
            ++run;
            continue;
        }
        end_run(number);
        const std::size_t place = first_places.of(number);
        if (place != number) {
            distance = number - place;
            run = 1;
        }
    }
    end_run(count);
}

double bits_per_byte(Bytes bytes) {
    std::array<std::size_t, 256> counts{};
    for (const unsigned char byte : bytes) {
        ++counts[byte];
    }
    double bits = 0;
    for (const std::size_t count : counts) {
        if (count != 0) {
            const double share = static_cast<double>(count) / static_cast<double>(bytes.size());
            bits -= share * std::log2(share);
        }
    }
    return bits;
}

bool has_jpeg_start(Bytes bytes) {
    constexpr std::array<unsigned char, 3> kStart = {0xFF, 0xD8, 0xFF};
    return std::search(bytes.begin(), bytes.end(), kStart.begin(), kStart.end()) != bytes.end();
}

/// The length of the noise that the file begins with.
std::size_t length_of_noise(Bytes bytes) {
    std::size_t end = 0;
    while (end + kBlock <= std::min(bytes.size(), kHead)) {
        const Bytes block = bytes.subspan(end, kBlock);
        if (bits_per_byte(block) < kNoiseBits || has_jpeg_start(block)) {
            break;
        }
        end += kBlock;
    }
    return end;
}

} // namespace

const char* describe(SpanKind kind) {
    switch (kind) {
    case SpanKind::kZero:
        return "zeros";
    case SpanKind::kRepeated:
        return "one byte repeated";
    case SpanKind::kCopied:
        return "sectors repeated";
    case SpanKind::kNoise:
        break;
    }
    return "noise";
}

std::vector<DamagedSpan> find_damaged_spans(std::span<const unsigned char> bytes) {
    SpanList zeros;
    SpanList others;
    SpanList copies;
    add_runs(bytes, zeros, others);
    add_copies(bytes, copies);
    std::vector<DamagedSpan> spans;
    if (const std::size_t noise = length_of_noise(bytes)) {
        spans.push_back({SpanKind::kNoise, 0, noise});
    }
    for (const SpanList* list : {&zeros, &others, &copies}) {
        spans.insert(spans.end(), list->spans().begin(), list->spans().end());
    }
    std::stable_sort(spans.begin(), spans.end(), [](const DamagedSpan& left, const DamagedSpan& right) {
        return left.offset < right.offset;
    });
    return spans;
}

} // namespace plate_mend::host
