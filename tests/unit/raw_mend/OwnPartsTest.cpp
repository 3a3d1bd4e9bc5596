#include "Consistency.h"
#include "Repair.h"
#include "Written.h"
#include "assemble/OwnMetadata.h"
#include "assemble/OwnPictures.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/NefPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

// What survives of a damaged photograph besides its image.

namespace test {
namespace {

using raw_mend::Coding;
using raw_mend::described;
using raw_mend::Description;
using raw_mend::Extent;
using raw_mend::OwnMetadata;
using raw_mend::OwnPictures;

constexpr std::size_t kHeader = 8; // Its loss alone hides a photograph's own structure.

Bytes bytes_of(const Bytes& file, const Extent& extent) {
    const auto bytes = extent.of(file);
    return {bytes.begin(), bytes.end()};
}

Extent image_of(const Description& description, std::uint64_t displacement = 0) {
    const Extent& first = description.raw.pieces.front().data;
    return {first.offset + displacement, description.raw.pieces.back().data.end() - first.offset};
}

/// Two photographs of a Canon EOS 30D: previews and image have other lengths, directories are at the same
/// places.
class RealPair : public testing::Test {
  protected:
    void SetUp() override {
        REAL_FILE_OR_SKIP(first, "pairs/canon-30d/IMG_5952.CR2");
        REAL_FILE_OR_SKIP(second, "pairs/canon-30d/IMG_0848.CR2");
        original = first;
        sample = second;
        description = described(original);
        of_sample = described(sample);
    }

    [[nodiscard]] OwnMetadata metadata_in(const Bytes& damaged, std::uint64_t displacement = 0) const {
        return find_own_metadata(damaged, sample, of_sample, image_of(description, displacement));
    }

    [[nodiscard]] OwnPictures pictures_in(const Bytes& damaged, std::uint64_t displacement = 0) const {
        return find_own_pictures(damaged, of_sample, image_of(description, displacement));
    }

    /// The JPEGs of the original, largest first.
    [[nodiscard]] std::vector<Bytes> jpegs() const {
        std::vector<Bytes> all;
        for (const auto& picture : description.pictures) {
            if (picture.frame.coding == Coding::kLossyJpeg) {
                all.push_back(bytes_of(original, picture.pieces.front().data));
            }
        }
        return all;
    }

    static constexpr std::uint64_t kMakerNote = 0x2BC;
    static constexpr std::uint64_t kMakerNoteLength = 75422;
    static constexpr std::size_t kAllTables = 14;

