#include "coding/CrxHeads.h"

#include "support/Cr3Completion.h"
#include "support/CrxEncoder.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::CrxHeader;
using raw_mend::find_crx_heads;
using raw_mend::read_crx_heads;

constexpr std::size_t kHeader = 12; ///< Bytes of a header.

Bytes track(unsigned number) {
    return encode_crx(Scene(number).bayer(64, 48, 14), 64, 48, 14);
}

TEST(CrxHeads, AreTilePlanesAndBandsWithLengthsThatAgree) {
    const Bytes bytes = joined(noise(50, 1), track(1));
    const auto heads = read_crx_heads(bytes, 50);
    ASSERT_TRUE(heads);
    ASSERT_EQ(heads->headers.size(), 9U);
    EXPECT_EQ(heads->headers[0].kind, CrxHeader::Kind::kTile);
    EXPECT_EQ(heads->headers[1].kind, CrxHeader::Kind::kPlane);
    EXPECT_EQ(heads->headers[2].kind, CrxHeader::Kind::kBand);
    EXPECT_EQ(heads->headers[8].kind, CrxHeader::Kind::kBand);
    EXPECT_EQ(heads->begin(), 50U);
    EXPECT_EQ(heads->end(), 50U + 9 * kHeader);
    EXPECT_TRUE(heads->lengths_agree);
    EXPECT_EQ(heads->begin() + kCrxHeaderSize + heads->coded_length(), bytes.size());
}

TEST(CrxHeads, ChangedLengthDoesNotAgree) {
    const Bytes bytes = track(1);
    for (std::size_t nth = 0; nth < 9; ++nth) {
        Bytes changed = bytes;
        unsigned char& low = changed[kHeader * nth + 7];
        low = static_cast<unsigned char>(low + 1);
        const auto heads = read_crx_heads(changed, 0);
        ASSERT_TRUE(heads);
        EXPECT_FALSE(heads->lengths_agree) << nth;
    }
}

TEST(CrxHeads, LargerHeadersAreRead) {
    Bytes bytes{0xFF, 0x11, 0, 16};
    bytes.resize(20);
    bytes[7] = 9;
    Bytes plane{0xFF, 0x12, 0, 16};
    plane.resize(20);
    plane[7] = 9;
    const auto heads = read_crx_heads(joined(bytes, plane), 0);
    ASSERT_TRUE(heads);
    EXPECT_EQ(heads->headers.size(), 2U);
    EXPECT_EQ(heads->headers[1].size, 20U);
    EXPECT_EQ(heads->coded_length(), 9U);
    EXPECT_EQ(heads->end(), 40U);
}

TEST(CrxHeads, AreFoundInAnotherPhotograph) {
    const auto sample = read_crx_heads(track(1), 0);
    ASSERT_TRUE(sample);
    const Bytes other = track(2);
    const Bytes damaged = joined(joined(noise(5000, 1), other), joined(noise(777, 2), other));
    const auto found = find_crx_heads(damaged, *sample);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].begin(), 5000U);
    EXPECT_EQ(found[0].begin() + kCrxHeaderSize + found[0].coded_length(), 5000 + other.size());
    EXPECT_EQ(found[1].begin(), 5777 + other.size());
    Bytes broken = other;
    broken[kHeader * 3] = 0;
    EXPECT_TRUE(find_crx_heads(broken, *sample).empty());
    EXPECT_TRUE(find_crx_heads({}, *sample).empty());
}

/// A tile that has bytes of its own before its planes.
TEST(CrxHeads, TablesOfATileCount) {
    const Bytes track = noisy_crx({.tiles = 2, .lossy = true}, 50000, 1);
    const auto heads = read_crx_heads(track, 0);
    ASSERT_TRUE(heads);
    EXPECT_EQ(heads->headers.size(), 2 * (1 + 4 * 11U));
    EXPECT_TRUE(heads->lengths_agree);
    EXPECT_EQ(heads->headers[0].own, 1024U);
    EXPECT_EQ(CrxKind({.tiles = 2, .lossy = true}).header_size() + heads->coded_length(), 50000U);
    for (const std::size_t at : {15U, 17U}) {
        Bytes changed = track;
        changed[at] = static_cast<unsigned char>(changed[at] + 1);
        EXPECT_FALSE(read_crx_heads(changed, 0)->lengths_agree) << at;
    }
}

TEST(CrxHeads, AreFoundWhateverFollowsOrPrecedesThem) {
    const Bytes bytes = track(1);
    const auto sample = read_crx_heads(bytes, 0);
    ASSERT_TRUE(sample);
    const Bytes head = part(bytes, 0, 9 * kHeader);
    // What is before and after looks like further headers.
    const Bytes damaged = joined(joined(part(head, 0, kHeader), head), part(head, 0, 2 * kHeader));
    const auto found = find_crx_heads(damaged, *sample);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].begin(), kHeader);
    EXPECT_EQ(found[0].headers.size(), 9U);
}

TEST(CrxHeads, CountlessOnesAreReadInLinearTime) {
    Bytes tiles;
    for (unsigned nth = 0; nth < 200000; ++nth) {
        tiles.insert(tiles.end(), {0xFF, 0x01, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0});
    }
    const auto sample = read_crx_heads(tiles, 0);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->headers.size(), raw_mend::kMostCrxHeaders);
    EXPECT_EQ(find_crx_heads(tiles, *sample).size(), 200000 / raw_mend::kMostCrxHeaders);
}

TEST(CrxHeads, NoTruncatedOneIsLikeTheSample) {
    const Bytes bytes = track(1);
    const auto sample = read_crx_heads(bytes, 0);
    ASSERT_TRUE(sample);
    for (std::size_t size = 0; size < 9 * kHeader; ++size) {
        EXPECT_TRUE(find_crx_heads(part(bytes, 0, size), *sample).empty()) << size;
    }
    EXPECT_FALSE(read_crx_heads(bytes, ~std::uint64_t{0}));
    EXPECT_FALSE(read_crx_heads(bytes, 12)) << "a plane";
}

} // namespace
} // namespace test
