#include "util/MMap.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using test::Bytes;
using ::testing::IsEmpty;

class MMap : public ::testing::Test {
  protected:
    MMap() { test::reset_stand_ins(); }

    std::filesystem::path file_of(const Bytes& bytes) {
        auto path = folder / "file";
        test::write_file(path, bytes);
        return path;
    }

    test::TempDir folder;
};

/// Runs the body and returns what it wrote to std::cerr.
template <typename Body>
std::string standard_error_of(Body body) {
    ::testing::internal::CaptureStderr();
    body();
    return ::testing::internal::GetCapturedStderr();
}

TEST_F(MMap, MissingFileHasSizeZeroAndNoLogLine) {
    const MMAP map(folder / "missing");
    EXPECT_EQ(map.size(), 0U);
    EXPECT_EQ(map.base, nullptr);
    EXPECT_TRUE(map.bytes().empty());
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMap, EmptyFileHasSizeZeroAndNoLogLine) {
    const MMAP map(file_of({}));
    EXPECT_EQ(map.size(), 0U);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMap, DirectoryHasSizeZeroAndNoLogLine) {
    EXPECT_EQ(MMAP(folder.path()).size(), 0U);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMap, MapsTheWholeFile) {
    const MMAP map(file_of({1, 2, 3}));
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.position(), 0U);
    EXPECT_EQ(map.base[0], 1);
    EXPECT_EQ(map.base[2], 3);
    EXPECT_EQ(Bytes(map.bytes().begin(), map.bytes().end()), (Bytes{1, 2, 3}));
}

TEST_F(MMap, MapsAFileWithANonAsciiName) {
    const auto path = folder / std::filesystem::path(u8"für ein 写真.arw");
    test::write_file(path, {7});
    EXPECT_EQ(MMAP(path).size(), 1U);
}

TEST_F(MMap, WritesReachTheFile) {
    const auto path = file_of({1, 2, 3});
    {
        const MMAP map(path);
        map.base[1] = 9;
    }
    EXPECT_EQ(test::read_file(path), (Bytes{1, 9, 3}));
}

TEST_F(MMap, ReadOnlyMapsTheSameBytes) {
    const MMAP map(file_of({1, 2, 3}), true);
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.base[2], 3);
}

TEST_F(MMap, FileOfOneByte) {
    MMAP map(file_of({5}));
    EXPECT_THROW(map.advance(1), OutRangeException);
    EXPECT_EQ(map.position(), 0U) << "the cursor is unchanged";
    map.seek(0);
    EXPECT_EQ(map.base[map.position()], 5);
}

TEST_F(MMap, AdvanceByZeroReturnsTheCursor) {
    MMAP map(file_of({1, 2, 3}));
    for (const std::uint32_t offset : {0U, 1U, 2U}) {
        map.seek(offset);
        EXPECT_EQ(map.advance(0), offset);
    }
}

TEST_F(MMap, AdvanceRestsOnTheLastByteAndNotAfterIt) {
    MMAP map(file_of({1, 2, 3}));
    EXPECT_EQ(map.advance(2), 2U);
    EXPECT_THROW(map.advance(1), OutRangeException);
    EXPECT_EQ(map.position(), 2U);
    map.seek(0);
    EXPECT_THROW(map.advance(3), OutRangeException);
}

TEST_F(MMap, AdvanceByTheComplementOfTheCursorThrowsAndByOneMoreComplains) {
    MMAP map(file_of({1, 2, 3}));
    map.seek(2);
    const std::uint64_t complement = ~std::uint64_t{2};
    EXPECT_THROW(map.advance(complement), OutRangeException);
    std::uint32_t result = 0;
    EXPECT_EQ(standard_error_of([&] { result = map.advance(complement + 1); }), "offset is too big\n");
    EXPECT_EQ(result, 0xFFFFFFFF);
    EXPECT_EQ(map.position(), 2U);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMap, BackLandsOnZeroAndComplainsBeforeIt) {
    MMAP map(file_of({1, 2, 3}));
    map.seek(2);
    EXPECT_EQ(map.back(1), 1U);
    map.seek(2);
    EXPECT_EQ(map.back(map.position()), 0U);
    map.seek(2);
    std::uint64_t result = 0;
    EXPECT_EQ(standard_error_of([&] { result = map.back(3); }), "offset is too big\n");
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(map.position(), 2U);
}

TEST_F(MMap, SeekTestsNothingAndTheNextAdvanceThrows) {
    MMAP map(file_of({1, 2, 3}));
    map.seek(1000);
    EXPECT_EQ(map.position(), 1000U);
    EXPECT_THROW(map.advance(1), OutRangeException);
}

TEST_F(MMap, WithNothingMappedNoMoveIsTooFar) {
    MMAP map(folder / "missing");
    EXPECT_EQ(map.advance(1000), 1000U);
    EXPECT_EQ(map.position(), 1000U);
}

TEST_F(MMap, AdvanceReturnsTheLowThirtyTwoBits) {
    MMAP map(folder / "missing");
    EXPECT_EQ(map.advance(0x1'0000'0007), 7U);
    EXPECT_EQ(map.position(), 0x1'0000'0007U);
}

TEST_F(MMap, CloseTwiceIsCloseOnce) {
    const auto path = file_of({1, 2, 3});
    MMAP map(path);
    map.close();
    map.close();
    EXPECT_EQ(map.size(), 3U) << "the size keeps its value";
    EXPECT_TRUE(map.bytes().empty());
    EXPECT_TRUE(std::filesystem::remove(path));
}

} // namespace
} // namespace plate_mend
