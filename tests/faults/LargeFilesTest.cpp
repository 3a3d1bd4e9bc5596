#include "faults/FaultFixture.h"
#include "faults/Limits.h"

#include <algorithm>
#include <fstream>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30U;
constexpr std::uint64_t kImage = 24; // The length of a small pair's image data.

class LargeFile : public Fault {
  protected:
    void SetUp() override {
        if (holes_take_memory(folder.path())) {
            GTEST_SKIP() << "holes that are read take memory here";
        }
    }

    /// Puts a hole into the damaged file, so that the bytes from hole on are at the end of size bytes.
    void stretch_damaged(const Bytes& bytes, std::uint64_t hole, std::uint64_t size) const {
        write_file(damaged, part(bytes, 0, hole));
        fs::resize_file(damaged, size);
        std::fstream stream(damaged, std::ios::binary | std::ios::in | std::ios::out);
        const Bytes tail = part(bytes, hole, bytes.size());
        stream.seekp(static_cast<std::streamoff>(size - tail.size()));
        stream.write(reinterpret_cast<const char*>(tail.data()), static_cast<std::streamsize>(tail.size()));
        ASSERT_TRUE(stream.flush());
    }

    /// The damaged file's head with each 32-bit number in it that is in [first, last) moved.
    [[nodiscard]] Bytes with_offsets_moved(std::uint32_t first, std::uint32_t last, std::uint64_t by) const {
        Bytes bytes = pair.damaged;
        const ByteOrder order = is("cr3") ? ByteOrder::kBig : ByteOrder::kLittle;
        for (std::size_t at = 0; at + 4 <= bytes.size() - kImage; ++at) {
            const std::uint32_t value = get_u32(bytes, at, order);
            if (value >= first && value < last) {
                put_u32(bytes, at, static_cast<std::uint32_t>(value + by), order);
                at += 3;
            }
        }
        return bytes;
    }

    /// Repairs a damaged file of the size given, whose image is at its very end.
    void repair_image_at_the_end_of(std::uint64_t size) {
        const auto length = static_cast<std::uint32_t>(pair.damaged.size());
        const std::uint64_t by = size - length;
        if (is("cr3")) {
            const auto payload = length - 80; // The tracks and what is between them.
            ASSERT_NO_FATAL_FAILURE(stretch_damaged(with_offsets_moved(payload, length, by), payload, size));
        } else {
            // Offsets of image data; a RAF counts them from its second header.
            const std::string header("II*\0\x08\0\0\0", 8);
            const auto second =
                std::find_end(pair.damaged.begin(), pair.damaged.end(), header.begin(), header.end());
            const auto origin =
                is("raf") ? static_cast<std::uint32_t>(second - pair.damaged.begin()) : std::uint32_t{0};
            const std::uint32_t image = length - static_cast<std::uint32_t>(kImage) - origin;
            const std::uint32_t tiles = is("dng") ? static_cast<std::uint32_t>(kImage) : 1;
            ASSERT_NO_FATAL_FAILURE(
                stretch_damaged(with_offsets_moved(image, image + tiles, by), length - kImage, size));
        }
        EXPECT_EQ(repair(), code(0));
        EXPECT_EQ(output_bytes(), expected());
    }

    /// Repairs a damaged file with zeros after its image, up to the size given. The disk is soon full,
    /// so not all of them are copied.
    void repair_image_with_a_tail_up_to(std::uint64_t size) {
        constexpr std::size_t kRoom = 1 << 16;
        ASSERT_LT(pair.sample.size(), kRoom);
        const Bytes whole = *format.repaired(pair.sample, joined(pair.damaged, Bytes(kRoom)));
        fs::resize_file(damaged, size);
        Outcome outcome;
        {
            const FileSizeLimit limit(kRoom);
            outcome = repair();
        }
        EXPECT_EQ(outcome, code(0));
        EXPECT_EQ(output_bytes(), part(whole, 0, std::min(whole.size(), kRoom)));
    }
};

TEST_P(LargeFile, ImageBefore2GiB) {
    repair_image_at_the_end_of(2 * kGigabyte);
}

TEST_P(LargeFile, ImageBefore4GiBAnd1Byte) {
    repair_image_at_the_end_of(4 * kGigabyte + 1);
}

TEST_P(LargeFile, ImageWithATailUpTo2GiB) {
    repair_image_with_a_tail_up_to(2 * kGigabyte);
}

TEST_P(LargeFile, ImageWithATailUpTo4GiBAnd1Byte) {
    repair_image_with_a_tail_up_to(4 * kGigabyte + 1);
}

TEST_P(LargeFile, SampleWithATailUpTo4GiBAnd1Byte) {
    fs::resize_file(sample, 4 * kGigabyte + 1);
    Outcome outcome;
    {
        const FileSizeLimit limit(1 << 20); // The working copy need not have all of it.
        outcome = repair();
    }
    EXPECT_EQ(outcome, code(0));
    EXPECT_EQ(output_bytes(), expected());
}

INSTANTIATE_TEST_SUITE_P(Formats, LargeFile, ::testing::ValuesIn(one_pair_a_format()), pair_name);

class LargeFileToSearch : public LargeFile {};

TEST_P(LargeFileToSearch, EndsInACodeWhenNothingIsInIt) {
    fs::resize_file(damaged, 0);
    fs::resize_file(damaged, 4 * kGigabyte + 1);
    const Outcome outcome = repair();
    ASSERT_TRUE(outcome.code) << outcome;
    EXPECT_LE(*outcome.code, format.highest_code);
    EXPECT_GE(*outcome.code, format.lowest_code);
    EXPECT_EQ(output_bytes(), std::nullopt);
}

// A search takes seconds: once by tags, once by boxes.
INSTANTIATE_TEST_SUITE_P(Formats, LargeFileToSearch,
                         ::testing::Values(small_pairs().front(), small_pairs().back()), pair_name);

} // namespace
} // namespace test
