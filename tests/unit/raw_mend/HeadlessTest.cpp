#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/HeadlessCoding.h"
#include "support/HeadlessPhoto.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <random>

// Photographs whose image data have no head: cells, and codes that have to be decoded from the right place.

namespace test {
namespace {

using Kind = HeadlessPhoto::Kind;
using raw_mend::repair;
using raw_mend::Sample;

struct NamedKind {
    std::string name;
    Kind kind;
};

class Headless : public testing::TestWithParam<NamedKind> {
  protected:
    [[nodiscard]] static HeadlessPhoto photo(unsigned number, std::size_t filler = 70000,
                                             std::size_t slack = 0) {
        return HeadlessPhoto({.kind = GetParam().kind, .number = number, .filler = filler, .slack = slack});
    }

    [[nodiscard]] static Bytes image(const HeadlessPhoto& photo) {
        return part(photo.bytes, photo.image_offset, photo.image_offset + photo.image_size);
    }
};

/// The raw image of a file by its tables.
Bytes image_by_tables(const Bytes& file) {
    const auto sample = Sample::read(file);
    if (!sample || !sample->description.raw.pieces.front().data.is_within(file)) {
        return {};
    }
    const raw_mend::Bytes bytes = sample->description.raw.pieces.front().data.of(file);
    return {bytes.begin(), bytes.end()};
}

TEST_P(Headless, AreDecodedByLibRawToTheirSamples) {
    const HeadlessPhoto made = photo(1);
    const auto picture = decode_raw(made.bytes);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->errors, 0U);
    if (GetParam().kind != Kind::kSonyCells) {
        ASSERT_GE(picture->samples.size(), made.samples.size());
        EXPECT_EQ(std::vector(picture->samples.begin(),
                              picture->samples.begin() + static_cast<std::ptrdiff_t>(made.samples.size())),
                  made.samples);
    }
}

TEST_P(Headless, ComeBackWhereverTheyAre) {
    const HeadlessPhoto intact = photo(1, 90000);
    const HeadlessPhoto original = photo(2);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    EXPECT_TRUE(sample->has_cells || sample->headless);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.bytes, original.image_offset, intact.bytes);
        const auto repaired = repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        if (damage.is_clear) {
            EXPECT_EQ(repaired->image.proved, 1U) << testing::PrintToString(repaired->image.doubts);
        }
        EXPECT_EQ(image_by_tables(written(*repaired->file)), image(original));
    }
}

INSTANTIATE_TEST_SUITE_P(All, Headless,
                         testing::Values(NamedKind{"SonyCells", Kind::kSonyCells},
                                         NamedKind{"SonyDifferences", Kind::kSonyDifferences},
                                         NamedKind{"Olympus", Kind::kOlympus},
                                         NamedKind{"NikonLossless12", Kind::kNikonLossless12},
                                         NamedKind{"NikonLossless14", Kind::kNikonLossless14},
                                         NamedKind{"NikonLossy12", Kind::kNikonLossy12},
                                         NamedKind{"NikonLossy14", Kind::kNikonLossy14},
                                         NamedKind{"Pentax12", Kind::kPentax12},
                                         NamedKind{"Pentax14", Kind::kPentax14}),
                         [](const auto& test) { return test.param.name; });

constexpr std::size_t kWidth = 544;

HeadlessPhoto nikon_photo(unsigned number, Mood mood) {
    return HeadlessPhoto({.kind = Kind::kNikonLossless14,
                          .number = number_of(mood, number),
                          .width = static_cast<unsigned>(kWidth),
                          .filler = 20000 + 512 * std::size_t{number}});
}

/// The photograph without some of its values, which zeros make up for at the end: as many bytes, and all
/// decode.
Bytes with_lost_values(const HeadlessPhoto& photo, std::size_t from, std::size_t count) {
    constexpr std::uint16_t kFirstValue = 2048;
    const auto above = [](const std::vector<std::uint16_t>& samples, std::size_t at) -> int {
        return at % kWidth >= 2 ? samples[at - 2] : at >= 2 * kWidth ? samples[at - 2 * kWidth] : kFirstValue;
    };
    std::vector<std::uint16_t> samples;
    for (std::size_t at = 0; at < photo.samples.size(); ++at) {
        const std::size_t coded = at < from ? at : at + count;
        const int difference =
            coded < photo.samples.size() ? photo.samples[coded] - above(photo.samples, coded) : 0;
        const int value = above(samples, at) + difference;
        EXPECT_TRUE(value >= 0 && value < 1 << 14);
        samples.push_back(static_cast<std::uint16_t>(value));
    }
    Bytes image =
        nikon_differences(samples, static_cast<unsigned>(kWidth), NikonTree::kLossless14, kFirstValue);
    EXPECT_LE(image.size(), photo.image_size);
    image.resize(photo.image_size);
    return joined(part(photo.bytes, 0, photo.image_offset), image);
}

TEST(HeadlessProof, AsManyValuesAreNoneIfTheRowsJump) {
    const auto intact = nikon_photo(1, Mood::kFlat);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    for (unsigned number = 2; number <= 4; ++number) {
        SCOPED_TRACE(number);
        const HeadlessPhoto photo = nikon_photo(number, Mood::kFlat);
        const auto whole = repair(photo.bytes, *sample);
        ASSERT_TRUE(whole);
        EXPECT_EQ(whole->image.proved, 1U) << testing::PrintToString(whole->image.doubts);
        for (const std::size_t count : {1U, 2U, 5U}) {
            SCOPED_TRACE(count);
            const Bytes damaged = with_lost_values(photo, 284 * kWidth, count);
            for (const bool has_head : {true, false}) {
                const auto repaired =
                    repair(has_head ? damaged : zeroed(damaged, 0, photo.image_offset), *sample);
                ASSERT_TRUE(repaired);
                EXPECT_EQ(repaired->image.proved, 0U);
                EXPECT_FALSE(repaired->image.doubts.empty());
            }
        }
    }
}

Bytes with_flipped_bits(Bytes bytes, std::size_t from, unsigned seed) {
    constexpr unsigned kFlips = 8;
    std::mt19937 random(seed);
    for (unsigned nth = 0; nth < kFlips; ++nth) {
        const std::size_t at = from + random() % (bytes.size() - from);
        bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << random() % 8));
    }
    return bytes;
}

/// Values are lost in the image, and filler before it decodes to as many: seeds of which this is true.
TEST(HeadlessProof, FillerThatMakesUpForLostValuesIsNone) {
    const auto intact = nikon_photo(1, Mood::kFlat);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    const HeadlessPhoto photo = nikon_photo(2, Mood::kFlat);
    for (const unsigned seed : {3U, 305U, 357U, 398U}) {
        SCOPED_TRACE(seed);
        const auto repaired = repair(with_flipped_bits(photo.bytes, photo.image_offset, seed), *sample);
        ASSERT_TRUE(repaired);
        EXPECT_EQ(repaired->image.proved, 0U);
        EXPECT_FALSE(repaired->image.doubts.empty());
    }
}

} // namespace
} // namespace test
