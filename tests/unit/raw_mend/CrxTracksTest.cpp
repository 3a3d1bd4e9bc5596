#include "Repair.h"
#include "Written.h"

#include "support/Cr3Completion.h"
#include "support/Cr3Photo.h"
#include "support/CrxEncoder.h"
#include "support/ImagePlace.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
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

/// Records like those of a camera's timed metadata, with other values per photograph.
Bytes records(unsigned seed) {
    struct Record {
        std::size_t size;
        std::uint16_t kind;
    };
    Bytes all;
    for (const auto& [size, kind] : {Record{24, 1}, Record{16, 3}, Record{24, 4}, Record{40, 5},
                                     Record{1722, 10}, Record{3771, 11}, Record{1492, 12}}) {
        Bytes record = noise(size, seed + kind);
        put_u32(record, 0, static_cast<std::uint32_t>(size), ByteOrder::kLittle);
        put_u16(record, 4, kind, ByteOrder::kLittle);
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
    const auto length = [&](std::size_t stated) {
        return stated / part_of / 8 * 8 + std::size_t{number} * 8 * 1001;
    };
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
    return {
        {"None", whole},
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
        {"MdatHeaderZeroed",
         [](const CompletedCr3& file, std::size_t) { return zeroed(file.bytes, file.mdat, file.payload); }},
        {"ZerosAfter", [](const CompletedCr3& file, std::size_t) { return joined(file.bytes, Bytes(3000)); }},
        {"NoiseAfter",
         [](const CompletedCr3& file, std::size_t) { return joined(file.bytes, noise(3000, 5)); }},
        {"HeadAllNoiseAfter",
         [=](const CompletedCr3& file, std::size_t raw) { return joined(all(file, raw), noise(3000, 5)); }},
        {"ClusterPutInBeforeMdat", [](const CompletedCr3& file, std::size_t) {
             const std::size_t at = file.mdat / 2;
             return joined(joined(part(file.bytes, 0, at), noise(4096, 5)),
                           part(file.bytes, at, file.bytes.size()));
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
        const Bytes result = written(*repaired->file);
        EXPECT_TRUE(image_bytes(result) == raw);
        EXPECT_EQ(repaired->image.proved, 1U);
        EXPECT_TRUE(repaired->image.doubts.empty());
    }
}

TEST_P(CrxTracksOfCameras, ComeBackAtTheirFullLength) {
    const Camera& camera = GetParam();
    REAL_FILE_OR_SKIP(head, camera.file);
    const Photograph original = photograph(camera, head, 1, 1);
    const Photograph other = photograph(camera, head, 2, 1);
    const auto sample = raw_mend::Sample::read(other.file.bytes);
    ASSERT_TRUE(sample);
    const std::size_t raw = original.file.tracks[original.raw].offset;
    const Bytes damaged = zeroed(joined(noise(1000, 1), original.file.bytes), 0, raw + 1000);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_TRUE(image_bytes(written(*repaired->file)) == original.file.track(original.raw));
    EXPECT_EQ(repaired->image.proved, 1U);
}

/// Bytes after the coded data that the sizes of the tables count too.
TEST_P(CrxTracksOfCameras, ComeBackThoughTheirTablesCountMoreBytes) {
    const Camera& camera = GetParam();
    REAL_FILE_OR_SKIP(head, camera.file);
    const auto padded = [&](unsigned number) {
        Photograph made = photograph(camera, head, number, 8);
        made.contents.tracks[made.raw].resize(made.contents.tracks[made.raw].size() + 5000 + number);
        made.file = complete_cr3(head, camera.shape, made.contents);
        return made;
    };
    const Photograph original = padded(1);
    const Photograph other = padded(2);
    const auto sample = raw_mend::Sample::read(other.file.bytes);
    ASSERT_TRUE(sample);
    const Bytes damaged = zeroed(original.file.bytes, 0, original.file.tracks[original.raw].offset);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    const Bytes raw = original.file.track(original.raw);
    EXPECT_TRUE(image_bytes(written(*repaired->file)) == part(raw, 0, raw.size() - 5001));
    EXPECT_EQ(repaired->image.proved, 0U) << "where it ends is a guess";
}

/// The headers of the small raw image may begin those of the large one.
TEST(CrxTracksOfManyTiles, AreToldApart) {
    Camera camera = cameras()[2];
    REAL_FILE_OR_SKIP(file, camera.file);
    Bytes head = file;
    camera.small.tiles = 2; // No zeros fill the headers of two tiles up.
    camera.raw.tiles = 4;
    std::size_t at = 0;
    for (const CrxKind& kind : {camera.small, camera.raw}) {
        while (part(head, at, at + 4) != Bytes{'C', 'M', 'P', '1'}) {
            ++at;
        }
        put_u32(head, at + 32, static_cast<std::uint32_t>(kind.header_size()), ByteOrder::kBig);
        ++at;
    }
    const Photograph original = photograph(camera, head, 1, 16);
    const Photograph other = photograph(camera, head, 2, 16);
    const auto sample = raw_mend::Sample::read(other.file.bytes);
    ASSERT_TRUE(sample);
    const Bytes damaged = zeroed(original.file.bytes, 0, original.file.tracks[original.raw].offset);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_TRUE(image_bytes(written(*repaired->file)) == original.file.track(original.raw));
    EXPECT_EQ(repaired->image.proved, 1U);
}

TEST(CrxTracksWithGaps, ComeBackWithTheirNeighbours) {
    const auto photo = [](unsigned number) {
        return Cr3Photo({.number = number, .pictures = true, .gaps = {4, 5, 7, 3}});
    };
    const Cr3Photo original = photo(1);
    const Cr3Photo other = photo(2);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    const Bytes damaged = zeroed(original.bytes, 0, original.tracks[0].offset);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(repaired->image.proved, 1U);
    const Bytes result = written(*repaired->file);
    const auto runs = find_tracks(result);
    ASSERT_EQ(runs.size(), 4U);
    for (unsigned n = 1; n <= 4; ++n) {
        const ByteRun& run = runs[n - 1];
        EXPECT_TRUE(part(result, run.offset, run.offset + run.size) == original.track(n)) << n;
    }
}

TEST(CrxTracksOfLossyCamera, RemainsAndDamages) {
    const Camera camera = cameras().front();
    REAL_FILE_OR_SKIP(head, camera.file);
    const Photograph original = photograph(camera, head, 1, 8);
    const Photograph other = photograph(camera, head, 2, 8);
    const Photograph third = photograph(camera, head, 3, 8);
    const auto sample = raw_mend::Sample::read(other.file.bytes);
    ASSERT_TRUE(sample);
    const Bytes raw = original.file.track(original.raw);
    const std::size_t at = original.file.tracks[original.raw].offset;
    const Bytes headless = zeroed(original.file.bytes, 0, at);
    const std::size_t third_at = third.file.tracks[third.raw].offset;
    const Bytes truncated = part(third.file.bytes, 0, third_at + 5000);
    const Bytes from_raw = part(third.file.bytes, third_at, third.file.bytes.size());
    struct Case {
        std::string name;
        Bytes damaged;
        std::size_t proved;
    };
    const std::vector<Case> cases{
        {"truncated before", joined(truncated, headless), 1},
        {"truncated after", joined(headless, truncated), 1},
        {"truncated directly before",
         joined(truncated, part(original.file.bytes, at, original.file.bytes.size())), 1},
        {"whole after", joined(headless, from_raw), 0},
        {"end unconfirmed, whole after", joined(part(headless, 0, at + raw.size()), from_raw), 0},
        {"blank", zeroed(headless, at + 50000, at + 54096), 0},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        const auto repaired = raw_mend::repair(item.damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(repaired->image.proved, item.proved);
        EXPECT_EQ(repaired->image.doubts.empty(), item.proved == 1);
        if (item.proved == 1) {
            EXPECT_TRUE(image_bytes(written(*repaired->file)) == raw);
        }
    }
}

// ---- Whole photographs with pictures, so that their data are decoded. ----

constexpr unsigned kBits = 14;

/// The frames of a head's raw tracks, made small: a decoder takes the numbers from CMP1.
Bytes with_frame(Bytes head, unsigned width, unsigned height, unsigned tile_width) {
    unsigned done = 0;
    for (std::size_t at = 0; at + 48 < head.size() && done < 2; ++at) {
        if (part(head, at, at + 4) != Bytes{'C', 'M', 'P', '1'}) {
            continue;
        }
        const unsigned divisor = done == 0 ? 2 : 1; // The first one is the small raw image.
        put_u32(head, at + 12, width / divisor, ByteOrder::kBig);
        put_u32(head, at + 16, height / divisor, ByteOrder::kBig);
        put_u32(head, at + 20, done == 0 ? width / 2 : tile_width, ByteOrder::kBig);
        put_u32(head, at + 24, height / divisor, ByteOrder::kBig);
        ++done;
    }
    return head;
}

constexpr unsigned kWidth = 320;
constexpr unsigned kHeight = 240;

/// A photograph of an EOS R in all but its size.
CompletedCr3 small_photograph(const Bytes& head, unsigned number, const Cr3Shape& shape) {
    const Scene scene(number);
    Cr3Contents contents;
    contents.thumbnail = make_preview(scene, 160, 120);
    contents.preview = make_preview(scene, 200, 150);
    unsigned raws = 0;
    for (const unsigned track : shape.tracks) {
        if (track == 1) {
            contents.tracks.push_back(make_preview(scene, 320, 240));
        } else if (track == 2) {
            contents.tracks.push_back(
                encode_crx(scene.bayer(kWidth / 2, kHeight / 2, kBits), kWidth / 2, kHeight / 2, kBits));
        } else if (track == 3) {
            const auto samples = Scene(number + 10 * raws++).bayer(kWidth, kHeight, kBits, 512);
            contents.tracks.push_back(encode_crx(samples, kWidth, kHeight, kBits, kWidth / 2));
        } else {
            contents.tracks.push_back(records(number));
        }
    }
    return complete_cr3(with_frame(head, kWidth, kHeight, kWidth / 2), shape, contents);
}

std::size_t track_number(const Cr3Shape& shape, unsigned track) {
    return static_cast<std::size_t>(std::ranges::find(shape.tracks, track) - shape.tracks.begin());
}

struct NamedShape {
    std::string name;
    Cr3Shape shape;
    bool decodes = true; ///< LibRaw has no "stco".
};

std::vector<NamedShape> shapes() {
    using Sizes = Cr3Shape::Sizes;
    return {{"AsTheHead", {}},
            {"FixedSizes", {.sizes = Sizes::kFixed}},
            {"TablesOfSizes", {.sizes = Sizes::kTable}},
            {"NarrowOffsets", {.wide_offsets = false}, false},
            {"NarrowMdat", {.wide_mdat = false}},
            {"Aligned512", {.alignment = 512}},
            {"Aligned4096", {.alignment = 4096}},
            {"RawOnly", {.tracks = {3}}},
            {"RawAndMetadata", {.tracks = {3, 4}}},
            {"JpegAndRaw", {.tracks = {1, 3}}},
            {"SmallRawAndRaw", {.tracks = {2, 3}}},
            {"NoMetadata", {.tracks = {1, 2, 3}}},
            {"NoSmallRaw", {.tracks = {1, 3, 4}}},
            {"TwoRaws", {.tracks = {1, 2, 3, 3, 4}}},
            {"RawFirst", {.tracks = {3, 1, 2, 4}}},
            {"BytesAfterMdat", {.after = 700}}};
}

class CrxTracksOfShapes : public testing::TestWithParam<NamedShape> {};

INSTANTIATE_TEST_SUITE_P(Shapes, CrxTracksOfShapes, testing::ValuesIn(shapes()),
                         [](const auto& test) { return test.param.name; });

TEST_P(CrxTracksOfShapes, ComeBackPixelForPixel) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-eos-r-head.cr3");
    const Cr3Shape& shape = GetParam().shape;
    const CompletedCr3 original = small_photograph(head, 1, shape);
    const CompletedCr3 other = small_photograph(head, 2, shape);
    const std::size_t raw = track_number(shape, 3);
    ASSERT_EQ(image_bytes(original.bytes), original.track(raw));
    const auto picture = decode_raw(original.bytes);
    ASSERT_EQ(picture && picture->samples.size() == std::size_t{kWidth} * kHeight && picture->errors == 0,
              GetParam().decodes);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original, raw);
        const auto repaired = raw_mend::repair(damaged, *sample);
        if (!repaired) {
            ADD_FAILURE() << "not found";
            continue;
        }
        const Bytes result = written(*repaired->file);
        EXPECT_TRUE(image_bytes(result) == original.track(raw));
        EXPECT_EQ(decode_raw(result), picture);
        EXPECT_EQ(repaired->image.proved, 1U);
        EXPECT_TRUE(repaired->image.doubts.empty());
    }
}

/// The tracks of a file as its own tables have them, in their order.
std::vector<Bytes> tracks_of(const Bytes& file) {
    std::vector<Bytes> tracks;
    for (const ByteRun& run : find_tracks(file)) {
        tracks.push_back(part(file, run.offset, run.offset + run.size));
    }
    return tracks;
}

TEST_P(CrxTracksOfShapes, TracksBesideTheImageComeBackToo) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-eos-r-head.cr3");
    const Cr3Shape& shape = GetParam().shape;
    const CompletedCr3 original = small_photograph(head, 1, shape);
    const CompletedCr3 other = small_photograph(head, 2, shape);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    // The head up to the first track is lost.
    const Bytes damaged = zeroed(original.bytes, 0, original.tracks[0].offset);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    const auto tracks = tracks_of(written(*repaired->file));
    ASSERT_EQ(tracks.size(), shape.tracks.size());
    for (std::size_t nth = 0; nth < tracks.size(); ++nth) {
        EXPECT_TRUE(tracks[nth] == original.track(nth)) << nth;
    }
}

