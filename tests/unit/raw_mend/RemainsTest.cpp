#include "HostileInputs.h"
#include "Repair.h"
#include "Written.h"

#include "support/DngPhoto.h"

#include <gtest/gtest.h>

#include <algorithm>

// Files that hold remains of the sample itself before the photograph, as recovered ones do.

namespace test {
namespace {

TEST(Remains, TheSampleBeforeThePhotographIsNotTakenForIt) {
    for (const SmallPhotograph& photo : small_photographs()) {
        if (photo.name.rfind("dng", 0) != 0 && photo.name.rfind("cr2", 0) != 0) {
            continue;
        }
        SCOPED_TRACE(photo.name);
        const auto sample = raw_mend::Sample::read(photo.sample);
        ASSERT_TRUE(sample);
        const Bytes damaged = joined(photo.sample, photo.damaged);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(written(*repaired->file), photo.damaged);
        const auto alone = raw_mend::repair(photo.sample, *sample);
        ASSERT_TRUE(alone && alone->file);
        EXPECT_EQ(written(*alone->file), photo.sample);
    }
}

TEST(Remains, ARowOfStreamsThatIsProvedIsPreferredToANearerOne) {
    const DngPhoto sample;
    const DngPhoto photo({.number = 2});
    const auto read = raw_mend::Sample::read(sample.bytes);
    ASSERT_TRUE(read);
    // The last tile of the sample is cut.
    const std::size_t cut = end_of_tiles(sample) - 40;
    const std::size_t first = *std::ranges::min_element(photo.tile_offsets);
    const Bytes damaged = joined(part(sample.bytes, 0, cut), zeroed(photo.bytes, 0, first));
    const auto repaired = raw_mend::repair(damaged, *read);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_FALSE(repaired->image.doubts.empty()); // The remains may be of the photograph,
    EXPECT_EQ(repaired->image.proved, 0U); // so its tiles are decoded, and their places are not proved.
    for (std::size_t tile = 0; tile < photo.tiles(); ++tile) {
        ASSERT_TRUE(repaired->image.pieces[tile]);
        EXPECT_EQ(repaired->image.pieces[tile]->offset, cut + photo.tile_offsets[tile]) << tile;
    }
}

} // namespace
} // namespace test
