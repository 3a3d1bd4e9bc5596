#include "judge/Account.h"

#include "judge/PixelSigns.h"
#include "support/Bytes.h"

#include <gmock/gmock.h>
#include <raw_mend/raw_mend.h>

#include <algorithm>

namespace plate_mend::host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

FoundImage account(std::uint64_t lost, std::uint64_t doubtful) {
    FoundImage image;
    image.frame_width = 1000;
    image.frame_height = 1000;
    image.pixels = 1000000;
    image.pixels_lost = lost;
    image.pixels_doubtful = doubtful;
    return image;
}

TEST(Account, IsPutInWords) {
    EXPECT_THAT(describe_account(account(0, 0)), IsEmpty());
    EXPECT_THAT(describe_account(account(4000, 0)),
                ElementsAre("0.4 % of the pixels are lost and were filled from their neighbours"));
    EXPECT_THAT(describe_account(account(1, 2001)),
                ElementsAre("0.1 % of the pixels are lost and were filled from their neighbours",
                            "0.3 % of the pixels are doubtful: nothing proves them"))
        << "never less than it is";
    FoundImage zero = account(4000, 0);
    zero.filled = false;
    EXPECT_THAT(describe_account(zero), ElementsAre("0.4 % of the pixels are lost and are zero"));
    EXPECT_THAT(describe_account(FoundImage{}), IsEmpty());
}

TEST(Account, GivesTheShareOfGoodPixelsCutDown) {
    EXPECT_EQ(share_of_good_pixels(account(0, 0), 1), 1.0);
    EXPECT_DOUBLE_EQ(*share_of_good_pixels(account(4001, 0), 1), 0.9959);
    EXPECT_DOUBLE_EQ(*share_of_good_pixels(account(4000, 1000), 1), 0.995);
    EXPECT_DOUBLE_EQ(*share_of_good_pixels(account(4000, 1000), 0.9), 0.895) << "the judge found other rows";
    EXPECT_EQ(share_of_good_pixels(account(600000, 0), 0.3), 0.0);
    EXPECT_EQ(share_of_good_pixels(account(4000, 0), std::nullopt), std::nullopt);
    EXPECT_EQ(share_of_good_pixels(FoundImage{}, 1), std::nullopt) << "nothing was counted";
}

TEST(Account, KnowsWhatWasPutTogetherButIsNearlyAllDoubtful) {
    const auto mended = [](std::uint64_t lost, std::uint64_t doubtful) {
        FoundImage image = account(lost, doubtful);
        image.pieces_mended = 1;
        return image;
    };
    EXPECT_TRUE(is_nearly_all_doubtful(mended(2000, 998000)));
    EXPECT_FALSE(is_nearly_all_doubtful(mended(2000, 950000))) << "a share can be promised";
    EXPECT_FALSE(is_nearly_all_doubtful(mended(600000, 400000))) << "most is lost";
    EXPECT_FALSE(is_nearly_all_doubtful(account(2000, 998000))) << "it is as it was found";
    EXPECT_FALSE(is_nearly_all_doubtful(FoundImage{}));
}

TEST(Account, PromisesProvedPiecesWhereRowsAreUnknown) {
    FoundImage image = account(4000, 0);
    image.pieces = 204;
    image.pieces_found = 204;
    image.pieces_proved = 202;
    EXPECT_DOUBLE_EQ(*share_of_proved_pieces(image), 0.9901);
    image.notes = RAW_MEND_PLACES_GUESSED;
    EXPECT_EQ(share_of_proved_pieces(image), std::nullopt);
    image.notes = 0;
    image.pieces_proved = 0;
    EXPECT_EQ(share_of_proved_pieces(image), std::nullopt);
    image.pieces_proved = 204;
    EXPECT_EQ(share_of_proved_pieces(image), std::nullopt) << "then the signs are in one of these";
}

std::vector<std::size_t> numbers_of(const std::vector<bool>& rows) {
    std::vector<std::size_t> numbers;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (rows[row]) {
            numbers.push_back(row);
        }
    }
    return numbers;
}

TEST(Account, CoversRowsAndThoseNextToThem) {
    FoundImage image = account(1, 1);
    image.lost = {{0, 120, 3, 1}};
    EXPECT_THAT(numbers_of(accounted_rows(image, 1000, 100, 500)),
                ElementsAre(14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26));
    image.lost.clear();
    image.doubtful = {{0, 0, 1, 101}};
    EXPECT_THAT(numbers_of(accounted_rows(image, 1000, 100, 500)), ElementsAre(0, 1, 2, 3, 4, 5, 6));
    image.doubtful = {{0, 0, 1, 94}};
    EXPECT_THAT(numbers_of(accounted_rows(image, 1000, 100, 500)), IsEmpty());
    image.doubtful = {{0, 598, 1, UINT32_MAX}};
    EXPECT_THAT(numbers_of(accounted_rows(image, 1000, 100, 500)),
                ElementsAre(492, 493, 494, 495, 496, 497, 498, 499));
    image.doubtful = {{0, 60, 1, 1}};
    EXPECT_EQ(numbers_of(accounted_rows(image, 2000, 0, 2000)).front(), 114U)
        << "the sensor has two rows for one";
    image.frame_height = 0;
    EXPECT_THAT(numbers_of(accounted_rows(image, 1000, 100, 500)), IsEmpty());
}

/// Rows of noise with two stretches of zeros.
class AccountedSigns : public ::testing::Test {
  protected:
    AccountedSigns() {
        const test::Bytes noise = test::noise(std::size_t{kColumns} * kRows, 1);
        std::transform(noise.begin(), noise.end(), std::back_inserter(samples_),
                       [](unsigned char value) { return static_cast<std::uint16_t>(1000 + value % 16); });
        for (const std::size_t row : {50U, 150U}) {
            std::fill_n(samples_.begin() + static_cast<std::ptrdiff_t>(row * kColumns), 2 * kColumns,
                        std::uint16_t{0});
        }
        view_ = {.samples = samples_.data(),
                 .stride = kColumns,
                 .columns = kColumns,
                 .rows = kRows,
                 .black = 500,
                 .white = 4095};
    }

    static constexpr std::size_t kColumns = 400;
    static constexpr std::size_t kRows = 200;
    std::vector<std::uint16_t> samples_;
    SensorView view_;
};

TEST_F(AccountedSigns, AreLeftOut) {
    const PixelSigns all = find_signs(view_);
    EXPECT_TRUE(all.bad_rows[50] && all.bad_rows[150]) << "the control";
    std::vector<bool> accounted(kRows);
    std::fill_n(accounted.begin() + 44, 14, true);
    const PixelSigns some = find_signs(view_, accounted);
    EXPECT_FALSE(some.bad_rows[50]);
    EXPECT_TRUE(some.bad_rows[150]);
    EXPECT_FALSE(some.findings.empty());
    std::fill_n(accounted.begin() + 144, 14, true);
    const PixelSigns none = find_signs(view_, accounted);
    EXPECT_EQ(std::count(none.bad_rows.begin(), none.bad_rows.end(), true), 0);
    EXPECT_THAT(none.findings, IsEmpty());
    EXPECT_FALSE(none.displaced_from);
}

} // namespace
} // namespace plate_mend::host
