#include "Consistency.h"
#include "HostileInputs.h"
#include "Repair.h"
#include "Written.h"

#include "container/Describe.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

// Whatever the two files are, a repair ends, throws nothing, and its result is nothing or true to its report.

namespace test {
namespace {

using raw_mend::Extent;

Bytes copy_of(raw_mend::Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

/// The result's own tables lead to the bytes that were found, piece by piece.
void expect_pieces(const Bytes& result, const Bytes& damaged, const raw_mend::FoundImage& image) {
    const auto description = raw_mend::describe(result);
    ASSERT_TRUE(description);
    raw_mend::expect_consistent(result, *description);
    ASSERT_EQ(description->raw.pieces.size(), image.pieces.size());
    for (std::size_t nth = 0; nth < image.pieces.size(); ++nth) {
        const Extent& written_to = description->raw.pieces[nth].data;
        ASSERT_TRUE(written_to.is_within(result)) << nth;
        const auto mended = std::ranges::find(image.mended, nth, &raw_mend::MendedPiece::piece);
        if (mended != image.mended.end()) {
            ASSERT_TRUE(copy_of(written_to.of(result)) == mended->bytes) << nth;
        } else if (image.pieces[nth]) {
            ASSERT_EQ(copy_of(written_to.of(result)), copy_of(image.pieces[nth]->of(damaged))) << nth;
        }
    }
}

/// Repairs, and fails the test unless the result is nothing or consistent. Whether there is one.
bool repairs_consistently(const Bytes& damaged, const Bytes& sample_file) {
    const auto sample = raw_mend::Sample::read(sample_file);
    if (!sample) {
        return false;
    }
    const auto repaired = raw_mend::repair(damaged, *sample);
    if (!repaired || !repaired->file) {
        return false;
    }
    const raw_mend::FoundImage& image = repaired->image;
    EXPECT_EQ(image.pieces.size(), sample->description.raw.pieces.size());
    EXPECT_TRUE(image.count_found() != 0 || !image.others.empty());
    EXPECT_LE(image.proved, image.count_found());
    for (const auto& piece : image.pieces) {
        if (piece && !piece->is_within(damaged)) {
            ADD_FAILURE() << "a piece is outside the damaged file: " << piece->offset;
            return true;
        }
    }
    EXPECT_LE(repaired->file->size(), damaged.size() + 2 * sample_file.size());
    const Bytes result = written(*repaired->file);
    EXPECT_EQ(result.size(), repaired->file->size());
    expect_pieces(result, damaged, image);
    return true;
}

/// Where the tables of a photograph are.
std::vector<std::size_t> table_offsets(const Bytes& bytes) {
    std::vector<std::size_t> offsets;
    const auto description = raw_mend::describe(bytes);
    for (const Extent& table : description->tables) {
        for (std::uint64_t at = table.offset; at < table.end(); ++at) {
            offsets.push_back(static_cast<std::size_t>(at));
        }
    }
    return offsets;
}

/// Some bytes of the tables become others: random ones, or numbers at the edges of what there is.
Bytes with_changed_tables(Bytes bytes, const std::vector<std::size_t>& tables, std::mt19937& random) {
    constexpr std::array<std::uint32_t, 9> kExtremes{0,       1,          7,          8,         0xFFFF,
                                                     0x10000, 0x7FFFFFFF, 0xFFFFFFF0, 0xFFFFFFFF};
    for (unsigned change = 0; change <= random() % 6; ++change) {
        const std::size_t at = tables[random() % tables.size()];
        if (random() % 3 == 0 && at + 4 <= bytes.size()) {
            put_u32(bytes, at, kExtremes[random() % kExtremes.size()],
                    random() % 2 == 0 ? ByteOrder::kLittle : ByteOrder::kBig);
        } else {
            bytes[at] = static_cast<unsigned char>(random());
        }
    }
    return bytes;
}

TEST(HostileRepair, NothingAndNextToNothing) {
    for (const SmallPhotograph& photo : small_photographs()) {
        SCOPED_TRACE(photo.name);
        for (const Bytes& small : {Bytes{}, Bytes{0x49}, Bytes{0xFF, 0xD8}, part(photo.sample, 0, 8)}) {
            EXPECT_FALSE(repairs_consistently(small, photo.sample));
            EXPECT_FALSE(repairs_consistently(photo.damaged, small));
            EXPECT_FALSE(repairs_consistently(small, small));
        }
    }
}

TEST(HostileRepair, ASampleThatIsTheDamagedFile) {
    for (const SmallPhotograph& photo : small_photographs()) {
        SCOPED_TRACE(photo.name);
        repairs_consistently(photo.sample, photo.sample);
        repairs_consistently(joined(photo.sample, photo.sample), photo.sample);
    }
}

/// Otherwise the tests that follow would prove nothing.
TEST(HostileRepair, WithoutChangesMostAreRepaired) {
    const auto repaired = std::ranges::count_if(small_photographs(), [](const SmallPhotograph& photo) {
        SCOPED_TRACE(photo.name);
        return repairs_consistently(photo.damaged, photo.sample);
    });
    EXPECT_GE(repaired, 11);
}

TEST(HostileRepair, SamplesOfOtherCameras) {
    for (const SmallPhotograph& sample : small_photographs()) {
        for (const SmallPhotograph& damaged : small_photographs()) {
            SCOPED_TRACE(damaged.name + " with " + sample.name);
            repairs_consistently(damaged.damaged, sample.sample);
        }
    }
}

/// Sizes a file can be cut to: all of the first, and some of the others.
std::vector<std::size_t> cuts(const Bytes& bytes) {
    std::vector<std::size_t> sizes;
    for (std::size_t size = 0; size < bytes.size(); size += size < 64 ? 3 : bytes.size() / 61 + 1) {
        sizes.push_back(size);
    }
    for (std::size_t less = 1; less <= std::min<std::size_t>(bytes.size(), 8); ++less) {
        sizes.push_back(bytes.size() - less);
    }
    return sizes;
}

TEST(HostileRepair, TruncatedSamples) {
    for (const SmallPhotograph& photo : small_photographs()) {
        for (const std::size_t size : cuts(photo.sample)) {
            SCOPED_TRACE(photo.name + " of " + std::to_string(size));
            repairs_consistently(photo.damaged, part(photo.sample, 0, size));
        }
    }
}

TEST(HostileRepair, TruncatedDamagedFiles) {
    for (const SmallPhotograph& photo : small_photographs()) {
        for (const std::size_t size : cuts(photo.damaged)) {
            SCOPED_TRACE(photo.name + " of " + std::to_string(size));
            repairs_consistently(part(photo.damaged, 0, size), photo.sample);
            repairs_consistently(part(photo.damaged, photo.damaged.size() - size, photo.damaged.size()),
                                 photo.sample);
        }
    }
}

TEST(HostileRepair, ChangedTablesOfSamples) {
    std::mt19937 random(31);
    for (const SmallPhotograph& photo : small_photographs()) {
        const auto tables = table_offsets(photo.sample);
        for (unsigned trial = 0; trial < 150; ++trial) {
            SCOPED_TRACE(photo.name + ", trial " + std::to_string(trial));
            repairs_consistently(photo.damaged, with_changed_tables(photo.sample, tables, random));
        }
    }
}

TEST(HostileRepair, ChangedTablesOfDamagedFiles) {
    std::mt19937 random(32);
    for (const SmallPhotograph& photo : small_photographs()) {
        const auto tables = table_offsets(photo.damaged);
        for (unsigned trial = 0; trial < 150; ++trial) {
            SCOPED_TRACE(photo.name + ", trial " + std::to_string(trial));
            repairs_consistently(with_changed_tables(photo.damaged, tables, random), photo.sample);
        }
    }
}

TEST(HostileRepair, ChangedTablesOfBoth) {
    std::mt19937 random(33);
    for (const SmallPhotograph& photo : small_photographs()) {
        const auto tables = table_offsets(photo.sample);
        for (unsigned trial = 0; trial < 100; ++trial) {
            SCOPED_TRACE(photo.name + ", trial " + std::to_string(trial));
            const Bytes changed = with_changed_tables(photo.sample, tables, random);
            repairs_consistently(changed, changed);
        }
    }
}

TEST(HostileRepair, MadeToCostMoreThanTheyAreWorth) {
    for (const HostilePair& pair : hostile_pairs(std::size_t{64} << 10U)) {
        SCOPED_TRACE(pair.name);
        EXPECT_TRUE(raw_mend::Sample::read(pair.sample));
        repairs_consistently(pair.damaged, pair.sample);
    }
}

/// Real files whose tables are read in full.
class HostileRealFile : public testing::TestWithParam<std::string> {};

TEST_P(HostileRealFile, ChangedTables) {
    REAL_FILE_OR_SKIP(file, GetParam());
    std::mt19937 random(34);
    const auto tables = table_offsets(file);
    Bytes bytes = file;
    for (unsigned trial = 0; trial < 1000; ++trial) {
        SCOPED_TRACE(trial);
        const std::size_t at = tables[random() % tables.size()];
        bytes[at] = static_cast<unsigned char>(random());
        ASSERT_NO_THROW(raw_mend::expect_consistent(bytes, raw_mend::describe(bytes)));
        if (trial % 8 == 7) {
            bytes = file;
        }
    }
}

TEST_P(HostileRealFile, RepairsWithChangedTables) {
    REAL_FILE_OR_SKIP(file, GetParam());
    std::mt19937 random(35);
    const auto tables = table_offsets(file);
    const unsigned trials = file.size() > (std::size_t{1} << 20U) ? 3 : 50;
    for (unsigned trial = 0; trial < trials; ++trial) {
        SCOPED_TRACE(trial);
        repairs_consistently(file, with_changed_tables(file, tables, random));
        repairs_consistently(with_changed_tables(file, tables, random), file);
    }
}

std::string name_of_file(const testing::TestParamInfo<std::string>& file) {
    std::string name = file.param;
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, HostileRealFile,
                         testing::Values("arw/sony-a330-head.arw", "arw/sony-a7m3-head.arw",
                                         "arw/sony-zv-e10-head.arw", "cr2/canon-s90-head.cr2",
                                         "cr3/canon-r6-pruned.cr3", "cr3/canon-m50-stripped.cr3",
                                         "cr3/canon-eos-r-head.cr3", "raf/fuji-s5pro-stripped.raf",
                                         "dng/blackmagic-pocket.dng", "dng/canon-x4-colorchart.dng",
                                         "dng/lg-h815-lossy.dng", "nef/nikon-d1.nef",
                                         "pairs/canon-30d/IMG_0848.CR2", "pairs/nikon-d5000-dng/sample2.dng",
                                         "pairs/picamera-rig/image_0.dng"),
                         name_of_file);

} // namespace
} // namespace test
