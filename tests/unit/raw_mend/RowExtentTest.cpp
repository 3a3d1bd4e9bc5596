#include "RowImages.h"

#include "locate/RowExtent.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace test {
namespace {

using raw_mend::find_row_extent;
using raw_mend::ImagePlace;
using raw_mend::Packing;
using raw_mend::PlaceProof;
using raw_mend::RowExtent;
using raw_mend::RowGeometry;
using raw_mend::RowTraits;

constexpr std::size_t kHead = 20000;
constexpr std::size_t kTail = 700;

/// A photograph: a head of text and noise, the image, and something after it.
class RowExtentTest : public testing::Test {
  protected:
    RowExtentTest()
        : geometry(geometry_of(clouds(256, 400, 1), Packing::kPackedHighFirst, 12)),
          image(coded_rows(clouds(256, 400, 1), geometry)),
          head(joined(Bytes(3000, 'a'), noise(kHead - 3000, 1))), tail(noise(kTail, 2)),
          whole(joined(joined(head, image), tail)) {}

    [[nodiscard]] RowExtent find(const Bytes& file) const {
        return find_row_extent(file, geometry, traits, {kHead, kTail});
    }
    [[nodiscard]] RowExtent find_without_sample(const Bytes& file) const {
        return find_row_extent(file, geometry, traits);
    }

    /// The one image is where it is expected, with that proof.
    static void expect_place(const RowExtent& extent, std::int64_t start, PlaceProof proof,
                             const std::string& name = "") {
        ASSERT_EQ(extent.images.size(), 1U) << name;
        EXPECT_EQ(extent.images[0].start, start) << name;
        EXPECT_EQ(extent.images[0].proof, proof) << name;
    }

    [[nodiscard]] std::uint64_t phase(std::uint64_t offset) const { return offset % geometry.row_bytes; }