// ---- Images that are damaged themselves, and files with more than one. ----

class CrxTracksOfOneCamera : public testing::Test {
  protected:
    void SetUp() override {
        if (!real_folder()) {
            GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
        }
        static const std::array<CompletedCr3, 3> kPhotographs = [] {
            const Bytes head = *real_file("cr3/canon-eos-r-head.cr3");
            return std::array{small_photograph(head, 1, {}), small_photograph(head, 2, {}),
                              small_photograph(head, 3, {})};
        }();
        original_ = kPhotographs[0];
        other_ = kPhotographs[1];
        third_ = kPhotographs[2];
        sample_ = raw_mend::Sample::read(other_.bytes);
        ASSERT_TRUE(sample_);
    }

    /// The image of the result of a repair that must succeed.
    struct Result {
        raw_mend::FoundImage image;
        Bytes file;
    };
    Result repair(const Bytes& damaged) {
        const auto repaired = raw_mend::repair(damaged, *sample_);
        if (!repaired) {
            ADD_FAILURE() << "not found";
            return {};
        }
        return {repaired->image, written(*repaired->file)};
    }

    [[nodiscard]] Bytes headless(const CompletedCr3& file) const {
        return zeroed(file.bytes, 0, file.tracks[kRaw].offset);
    }
    /// What is after the first bytes of its raw image, and what begins with its small one.
    [[nodiscard]] Bytes tail(const CompletedCr3& file) const {
        return part(file.bytes, file.tracks[kRaw].offset + 700, file.bytes.size());
    }
    [[nodiscard]] Bytes from_small_raw(const CompletedCr3& file) const {
        return part(file.bytes, file.tracks[kSmall].offset, file.bytes.size());
    }
    [[nodiscard]] std::size_t inside(std::size_t track) const {
        return original_.tracks[track].offset + original_.tracks[track].size / 2;
    }

