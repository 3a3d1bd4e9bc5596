#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Photographs of one camera: one is damaged, and repaired with the other.

namespace test {
namespace {

struct PairOfPhotographs {
    std::string name;
    std::string damaged;
    std::string sample;
    std::size_t image = 0; ///< Offset of the raw image of the first.
};

class Pairs : public testing::TestWithParam<PairOfPhotographs> {};

TEST_P(Pairs, ComeBackPixelForPixelWhereverTheirImageIs) {
    REAL_FILE_OR_SKIP(original, GetParam().damaged);
    REAL_FILE_OR_SKIP(intact, GetParam().sample);
    const auto sample = raw_mend::Sample::read(intact);
    ASSERT_TRUE(sample);
    const auto expected = decode_raw(original);
    ASSERT_TRUE(expected);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original, GetParam().image, intact);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        const Bytes result = written(*repaired->file);
        EXPECT_EQ(result.size(), repaired->file->size());
        if (damage.ends_alike) {
            EXPECT_EQ(repaired->image.proved, repaired->image.pieces.size());
        }
        EXPECT_EQ(decode_raw(result), expected);
    }
}

std::vector<PairOfPhotographs> pairs() {
    const std::string canon = "pairs/canon-30d/";
    const std::string nikon = "pairs/nikon-d5000-dng/";
    const std::string pi = "pairs/picamera-rig/";
    return {
        {"Canon30D_5952", canon + "IMG_5952.CR2", canon + "IMG_0848.CR2", 751441},
        {"Canon30D_0848", canon + "IMG_0848.CR2", canon + "IMG_5952.CR2", 629814},
        {"NikonD5000_1", nikon + "sample1.dng", nikon + "sample2.dng", 673114},
        {"NikonD5000_2", nikon + "sample2.dng", nikon + "sample1.dng", 677728},
        {"Pi_0", pi + "image_0.dng", pi + "image_3.dng", 748},
        {"Pi_3", pi + "image_3.dng", pi + "image_0.dng", 748},
        {"NikonD1", "nef/nikon-d1.nef", "nef/nikon-d1.nef", 59642},
        {"CanonX4", "dng/canon-x4-colorchart.dng", "dng/canon-x4-colorchart.dng", 1536},
        {"Lossy", "dng/lg-h815-lossy.dng", "dng/lg-h815-lossy.dng", 24144},
        {"Blackmagic", "dng/blackmagic-pocket.dng", "dng/blackmagic-pocket.dng", 9216},
    };
}

INSTANTIATE_TEST_SUITE_P(All, Pairs, testing::ValuesIn(pairs()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
