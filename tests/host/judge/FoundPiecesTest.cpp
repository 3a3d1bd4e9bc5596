#include "judge/FoundPieces.h"

#include <gmock/gmock.h>
#include <raw_mend/raw_mend.h>

namespace plate_mend::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

FoundImage image_of(std::uint64_t pieces, std::uint64_t found, std::uint64_t proved,
                    std::uint32_t notes = 0) {
    return {.way = RAW_MEND_WAY_CODED_HEADS,
            .notes = notes,
            .pieces = pieces,
            .pieces_found = found,
            .pieces_proved = proved};
}

TEST(FoundPieces, AllProvedLeaveNoDoubt) {
    constexpr std::uint32_t kHarmless =
        RAW_MEND_SAMPLE_METADATA | RAW_MEND_SAMPLE_PICTURES | RAW_MEND_SAMPLE_PARAMETERS;
    for (const bool exact : {false, true}) {
        const PieceDoubts doubts = find_doubts(image_of(67, 67, 67, kHarmless), exact);
        EXPECT_THAT(doubts.findings, IsEmpty());
        EXPECT_FALSE(doubts.place_unknown);
    }
}

TEST(FoundPieces, LostOnesAreAFindingWhateverTheJudgeProves) {
    for (const bool exact : {false, true}) {
        const PieceDoubts doubts = find_doubts(image_of(67, 65, 65), exact);
        EXPECT_THAT(doubts.findings, ElementsAre("2 of 67 pieces of the image are lost"));
        EXPECT_FALSE(doubts.place_unknown) << "the others are in their place";
    }
    EXPECT_THAT(find_doubts(image_of(67, 66, 66), true).findings,
                ElementsAre("1 of 67 pieces of the image is lost"));
    EXPECT_THAT(find_doubts(image_of(67, 67, 67, RAW_MEND_PIECES_LOST), true).findings,
                ElementsAre("parts of the image are lost"));
}

TEST(FoundPieces, GuessedPlacesAreAFindingWhateverTheJudgeProves) {
    for (const std::uint64_t proved : {0U, 67U}) {
        const PieceDoubts doubts = find_doubts(image_of(67, 67, proved, RAW_MEND_PLACES_GUESSED), true);
        EXPECT_THAT(doubts.findings, ElementsAre("the place of parts of the image is a guess"));
        EXPECT_TRUE(doubts.place_unknown);
    }
}

TEST(FoundPieces, GuessIsRefutedByAnySignOfDamage) {
    EXPECT_TRUE(is_refuted_guess(image_of(67, 67, 0, RAW_MEND_PLACES_GUESSED), 1));
    EXPECT_FALSE(is_refuted_guess(image_of(67, 67, 0, RAW_MEND_PLACES_GUESSED), 0));
    EXPECT_FALSE(is_refuted_guess(image_of(67, 67, 1, RAW_MEND_PLACES_GUESSED), 1)) << "a part is proved";
    EXPECT_FALSE(is_refuted_guess(image_of(67, 67, 0), 1)) << "no guess";
}

TEST(FoundPieces, UnprovedOnesAreAFindingUnlessTheJudgeProvesThem) {
    const PieceDoubts doubts = find_doubts(image_of(67, 67, 60), false);
    EXPECT_THAT(
        doubts.findings,
        ElementsAre("nothing proves that 7 of 67 pieces of the image are complete and in their place"));
    EXPECT_TRUE(doubts.damaged_inside);
    EXPECT_FALSE(doubts.place_unknown) << "their heads or rows show it";
    FoundImage in_sample_places = image_of(67, 67, 60);
    in_sample_places.way = RAW_MEND_WAY_SAMPLE_PLACES;
    EXPECT_TRUE(find_doubts(in_sample_places, false).place_unknown);
    EXPECT_THAT(find_doubts(image_of(67, 67, 60), true).findings, IsEmpty());
    EXPECT_THAT(find_doubts(image_of(1, 1, 0), false).findings,
                ElementsAre("nothing proves that the image's only piece is complete and in its place"));
}

TEST(FoundPieces, MendedOnesAreAccountedForByPixels) {
    FoundImage image = image_of(67, 67, 60);
    image.pieces_mended = 7;
    EXPECT_THAT(find_doubts(image, false).findings, IsEmpty());
    image.pieces_mended = 6;
    EXPECT_THAT(find_doubts(image, false).findings,
                ElementsAre("nothing proves that 1 of 67 pieces of the image is complete and in its place"));
    image.pieces_mended = UINT64_MAX;
    EXPECT_THAT(find_doubts(image, false).findings, IsEmpty());
}

TEST(FoundPieces, ReportThatClaimsMoreThanThereIsProvesNothingMore) {
    EXPECT_THAT(find_doubts(image_of(2, 9, 9), false).findings, IsEmpty());
    EXPECT_THAT(find_doubts(image_of(9, 2, 9), false).findings,
                ElementsAre("7 of 9 pieces of the image are lost"));
}

} // namespace
} // namespace plate_mend::host
