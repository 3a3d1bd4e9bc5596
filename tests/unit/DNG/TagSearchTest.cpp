#include "DNG/TagSearch.h"

#include "support/Bytes.h"
#include "support/TempDir.h"
#include "util/ByteScan.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace plate_mend {
namespace {

using test::Bytes;

constexpr TagSearch::Pattern kTag{0xFE, 0x00};

class TagSearchInAFile : public ::testing::Test {
  protected:
    std::unique_ptr<MMAP> map(const Bytes& bytes) {
        test::write_file(folder / "file", bytes);
        return std::make_unique<MMAP>(folder / "file");
    }

    /// Bytes with up to 20 tags somewhere.
    static Bytes with_tags(std::mt19937& random) {
        Bytes bytes(20000, 0x5A);
        for (int tag = 0; tag < 20; ++tag) {
            test::put_bytes(bytes, random() % 19999, {0xFE, 0x00});
        }
        return bytes;
    }

    static std::optional<std::uint32_t> plain(const MMAP& map, std::uint32_t start) {
        return find_in_file(map, kTag, start, map.size());
    }

    test::TempDir folder;
};

TEST_F(TagSearchInAFile, FindsTheFirstPlaceFromTheStartOn) {
    Bytes bytes(2000, 0x5A);
    for (const std::size_t place : {0U, 600U, 602U, 1998U}) {
        test::put_bytes(bytes, place, {0xFE, 0x00});
    }
    const auto file = map(bytes);
    TagSearch search(kTag);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(search.find(*file, 0), 0U);
        EXPECT_EQ(search.find(*file, 1), 600U);
        EXPECT_EQ(search.find(*file, 600), 600U);
        EXPECT_EQ(search.find(*file, 601), 602U);
        EXPECT_EQ(search.find(*file, 603), 1998U);
        EXPECT_EQ(search.find(*file, 1999), std::nullopt);
        EXPECT_EQ(search.find(*file, 2000), std::nullopt);
        EXPECT_EQ(search.find(*file, 0xFFFFFFFF), std::nullopt);
    }
}

TEST_F(TagSearchInAFile, FindsNothingWhereNothingIsMapped) {
    const auto file = map({});
    TagSearch search(kTag);
    EXPECT_EQ(search.find(*file, 0), std::nullopt);
    EXPECT_EQ(search.find(*file, 7), std::nullopt);
}

TEST_F(TagSearchInAFile, FindsTheSameFromAnyPlacesInAnyOrderAsAPlainSearch) {
    std::mt19937 random(3);
    for (int round = 0; round < 30; ++round) {
        const auto file = map(with_tags(random));
        TagSearch search(kTag);
        for (int time = 0; time < 300; ++time) {
            const auto start = static_cast<std::uint32_t>(random() % 20001);
            ASSERT_EQ(search.find(*file, start), plain(*file, start)) << start;
        }
    }
}

TEST_F(TagSearchInAFile, SeesWhatIsWrittenOnceItIsNotified) {
    std::mt19937 random(4);
    for (int round = 0; round < 30; ++round) {
        const auto file = map(with_tags(random));
        TagSearch search(kTag);
        for (int time = 0; time < 300; ++time) {
            const auto start = static_cast<std::uint32_t>(random() % 20001);
            ASSERT_EQ(search.find(*file, start), plain(*file, start)) << start;
            const std::size_t first = random() % 19970;
            search.forget(first, first + 30);
            for (std::size_t index = first; index < first + 30; ++index) {
                file->base[index] = random() % 40 == 0 ? 0xFE : 0x00;
            }
        }
    }
}

TEST_F(TagSearchInAFile, SeesAMatchThatBeginsWithTheByteBeforeWhatIsWritten) {
    Bytes bytes(2000, 0x5A);
    bytes[999] = 0xFE;
    const auto file = map(bytes);
    TagSearch search(kTag);
    EXPECT_EQ(search.find(*file, 0), std::nullopt);
    search.forget(1000, 1001);
    file->base[1000] = 0x00;
    EXPECT_EQ(search.find(*file, 0), 999U);
    EXPECT_EQ(search.find(*file, 999), 999U);
    EXPECT_EQ(search.find(*file, 1000), std::nullopt);
}

} // namespace
} // namespace plate_mend
