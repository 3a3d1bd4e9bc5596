#include "faults/Limits.h"
#include "host/Pairs.h"
#include "host/ShellFixture.h"
#include "support/Bytes.h"
#include "support/RealFiles.h"
#include "support/TempDir.h"

#include "files/Failures.h"
#include "files/Formats.h"
#include "platform/Interrupt.h"
#include "repair/SampleCache.h"
#include "repair/Samples.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

// How much of samples is read, and what ends it.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;

/// Bytes that this process has read so far; nothing where the system does not count them.
std::optional<std::uint64_t> bytes_read() {
    std::ifstream counts("/proc/self/io");
    std::string name;
    std::uint64_t count = 0;
    return counts >> name >> count ? std::optional(count) : std::nullopt;
}

class SampleReading : public ::testing::Test {
  protected:
    /// A sample as long as a camera's, most of which takes no room.
    void add(const std::string& name, const Bytes& bytes) {
        constexpr std::uintmax_t kLength = 24'000'000;
        write_file(folder_ / name, bytes);
        fs::resize_file(folder_ / name, std::max<std::uintmax_t>(kLength, bytes.size()));
        files_.push_back(folder_ / name);
    }

    /// Reads them, and returns how many bytes of each were read on average.
    [[nodiscard]] std::uint64_t read_each() const {
        const auto before = bytes_read();
        const Samples samples(files_, SampleCache({}), [](std::size_t, std::size_t) {});
        return (bytes_read().value_or(0) - before.value_or(0)) / files_.size();
    }

    TempDir folder_;
    std::vector<fs::path> files_;
};

constexpr std::uint64_t kKiBs = 1024;

TEST_F(SampleReading, TakesSomePagesOfEach) {
    if (!bytes_read()) {
        GTEST_SKIP() << "the system does not count what is read";
    }
    for (const Format& format : formats()) {
        const Bytes photo = format.make({.large = true}).original;
        for (const char number : {'1', '2', '3'}) {
            add(std::string{number, '.'} + format.extension, photo);
        }
    }
    const std::uint64_t each = read_each();
    EXPECT_GT(each, 16 * kKiBs);
    EXPECT_LE(each, 128 * kKiBs);
}

TEST_F(SampleReading, TakesFewPagesOfRealFiles) {
    const auto cameras = real_folder();
    if (!cameras || !bytes_read()) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    const std::vector<std::string>& known = raw_extensions();
    for (const auto& entry : fs::recursive_directory_iterator(*cameras)) {
        if (std::find(known.begin(), known.end(), extension_of(entry.path())) != known.end()) {
            files_ = {entry.path()};
            EXPECT_LE(read_each(), 256 * kKiBs) << entry.path();
        }
    }
}

TEST_F(SampleReading, IsBoundedWhateverAFileSays) {
    if (!bytes_read()) {
        GTEST_SKIP() << "the system does not count what is read";
    }
    Bytes hostile(4'000'000);
    put_text(hostile, 0, std::string("II*\0\x08\0\0\0", 8)); // Directories of 300 entries, each a SubIFDs
    for (std::size_t at = 8; at + 8000 < hostile.size(); at += 40'000) { // with sixteen further ones.
        put_u16(hostile, at, 300, ByteOrder::kLittle);
        for (std::size_t entry = 0; entry < 300; ++entry) {
            put_bytes(hostile, at + 2 + 12 * entry,
                      joined({0x4A, 1, 4, 0, 16, 0, 0, 0},
                             u32_bytes({static_cast<std::uint32_t>(at + 4000)}, ByteOrder::kLittle)));
        }
        for (std::size_t sub = 0; sub < 16; ++sub) {
            put_u32(hostile, at + 4000 + 4 * sub,
                    static_cast<std::uint32_t>((at + 40'000 * (sub + 1)) % hostile.size()),
                    ByteOrder::kLittle);
        }
    }
    add("hostile.nef", hostile);
    EXPECT_LE(read_each(), 400 * kKiBs);
}

TEST_F(SampleReading, EndsAtOnceWhenTheUserInterrupts) {
    for (const char number : {'1', '2', '3', '4'}) {
        add(std::string{number} + ".arw", noise(1000, 1));
    }
    const auto reads_one = [&] {
        platform::remember_interrupts();
        std::size_t last = 0;
        try {
            const Samples samples(files_, SampleCache({}), [&](std::size_t done, std::size_t) {
                last = done;
                ::raise(SIGINT);
            });
        } catch (const Interrupted&) {
            return last == 0;
        }
        return false;
    };
    EXPECT_EQ(status_of_child([&] { ::_exit(reads_one() ? 0 : 1); }), 0);
}

class InterruptedRun : public ShellFixture {};

TEST_F(InterruptedRun, WhileSamplesAreReadHasTheUsualStatus) {
    fs::create_directory(folder / "good");
    for (unsigned number = 0; number < 3000; ++number) {
        fs::create_hard_link(folder / "good.arw", folder / "good" / (std::to_string(number) + ".arw"));
    }
    const std::string once_it_runs =
        " & id=$!\nwhile ! test -e mended/.plate-mend/run/lock; do kill -0 $id || "
        "exit 9; done\nkill -INT $id; wait $id";
    EXPECT_EQ(shell("trap - INT; \"$P\" repair --sample good --out mended broken.arw" + once_it_runs), 130)
        << out << err;
    EXPECT_FALSE(fs::exists(folder / "mended" / "broken.arw"));
}

} // namespace
} // namespace test
