#include "Repair.h"
#include "Written.h"

#include "support/Cr3Completion.h"
#include "support/ImagePlace.h"
#include "support/Jpeg.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>

// Heads of real cameras, completed with tracks. What is damaged and what is the sample are two photographs of
// one camera, whose tracks have different lengths.

namespace test {
namespace {

/// A camera's head, and what its raw tracks are like.
struct Camera {
    std::string name;
    std::string file;
    CrxKind small;
    CrxKind raw;
    Cr3Shape shape;
    std::array<std::size_t, 2> lengths; ///< Of the small and of the large raw image, as the head states.
};

std::vector<Camera> cameras() {
    const CrxKind lossy{.tiles = 1, .lossy = true};
    const CrxKind one{.tiles = 1};
    const CrxKind two{.tiles = 2};
    Cr3Shape aligned;
    aligned.alignment = 512;
    Cr3Shape dual;
    dual.tracks = {1, 2, 3, 3, 4};
    return {{"R6", "cr3/canon-r6-pruned.cr3", lossy, lossy, aligned, {0x9E198, 0x2E8E10}},
            {"M50", "cr3/canon-m50-stripped.cr3", one, two, {}, {0x1B0738, 0x1ED4D00}},
            {"EosR", "cr3/canon-eos-r-head.cr3", one, two, {}, {0x157410, 0x1848B20}},
            {"EosRDual", "cr3/canon-eos-r-head.cr3", one, two, dual, {0x157410, 0x1848B20}}};
}

/// Records like those of a camera's timed metadata: sizes from a sample entry, other values per photograph.
Bytes records(unsigned seed) {
    Bytes all;
    unsigned kind = 1;
    for (const std::size_t size : {24U, 16U, 24U, 40U, 1722U, 3771U, 1492U}) {
        Bytes record = noise(size, seed + kind);
        put_u32(record, 0, static_cast<std::uint32_t>(size), ByteOrder::kLittle);
        put_u16(record, 4, static_cast<std::uint16_t>(kind++), ByteOrder::kLittle);
        all = joined(all, record);
    }
    return all;
}

struct Photograph {
    CompletedCr3 file;
    Cr3Contents contents;
    std::size_t raw = 0; ///< Which of the tracks is the raw image.
};

/// A photograph whose tracks have about a part of the lengths that the head states.
Photograph photograph(const Camera& camera, const Bytes& head, unsigned number, std::size_t part_of) {
    Photograph result;
    Cr3Contents& contents = result.contents;
    contents.thumbnail = make_preview(Scene(number), 160, 120);
    contents.preview = make_preview(Scene(number), 320, 240);
    const auto length = [&](std::size_t stated) { return stated / part_of / 8 * 8 + number * 8 * 1001; };
    unsigned seed = 100 * number;
    for (const unsigned track : camera.shape.tracks) {
        ++seed;
        if (track == 1) {
            contents.tracks.push_back(make_preview(Scene(number), 640, 480));
        } else if (track == 2) {
            contents.tracks.push_back(noisy_crx(camera.small, length(camera.lengths[0]), seed));
        } else if (track == 3) {
            contents.tracks.push_back(noisy_crx(camera.raw, length(camera.lengths[1]), seed));
        } else {
            contents.tracks.push_back(records(number));
        }
    }
    result.raw =
        static_cast<std::size_t>(std::ranges::find(camera.shape.tracks, 3U) - camera.shape.tracks.begin());
    result.file = complete_cr3(head, camera.shape, contents);
    return result;
}

struct Damage {
    std::string name;
    std::function<Bytes(const CompletedCr3& file, std::size_t raw)> make;
};

std::vector<Damage> damages() {
    const auto head = [](std::size_t size) {
        return [size](const CompletedCr3& file, std::size_t raw) {
            return zeroed(file.bytes, 0, std::min(size, file.tracks[raw].offset));
        };
    };
    const auto displaced = [](std::size_t size, const auto& make) {
        return [=](const CompletedCr3& file, std::size_t raw) {
            return joined(noise(size, 9), make(file, raw));
        };
    };
    const auto whole = [](const CompletedCr3& file, std::size_t) { return file.bytes; };
    const auto all = head(~std::size_t{0});
    return {{"None", whole},
            {"Head4K", head(4096)},
            {"Head64K", head(65536)},
            {"Head128K", head(131072)},
            {"HeadAll", all},
            {"Displaced512", displaced(512, whole)},
            {"Displaced4096", displaced(4096, whole)},
            {"Displaced1000", displaced(1000, whole)},
            {"Displaced1", displaced(1, whole)},
            {"Head4KDisplaced1", displaced(1, head(4096))},
            {"Head64KDisplaced4096", displaced(4096, head(65536))},
            {"HeadAllDisplaced1000", displaced(1000, all)},
            {"NoMoov",
             [](const CompletedCr3& file, std::size_t) {
                 return joined(part(file.bytes, 0, 24), part(file.bytes, file.moov_end, file.bytes.size()));
             }},
            {"MoovZeroed",
             [](const CompletedCr3& file, std::size_t) { return zeroed(file.bytes, 24, file.moov_end); }},
            {"MdatHeaderZeroed", [](const CompletedCr3& file, std::size_t) {
                 return zeroed(file.bytes, file.mdat, file.payload);
             }}};
}

class CrxTracksOfCameras : public testing::TestWithParam<Camera> {};

INSTANTIATE_TEST_SUITE_P(Cameras, CrxTracksOfCameras, testing::ValuesIn(cameras()),
                         [](const auto& test) { return test.param.name; });

TEST_P(CrxTracksOfCameras, ComeBackWhateverTheHeadHasSuffered) {
    const Camera& camera = GetParam();
    REAL_FILE_OR_SKIP(head, camera.file);
    const Photograph original = photograph(camera, head, 1, 8);
    const Photograph other = photograph(camera, head, 2, 8);
    const Bytes raw = original.file.track(original.raw);
    ASSERT_EQ(image_bytes(original.file.bytes), raw);
    const auto sample = raw_mend::Sample::read(other.file.bytes);
    ASSERT_TRUE(sample);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.file, original.raw);
        const auto repaired = raw_mend::repair(damaged, *sample);
        if (!repaired) {
            ADD_FAILURE() << "not found";
            continue;
        }
        const Bytes result = written(repaired->file);
        EXPECT_TRUE(image_bytes(result) == raw);
        EXPECT_EQ(repaired->image.proved, 1U);
        EXPECT_TRUE(repaired->image.doubts.empty());
    }
}

} // namespace
} // namespace test
