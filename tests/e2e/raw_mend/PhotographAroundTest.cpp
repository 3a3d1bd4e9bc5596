#include "RawMendFixture.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/RealFiles.h"

#include <functional>
#include <utility>

// Another whole photograph is inside the damaged file, and parts its image.

namespace test {
namespace {

constexpr std::size_t kCluster = 4096;

Bytes around(const Bytes& original, std::size_t at, const Bytes& inside) {
    return joined(joined(part(original, 0, at), inside), part(original, at, original.size()));
}

class RawMendPhotographAround : public RawMendFixture {
  protected:
    std::int32_t repair_around(const Bytes& original, std::size_t at, const Bytes& inside) {
        write_file(damaged, around(original, at, inside));
        write_file(sample, inside);
        std::filesystem::remove(output);
        return repair();
    }

    void expect_removed(const Bytes& original, std::size_t at, const Bytes& inside) {
        ASSERT_EQ(repair_around(original, at, inside), RAW_MEND_OK);
        EXPECT_TRUE(read_file(output) == original);
        EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_OWN_TABLES});
        EXPECT_EQ(report.notes, std::uint32_t{RAW_MEND_PHOTOGRAPH_REMOVED});
        EXPECT_EQ(report.proved_piece_count, report.piece_count);
    }

    [[nodiscard]] bool is_removed() const { return (report.notes & RAW_MEND_PHOTOGRAPH_REMOVED) != 0; }
};

TEST_F(RawMendPhotographAround, IsPutTogether) {
    using Make = std::function<Bytes(unsigned number)>;
    const std::vector<std::pair<std::string, Make>> formats{
        {"Cr2", [](unsigned number) { return Cr2Photo({.number = number}).bytes; }},
        {"Dng", [](unsigned number) { return DngPhoto({.number = number}).bytes; }},
        {"Arw",
         [](unsigned number) { return ArwPhoto({.number = number, .width = 480, .height = 360}).bytes; }},
    };
    for (const auto& [name, make] : formats) {
        const Bytes original = make(1);
        for (const std::size_t share : {2U, 3U}) {
            SCOPED_TRACE(name + ", after all but one part in " + std::to_string(share));
            expect_removed(original, original.size() - original.size() / share, make(2));
        }
    }
}

TEST_F(RawMendPhotographAround, RealOnesArePutTogether) {
    const std::vector<std::pair<std::string, std::string>> pairs{
        {"pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2"},
        {"pairs/nikon-d5000-dng/sample1.dng", "pairs/nikon-d5000-dng/sample2.dng"},
        {"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng"},
    };
    for (const auto& [one, like] : pairs) {
        SCOPED_TRACE(one);
        REAL_FILE_OR_SKIP(original, one);
        REAL_FILE_OR_SKIP(inside, like);
        expect_removed(original, original.size() / 2 / kCluster * kCluster, inside);
    }
}

/// Its head and first tiles are noise; what is inside has the only tables.
TEST_F(RawMendPhotographAround, WithoutAHeadIsPutTogether) {
    const std::size_t at = photo.tile_offsets[photo.tiles() / 2] + 100;
    const Bytes original = with(photo.bytes, 0, noise(photo.tile_offsets[0], 1));
    ASSERT_EQ(repair_around(original, at, other.bytes), RAW_MEND_OK);
    EXPECT_TRUE(is_removed());
    EXPECT_EQ(report.proved_piece_count, report.piece_count);
    const std::size_t image = photo.bytes.size() - photo.tile_offsets[0];
    EXPECT_TRUE(part(read_file(output), read_file(output).size() - image, read_file(output).size()) ==
                part(photo.bytes, photo.tile_offsets[0], photo.bytes.size()));
}

TEST_F(RawMendPhotographAround, OffsetsAreThoseInTheFile) {
    const Bytes before = noise(5000, 1);
    const std::size_t at = photo.tile_offsets[photo.tiles() / 2];
    ASSERT_EQ(repair_around(joined(before, photo.bytes), before.size() + at, other.bytes), RAW_MEND_OK);
    ASSERT_TRUE(is_removed());
    EXPECT_EQ(report.image_offset, before.size() + photo.tile_offsets[0]);
}

/// Remains of a card: what is before and after it is not of one photograph.
TEST_F(RawMendPhotographAround, PartsOfTwoAreNotPutTogether) {
    const Bytes one = ArwPhoto({.number = 1, .width = 480, .height = 360}).bytes;
    const Bytes inside = ArwPhoto({.number = 2, .width = 480, .height = 360}).bytes;
    const Bytes third = ArwPhoto({.number = 3, .width = 480, .height = 360}).bytes;
    const std::size_t at = one.size() / 2;
    write_file(damaged, joined(joined(part(one, 0, at), inside), part(third, at, third.size())));
    write_file(sample, inside);
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_FALSE(is_removed());
}

TEST_F(RawMendPhotographAround, ForeignHeadBeforeAPhotographIsNone) {
    for (const std::size_t size : {std::size_t{1000}, std::size_t{photo.tile_offsets[0]} + 3000}) {
        write_file(damaged, joined(part(other.bytes, 0, size), photo.bytes));
        std::filesystem::remove(output);
        ASSERT_EQ(repair(), RAW_MEND_OK);
        EXPECT_FALSE(is_removed());
        EXPECT_TRUE(read_file(output) == photo.bytes);
    }
}

} // namespace
} // namespace test