    static constexpr std::size_t kJpeg = 0;
    static constexpr std::size_t kSmall = 1;
    static constexpr std::size_t kRaw = 2;
    static constexpr std::size_t kMetadata = 3;
    CompletedCr3 original_;
    CompletedCr3 other_;
    CompletedCr3 third_;
    std::optional<raw_mend::Sample> sample_;
};

TEST_F(CrxTracksOfOneCamera, DamagedDataAreInPlaceButNotProved) {
    const std::size_t at = inside(kRaw);
    for (const bool head_lost : {false, true}) {
        const Bytes file = head_lost ? headless(original_) : original_.bytes;
        for (const Bytes& damaged :
             {zeroed(file, at, at + 4096), with(file, at, noise(4096, 1)), with(file, at, noise(1, 1))}) {
            const Result result = repair(damaged);
            EXPECT_EQ(result.image.proved, 0U);
            EXPECT_FALSE(result.image.doubts.empty());
            const std::size_t raw = original_.tracks[kRaw].offset;
            EXPECT_TRUE(image_bytes(result.file) == part(damaged, raw, raw + original_.tracks[kRaw].size));
            EXPECT_TRUE(tracks_of(result.file)[kMetadata] == original_.track(kMetadata));
        }
    }
}

TEST_F(CrxTracksOfOneCamera, LostOrAddedBytesAreNotProved) {
    const std::size_t at = inside(kRaw);
    const Bytes& file = original_.bytes;
    const Bytes lost = joined(part(file, 0, at), part(file, at + 4096, file.size()));
    const Bytes added = joined(joined(part(file, 0, at), noise(4096, 1)), part(file, at, file.size()));
    for (const Bytes& damaged : {lost, added}) {
        const Result result = repair(damaged);
        EXPECT_EQ(result.image.proved, 0U);
        EXPECT_FALSE(result.image.doubts.empty());
    }
}

