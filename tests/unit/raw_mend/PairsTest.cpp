#include "Repair.h"
#include "Written.h"

#include "support/ImagePlace.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

// Photographs of one camera: one is damaged, and repaired with the other.

namespace test {
namespace {

struct PairOfPhotographs {
    std::string name;
    std::string damaged;
    std::string sample;
    std::size_t image = 0; ///< Offset of the raw image of the first.
};

Bytes zeros_before(const Bytes& file, std::size_t end) {
    return zeroed(file, 0, std::min(end, file.size()));
}

struct DamageOfHead {
    std::string name;
    std::function<Bytes(const Bytes& file, std::size_t image)> make;
};

const std::vector<DamageOfHead>& damages() {
    const auto displaced = [](std::size_t bytes) {
        return [bytes](const Bytes& file, std::size_t) { return joined(noise(bytes, 7), file); };
    };
    static const std::vector<DamageOfHead> all{
        {"none", [](const Bytes& file, std::size_t) { return file; }},
        {"head_4k", [](const Bytes& file,
                       std::size_t image) { return zeros_before(file, std::min<std::size_t>(4096, image)); }},
        {"head_64k",
         [](const Bytes& file, std::size_t image) {
             return zeros_before(file, std::min<std::size_t>(65536, image));
         }},
        {"head_all", [](const Bytes& file, std::size_t image) { return zeros_before(file, image); }},
        {"displaced_512", displaced(512)},
        {"displaced_4096", displaced(4096)},
        {"displaced_1000", displaced(1000)},
        {"head_all_displaced_1000",
         [](const Bytes& file, std::size_t image) {
             return joined(noise(1000, 7), zeros_before(file, image));
         }},
    };
    return all;
}

class Pairs : public testing::TestWithParam<PairOfPhotographs> {};

TEST_P(Pairs, ComeBackPixelForPixelWhereverTheirImageIs) {
    REAL_FILE_OR_SKIP(original, GetParam().damaged);
    REAL_FILE_OR_SKIP(intact, GetParam().sample);
    const auto sample = raw_mend::Sample::read(intact);
    ASSERT_TRUE(sample);
    const auto expected = decode_raw(original);
    ASSERT_TRUE(expected);
    const auto image = image_bytes(original);
    ASSERT_TRUE(image);
    for (const DamageOfHead& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original, GetParam().image);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired);
        const Bytes result = written(repaired->file);
        EXPECT_EQ(result.size(), repaired->file.size());
        EXPECT_EQ(repaired->image.proved, repaired->image.pieces.size());
        EXPECT_EQ(decode_raw(result), expected);
        EXPECT_TRUE(image_bytes(result) == image);
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
        {"Blackmagic", "dng/blackmagic-pocket.dng", "dng/blackmagic-pocket.dng", 9216},
    };
}

INSTANTIATE_TEST_SUITE_P(All, Pairs, testing::ValuesIn(pairs()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
