#include "util/Reading.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using test::Bytes;

class Reading : public ::testing::Test {
  protected:
    MMAP& map_of(const Bytes& bytes) {
        path = folder / "file";
        test::write_file(path, bytes);
        map = std::make_unique<MMAP>(path);
        return *map;
    }

    Bytes file() {
        map->close();
        return test::read_file(path);
    }

    test::TempDir folder;
    std::filesystem::path path;
    std::unique_ptr<MMAP> map;
};

TEST_F(Reading, FirstByteIsTheHighOneAndTheCursorEndsOnTheLast) {
    MMAP& m = map_of({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC});
    EXPECT_EQ(read_u16(m), 0x0102);
    EXPECT_EQ(m.position(), 1U);
    EXPECT_EQ(read_next_u32(m), 0x03040506U);
    EXPECT_EQ(m.position(), 5U);
    EXPECT_EQ(read_next_u16(m), 0xF7F8);
    EXPECT_EQ(read_next_u32(m), 0xF9FAFBFCU);
    EXPECT_EQ(m.position(), 11U);
    m.seek(6);
    EXPECT_EQ(read_u32(m), 0xF7F8F9FAU);
}

TEST_F(Reading, ValuesThatAreCutThrow) {
    MMAP& m = map_of({1, 2, 3, 4});
    m.seek(2);
    EXPECT_EQ(read_u16(m), 0x0304);
    m.seek(3);
    EXPECT_THROW((void)read_u16(m), OutRangeException);
    EXPECT_EQ(m.position(), 3U);
    m.seek(1);
    EXPECT_THROW((void)read_u32(m), OutRangeException);
    EXPECT_EQ(m.position(), 3U) << "where the last good step left it";
    m.seek(3);
    EXPECT_THROW((void)read_next_u16(m), OutRangeException);
    EXPECT_THROW((void)read_next_u32(m), OutRangeException);
}

TEST_F(Reading, CursorPastTheEndThrows) {
    MMAP& m = map_of({1, 2, 3, 4});
    for (const std::uint64_t offset : {std::uint64_t{4}, std::uint64_t{5}, ~std::uint64_t{0}}) {
        m.seek(offset);
        EXPECT_THROW((void)read_u16(m), OutRangeException);
        EXPECT_THROW((void)read_u32(m), OutRangeException);
        EXPECT_THROW(write_byte(m, 9), OutRangeException);
        EXPECT_THROW(write_zeros(m, 1), OutRangeException);
    }
    EXPECT_EQ(file(), (Bytes{1, 2, 3, 4}));
}

TEST_F(Reading, NothingMappedThrows) {
    MMAP m(folder / "missing");
    EXPECT_THROW((void)read_u16(m), OutRangeException);
    EXPECT_THROW((void)read_next_u16(m), OutRangeException);
    EXPECT_THROW((void)read_next_u32(m), OutRangeException);
    EXPECT_THROW(write_byte(m, 1), OutRangeException);
    EXPECT_THROW(write_u32(m, 1), OutRangeException);
    EXPECT_THROW(write_zeros(m, 1), OutRangeException);
}

TEST_F(Reading, ClosedMappingThrows) {
    MMAP& m = map_of({1, 2, 3, 4});
    m.close();
    EXPECT_THROW((void)read_u16(m), OutRangeException);
    EXPECT_THROW(write_byte(m, 1), OutRangeException);
}

TEST_F(Reading, WriteOnTheLastByteIsMadeAndThrows) {
    MMAP& m = map_of({1, 2});
    write_byte(m, 8);
    EXPECT_THROW(write_byte(m, 9), OutRangeException);
    EXPECT_EQ(m.position(), 1U);
    EXPECT_EQ(file(), (Bytes{8, 9}));
}

TEST_F(Reading, FourBytesAreWrittenMostSignificantFirst) {
    MMAP& m = map_of({0, 0, 0, 0, 5});
    write_u32(m, 0x89ABCDEF);
    EXPECT_EQ(m.position(), 4U);
    EXPECT_EQ(file(), (Bytes{0x89, 0xAB, 0xCD, 0xEF, 5}));
}

TEST_F(Reading, FourBytesAtTheEndAreWrittenAndThrow) {
    MMAP& m = map_of({0, 0, 0, 0});
    EXPECT_THROW(write_u32(m, 0x89ABCDEF), OutRangeException);
    EXPECT_EQ(file(), (Bytes{0x89, 0xAB, 0xCD, 0xEF}));
}

TEST_F(Reading, ZerosAreWhereTheyAreAskedFor) {
    MMAP& m = map_of(Bytes(10, 7));
    m.seek(3);
    write_zeros(m, 0);
    EXPECT_EQ(m.position(), 3U);
    write_zeros(m, 4);
    EXPECT_EQ(m.position(), 7U);
    EXPECT_EQ(file(), test::zeroed(Bytes(10, 7), 3, 7));
}

TEST_F(Reading, ZerosUpToTheEndAreWrittenAndThrow) {
    for (const std::uint64_t count : {std::uint64_t{5}, std::uint64_t{6}, ~std::uint64_t{0}}) {
        MMAP& m = map_of(Bytes(10, 7));
        m.seek(5);
        EXPECT_THROW(write_zeros(m, count), OutRangeException);
        EXPECT_EQ(m.position(), 9U);
        EXPECT_EQ(file(), test::zeroed(Bytes(10, 7), 5, 10));
    }
}

TEST_F(Reading, ZerosShortOfTheEndByOnePass) {
    MMAP& m = map_of(Bytes(10, 7));
    m.seek(5);
    write_zeros(m, 4);
    EXPECT_EQ(m.position(), 9U);
    EXPECT_EQ(file(), test::zeroed(Bytes(10, 7), 5, 9));
}

TEST_F(Reading, SwapsBytes) {
    EXPECT_EQ(swap_bytes(std::uint16_t{0x1234}), 0x3412);
    EXPECT_EQ(swap_bytes(std::uint32_t{0x12345678}), 0x78563412U);
}

} // namespace
} // namespace plate_mend
