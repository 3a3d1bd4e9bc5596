#include "metadata/OwnMetadataChoice.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::Contains;
using ::testing::Key;
using ::testing::Not;

const std::string kMay = "2026-05-01T12:30:00";
const std::string kJune = "2026-06-01T12:30:00";
constexpr std::uint64_t kImage = 50000;

/// Previews: those at odd offsets show the photograph, 2 shows another, others show nothing.
std::optional<bool> answer(std::uint64_t jpeg) {
    return jpeg == 2 ? std::optional(false) : jpeg % 2 == 1 ? std::optional(true) : std::nullopt;
}

std::optional<OwnMetadata> choose(const std::vector<MetadataBlock>& blocks,
                                  std::optional<ImagePlace> image = ImagePlace{kImage, true}) {
    return choose_own_metadata(blocks, image, answer);
}

MetadataBlock block(const std::string& date, std::uint64_t offset = 100) {
    MetadataBlock one{.source = "preview", .offset = offset, .facts = {}, .images = {}, .jpegs = {}};
    if (!date.empty()) {
        one.facts[CameraFact::kTaken] = date;
    }
    return one;
}

MetadataBlock with_preview(MetadataBlock one, std::uint64_t jpeg) {
    one.jpegs.push_back(jpeg);
    return one;
}

MetadataBlock with_image(MetadataBlock one, std::uint64_t image) {
    one.images.push_back(image);
    one.has_raw_image = true;
    return one;
}

MetadataBlock with(MetadataBlock one, CameraFact fact, const std::string& text) {
    one.facts[fact] = text;
    return one;
}

std::string date_of(const std::optional<OwnMetadata>& own) {
    return own && own->facts.contains(CameraFact::kTaken) ? own->facts.at(CameraFact::kTaken) : "";
}

TEST(OwnMetadataChoice, TakesTheOnlyDateBeforeTheImage) {
    EXPECT_EQ(date_of(choose({block(kMay)})), kMay);
    EXPECT_EQ(date_of(choose({block(kMay), block(kMay, 200)})), kMay);
    EXPECT_FALSE(choose({}));
}

TEST(OwnMetadataChoice, TakesNoDateAfterTheImageWithoutProof) {
    EXPECT_FALSE(choose({block(kMay, kImage + 1)}));
    EXPECT_FALSE(choose({block(kMay)}, std::nullopt)) << "nobody knows what is before it";
    EXPECT_EQ(date_of(choose({with_preview(block(kMay, kImage + 1), 1)})), kMay);
}

TEST(OwnMetadataChoice, TakesNoneOfSeveralDatesWithoutProof) {
    EXPECT_FALSE(choose({block(kMay), block(kJune, 200)}));
    EXPECT_FALSE(choose({block(kMay), block(kJune, kImage + 1)}));
    EXPECT_FALSE(choose({with_preview(block(kMay), 1), with_preview(block(kJune), 3)})) << "a burst";
    EXPECT_EQ(date_of(choose({block(kMay), with_preview(block(kJune), 1)})), kJune);
}

TEST(OwnMetadataChoice, TakesNothingFromAPreviewOfAnotherPhotograph) {
    EXPECT_FALSE(choose({with_preview(block(kMay), 2)}));
    EXPECT_EQ(date_of(choose({with_preview(with_preview(block(kMay), 2), 1)})), kMay)
        << "one of its previews shows the photograph";
    EXPECT_EQ(date_of(choose({with_preview(block(kMay), 4)})), kMay) << "it shows nothing";
}

TEST(OwnMetadataChoice, TablesThatLeadToTheImageAreTheBestProof) {
    const MetadataBlock own = with_image(block(kMay), kImage);
    EXPECT_EQ(date_of(choose({own, with_preview(block(kJune), 1)})), kMay);
    EXPECT_FALSE(choose({with_image(block(kMay), kImage + 1)})) << "they lead elsewhere";
    EXPECT_EQ(date_of(choose({with_image(block(kMay), kImage + 400)}, ImagePlace{kImage, false})), kMay);
    EXPECT_FALSE(choose({with_image(block(kMay), kImage + 70000)}, ImagePlace{kImage, false}));
    EXPECT_FALSE(choose({with_image(block(kMay), kImage - 1)}, ImagePlace{kImage, false}));
}

TEST(OwnMetadataChoice, TablesOfPreviewsAloneSayNothing) {
    MetadataBlock previews = with_image(block(kMay), 300);
    previews.has_raw_image = false;
    EXPECT_EQ(date_of(choose({previews})), kMay);
}

TEST(OwnMetadataChoice, JoinsWhatBlocksOfOneDateSay) {
    const auto own = choose({with(block(kMay), CameraFact::kIso, "400"),
                             with(block(kMay + ".25+02:00", 200), CameraFact::kLens, "50mm")});
    ASSERT_TRUE(own);
    EXPECT_EQ(date_of(own), kMay + ".25+02:00");
    EXPECT_THAT(own->facts, Contains(::testing::Pair(CameraFact::kIso, "400")));
    EXPECT_THAT(own->facts, Contains(::testing::Pair(CameraFact::kLens, "50mm")));
    EXPECT_EQ(own->offset, 100U);
}

TEST(OwnMetadataChoice, LeavesOutWhatBlocksSayDifferently) {
    const MetadataBlock one = with(block(kMay), CameraFact::kIso, "400");
    const MetadataBlock other = with(block(kMay, 200), CameraFact::kIso, "800");
    const auto open = choose({one, other});
    ASSERT_TRUE(open);
    EXPECT_THAT(open->facts, Not(Contains(Key(CameraFact::kIso))));
    const auto proved = choose({one, with_image(other, kImage)});
    ASSERT_TRUE(proved);
    EXPECT_THAT(proved->facts, Contains(::testing::Pair(CameraFact::kIso, "800")));
    EXPECT_EQ(proved->offset, 200U);
}

TEST(OwnMetadataChoice, WhatHasNoDateNeedsAProof) {
    const MetadataBlock undated = with(block(""), CameraFact::kArtist, "A");
    EXPECT_FALSE(choose({undated}));
    const auto dated = choose({undated, block(kMay)});
    ASSERT_TRUE(dated);
    EXPECT_THAT(dated->facts, Not(Contains(Key(CameraFact::kArtist))));
    const auto proved = choose({with_preview(undated, 1), block(kMay)});
    ASSERT_TRUE(proved);
    EXPECT_THAT(proved->facts, Contains(::testing::Pair(CameraFact::kArtist, "A")));
    EXPECT_EQ(date_of(choose({with_preview(undated, 1)})), "");
    EXPECT_TRUE(choose({with_preview(undated, 1)}));
}

TEST(OwnMetadataChoice, DecodesFewPreviewsHoweverManyThereAre) {
    std::size_t decoded = 0;
    const std::vector<MetadataBlock> many(1000, with_preview(with_preview(block(kMay), 4), 6));
    static_cast<void>(choose_own_metadata(many, ImagePlace{kImage, true}, [&](std::uint64_t) {
        ++decoded;
        return std::optional<bool>();
    }));
    EXPECT_LE(decoded, 16U);
}

} // namespace
} // namespace test
