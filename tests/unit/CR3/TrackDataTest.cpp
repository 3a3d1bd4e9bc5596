#include "CR3/TrackData.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <sstream>

namespace plate_mend {
namespace {

using test::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TrackDataOfAFile : public ::testing::Test {
  protected:
    TrackDataOfAFile() { test::write_file(folder / "file", {10, 11, 12, 13, 14}); }

    static std::string written(const TrackData& track) {
        std::ostringstream stream;
        track.write(stream);
        return stream.str();
    }

    test::TempDir folder;
};

TEST_F(TrackDataOfAFile, IsTheBytesAfterTheCursor) {
    const auto file = std::make_shared<MMAP>(folder / "file");
    file->seek(1);
    const TrackData track(file, 2);
    EXPECT_THAT(track.bytes(), ElementsAre(12, 13));
    EXPECT_EQ(written(track), "\x0C\x0D");
    EXPECT_EQ(file->position(), 3U) << "on the last of them";
}

TEST_F(TrackDataOfAFile, StaysWhenTheCursorMovesAndWhenTheOwnerOfTheFileIsGone) {
    auto file = std::make_shared<MMAP>(folder / "file");
    const TrackData track(file, 4);
    file->seek(0);
    file.reset();
    EXPECT_THAT(track.bytes(), ElementsAre(11, 12, 13, 14));
}

TEST_F(TrackDataOfAFile, ThatIsTooShortIsOutOfRangeAndLeavesTheCursor) {
    const auto file = std::make_shared<MMAP>(folder / "file");
    file->seek(1);
    EXPECT_THROW(TrackData(file, 4), OutRangeException);
    EXPECT_THROW(TrackData(file, 0xFFFFFFFF), OutRangeException);
    EXPECT_EQ(file->position(), 1U);
    EXPECT_NO_THROW(TrackData(file, 3));
}

TEST_F(TrackDataOfAFile, WithoutBytesReadsNothingWhereverTheCursorIs) {
    const auto file = std::make_shared<MMAP>(folder / "file");
    file->seek(1000);
    EXPECT_THAT(TrackData(file, 0).bytes(), IsEmpty());
    EXPECT_EQ(written(TrackData(file, 0)), "");
    EXPECT_EQ(file->position(), 1000U);
    EXPECT_THAT(TrackData(std::make_shared<MMAP>(folder / "missing"), 0).bytes(), IsEmpty());
    EXPECT_THROW(TrackData(std::make_shared<MMAP>(folder / "missing"), 1), OutRangeException);
}

TEST_F(TrackDataOfAFile, CannotBeHadWhenItIsClosed) {
    const auto file = std::make_shared<MMAP>(folder / "file");
    const TrackData track(file, 2);
    file->close();
    EXPECT_THROW((void)track.bytes(), OutRangeException);
    EXPECT_THROW(written(track), OutRangeException);
}

TEST(TrackData, OwnDataIsACopy) {
    Bytes bytes{1, 2};
    const TrackData track(bytes);
    bytes[0] = 9;
    EXPECT_THAT(track.bytes(), ElementsAre(1, 2));
    EXPECT_THAT(TrackData().bytes(), IsEmpty());
}

} // namespace
} // namespace plate_mend
