#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/CameraPhoto.h"
#include "support/Jpeg.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/TempDir.h"

#include "files/Formats.h"
#include "files/Kind.h"
#include "repair/SampleCache.h"
#include "repair/Samples.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

// Which sample is the first choice for a damaged file.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

Samples read_samples(const std::vector<fs::path>& files) {
    return {files, SampleCache({}), [](std::size_t, std::size_t) {}};
}

class SampleChoice : public ::testing::Test {
  protected:
    void add_sample(const std::string& name, const Bytes& bytes) {
        write_file(folder / name, bytes);
        files_.push_back(folder / name);
    }

    [[nodiscard]] std::vector<RankedSample> ranked_for(const Bytes& damaged,
                                                       const std::string& name = "IMG_0042.nef") const {
        const fs::path file = folder / "damaged" / name;
        fs::create_directories(file.parent_path());
        write_file(file, damaged);
        return read_samples(files_).ranked_for(file, kind_of(file), file);
    }

    /// The names of the samples, the first choice first.
    [[nodiscard]] std::vector<std::string> order_for(const Bytes& damaged,
                                                     const std::string& name = "IMG_0042.nef") const {
        std::vector<std::string> names;
        for (const RankedSample& sample : ranked_for(damaged, name)) {
            names.push_back(utf8(sample.path.filename()));
        }
        return names;
    }

    TempDir folder;
    std::vector<fs::path> files_;
};

constexpr unsigned kColumns96 = 96;
constexpr unsigned kRows64 = 64;

/// Photographs of a maker whose cameras all have this size.
Bytes photo_of(const std::string& model, unsigned number, unsigned bits = 12) {
    return CameraPhoto({.make = "NIKON CORPORATION", .model = model, .bits = bits}, number, kColumns96,
                       kRows64)
        .bytes;
}