TEST_F(CrxTracksOfOneCamera, TruncatedImageIsInPlaceUpToItsEnd) {
    const Bytes damaged = part(original_.bytes, 0, inside(kRaw));
    const Result result = repair(damaged);
    EXPECT_EQ(result.image.proved, 0U);
    EXPECT_EQ(result.image.doubts,
              (std::vector<std::string>{"The raw image extends past the end of the file."}));
    EXPECT_TRUE(image_bytes(result.file) == part(damaged, original_.tracks[kRaw].offset, damaged.size()));
}

TEST_F(CrxTracksOfOneCamera, ImageWithoutItsHeadIsInPlaceIfItsNeighboursAre) {
    const std::size_t raw = original_.tracks[kRaw].offset;
    const std::size_t plane = raw + 12;                 // The head of the first plane,
    const std::size_t tile = raw + std::size_t{12} * 9; // and of the second tile.
    for (const std::size_t at : {raw, plane, tile}) {
        const Bytes damaged = zeroed(original_.bytes, at, at + 12);
        const Result result = repair(damaged);
        EXPECT_EQ(result.image.proved, 0U);
        EXPECT_EQ(result.image.doubts, (std::vector<std::string>{"The head of the raw image is destroyed."}));
        EXPECT_TRUE(image_bytes(result.file) == part(damaged, raw, raw + original_.tracks[kRaw].size));
        for (const std::size_t track : {kJpeg, kSmall, kMetadata}) {
            EXPECT_TRUE(tracks_of(result.file)[track] == original_.track(track)) << track;
        }
    }
}

