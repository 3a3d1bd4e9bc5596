#include "Account.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace raw_mend {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t kLost = RAW_MEND_AREA_LOST;
constexpr std::uint32_t kDoubtful = RAW_MEND_AREA_DOUBTFUL;

/// Left, top, width, height, and the kind.
using Rectangle = std::array<std::uint32_t, 5>;

std::vector<Rectangle> rectangles_of(const Account& account) {
    std::vector<Rectangle> rectangles;
    for (const RawMendArea& area : account.areas) {
        rectangles.push_back({area.left, area.top, area.width, area.height, area.kind});
    }
    return rectangles;
}

/// Tiles of 40 x 30 pixels, 3 across and 2 down; the last ones are cut off at the frame's border.
Image tiled() {
    Image raw;
    raw.frame = {.width = 100, .height = 50, .piece_width = 40, .piece_height = 30};
    raw.pieces.resize(6);
    return raw;
}

FoundImage all_found(std::size_t pieces = 6) {
    FoundImage image;
    image.pieces.resize(pieces, Extent{0, 1});
    image.proved = pieces;
    return image;
}

TEST(Account, OfAWholeImageIsEmpty) {
    const Account account = account_for(all_found(), tiled());
    EXPECT_EQ(account.pixels, 5000U);
    EXPECT_EQ(account.lost, 0U);
    EXPECT_EQ(account.doubtful, 0U);
    EXPECT_THAT(account.areas, IsEmpty());
}

TEST(Account, ListsLostAreasBeforeDoubtfulOnesFromTopToBottom) {
    FoundImage image = all_found();
    image.lost = {{10, 20, 5, 2}, {0, 3, 100, 1}};
    image.doubtful = {{15, 20, 85, 2}};
    const Account account = account_for(image, tiled());
    EXPECT_EQ(account.lost, 110U);
    EXPECT_EQ(account.doubtful, 170U);
    EXPECT_THAT(rectangles_of(account),
                ElementsAre(Rectangle{0, 3, 100, 1, kLost}, Rectangle{10, 20, 5, 2, kLost},
                            Rectangle{15, 20, 85, 2, kDoubtful}));
}

TEST(Account, CountsPiecesThatWereNotFound) {
    FoundImage image = all_found();
    image.pieces[1].reset();
    EXPECT_THAT(rectangles_of(account_for(image, tiled())), ElementsAre(Rectangle{40, 0, 40, 30, kLost}));
    image.pieces[2].reset();
    image.pieces[5].reset();
    const Account account = account_for(image, tiled());
    EXPECT_EQ(account.lost, 60U * 30 + 20 * 20);
    EXPECT_THAT(rectangles_of(account),
                ElementsAre(Rectangle{40, 0, 60, 30, kLost}, Rectangle{80, 30, 20, 20, kLost}));
}

TEST(Account, LeavesPiecesThatWerePutTogetherAnewToTheirOwnAreas) {
    FoundImage image = all_found();
    image.pieces[4].reset();
    image.mended.push_back({4, {1, 2, 3}});
    EXPECT_EQ(account_for(image, tiled()).lost, 0U);
    image.lost = {{40, 30, 40, 4}};
    EXPECT_EQ(account_for(image, tiled()).lost, 160U);
    image.pieces[0].reset();
    EXPECT_EQ(account_for(image, tiled()).lost, 160U + 1200);
}

TEST(Account, OfLostStripsIsOneArea) {
    Image raw;
    raw.frame = {.width = 100, .height = 50, .piece_width = 100, .piece_height = 8};
    FoundImage image = all_found(7);
    for (const std::size_t piece : {3U, 4U, 5U, 6U}) {
        image.pieces[piece].reset();
    }
    EXPECT_THAT(rectangles_of(account_for(image, raw)), ElementsAre(Rectangle{0, 24, 100, 26, kLost}));
}

TEST(Account, CountsAllAsLostWhereNothingSaysWhichPixelsAPieceHas) {
    Image raw = tiled();
    FoundImage image = all_found(7);
    image.pieces[3].reset();
    image.lost = {{0, 0, 10, 10}};
    image.doubtful = {{50, 0, 10, 10}};
    EXPECT_EQ(account_for(image, raw).lost, 5000U);
    EXPECT_EQ(account_for(image, raw).doubtful, 0U) << "none is counted twice";
    raw.frame.piece_width = 0;
    image = all_found();
    image.pieces[3].reset();
    EXPECT_THAT(rectangles_of(account_for(image, raw)), ElementsAre(Rectangle{0, 0, 100, 50, kLost}));
}

TEST(Account, KeepsToTheFrame) {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    FoundImage image = all_found();
    image.lost = {
        {90, 45, kMost, kMost}, {100, 0, 1, 1}, {0, 50, 1, 1}, {kMost, kMost, kMost, kMost}, {1, 1, 0, 9}};
    const Account account = account_for(image, tiled());
    EXPECT_EQ(account.lost, 50U);
    EXPECT_THAT(rectangles_of(account), ElementsAre(Rectangle{90, 45, 10, 5, kLost}));
    Image none = tiled();
    none.frame.width = none.frame.height = 0;
    EXPECT_EQ(account_for(image, none).pixels, 0U);
    EXPECT_THAT(account_for(image, none).areas, IsEmpty());
}

bool covers(const std::vector<RawMendArea>& areas, std::uint32_t x, std::uint32_t y, std::uint32_t kind) {
    return std::ranges::any_of(areas, [&](const RawMendArea& area) {
        return area.kind == kind && x >= area.left && x - area.left < area.width && y >= area.top &&
               y - area.top < area.height;
    });
}

TEST(Account, MergesAreasBeyondTheMostAndNeverClaimsLess) {
    Image raw;
    raw.frame = {.width = 1000, .height = 1000, .piece_width = 1000, .piece_height = 1000};
    FoundImage image = all_found(1);
    for (std::uint32_t index = 0; index < 10001; ++index) {
        image.lost.push_back({index % 100 * 10, index / 100 * 2, 3, 1});
        image.doubtful.push_back({index % 100 * 10 + 3, index / 100 * 2, 4, 1});
    }
    const Account account = account_for(image, raw);
    EXPECT_EQ(account.lost, 30003U) << "counts stay exact";
    EXPECT_EQ(account.doubtful, 40004U);
    EXPECT_LE(account.areas.size(), std::size_t{RAW_MEND_MOST_AREAS});
    EXPECT_GT(account.areas.size(), std::size_t{RAW_MEND_MOST_AREAS} / 2);
    for (std::size_t index = 0; index < image.lost.size(); index += 77) {
        for (std::uint32_t x = 0; x < 3; ++x) {
            const Area& lost = image.lost[index];
            EXPECT_TRUE(covers(account.areas, lost.left + x, lost.top, kLost));
            const Area& doubtful = image.doubtful[index];
            EXPECT_TRUE(covers(account.areas, doubtful.left + x, doubtful.top, kDoubtful));
        }
    }
}

} // namespace
} // namespace raw_mend
