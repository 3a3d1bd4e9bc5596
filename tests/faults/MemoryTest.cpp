#include "faults/FaultFixture.h"
#include "faults/Limits.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20U;

/// Repairs with the given bytes of address space to spare.
class Memory : public Fault {
  protected:
    void SetUp() override {
        if (!AddressSpaceLimit::is_possible()) {
            GTEST_SKIP() << "a sanitizer takes all address space";
        }
    }

    [[nodiscard]] Outcome repair_within(std::uint64_t bytes) const {
        const AddressSpaceLimit limit(bytes);
        return repair();
    }
};

// The working copy takes a buffer; then its mapping does not fit.
TEST_P(Memory, NoRoomToMapTheSample) {
    fs::resize_file(sample, 64 * kMegabyte);
    EXPECT_EQ(repair_within(16 * kMegabyte), endings.sample_not_mapped);
    EXPECT_EQ(output_bytes(), std::nullopt);
    fs::resize_file(sample, pair.sample.size());
    expect_inputs_unchanged();
    EXPECT_EQ(repair(), code(0));
    EXPECT_EQ(output_bytes(), expected());
}

TEST_P(Memory, NoRoomToMapTheDamagedFile) {
    fs::resize_file(damaged, 64 * kMegabyte);
    EXPECT_EQ(repair_within(16 * kMegabyte), endings.damaged_not_mapped);
    EXPECT_EQ(output_bytes(), std::nullopt);
    fs::resize_file(damaged, pair.damaged.size());
    expect_inputs_unchanged();
    EXPECT_EQ(repair(), code(0));
    EXPECT_EQ(output_bytes(), expected());
}

INSTANTIATE_TEST_SUITE_P(Formats, Memory, ::testing::ValuesIn(one_pair_a_format()), pair_name);

class MemoryOfALongList : public Memory {
  protected:
    /// Turns a DNG's tile offsets into a list that fills 64 megabytes; in memory it takes four times as
    /// much.
    void make_long_list(const fs::path& path, const Bytes& bytes) const {
        Bytes changed = bytes;
        const Bytes tag{0x44, 0x01, 0x04, 0x00}; // TileOffsets, LONG.
        const auto entry =
            std::search(changed.begin(), changed.end(), tag.begin(), tag.end()) - changed.begin();
        put_u32(changed, static_cast<std::size_t>(entry) + 4, 15 * kMegabyte, ByteOrder::kLittle);
        write_file(path, changed);
        fs::resize_file(path, 64 * kMegabyte);
    }
};

// Inside a guarded stage the lack of memory is one more exception.
TEST_P(MemoryOfALongList, InTheSampleEndsInACode) {
    make_long_list(sample, pair.sample);
    EXPECT_EQ(repair_within(160 * kMegabyte), code(-1023));
}

TEST_P(MemoryOfALongList, InTheDamagedFileEndsInACode) {
    make_long_list(damaged, pair.damaged);
    EXPECT_EQ(repair_within(160 * kMegabyte), code(-1025));
}

INSTANTIATE_TEST_SUITE_P(Dng, MemoryOfALongList, ::testing::Values(small_pairs()[6]), pair_name);

// A CR3 repair catches no such exception anywhere.
class MemoryOfATrack : public Memory {};

TEST_P(MemoryOfATrack, ReachesTheCaller) {
    Bytes changed = pair.sample;
    const std::string_view type = "CMT3"; // A box whose payload is kept.
    const auto box = std::search(changed.begin(), changed.end(), type.begin(), type.end()) - changed.begin();
    put_u32(changed, static_cast<std::size_t>(box) - 4, 60 * kMegabyte, ByteOrder::kBig);
    write_file(sample, changed);
    fs::resize_file(sample, 64 * kMegabyte);
    EXPECT_EQ(repair_within(96 * kMegabyte), exception("std::bad_alloc"));
    EXPECT_EQ(output_bytes(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Cr3, MemoryOfATrack, ::testing::Values(small_pairs().back()), pair_name);

} // namespace
} // namespace test
