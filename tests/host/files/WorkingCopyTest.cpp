#include "files/WorkingCopy.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

test::Bytes undone(const test::Bytes& bytes) {
    const test::TempDir folder;
    test::write_file(folder / "damaged", bytes);
    EXPECT_LE(copy_without_text_mode(folder / "damaged", folder / "copy", bytes.size()), bytes.size());
    return test::read_file(folder / "copy");
}

TEST(WorkingCopy, IsMadeWithoutTextMode) {
    const test::Bytes original = test::noise(3'000'000, 1);
    EXPECT_TRUE(undone(test::in_text_mode(original)) == original);
}

TEST(WorkingCopy, OffsetsAreThoseInIt) {
    const test::TempDir folder;
    const test::Bytes damaged{0x41, 0x0D, 0x0A, 0x42, 0x0D, 0x43, 0x0D, 0x0A};
    const test::Bytes original{0x41, 0x0A, 0x42, 0x0D, 0x43, 0x0A};
    test::write_file(folder / "damaged", damaged);
    for (const std::size_t offset : {0U, 2U, 3U, 4U, 5U, 7U}) {
        const auto there = copy_without_text_mode(folder / "damaged", folder / "copy", offset);
        ASSERT_LT(there, original.size());
        EXPECT_EQ(original[there], damaged[offset]) << offset;
        std::filesystem::remove(folder / "copy");
    }
}

TEST(WorkingCopy, CrOfItsOwnStays) {
    for (const test::Bytes& original : {test::Bytes{}, test::Bytes{0x0D}, test::Bytes{0x0D, 0x0D, 0x0A, 0x0D},
                                        test::Bytes{0x0A, 0x0A, 0x0D, 0x0A}}) {
        EXPECT_EQ(undone(test::in_text_mode(original)), original);
    }
}

TEST(WorkingCopy, PiecesAreJoinedBetweenCrAndLf) {
    constexpr std::size_t kPiece = std::size_t{1} << 20U;
    for (const std::size_t before : {kPiece - 2, kPiece - 1, kPiece}) {
        test::Bytes original(before, 0x41);
        original.insert(original.end(), {0x0A, 0x42});
        EXPECT_TRUE(undone(test::in_text_mode(original)) == original) << before;
    }
}

} // namespace
} // namespace plate_mend::host