TEST_F(CrxTracksOfOneCamera, LostImageLeavesWhatElseThereIs) {
    const std::size_t raw = original_.tracks[kRaw].offset;
    const Result cut = repair(part(original_.bytes, 0, raw));
    ASSERT_EQ(cut.image.pieces.size(), 1U);
    EXPECT_FALSE(cut.image.pieces[0]);
    EXPECT_EQ(cut.image.proved, 0U);
    EXPECT_EQ(cut.image.doubts, (std::vector<std::string>{"The raw image is lost."}));
    EXPECT_TRUE(image_bytes(cut.file) == Bytes(other_.tracks[kRaw].size));
    EXPECT_TRUE(tracks_of(cut.file)[kJpeg] == original_.track(kJpeg));
    EXPECT_TRUE(tracks_of(cut.file)[kSmall] == original_.track(kSmall));
    const Result head = repair(zeroed(original_.bytes, 0, raw + 700));
    EXPECT_EQ(head.image.count_found(), 0U);
    EXPECT_TRUE(tracks_of(head.file)[kMetadata] == original_.track(kMetadata));
}

TEST_F(CrxTracksOfOneCamera, PreviewThatDoesNotMeetTheNextTrackIsLeftOut) {
    const std::size_t end = original_.tracks[kJpeg].offset + original_.tracks[kJpeg].size;
    const Bytes file = headless(original_);
    const Bytes jpeg = part(original_.bytes, original_.tracks[kJpeg].offset, end);
    const Result result = repair(joined(with(part(file, 0, end), end - jpeg.size(), jpeg),
                                        joined(noise(100, 1), part(original_.bytes, end, file.size()))));
    EXPECT_EQ(result.image.proved, 1U);
    EXPECT_TRUE(tracks_of(result.file)[kSmall] == original_.track(kSmall));
    EXPECT_TRUE(tracks_of(result.file)[kJpeg] == other_.track(kJpeg));
}

