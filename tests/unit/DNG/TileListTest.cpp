#include "DNG/TileList.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <memory>

namespace plate_mend {
namespace {

using test::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

MATCHER_P2(Slot, position, value, "") {
    return arg.position == static_cast<std::uint64_t>(position) &&
           arg.value == static_cast<std::uint32_t>(value);
}

class TileListInAFile : public ::testing::Test {
  protected:
    TileListInAFile() {
        Bytes bytes(32);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            bytes[index] = static_cast<unsigned char>(index);
        }
        test::write_file(folder / "file", bytes);
        file = std::make_unique<MMAP>(folder / "file");
    }

    void overwrite(TileList& list, std::size_t first, std::size_t last) const {
        list.keep(*file, first, last);
        for (std::size_t index = first; index < last; ++index) {
            file->base[index] = 0xFF;
        }
    }

    test::TempDir folder;
    std::unique_ptr<MMAP> file;
};

TEST_F(TileListInAFile, IsEmptyUnlessItsPlaceIsGiven) {
    EXPECT_THAT(TileList().read(*file), IsEmpty());
}

TEST_F(TileListInAFile, ReturnsNumbersAndPlaces) {
    EXPECT_THAT(TileList(5, 2).read(*file), ElementsAre(Slot(5, 0x05060708), Slot(9, 0x090A0B0C)));
}

TEST_F(TileListInAFile, KeepsTheNumbersThatWereThereWhenItWasMade) {
    TileList list(5, 3); // 5 to 8, 9 to 12, 13 to 16.
    overwrite(list, 8, 9);
    overwrite(list, 8, 14);
    overwrite(list, 0, 32);
    EXPECT_THAT(list.read(*file),
                ElementsAre(Slot(5, 0x05060708), Slot(9, 0x090A0B0C), Slot(13, 0x0D0E0F10)));
}

TEST_F(TileListInAFile, TakesNoNoticeOfBytesBesideIt) {
    TileList list(5, 2);
    overwrite(list, 0, 5);
    overwrite(list, 13, 32);
    EXPECT_THAT(list.read(*file), ElementsAre(Slot(5, 0x05060708), Slot(9, 0x090A0B0C)));
}

TEST_F(TileListInAFile, CannotBeReadFromAClosedFile) {
    const TileList list(5, 2);
    file->close();
    EXPECT_THROW((void)list.read(*file), OutRangeException);
}

} // namespace
} // namespace plate_mend
