#include "util/Slice.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"
#include "util/ByteScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace plate_mend {
namespace {

using test::Bytes;

class Slice : public ::testing::Test {
  protected:
    Slice() { test::write_file(folder / "file", {1, 2, 3, 4}); }

    test::TempDir folder;
};

Bytes copied(std::span<const unsigned char> bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST_F(Slice, IsInsideTheMapping) {
    const MMAP map(folder / "file");
    EXPECT_EQ(copied(slice(map, 0, 4)), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(copied(slice(map, 1, 2)), (Bytes{2, 3}));
    EXPECT_EQ(copied(slice(map, 4, 0)), Bytes{});
    EXPECT_THROW((void)slice(map, 0, 5), OutRangeException);
    EXPECT_THROW((void)slice(map, 4, 1), OutRangeException);
    EXPECT_THROW((void)slice(map, 5, 0), OutRangeException);
    EXPECT_THROW((void)slice(map, 2, ~std::uint64_t{0}), OutRangeException) << "the sum would wrap";
    EXPECT_THROW((void)slice(map, ~std::uint64_t{0}, 2), OutRangeException);
}

TEST_F(Slice, ToTheEnd) {
    const MMAP map(folder / "file");
    EXPECT_EQ(copied(slice_to_end(map, 0)), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(copied(slice_to_end(map, 3)), (Bytes{4}));
    EXPECT_EQ(copied(slice_to_end(map, 4)), Bytes{});
    EXPECT_THROW((void)slice_to_end(map, 5), OutRangeException);
}

TEST_F(Slice, NothingMapped) {
    const MMAP map(folder / "missing");
    EXPECT_TRUE(slice(map, 0, 0).empty());
    EXPECT_TRUE(slice_to_end(map, 0).empty());
    EXPECT_THROW((void)slice(map, 0, 1), OutRangeException);
}

TEST_F(Slice, IsInsertedIntoAStream) {
    const MMAP map(folder / "file");
    std::ostringstream stream;
    insert_bytes(stream, slice(map, 1, 3));
    insert_bytes(stream, slice(map, 4, 0));
    EXPECT_EQ(stream.str(), "\x02\x03\x04");
}

TEST_F(Slice, ManyPiecesAreAllInserted) {
    const Bytes bytes = test::noise(5'000'001, 1);
    test::write_file(folder / "large", bytes);
    const MMAP map(folder / "large");
    for (const std::size_t first : {0U, 4095U, 4'900'000U}) {
        std::ostringstream stream;
        insert_bytes(stream, slice_to_end(map, first));
        const std::string text = stream.str();
        EXPECT_TRUE(std::equal(
            text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(),
            [](char left, unsigned char right) { return static_cast<unsigned char>(left) == right; }))
            << first;
    }
}

TEST_F(Slice, IsNotInsertedIntoAStreamThatFailed) {
    test::write_file(folder / "large", test::noise(5'000'001, 1));
    const MMAP map(folder / "large");
    std::ostringstream stream;
    stream.setstate(std::ios::badbit);
    EXPECT_NO_THROW(insert_bytes(stream, slice_to_end(map, 0)));
    EXPECT_EQ(stream.str(), "");
}

TEST_F(Slice, SearchInAFileIsClampedToIt) {
    const MMAP map(folder / "file");
    const Bytes pattern{3, 4};
    EXPECT_EQ(find_in_file(map, pattern, 0, 1000), 2U);
    EXPECT_EQ(find_in_file(map, pattern, 2, 4), 2U);
    EXPECT_EQ(find_in_file(map, pattern, 2, 3), std::nullopt);
    EXPECT_EQ(find_in_file(map, pattern, 3, 4), std::nullopt);
    EXPECT_EQ(find_in_file(map, pattern, 1000, 2000), std::nullopt);
    EXPECT_EQ(find_in_file(map, pattern, 3, 1), std::nullopt);
    EXPECT_EQ(find_in_file(MMAP(folder / "missing"), pattern, 0, 1000), std::nullopt);
}

} // namespace
} // namespace plate_mend