/// Nothing but a trace of a camera.
Bytes noise_with(const std::string& text) {
    Bytes bytes = noise(300'000, 31);
    put_text(bytes, 100'001, text);
    return bytes;
}

TEST_F(SampleChoice, AnotherCameraComesAfterAllOfTheSame) {
    for (const auto& [own, other] : {std::pair("NIKON D5", "NIKON D500"), {"NIKON D500", "NIKON D5"}}) {
        SCOPED_TRACE(own);
        const Bytes damaged = joined(noise(1000, 5), photo_of(own, 3));
        add_sample("IMG_0041.nef", photo_of(other, 3)); // As long, and next to it by name.
        add_sample("a.nef", photo_of(own, 7));
        add_sample("b.nef", photo_of(own, 8));
        const auto ranked = ranked_for(damaged);
        ASSERT_EQ(ranked.size(), 3U);
        EXPECT_EQ(ranked[2].path.filename(), "IMG_0041.nef");
        EXPECT_THAT(ranked[0].why, StartsWith("same camera (" + std::string(own) + "), same picture sizes"));
        EXPECT_THAT(ranked[1].why, StartsWith("same camera"));
        EXPECT_THAT(ranked[2].why, StartsWith("other camera (" + std::string(other) + "), same maker"));
        files_.clear();
    }
}

TEST_F(SampleChoice, AnyTraceOfTheCameraCounts) {
    add_sample("IMG_0041.nef", photo_of("NIKON D500", 1));
    add_sample("own.nef", photo_of("NIKON D1", 2));
    using namespace std::string_literals;
    for (const std::string& text : {"NIKON D1\0"s, "NIKON D1     \0"s, "x\x01NIKON D1\0"s,
                                    "<tiff:Model>NIKON D1</tiff:Model>"s, R"( tiff:Model="NIKON D1" )"s}) {
        const auto ranked = ranked_for(noise_with(text));
        EXPECT_EQ(ranked.front().path.filename(), "own.nef") << text;
        EXPECT_THAT(ranked.front().why, StartsWith("same camera (NIKON D1)")) << text;
    }
    for (const std::string& text : {"NIKON D1"s, "NIKON D1X\0"s, R"(MYNIKON D1" )"s, ""s}) {
        const auto ranked = ranked_for(noise_with(text));
        EXPECT_EQ(ranked.front().path.filename(), "IMG_0041.nef") << text;
        EXPECT_THAT(ranked.front().why, Not(HasSubstr("camera"))) << text;
    }
}

TEST_F(SampleChoice, TracesAreFoundWhereBlocksOfTheSearchMeet) {
    add_sample("IMG_0041.nef", photo_of("NIKON D500", 1));
    add_sample("own.nef", photo_of("NIKON D1", 2));
    constexpr std::size_t kBlock = std::size_t{8} << 20U;
    for (const std::size_t at : {kBlock - 9, kBlock - 4, kBlock}) {
        Bytes damaged(kBlock + 2000, 0xA5);
        put_text(damaged, at, std::string("NIKON D1\0", 9));
        EXPECT_EQ(order_for(damaged).front(), "own.nef") << at;
    }
    const Bytes photo = photo_of("NIKON D3", 3); // No sample's, but of their size and bits.
    for (const std::size_t before : {kBlock - photo.size(), kBlock - 200, kBlock - 30}) {
        EXPECT_THAT(ranked_for(joined(Bytes(before, 0xA5), photo)).front().why,
                    AllOf(HasSubstr("other camera"), HasSubstr("same picture sizes (32 x 24, 96 x 64)"),
                          HasSubstr("same bits and compression")))
            << before;
    }
}

TEST_F(SampleChoice, NamesOfAPhotographsOwnHeadCountAlone) {
    add_sample("IMG_0041.nef", photo_of("NIKON D500", 1));
    add_sample("own.nef", photo_of("NIKON D1", 2));
    const Bytes slack = noise_with(std::string("NIKON D500\0", 11)); // Of another photograph.
    const auto ranked = ranked_for(joined(photo_of("NIKON D1", 3), slack));
    EXPECT_EQ(ranked.front().path.filename(), "own.nef");
    EXPECT_THAT(ranked.back().why, StartsWith("other camera"));
}

TEST_F(SampleChoice, SameSettingsOfACameraComeFirst) {
    add_sample("IMG_0041.nef", photo_of("NIKON D500", 3, 12));
    add_sample("own.nef", photo_of("NIKON D500", 4, 14));
    const auto ranked = ranked_for(photo_of("NIKON D500", 3, 14));
    EXPECT_EQ(ranked.front().path.filename(), "own.nef");
    EXPECT_THAT(ranked.front().why, HasSubstr("same bits and compression"));
    EXPECT_THAT(ranked.back().why, HasSubstr("other bits or compression"));
}

/// The tables of a JPEG alone, amid noise.
Bytes tables_alone(const Bytes& jpeg) {
    const Bytes marker{0xFF, 0xDB};
    Bytes bytes = noise(300'000, 32);
    std::size_t at = 150'000;
    for (auto found = std::search(jpeg.begin(), jpeg.end(), marker.begin(), marker.end());
         found != jpeg.end(); found = std::search(found + 2, jpeg.end(), marker.begin(), marker.end())) {
        const auto first = static_cast<std::size_t>(found - jpeg.begin());
        const Bytes segment = part(jpeg, first, first + 2 + get_u16(jpeg, first + 2, ByteOrder::kBig));
        put_bytes(bytes, at, segment);
        at += segment.size();
    }
    return bytes;
}

TEST_F(SampleChoice, TablesOfAPreviewRankWhereNothingElseSurvives) {
    const auto jpeg = [](unsigned number, int quality) {
        return make_jpeg(Scene(number).rgb8(320, 240), 320, 240, quality);
    };
    for (const int quality : {60, 75, 92}) {
        const ArwPhoto photo({.number = static_cast<unsigned>(quality), .preview = jpeg(1, quality)});
        add_sample(std::to_string(quality) + ".arw", photo.bytes);
    }
    for (const int quality : {60, 75, 92}) {
        const auto ranked = ranked_for(tables_alone(jpeg(2, quality)), "IMG_1.arw");
        EXPECT_EQ(ranked.front().path.stem(), std::to_string(quality));
        EXPECT_THAT(ranked.front().why, StartsWith("same preview tables"));
        EXPECT_THAT(ranked.back().why, HasSubstr("other preview tables"));
    }
}

TEST_F(SampleChoice, KindLengthAndNameDecideWhereNoTraceIsLeft) {
    const Bytes photo = photo_of("NIKON D1", 1);
    add_sample("a.arw", photo);
    add_sample("b_0100.nef", photo);
    add_sample("b_0041.nef", photo);
    add_sample("c.nef", joined(photo, noise(300'000, 4)));
    EXPECT_THAT(order_for(noise(photo.size(), 8), "b_0042.nef"),
                ElementsAre("b_0041.nef", "b_0100.nef", "c.nef"));
    EXPECT_THAT(order_for(noise(photo.size() + 300'000, 8), "x.nef"),
                ElementsAre("c.nef", "b_0100.nef", "b_0041.nef"))
        << "equal ones keep their order";
}

TEST_F(SampleChoice, SameCameraOfAnotherKindComesBeforeOtherCameras) {
    add_sample("other.nef", photo_of("NIKON D500", 1));
    add_sample("own.dng", photo_of("NIKON D1", 2));
    add_sample("own.nef", photo_of("NIKON D1", 2));
    add_sample("stranger.arw", ArwPhoto().bytes);
    EXPECT_THAT(order_for(photo_of("NIKON D1", 3)), ElementsAre("own.nef", "own.dng", "other.nef"));
}

TEST_F(SampleChoice, NeverIsTheFileItself) {
    add_sample("own.nef", photo_of("NIKON D1", 1));
    add_sample("other.nef", photo_of("NIKON D1", 2));
    const fs::path file = folder / "own.nef";
    const auto ranked = read_samples({file, folder / "other.nef"}).ranked_for(file, "nef", file);
    ASSERT_EQ(ranked.size(), 1U);
    EXPECT_EQ(ranked.front().path.filename(), "other.nef");
}

struct HeadLoss {
    const char* name;
    std::function<Bytes(const Bytes& bytes)> apply;
};

Bytes without_first(const Bytes& bytes, std::size_t length) {
    return zeroed(bytes, 0, std::min(length, bytes.size()));
}

Bytes with_encrypted_head(const Bytes& bytes, std::size_t length) {
    const std::size_t end = std::min(length, bytes.size());
    return joined(noise(end, 77), part(bytes, end, bytes.size()));
}

const std::vector<HeadLoss>& head_losses() {
    static const std::vector<HeadLoss> kAll = {
        {"none", [](const Bytes& b) { return b; }},
        {"head of 512 bytes zeroed", [](const Bytes& b) { return zeroed(b, 0, 512); }},
        {"head of 4 KiB zeroed", [](const Bytes& b) { return without_first(b, 4096); }},
        {"head of 64 KiB zeroed", [](const Bytes& b) { return without_first(b, 65536); }},
        {"displaced by 1000 bytes", [](const Bytes& b) { return joined(noise(1000, 12), b); }},
        {"displaced, head of 4 KiB zeroed",
         [](const Bytes& b) { return joined(noise(4096, 13), without_first(b, 4096)); }},
        {"head of 16 KiB encrypted", [](const Bytes& b) { return with_encrypted_head(b, 16384); }},
        {"head of 256 KiB encrypted", [](const Bytes& b) { return with_encrypted_head(b, 262144); }},
    };
    return kAll;
}

std::set<std::string> joined_sets(std::set<std::string> one, const std::set<std::string>& other) {
    one.insert(other.begin(), other.end());
    return one;
}

/// RAW photographs of the folder of real files, and which camera each is from: a folder of a pair, or the
/// only photograph of its camera.
std::map<fs::path, fs::path> real_photographs(const fs::path& cameras) {
    std::map<fs::path, fs::path> photographs;
    const std::vector<std::string>& known = raw_extensions();
    for (const auto& entry : fs::recursive_directory_iterator(cameras)) {
        const fs::path& file = entry.path();
        if (std::find(known.begin(), known.end(), extension_of(file)) != known.end()) {
            const bool is_pair = file.parent_path().parent_path().filename() == "pairs";
            photographs[file] = is_pair ? file.parent_path() : file;
        }
    }
    return photographs;
}

/// Losses that take every trace of the camera, so that kind and length alone are left. In one file a preview
/// survives that is like those of another camera.
bool has_no_trace(const fs::path& file, const std::string& loss) {
    static const std::set<std::string> kFirst64 = {"head of 64 KiB zeroed", "head of 256 KiB encrypted"};
    static const std::set<std::string> kFirst16 = joined_sets(kFirst64, {"head of 16 KiB encrypted"});
    static const std::set<std::string> kFirst4 =
        joined_sets(kFirst16, {"head of 4 KiB zeroed", "displaced, head of 4 KiB zeroed"});
    static const std::set<std::string> kAny = joined_sets(kFirst4, {"head of 512 bytes zeroed"});
    static const std::map<std::string, std::set<std::string>> kAll = {{"sony-a7m3-head.arw", kAny},
                                                                      {"sony-zv-e10-head.arw", kFirst64},
                                                                      {"canon-m50-stripped.cr3", kFirst16},
                                                                      {"canon-r6-pruned.cr3", kFirst64},
                                                                      {"canon-x4-colorchart.dng", kFirst4},
                                                                      {"lg-h815-lossy.dng", kFirst64},
                                                                      {"image_0.dng", kAny},
                                                                      {"image_3.dng", kAny}};
    const auto found = kAll.find(file.filename().string());
    return found != kAll.end() && found->second.contains(loss);
}

/// Without its last third, so that no length says which file it was.
TEST_F(SampleChoice, RealFilesGetTheirOwnCameras) {
    const auto cameras = real_folder();
    if (!cameras) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    const auto photographs = real_photographs(*cameras);
    std::vector<fs::path> files;
    std::transform(photographs.begin(), photographs.end(), std::back_inserter(files),
                   [](const auto& photograph) { return photograph.first; });
    const Samples samples = read_samples(files);
    for (const auto& [file, camera] : photographs) {
        const Bytes bytes = read_file(file);
        for (const HeadLoss& loss : head_losses()) {
            const fs::path broken = folder / fs::path("broken").replace_extension(file.extension());
            write_file(broken, loss.apply(part(bytes, 0, bytes.size() / 3 * 2)));
            const RankedSample first = samples.ranked_for(broken, kind_of(broken), broken).front();
            if (!has_no_trace(file, loss.name)) {
                EXPECT_EQ(photographs.at(first.path), camera)
                    << file << ", " << loss.name << ": " << first.why;
            }
        }
    }
}

} // namespace
} // namespace test
