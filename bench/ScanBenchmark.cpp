#include "support/Bytes.h"
#include "support/TempDir.h"
#include "util/ByteScan.h"
#include "util/MMap.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <span>
#include <stdexcept>

// An absent pattern in a mapping of 64 MB of noise that is in memory. Its first byte is as frequent as any
// other.

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kSize = 64'000'000;
constexpr std::array<unsigned char, 2> kPattern{0x11, 0x01};
constexpr unsigned char kAbsentByte = 0xFB;

/// The mapped file. Its pages stay in memory once they have been read.
Bytes haystack() {
    static const test::TempDir folder;
    static const plate_mend::MMAP map = [] {
        test::Bytes bytes = test::noise(kSize, 1);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            if (bytes[index] == kAbsentByte || (index > 0 && bytes[index - 1] == kPattern[0])) {
                bytes[index] = 0xFA;
            }
        }
        test::write_file(folder / "noise", bytes);
        return plate_mend::MMAP(folder / "noise", true);
    }();
    benchmark::DoNotOptimize(std::accumulate(map.bytes().begin(), map.bytes().end(), 0U));
    return map.bytes();
}

/// The search returns whether there is no match.
void run(benchmark::State& state, const char* label, bool (*is_absent)(Bytes)) {
    const Bytes bytes = haystack();
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores): the library's own idiom
        if (!is_absent(bytes)) {
            throw std::logic_error("found what is not there");
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kSize));
    state.SetLabel(label);
}

void ScanMemchr(benchmark::State& state) {
    run(state, "`memchr`, a byte that is absent",
        [](Bytes bytes) { return std::memchr(bytes.data(), kAbsentByte, bytes.size()) == nullptr; });
}
BENCHMARK(ScanMemchr);

void ScanFindPattern(benchmark::State& state) {
    run(state, "the byte scan", [](Bytes bytes) { return !plate_mend::find_pattern(bytes, kPattern); });
}
BENCHMARK(ScanFindPattern);

void ScanMemchrAndCheck(benchmark::State& state) {
    run(state, "`memchr` for the first byte, then a check", [](Bytes bytes) {
        const unsigned char* at = bytes.data();
        const unsigned char* const end = at + bytes.size() - 1;
        while (true) {
            const auto left = static_cast<std::size_t>(end - at);
            at = static_cast<const unsigned char*>(std::memchr(at, kPattern[0], left));
            if (at == nullptr) {
                return true;
            }
            if (at[1] == kPattern[1]) {
                return false;
            }
            ++at;
        }
    });
}
BENCHMARK(ScanMemchrAndCheck);

void ScanSearch(benchmark::State& state) {
    run(state, "`std::search`", [](Bytes bytes) {
        return std::search(bytes.begin(), bytes.end(), kPattern.begin(), kPattern.end()) == bytes.end();
    });
}
BENCHMARK(ScanSearch);

void ScanMemmem(benchmark::State& state) {
    run(state, "`memmem`", [](Bytes bytes) {
        return ::memmem(bytes.data(), bytes.size(), kPattern.data(), kPattern.size()) == nullptr;
    });
}
BENCHMARK(ScanMemmem);

} // namespace
