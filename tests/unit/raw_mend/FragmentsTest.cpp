#include "Repair.h"
#include "Written.h"

#include "support/Cr2Photo.h"
#include "support/DngPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

// Photographs that are in parts, with much of another photograph between them.

namespace test {
namespace {

using raw_mend::Sample;

constexpr std::size_t kCluster = 4096;

Bytes cr2(unsigned number) {
    return Cr2Photo({.number = number, .width = 640, .height = 1200}).bytes;
}

/// The first cluster after a share of the raw image, in hundredths.
std::size_t cluster_at(const Bytes& file, std::size_t hundredths) {
    const auto range = Sample::read(file)->range();
    return static_cast<std::size_t>(range.offset + range.length * hundredths / 100) / kCluster * kCluster;
}

Bytes with_gap(const Bytes& file, std::size_t at, const Bytes& foreign) {
    return joined(joined(part(file, 0, at), foreign), part(file, at, file.size()));
}

/// Whole clusters of another photograph from its beginning on: its heads are among them.
Bytes beginning_of(const Bytes& other, std::size_t hundredths) {
    return part(other, 0, cluster_at(other, hundredths));
}

/// From the middle: entropy-coded data alone.
Bytes middle_of(const Bytes& other) {
    return part(other, cluster_at(other, 20), cluster_at(other, 80));
}

void expect_exact(const Bytes& damaged, const Bytes& original, const Bytes& intact) {
    const auto sample = Sample::read(intact);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(repaired->image.proved, repaired->image.pieces.size());
    EXPECT_TRUE(repaired->image.lost.empty());
    EXPECT_TRUE(repaired->image.doubtful.empty());
    EXPECT_TRUE(repaired->image.doubts.empty()) << repaired->image.doubts.front();
    EXPECT_TRUE(decode_raw(written(*repaired->file)) == decode_raw(original));
}

TEST(Fragments, AroundTheBeginningOfAnotherPhotographAreJoined) {
    const Bytes original = cr2(3);
    const Bytes other = cr2(4);
    for (const std::size_t at : {50U, 70U}) {
        SCOPED_TRACE(at);
        expect_exact(with_gap(original, cluster_at(original, at), beginning_of(other, 60)), original, other);
    }
}

TEST(Fragments, OfRealPhotographsAroundAnotherAreJoined) {
    const std::array<std::string, 2> names{"pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2"};
    for (const std::size_t nth : {0U, 1U}) {
        SCOPED_TRACE(names[nth]);
        REAL_FILE_OR_SKIP(original, names[nth]);
        REAL_FILE_OR_SKIP(other, names[1 - nth]);
        const std::size_t at = cluster_at(original, 45);
        expect_exact(with_gap(original, at, beginning_of(other, 70)), original, other);
        expect_exact(with_gap(original, at, middle_of(other)), original, other);
    }
}

Bytes dng(unsigned number) {
    return DngPhoto({.number = number, .width = 1024, .height = 768, .tile_width = 128, .tile_height = 128})
        .bytes;
}

/// The clusters between the places exchanged with those after them, up to the third.
Bytes exchanged(const Bytes& file, std::size_t first, std::size_t second, std::size_t third) {
    return joined(joined(part(file, 0, first), part(file, second, third)),
                  joined(part(file, first, second), part(file, third, file.size())));
}

TEST(Fragments, OfTilesAreFoundByTheFilesOwnTables) {
    const Bytes original = dng(1);
    const Bytes other = dng(2);
    ASSERT_GT(other.size(), 0U);
    expect_exact(with_gap(original, cluster_at(original, 50), beginning_of(other, 40)), original, other);
    expect_exact(
        exchanged(original, cluster_at(original, 20), cluster_at(original, 50), cluster_at(original, 80)),
        original, other);
}

TEST(Fragments, OfRealTilesAreFoundByTheFilesOwnTables) {
    REAL_FILE_OR_SKIP(original, "pairs/nikon-d5000-dng/sample1.dng");
    REAL_FILE_OR_SKIP(other, "pairs/nikon-d5000-dng/sample2.dng");
    expect_exact(with_gap(original, cluster_at(original, 50), beginning_of(other, 40)), original, other);
    expect_exact(
        exchanged(original, cluster_at(original, 30), cluster_at(original, 55), cluster_at(original, 80)),
        original, other);
}

/// Both are whole, and nothing shows which one is meant.
TEST(Fragments, OfTwoWholePhotographsAreAGuess) {
    const Bytes original = dng(1);
    const Bytes other = dng(2);
    const Bytes damaged =
        joined(zeroed(other, 0, 8), with_gap(original, cluster_at(original, 50), Bytes(kCluster)));
    const auto sample = Sample::read(other);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_FALSE(repaired->image.doubts.empty());
}

/// Neither stream can be put together: what is promised is still one photograph's, and its place a guess.
TEST(Fragments, WithoutTheirEndAreAGuess) {
    const Bytes original = cr2(1);
    const Bytes other = cr2(2);
    const Bytes damaged = joined(part(original, 0, cluster_at(original, 50)), beginning_of(other, 60));
    const auto sample = Sample::read(other);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(repaired->image.proved, 0U);
    EXPECT_FALSE(repaired->image.doubts.empty());
}

} // namespace
} // namespace test