TEST_F(CrxTracksOfOneCamera, NothingIsFoundInOtherFiles) {
    EXPECT_FALSE(raw_mend::repair(noise(300000, 1), *sample_));
    EXPECT_FALSE(raw_mend::repair(Bytes(300000), *sample_));
    EXPECT_FALSE(raw_mend::repair({}, *sample_));
}

TEST_F(CrxTracksOfOneCamera, RemainsWithoutAWholeImageDoNotMatter) {
    for (const Bytes& damaged :
         {joined(tail(third_), headless(original_)), joined(headless(original_), tail(third_)),
          joined(headless(original_), part(third_.bytes, 0, third_.tracks[kRaw].offset + 5000)),
          joined(part(third_.bytes, 0, third_.tracks[kRaw].offset + 5000), headless(original_)),
          joined(Bytes(70000), headless(original_)), joined(headless(original_), Bytes(70000))}) {
        const Result result = repair(damaged);
        EXPECT_TRUE(image_bytes(result.file) == original_.track(kRaw));
        EXPECT_EQ(result.image.proved, 1U);
        EXPECT_TRUE(result.image.doubts.empty());
    }
}

TEST_F(CrxTracksOfOneCamera, RemainsWithAWholeImageBeforeTheEndDoNotMatter) {
    // Far from where the sample has its image.
    const Bytes remains = joined(noise(400000, 1), from_small_raw(third_));
    const Result result = repair(joined(remains, headless(original_)));
    EXPECT_TRUE(image_bytes(result.file) == original_.track(kRaw));
    EXPECT_EQ(result.image.proved, 1U);
}

TEST_F(CrxTracksOfOneCamera, TwoImagesThatMayBeItAreADoubt) {
    for (const Bytes& damaged : {joined(headless(original_), headless(third_)),
                                 joined(headless(original_), from_small_raw(third_))}) {
        const Result result = repair(damaged);
        EXPECT_EQ(result.image.proved, 0U);
        ASSERT_EQ(result.image.doubts.size(), 1U);
        EXPECT_NE(result.image.doubts[0].find("several raw images"), std::string::npos);
        EXPECT_TRUE(image_bytes(result.file) == original_.track(kRaw)) << "where the sample's is";
    }
}

TEST_F(CrxTracksOfOneCamera, TablesThatSurviveDecide) {
    // The boxes before moov's tracks are lost. What follows is another photograph's.
    const Bytes damaged = joined(zeroed(original_.bytes, 0, 4096), from_small_raw(third_));
    const Result result = repair(damaged);
    EXPECT_TRUE(image_bytes(result.file) == original_.track(kRaw));
}

} // namespace
} // namespace test
