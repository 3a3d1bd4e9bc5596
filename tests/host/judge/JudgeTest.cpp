#include "judge/Judge.h"

#include "support/DngPhoto.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class TilesOfADng : public ::testing::Test {
  protected:
    [[nodiscard]] std::vector<std::string> findings() const {
        const auto file = directory_ / "photo.dng";
        write_file(file, photo_.bytes);
        return plate_mend::host::judge_raw({file, {}, {}, {}}).findings;
    }

    void overwrite_half_of_the_first_tile() {
        const std::size_t half = photo_.tile_byte_counts[0] / 2;
        put_bytes(photo_.bytes, photo_.tile_offsets[0] + half, noise(half, 1));
    }

    DngPhoto photo_;

  private:
    TempDir directory_;
};

TEST_F(TilesOfADng, AreCompleteInAWholeOne) {
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(TilesOfADng, AreJudgedEachForItself) {
    overwrite_half_of_the_first_tile();
    EXPECT_THAT(findings(), Contains(StartsWith("1 of 6 parts of the compressed data do not end")));
}

TEST_F(TilesOfADng, AreReadOnceWhereManyStandInOnePlace) {
    overwrite_half_of_the_first_tile();
    for (std::size_t tile = 1; tile < photo_.tiles(); ++tile) {
        put_u32(photo_.bytes, photo_.offset_slot(tile), photo_.tile_offsets[0], photo_.order);
    }
    EXPECT_THAT(findings(), Contains(StartsWith("1 of 1 parts of the compressed data do not end")));
}

} // namespace
} // namespace test
