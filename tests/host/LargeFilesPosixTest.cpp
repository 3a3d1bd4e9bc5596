#include "faults/Limits.h"
#include "host/HostFixture.h"
#include "host/Pairs.h"

#include "support/RawDecode.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <tuple>
#include <vector>

// Photographs in files of some GiB, most of which are a hole. A limit of the process simulates a full disk,
// so that the tests need no room for results of that size.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30U;
constexpr std::uint64_t kRoomOnDisk = std::uint64_t{1} << 20U;

class LargeFiles : public HostFixture,
                   public ::testing::WithParamInterface<std::tuple<const char*, std::uint64_t>> {
  protected:
    void SetUp() override {
        if (holes_take_memory(folder.path())) {
            GTEST_SKIP() << "holes that are read take memory here";
        }
    }

    /// Writes a sample, and a damaged file of the size asked for that begins with these bytes.
    void write_pair(const Bytes& good, const Bytes& bytes) const {
        write_file(folder / sample_name, good);
        write_file(folder / damaged_name, bytes);
        fs::resize_file(folder / damaged_name, std::get<1>(GetParam()));
    }

    /// Repairs on a disk that is full after a megabyte of each file.
    int repair_on_a_full_disk() {
        const FileSizeLimit limit(kRoomOnDisk);
        return run({"repair", "--memory-limit", "0", "-s", in(sample_name), in(damaged_name)});
    }

    const std::string extension = std::get<0>(GetParam());
    const std::string sample_name = "sample." + extension;
    const std::string damaged_name = "photo." + extension;
    const fs::path result = folder / ("photo.repaired." + extension);
    const Format& format = *std::find_if(formats().begin(), formats().end(),
                                         [this](const Format& one) { return one.extension == extension; });
};

TEST_P(LargeFiles, PhotographBeforeALongHoleIsWholeWithoutIt) {
    const Pair pair = format.make({});
    write_pair(pair.sample, zeroed(pair.original, 0, pair.lost));
    EXPECT_EQ(repair_on_a_full_disk(), 0) << out << err;
    EXPECT_EQ(decode_raw(result), decode_raw(pair.original));
    EXPECT_THAT(out, HasSubstr(": whole,"));
    EXPECT_LE(fs::file_size(result), kRoomOnDisk);
}

TEST_P(LargeFiles, FileOfOnlyAHoleIsNotAPhotograph) {
    write_pair(format.make({}).sample, {});
    EXPECT_EQ(repair_on_a_full_disk(), 2) << out << err;
    EXPECT_THAT(out, HasSubstr("try 'plate-mend salvage' (code -1"));
    EXPECT_EQ(names(), (std::vector<std::string>{"broken.arw", "good.arw", damaged_name, sample_name}));
}

std::string large_name(const ::testing::TestParamInfo<LargeFiles::ParamType>& one) {
    const auto& [extension, size] = one.param;
    return extension + ("_" + std::to_string(size));
}

std::vector<std::uint64_t> sizes() {
#if defined(PLATE_MEND_LEAK_DETECTION)
    return {2 * kGigabyte}; // Holes are read slowly there; the library's own tests go through larger ones.
#else
    return {2 * kGigabyte, 4 * kGigabyte + 1};
#endif
}

INSTANTIATE_TEST_SUITE_P(Formats, LargeFiles,
                         ::testing::Combine(::testing::Values("arw", "dng", "raf", "cr3"),
                                            ::testing::ValuesIn(sizes())),
                         large_name);

#if !defined(PLATE_MEND_LEAK_DETECTION)
using LargeFile = HostFixture;

TEST_F(LargeFile, WithoutRoomInTheMemoryLimitIsRefusedForThatReason) {
    fs::resize_file(folder / "broken.arw", 4 * kGigabyte + 1);
    EXPECT_EQ(run({"salvage", in("broken.arw")}), 3);
    EXPECT_THAT(err, HasSubstr("memory ran out"));
    EXPECT_THAT(err, HasSubstr("--memory-limit"));
    {
        std::ofstream(folder / "broken.arw", std::ios::binary | std::ios::app) << 'x';
    } // No hole to leave out.
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("broken.arw")}), 3);
    EXPECT_THAT(out, HasSubstr("not done, memory ran out (--memory-limit allows 4096 MiB)"));
    EXPECT_EQ(names(), (std::vector<std::string>{"broken.arw", "good.arw"}));
}
#endif

} // namespace
} // namespace test
