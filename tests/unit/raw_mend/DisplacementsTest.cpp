#include "ways/Displacements.h"

#include <gtest/gtest.h>

#include <random>

// Streams that are displaced from where a file's tables name them.

namespace test {
namespace {

using raw_mend::CodedPlace;
using raw_mend::Extent;

std::vector<Extent> pieces_at(std::uint64_t offset, std::size_t count, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<Extent> pieces;
    for (std::size_t nth = 0; nth < count; ++nth) {
        pieces.push_back({offset, 10000 + random() % 10000});
        offset += pieces.back().length;
    }
    return pieces;
}

/// Whole streams where the pieces [first, last) are if they are displaced.
void add_places(const std::vector<Extent>& named, std::size_t first, std::size_t last, std::uint64_t by,
                std::vector<CodedPlace>& places) {
    for (std::size_t nth = first; nth < last; ++nth) {
        CodedPlace place;
        place.offset = named[nth].offset + by;
        place.end = place.offset + named[nth].length;
        place.proved = true;
        places.push_back(place);
    }
}

TEST(Displacements, AreThoseOfMostStreamsFirst) {
    const auto named = pieces_at(1U << 30U, 40, 1);
    const std::uint64_t back = ~std::uint64_t{0} - (1U << 20U) + 1;
    std::vector<CodedPlace> places;
    add_places(named, 25, 40, back, places);
    add_places(named, 0, 25, 409600, places);
    EXPECT_EQ(raw_mend::find_displacements(named, places), (std::vector<std::uint64_t>{409600, back}));
}

TEST(Displacements, NeedFourStreamsSideBySide) {
    const auto named = pieces_at(5000, 40, 2);
    for (const std::size_t count : {1U, 2U, 3U, 4U}) {
        std::vector<CodedPlace> places;
        add_places(named, 10, 10 + count, 4096, places);
        EXPECT_EQ(raw_mend::find_displacements(named, places).size(), count == 4 ? 1U : 0U) << count;
    }
}

TEST(Displacements, AreNoneAmongStreamsOfAnotherPhotograph) {
    const auto named = pieces_at(5000, 200, 3);
    std::vector<CodedPlace> places;
    add_places(pieces_at(7000, 200, 4), 0, 200, 0, places);
    EXPECT_TRUE(raw_mend::find_displacements(named, places).empty());
}

TEST(Displacements, AreNoneWherePiecesAreAllAsLong) {
    std::vector<Extent> named;
    for (std::uint64_t nth = 0; nth < 100; ++nth) {
        named.push_back({nth * 512, 512});
    }
    std::vector<CodedPlace> places;
    add_places(named, 0, 100, 4096, places);
    EXPECT_TRUE(raw_mend::find_displacements(named, places).empty());
}

TEST(Displacements, OfNothingAreNone) {
    const auto named = pieces_at(5000, 1, 5);
    EXPECT_TRUE(raw_mend::find_displacements({}, {}).empty());
    EXPECT_TRUE(raw_mend::find_displacements(named, {}).empty());
}

} // namespace
} // namespace test
