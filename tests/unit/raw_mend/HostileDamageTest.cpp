#include "Repair.h"
#include "Written.h"

#include "support/DngPhoto.h"
#include "support/HeadlessPhoto.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <random>

// Damaged files that are anything but a photograph: nothing of them is ever reported as proved.

namespace test {
namespace {

using Kind = HeadlessPhoto::Kind;
using raw_mend::Sample;

constexpr std::size_t kSize = 1500000;

Bytes repeated(const Bytes& pattern) {
    Bytes bytes;
    while (bytes.size() < kSize) {
        bytes.insert(bytes.end(), pattern.begin(), pattern.end());
    }
    return bytes;
}

const std::vector<Bytes>& hostile_files() {
    static const std::vector<Bytes> all{
        {},
        {0x49},
        Bytes(kSize),
        Bytes(kSize, 0xFF),
        noise(kSize, 1),
        repeated({0xFF, 0xD8}),
        repeated({0xFF, 0xD8, 0xFF, 0xC4, 0x00, 0x12, 0x00}),
        repeated({'I', 'I', 42, 0, 8, 0, 0, 0}),
        repeated(joined(Bytes(300), {0x11, 0x77})),
    };
    return all;
}

std::vector<Bytes> samples() {
    std::vector<Bytes> all;
    for (const Kind kind : {Kind::kSonyCells, Kind::kSonyDifferences, Kind::kOlympus, Kind::kNikonLossless12,
                            Kind::kNikonLossless14, Kind::kNikonLossy12}) {
        all.push_back(HeadlessPhoto({.kind = kind}).bytes);
    }
    all.push_back(DngPhoto().bytes);
    return all;
}

void expect_nothing_proved(const Bytes& sample_file) {
    const auto sample = Sample::read(sample_file);
    ASSERT_TRUE(sample);
    for (std::size_t nth = 0; nth < hostile_files().size(); ++nth) {
        const auto repaired = raw_mend::repair(hostile_files()[nth], *sample);
        if (repaired) {
            EXPECT_EQ(repaired->image.proved, 0U) << nth;
            EXPECT_FALSE(repaired->image.doubts.empty()) << nth;
            EXPECT_EQ(written(*repaired->file).size(), repaired->file->size()) << nth;
        }
    }
}

TEST(HostileDamage, ProvesNothing) {
    for (const Bytes& sample : samples()) {
        expect_nothing_proved(sample);
    }
}

TEST(HostileDamage, ProvesNothingForARealLossySample) {
    REAL_FILE_OR_SKIP(lossy, "dng/lg-h815-lossy.dng");
    expect_nothing_proved(lossy);
}

/// The first bytes of the image are lost, and noise is in their place.
TEST(HostileDamage, ProvesNoImageWithoutItsFirstBytes) {
    for (const Kind kind :
         {Kind::kSonyDifferences, Kind::kOlympus, Kind::kNikonLossless12, Kind::kNikonLossless14}) {
        const auto sample_file = HeadlessPhoto({.kind = kind, .number = 1, .filler = 31000}).bytes;
        const auto sample = Sample::read(sample_file);
        ASSERT_TRUE(sample);
        const HeadlessPhoto photo({.kind = kind, .number = 2});
        for (std::uint32_t seed = 1; seed < 9; ++seed) {
            const Bytes damaged = with(photo.bytes, 0, noise(photo.image_offset + 40, seed));
            const auto repaired = raw_mend::repair(damaged, *sample);
            EXPECT_TRUE(!repaired || repaired->image.proved == 0) << static_cast<int>(kind) << ", " << seed;
        }
    }
}

/// Whatever the tables of a damaged file say.
TEST(HostileDamage, SurvivesChangedTables) {
    const HeadlessPhoto photo({.kind = Kind::kNikonLossless12, .width = 96, .height = 64, .filler = 100});
    const auto sample = Sample::read(photo.bytes);
    ASSERT_TRUE(sample);
    std::mt19937 random(1);
    for (unsigned round = 0; round < 300; ++round) {
        Bytes damaged = photo.bytes;
        for (unsigned change = 0; change < 8; ++change) {
            damaged[random() % photo.image_offset] = static_cast<unsigned char>(random());
        }
        if (const auto repaired = raw_mend::repair(damaged, *sample)) {
            EXPECT_EQ(written(*repaired->file).size(), repaired->file->size());
        }
        static_cast<void>(Sample::read(damaged)); // As a sample, it may be refused, or not.
    }
}

} // namespace
} // namespace test