    RowGeometry geometry;
    RowTraits traits{true, 0, false, false, 0};
    Bytes image;
    Bytes head;
    Bytes tail;
    Bytes whole;
};

TEST_F(RowExtentTest, OfAnIntactFileIsProvenByItsEnd) {
    const RowExtent extent = find(whole);
    expect_place(extent, kHead, PlaceProof::kEnd);
    EXPECT_EQ(extent.images[0].picture_begin, kHead);
    EXPECT_EQ(extent.images[0].picture_end, kHead + image.size());
    EXPECT_EQ(extent.images[0].phase, phase(kHead));
}

TEST_F(RowExtentTest, WithoutASampleIsProvenByItsEdges) {
    expect_place(find_without_sample(whole), kHead, PlaceProof::kBothEdges);
    expect_place(find_without_sample(joined(head, image)), kHead, PlaceProof::kBothEdges, "nothing after it");
    expect_place(find_without_sample(joined(zeroed(head, 0, kHead), joined(image, Bytes(9000)))), kHead,
                 PlaceProof::kBothEdges, "zeros on both sides");
}

TEST_F(RowExtentTest, FollowsEveryDisplacement) {
    std::mt19937 random(1);
    for (std::size_t displaced = 0; displaced < 2 * geometry.row_bytes; displaced += 1 + random() % 7) {
        const Bytes file = joined(noise(displaced, 3), whole);
        const auto start = static_cast<std::int64_t>(kHead + displaced);
        expect_place(find(file), start, PlaceProof::kEnd);
        expect_place(find_without_sample(file), start, PlaceProof::kBothEdges);
    }
}

TEST(RowExtent, IsExactInEveryPacking) {
    for (const NamedPacking& named : packings()) {
        const Picture picture = clouds(1024, 300, 1);
        const RowGeometry geometry = geometry_of(picture, named.packing, named.bits);
        const Bytes image = coded_rows(picture, geometry);
        const RowTraits traits = measure_row_traits(image, geometry);
        for (const std::size_t before : {0U, 1U, 5003U, 70000U}) {
            const Bytes file = joined(joined(noise(before, 1), image), noise(3000, 2));
            const RowExtent extent = find_row_extent(file, geometry, traits);
            ASSERT_EQ(extent.images.size(), 1U) << named.name << ", " << before;
            EXPECT_EQ(extent.images[0].start, static_cast<std::int64_t>(before)) << named.name;
            EXPECT_TRUE(before == 1 || !extent.images[0].is_doubtful()) << named.name << ", " << before;
        }
    }
}

TEST_F(RowExtentTest, SurvivesALostHead) {
    for (const std::size_t lost : {kHead / 2, kHead, kHead + 100, kHead + 1000, kHead + 40000}) {
        const std::string name = std::to_string(lost);
        expect_place(find(zeroed(whole, 0, lost)), kHead, PlaceProof::kEnd, name);
        const Bytes file = joined(noise(1000, 3), zeroed(whole, 0, lost));
        expect_place(find(file), kHead + 1000, PlaceProof::kEnd, name);
    }
}

TEST_F(RowExtentTest, IsNotProvenWhereRowsAreLostAndNoSampleSaysHowMany) {
    for (const std::size_t lost : {kHead + 1000, kHead + 40000}) {
        const RowExtent extent = find_without_sample(zeroed(whole, 0, lost));
        ASSERT_EQ(extent.images.size(), 1U);
        EXPECT_TRUE(extent.images[0].is_doubtful());
        EXPECT_EQ(phase(static_cast<std::uint64_t>(extent.images[0].start)), phase(kHead));
    }
}

TEST_F(RowExtentTest, BeginsBeforeTheFileIfItsFirstBytesAreGone) {
    const std::size_t gone = kHead + 10 * geometry.row_bytes + 5;
    expect_place(find(part(whole, gone, whole.size())),
                 static_cast<std::int64_t>(kHead) - static_cast<std::int64_t>(gone), PlaceProof::kEnd);
}

TEST_F(RowExtentTest, OfATruncatedFileIsProvenByTheSampleOrDoubtful) {
    std::mt19937 random(2);
    for (unsigned i = 0; i < 60; ++i) {
        const std::size_t size = kHead + 60000 + random() % (whole.size() - kHead - 60000);
        const Bytes file = part(whole, 0, size);
        const RowExtent extent = find(file);
        ASSERT_EQ(extent.images.size(), 1U) << size;
        EXPECT_EQ(extent.images[0].start, kHead) << size;
        const Bytes displaced = joined(noise(777, 3), file);
        for (const ImagePlace& place : find(displaced).images) {
            EXPECT_TRUE(place.is_doubtful() || place.start == kHead + 777) << size;
        }
    }
}

TEST_F(RowExtentTest, AnyFileIsReadWithinItsBounds) {
    std::mt19937 random(3);
    for (unsigned i = 0; i < 60; ++i) {
        const std::size_t first = random() % whole.size();
        const std::size_t last = first + random() % (whole.size() - first);
        for (const ImagePlace& place : find(part(whole, first, last)).images) {
            EXPECT_TRUE(place.is_doubtful() ||
                        place.start == static_cast<std::int64_t>(kHead) - static_cast<std::int64_t>(first))
                << first << ", " << last;
        }
    }
    EXPECT_TRUE(find({}).images.empty());
    EXPECT_TRUE(find(noise(500000, 5)).images.empty());
    EXPECT_TRUE(find(Bytes(500000)).images.empty());
}

TEST_F(RowExtentTest, OfAFlatPictureIsNotFound) {
    for (const unsigned strength : {0U, 5U, 100U}) {
        const Bytes flat = coded_rows(flat_picture(256, 400, strength), geometry);
        const RowExtent extent = find(joined(joined(head, flat), tail));
        EXPECT_TRUE(extent.images.empty()) << strength;
        EXPECT_TRUE(extent.pieces.empty()) << strength;
    }
}

TEST_F(RowExtentTest, OfAnotherPhotographsRemainsIsSeparate) {
    const Bytes other = coded_rows(clouds(256, 400, 9), geometry);
    for (const std::size_t between : {0U, 100U, 384U, 5000U}) { // 384: both have the same phase.
        const Bytes file = joined(joined(other, noise(between, 4)), joined(image, tail));
        const auto start = static_cast<std::int64_t>(other.size() + between);
        for (const bool with_sample : {true, false}) {
            const RowExtent extent = with_sample ? find(file) : find_without_sample(file);
            const auto has = [&](std::int64_t offset) {
                return std::ranges::any_of(extent.images, [&](const ImagePlace& place) {
                    return place.start == offset && !place.is_doubtful();
                });
            };
            EXPECT_TRUE(has(start)) << between << ", " << with_sample;
            for (const ImagePlace& place : extent.images) {
                EXPECT_TRUE(place.is_doubtful() || place.start == 0 || place.start == start) << between;
            }
            EXPECT_TRUE(std::ranges::is_sorted(extent.images, {}, &ImagePlace::start));
            EXPECT_EQ(extent.images.size(), 2U) << between << ", " << with_sample;
        }
    }
}

TEST_F(RowExtentTest, ListsThePiecesBetweenLostAndAddedBytes) {
    const std::size_t middle = kHead + image.size() / 2;
    const Bytes lost = joined(part(whole, 0, middle), part(whole, middle + 1000, whole.size()));
    const Bytes added =
        joined(joined(part(whole, 0, middle), noise(1000, 6)), part(whole, middle, whole.size()));
    for (const Bytes& file : {lost, added}) {
        const std::size_t second =
            file.size() - kTail - image.size(); // Where the second half's image would begin.
        const RowExtent extent = find(file);
        ASSERT_EQ(extent.pieces.size(), 2U);
        EXPECT_EQ(extent.pieces[0].phase, phase(kHead));
        EXPECT_EQ(extent.pieces[1].phase, phase(second));
        EXPECT_LE(extent.pieces[0].end, extent.pieces[1].begin);
        EXPECT_LE(extent.pieces[0].end, middle + 64 * geometry.row_bytes);
        EXPECT_GE(extent.pieces[1].end + 192 * geometry.row_bytes, file.size());
        ASSERT_EQ(extent.images.size(), 2U);
        for (const ImagePlace& place : extent.images) {
            const bool first_piece = place.phase == phase(kHead);
            EXPECT_EQ(place.start, static_cast<std::int64_t>(first_piece ? kHead : second));
            EXPECT_EQ(place.proof, first_piece ? PlaceProof::kSampleStart : PlaceProof::kEnd);
        }
    }
}

TEST_F(RowExtentTest, StaysOneImageIfBytesInItAreReplaced) {
    const std::size_t middle = kHead + image.size() / 2;
    for (const std::size_t size : {512U, 4096U, 30000U}) {
        expect_place(find(zeroed(whole, middle, middle + size)), kHead, PlaceProof::kEnd);
        expect_place(find(with(whole, middle, noise(size, 7))), kHead, PlaceProof::kEnd);
        expect_place(find_without_sample(with(whole, middle, noise(size, 7))), kHead, PlaceProof::kBothEdges);
    }
}

} // namespace
} // namespace test