    Bytes original;
    Bytes sample;
    Description description;
    Description of_sample;
};

TEST_F(RealPair, KeepsDatePreviewsAndNotesWhereOnlyTheHeaderIsLost) {
    for (const std::size_t displacement : {0U, 1000U}) {
        const Bytes damaged = joined(noise(displacement, 3), zeroed(original, 0, kHeader));
        const auto repaired = raw_mend::repair(damaged, *raw_mend::Sample::read(sample));
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(repaired->image.way, raw_mend::Way::kCodedHeads);
        EXPECT_TRUE(repaired->own_metadata);
        EXPECT_FALSE(repaired->own_pictures); // One of the three is no JPEG.
        const Bytes result = written(*repaired->file);
        EXPECT_EQ(decode_raw(result), decode_raw(original));
        EXPECT_EQ(bytes_of(result, {kMakerNote, kMakerNoteLength}),
                  bytes_of(original, {kMakerNote, kMakerNoteLength}));
        const Extent date{0xFA, 20};
        EXPECT_EQ(bytes_of(result, date), bytes_of(original, date));
        EXPECT_NE(bytes_of(sample, date), bytes_of(original, date));
        for (const auto& picture : described(result).pictures) {
            if (picture.frame.coding == Coding::kLossyJpeg) {
                Bytes bytes = bytes_of(result, picture.pieces.front().data);
                EXPECT_THAT(jpegs(), testing::Contains(bytes));
            }
        }
    }
}

TEST_F(RealPair, TakesTheNotesUnlessASectorOfThemIsOverwritten) {
    EXPECT_TRUE(metadata_in(original).is_complete);
    EXPECT_EQ(metadata_in(original).tables.size(), kAllTables);
    for (const std::size_t at : {0x400U, 0x1000U, 0x2200U}) {
        for (const Bytes& other : {Bytes(512), Bytes(512, 0xFF), noise(512, 5)}) {
            Bytes damaged = original;
            std::ranges::copy(other, damaged.begin() + static_cast<std::ptrdiff_t>(at));
            const auto metadata = metadata_in(damaged);
            EXPECT_FALSE(metadata.is_complete) << at;
            EXPECT_EQ(metadata.tables.size(), kAllTables - 1) << at;
            EXPECT_TRUE(std::ranges::none_of(metadata.tables, [](const auto& table) {
                return table.extent == Extent{kMakerNote, kMakerNoteLength};
            }));
        }
    }
}

TEST_F(RealPair, TakesNoDirectoryThatDescribesOtherImages) {
    constexpr std::size_t kFirst = 16;
    const auto has_first = [&](const Bytes& damaged) {
        const auto metadata = metadata_in(damaged);
        return std::ranges::any_of(metadata.tables,
                                   [](const auto& table) { return table.extent.offset == kFirst; });
    };
    EXPECT_TRUE(has_first(original));
    for (const std::size_t entry : {0U, 13U}) { // A width, and the directory that the last entry leads to.
        for (const std::size_t at : {0U, 2U, 4U, 8U}) {
            Bytes damaged = original;
            damaged[kFirst + 2 + 12 * entry + at] ^= 1U;
            EXPECT_FALSE(has_first(damaged)) << entry << ' ' << at;
        }
    }
}

TEST_F(RealPair, TakesThePreviewsNearestToTheImage) {
    const auto found = [&](const Bytes& damaged, std::uint64_t displacement = 0) {
        std::vector<Bytes> bytes;
        for (const auto& picture : pictures_in(damaged, displacement).pictures) {
            bytes.emplace_back(picture.bytes.begin(), picture.bytes.end());
        }
        return bytes;
    };
    ASSERT_EQ(jpegs().size(), 2U);
    EXPECT_EQ(found(original), jpegs());
    EXPECT_EQ(found(zeroed(original, 0, 65536)), jpegs());
    // Remains of another photograph before it.
    const Bytes remains = part(sample, 0, 600000);
    EXPECT_EQ(found(joined(remains, original), remains.size()), jpegs());
    EXPECT_EQ(found(joined(remains, zeroed(original, 0, 65536)), remains.size()), jpegs());
}

TEST_F(RealPair, TakesNoPreviewThatDoesNotDecode) {
    const Extent preview = description.pictures.front().pieces.front().data;
    EXPECT_EQ(pictures_in(original).pictures.size(), 2U);
    const auto middle = static_cast<std::size_t>(preview.offset + preview.length / 2);
    EXPECT_EQ(pictures_in(zeroed(original, middle, middle + 512)).pictures.size(), 1U);
}

struct Format {
    std::string name;
    std::function<Bytes(unsigned number)> photograph;
};

class OwnParts : public testing::TestWithParam<Format> {};

INSTANTIATE_TEST_SUITE_P(
    Formats, OwnParts,
    testing::Values(Format{"arw", [](unsigned number) { return ArwPhoto({.number = number}).bytes; }},
                    Format{"cr2", [](unsigned number) { return Cr2Photo({.number = number}).bytes; }},
                    Format{"nef", [](unsigned number) { return NefPhoto({.number = number}).bytes; }}),
    [](const auto& test) { return test.param.name; });

TEST_P(OwnParts, AreAllThatSurvives) {
    const Bytes original = GetParam().photograph(2);
    const Bytes sample = GetParam().photograph(1);
    const Bytes damaged = zeroed(original, 0, kHeader);
    const auto repaired = raw_mend::repair(damaged, *raw_mend::Sample::read(sample));
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_NE(repaired->image.way, raw_mend::Way::kOwnTables);
    EXPECT_TRUE(repaired->own_metadata);
    const Bytes result = written(*repaired->file);
    EXPECT_EQ(decode_raw(result), decode_raw(original));
    const auto before = described(original).pictures;
    const auto after = described(result).pictures;
    const auto others = described(sample).pictures;
    ASSERT_EQ(after.size(), before.size());
    bool has_others = false; // Without compression, they cannot be told from others.
    for (std::size_t nth = 0; nth < before.size(); ++nth) {
        const bool is_jpeg = before[nth].frame.coding == Coding::kLossyJpeg;
        has_others = has_others || !is_jpeg;
        EXPECT_EQ(bytes_of(result, after[nth].pieces.front().data),
                  is_jpeg ? bytes_of(original, before[nth].pieces.front().data)
                          : bytes_of(sample, others[nth].pieces.front().data));
    }
    EXPECT_EQ(repaired->own_pictures, !has_others);
}

} // namespace
} // namespace test
