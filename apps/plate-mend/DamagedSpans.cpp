#include "DamagedSpans.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <unordered_map>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kSector = 512;
constexpr std::size_t kFewestSectors = 4;
constexpr std::size_t kBlock = 4096;
constexpr std::size_t kHead = 65536;
constexpr double kNoiseBits = 7.5;

std::size_t end_of_run(Bytes bytes, std::size_t first) {
    const auto end = std::find_if(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(),
                                  [value = bytes[first]](unsigned char byte) { return byte != value; });
    return static_cast<std::size_t>(end - bytes.begin());
}

void add_runs(Bytes bytes, std::vector<DamagedSpan>& spans) {
    for (std::size_t first = 0; first < bytes.size();) {
        const std::size_t end = end_of_run(bytes, first);
        if (end - first >= kSector) {
            spans.push_back({bytes[first] == 0 ? SpanKind::kZero : SpanKind::kRepeated, first, end - first});
        }
        first = end;
    }
}

std::string_view sector(Bytes bytes, std::size_t number) {
    return {reinterpret_cast<const char*>(bytes.data()) + number * kSector, kSector};
}

bool is_uniform(std::string_view text) {
    return text.find_first_not_of(text.front()) == text.npos;
}

/// Counts how many sectors in a row stand at one distance behind their first appearance.
void add_copies(Bytes bytes, std::vector<DamagedSpan>& spans) {
    const std::size_t count = bytes.size() / kSector;
    std::unordered_map<std::string_view, std::size_t> first_places;
    first_places.reserve(count);
    std::size_t run = 0;
    std::size_t distance = 0;
    const auto end_run = [&](std::size_t end) {
        if (run >= kFewestSectors) {
            spans.push_back({SpanKind::kCopied, (end - run) * kSector, run * kSector});
        }
        run = 0;
    };
    for (std::size_t number = 0; number < count; ++number) {
        const std::string_view text = sector(bytes, number);
        if (is_uniform(text)) { // A run of its own.
            end_run(number);
            continue;
        }
        // A sector that goes on with the present run counts, though it may stand elsewhere too.
        if (run != 0 && sector(bytes, number - distance) == text) {
            ++run;
            continue;
        }
        end_run(number);
        const auto [place, is_new] = first_places.try_emplace(text, number);
        if (!is_new) {
            distance = number - place->second;
            run = 1;
        }
    }
    end_run(count);
}

double bits_a_byte(Bytes bytes) {
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

void add_noise(Bytes bytes, std::vector<DamagedSpan>& spans) {
    std::size_t end = 0;
    while (end + kBlock <= std::min(bytes.size(), kHead)) {
        const Bytes block = bytes.subspan(end, kBlock);
        if (bits_a_byte(block) < kNoiseBits || has_jpeg_start(block)) {
            break;
        }
        end += kBlock;
    }
    if (end != 0) {
        spans.push_back({SpanKind::kNoise, 0, end});
    }
}

} // namespace

const char* in_words(SpanKind kind) {
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
    std::vector<DamagedSpan> spans;
    add_runs(bytes, spans);
    add_copies(bytes, spans);
    add_noise(bytes, spans);
    std::sort(spans.begin(), spans.end(),
              [](const DamagedSpan& left, const DamagedSpan& right) { return left.offset < right.offset; });
    return spans;
}

} // namespace plate_mend::host
