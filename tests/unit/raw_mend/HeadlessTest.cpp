#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/HeadlessCoding.h"
#include "support/HeadlessPhoto.h"
#include "support/RawDecode.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace test
