#include "support/Bytes.h"
#include "support/TempDir.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>

// The clone of a sample, stream to stream, with buffers of several sizes: 24 MB, which the system has in its
// cache.

namespace {

constexpr std::size_t kSize = 24'000'000;

void Clone(benchmark::State& state) {
    const test::TempDir folder;
    test::write_file(folder / "sample", test::noise(kSize, 1));
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores): the library's own idiom
        state.PauseTiming();
        std::filesystem::remove(folder / "clone");
        state.ResumeTiming();
        const auto buffer = std::make_unique_for_overwrite<char[]>(size + 1);
        std::ifstream source;
        source.rdbuf()->pubsetbuf(buffer.get(), static_cast<std::streamsize>(size + 1));
        source.open(folder / "sample", std::ios::binary);
        std::ofstream target(folder / "clone", std::ios::binary | std::ios::trunc);
        target << source.rdbuf();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kSize));
    state.SetLabel(std::to_string(size / 1024) + " KiB");
}
// The library's own size first: the others are relative to it.
BENCHMARK(Clone)->Arg(1 << 20)->RangeMultiplier(4)->Range(1 << 13, 1 << 19)->Arg(1 << 21)->UseRealTime();

} // namespace
