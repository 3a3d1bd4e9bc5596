#include "host/BatchFixture.h"

#include "judge/RawDecoder.h"
#include "metadata/MetadataBlock.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Thinned.h"

#include <gmock/gmock.h>

#include <libraw/libraw.h>
#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string_view>

// The program on photographs from real cameras, in pairs: one is damaged, the other is its sample.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Record;
using plate_mend::host::Verdict;

struct RealPair {
    const char* original;
    const char* sample;
    std::size_t image; ///< Offset of the original's image.
};

struct HeadDamage {
    const char* name;
    std::function<Bytes(const Bytes& original, std::size_t image)> apply;
};

constexpr std::size_t kKiB = 1024;

Bytes without_head(const Bytes& original, std::size_t length) {
    return zeroed(original, 0, length);
}

Bytes displaced(const Bytes& bytes, std::size_t by) {
    return joined(noise(by, 12), bytes);
}

/// Damages that leave every byte of the image where the head is shorter than what precedes the image.
const std::vector<HeadDamage>& head_damages() {
    static const std::vector<HeadDamage> kAll = {
        {"HeadOf4KiB",
         [](const Bytes& o, std::size_t image) { return without_head(o, std::min(image, 4 * kKiB)); }},
        {"HeadOf64KiB",
         [](const Bytes& o, std::size_t image) { return without_head(o, std::min(image, 64 * kKiB)); }},
        {"WholeHead", without_head},
        {"DisplacedBy512", [](const Bytes& o, std::size_t) { return displaced(o, 512); }},
        {"DisplacedBy4096", [](const Bytes& o, std::size_t) { return displaced(o, 4096); }},
        {"DisplacedBy1000", [](const Bytes& o, std::size_t) { return displaced(o, 1000); }},
        {"HeadOf4KiBDisplaced",
         [](const Bytes& o, std::size_t image) {
             return displaced(without_head(o, std::min(image, 4 * kKiB)), 4096);
         }},
        {"WholeHeadDisplaced",
         [](const Bytes& o, std::size_t image) { return displaced(without_head(o, image), 1000); }},
    };
    return kAll;
}

/// The samples of the JPEG that LibRaw takes for a photograph's preview; nothing when there is none.
std::optional<Bytes> preview_of(const fs::path& photograph) {
    plate_mend::host::RawDecoder decoder;
    if (!decoder.open(photograph)) {
        return std::nullopt;
    }
    const auto preview = decoder.unpack_preview();
    return preview.jpeg ? jpeg_samples(Bytes(preview.jpeg->begin(), preview.jpeg->end())) : std::nullopt;
}

/// Mean step between samples; as large as can be for pictures of other sizes.
double difference(const Bytes& one, const Bytes& other) {
    if (one.size() != other.size()) {
        return 255;
    }
    double sum = 0;
    for (std::size_t index = 0; index < one.size(); ++index) {
        sum += std::abs(static_cast<double>(one[index]) - static_cast<double>(other[index]));
    }
    return sum / static_cast<double>(one.size());
}

class RealPairs : public BatchFixture, public ::testing::WithParamInterface<RealPair> {
  protected:
    /// Repairs a damaged file with the sample; its record.
    Record repair(const Bytes& broken, const Bytes& good) {
        const std::string extension = fs::path(GetParam().original).extension().string();
        write_file(folder / ("broken" + extension), broken);
        write_file(folder / ("sample" + extension), good);
        status = run({"repair", "--force", "--no-fallback", "-s", in("sample" + extension), "--json",
                      in("records.jsonl"), in("broken" + extension)});
        return records().at("broken" + extension);
    }

    int status = 0;
};

TEST_P(RealPairs, DamageBeforeTheImageEndsInTheOriginalsPixels) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const auto picture = decode_raw(photo);
    ASSERT_TRUE(picture.has_value());
    for (const HeadDamage& damage : thinned(head_damages())) {
        const Record record = repair(damage.apply(photo, GetParam().image), good);
        EXPECT_EQ(status, 0) << damage.name << out << err;
        EXPECT_EQ(record.verdict, Verdict::kWhole) << damage.name;
        ASSERT_TRUE(record.raw.has_value()) << damage.name;
        EXPECT_TRUE(decode_raw(fs::path(record.raw->path)) == picture) << damage.name;
    }
}

TEST_P(RealPairs, TextModeEndsInTheOriginalsPixels) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const Record record = repair(in_text_mode(photo), good);
    EXPECT_EQ(status, 0) << out << err;
    EXPECT_EQ(record.verdict, Verdict::kWhole);
    ASSERT_TRUE(record.raw.has_value());
    EXPECT_TRUE(decode_raw(fs::path(record.raw->path)) == decode_raw(photo));
}

TEST_P(RealPairs, AnEndBeforeTheBeginningEndsInTheOriginalsPixels) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const std::size_t half = photo.size() / 2 / (4 * kKiB) * (4 * kKiB);
    const Record record = repair(joined(part(photo, half, photo.size()), part(photo, 0, half)), good);
    EXPECT_EQ(status, 0) << out << err;
    EXPECT_EQ(record.verdict, Verdict::kWhole);
    ASSERT_TRUE(record.raw.has_value());
    EXPECT_TRUE(decode_raw(fs::path(record.raw->path)) == decode_raw(photo));
}

/// Another photograph's beginning, with heads of its own, is within the image.
TEST_P(RealPairs, PartsAroundAnotherPhotographEndInTheOriginalsPixels) {
    if (!std::string_view(GetParam().original).starts_with("pairs/canon-30d/")) {
        GTEST_SKIP() << "needs one coded stream";
    }
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const std::size_t half = photo.size() / 2 / (4 * kKiB) * (4 * kKiB);
    const Bytes before = joined(part(photo, 0, half), part(good, 0, 5 * kKiB * kKiB));
    const Record record = repair(joined(before, part(photo, half, photo.size())), good);
    EXPECT_EQ(status, 0) << out << err;
    EXPECT_EQ(record.verdict, Verdict::kWhole);
    ASSERT_TRUE(record.raw.has_value());
    EXPECT_TRUE(decode_raw(fs::path(record.raw->path)) == decode_raw(photo));
}

TEST_P(RealPairs, PreviewsShowThePhotograph) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    if (photo == good) {
        GTEST_SKIP() << "needs two photographs";
    }
    const Record record = repair(without_head(photo, GetParam().image), good);
    const auto* taken = record.taken();
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->image->notes & RAW_MEND_SAMPLE_PICTURES, 0U);
    write_file(folder / "photo", photo);
    const auto result = preview_of(record.raw->path);
    write_file(folder / "good", good);
    const auto sample_preview = preview_of(folder / "good");
    const auto photo_preview = preview_of(folder / "photo");
    ASSERT_EQ(result.has_value(), photo_preview.has_value());
    ASSERT_EQ(result.has_value(), sample_preview.has_value());
    if (result) {
        EXPECT_GT(taken->pictures_rendered, 0U);
        EXPECT_LT(difference(*result, *photo_preview), difference(*result, *sample_preview));
    }
}

/// The camera's own previews are better than any that are rendered.
TEST_P(RealPairs, PreviewsThatSurviveStay) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const Record record = repair(without_head(photo, std::min(GetParam().image, 4 * kKiB)), good);
    const auto* taken = record.taken();
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->image->notes & RAW_MEND_SAMPLE_PICTURES, 0U);
    write_file(folder / "photo", photo);
    EXPECT_TRUE(preview_of(record.raw->path) == preview_of(folder / "photo"));
}

/// Date and settings as LibRaw reads them.
struct Settings {
    std::string taken;
    double iso = 0;
    double exposure = 0;
    double aperture = 0;
    double focal_length = 0;
};

Settings settings_of(const fs::path& photograph) {
    plate_mend::host::RawDecoder decoder;
    EXPECT_TRUE(decoder.open(photograph));
    std::string taken = decoder.facts().taken;
    std::replace(taken.begin(), taken.end(), ' ', 'T');
    const auto& other = decoder.raw().imgdata.other;
    return {taken, other.iso_speed, other.shutter, other.aperture, other.focal_len};
}

double value_of(const std::string& fraction) {
    const std::size_t slash = fraction.find('/');
    return slash == fraction.npos
               ? std::stod(fraction)
               : std::stod(fraction.substr(0, slash)) / std::stod(fraction.substr(slash + 1));
}

TEST_P(RealPairs, DateAndSettingsThatSurviveAreTheOriginals) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    write_file(folder / "photo", photo);
    const Settings intact = settings_of(folder / "photo");
    for (const std::size_t lost : {4 * kKiB, 64 * kKiB}) {
        const Record record = repair(without_head(photo, std::min(GetParam().image, lost)), good);
        if (!record.metadata) {
            EXPECT_FALSE(record.sidecar);
            continue;
        }
        EXPECT_EQ(record.sidecar.has_value(), !record.metadata->in_result);
        const auto& facts = record.metadata->facts;
        const auto expect_near = [&](plate_mend::host::CameraFact fact, double wanted) {
            if (facts.contains(fact)) {
                EXPECT_NEAR(value_of(facts.at(fact)), wanted, wanted * 1e-5) << name_of(fact);
            }
        };
        using plate_mend::host::CameraFact;
        EXPECT_EQ(facts.at(CameraFact::kTaken).substr(0, 19), intact.taken);
        expect_near(CameraFact::kIso, intact.iso);
        expect_near(CameraFact::kExposureTime, intact.exposure);
        expect_near(CameraFact::kAperture, intact.aperture);
        expect_near(CameraFact::kFocalLength, intact.focal_length);
    }
}

/// Those of one camera have their Exif after the first 64 KiB.
TEST(RealMetadata, SurviveBeyondTheHead) {
    REAL_FILE_OR_SKIP(photo, "pairs/nikon-d5000-dng/sample2.dng");
    const auto blocks = plate_mend::host::find_metadata(without_head(photo, 64 * kKiB));
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_EQ(blocks[0].facts.at(plate_mend::host::CameraFact::kExposureTime), "1/640");
}

TEST_P(RealPairs, DamageWithinTheImageIsNeverCalledWholeUnlessAllOfItIsBack) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const auto picture = decode_raw(photo);
    ASSERT_TRUE(picture.has_value());
    const std::size_t at = (GetParam().image + (photo.size() - GetParam().image) / 2) / 512 * 512;
    constexpr std::size_t kCluster = 32 * kKiB;
    const Bytes before = part(photo, 0, at);
    const Bytes beheaded = without_head(before, GetParam().image);
    const Bytes rest = part(photo, at + kCluster, photo.size());
    const std::vector<std::pair<const char*, Bytes>> broken = {
        {"lost", joined(before, rest)},
        {"zeroed", joined(joined(beheaded, Bytes(kCluster)), rest)},
        {"overwritten", joined(joined(before, noise(kCluster, 7)), rest)},
        {"put in", joined(joined(beheaded, noise(kCluster, 7)), part(photo, at, photo.size()))},
    };
    for (const auto& [name, bytes] : broken) {
        const Record record = repair(bytes, good);
        EXPECT_NE(record.verdict, Verdict::kIntact) << name;
        if (record.verdict == Verdict::kWhole) { // All bytes of the image are there.
            EXPECT_EQ(std::string(name), "put in");
            EXPECT_TRUE(decode_raw(fs::path(record.raw->path)) == picture) << name;
        } else {
            EXPECT_NE(status, 0) << name;
        }
    }
}

class RealTails : public RealPairs {};

TEST_P(RealTails, PhotographWhoseFirstMegabyteIsLostIsPartialWithoutAShare) {
    REAL_FILE_OR_SKIP(photo, GetParam().original);
    REAL_FILE_OR_SKIP(good, GetParam().sample);
    const Record record = repair(without_head(photo, 1024 * kKiB), good);
    EXPECT_EQ(record.verdict, Verdict::kPartial);
    ASSERT_NE(record.taken(), nullptr);
    EXPECT_EQ(record.taken()->engine, plate_mend::host::kRawEngine);
    EXPECT_EQ(record.taken()->judgement.share(), std::nullopt) << "its level is the sample's";
    ASSERT_TRUE(record.raw.has_value());
    EXPECT_TRUE(decode_raw(fs::path(record.raw->path)).has_value());
}

INSTANTIATE_TEST_SUITE_P(Cameras, RealTails,
                         ::testing::Values(RealPair{"pairs/canon-30d/IMG_0848.CR2",
                                                    "pairs/canon-30d/IMG_5952.CR2", 629814}));

INSTANTIATE_TEST_SUITE_P(
    Cameras, RealPairs,
    ::testing::Values(
        RealPair{"pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2", 629814},
        RealPair{"pairs/canon-30d/IMG_5952.CR2", "pairs/canon-30d/IMG_0848.CR2", 751441},
        RealPair{"pairs/nikon-d5000-dng/sample1.dng", "pairs/nikon-d5000-dng/sample2.dng", 673114},
        RealPair{"pairs/nikon-d5000-dng/sample2.dng", "pairs/nikon-d5000-dng/sample1.dng", 677728},
        RealPair{"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng", 748},
        RealPair{"pairs/picamera-rig/image_3.dng", "pairs/picamera-rig/image_0.dng", 748},
        RealPair{"nef/nikon-d1.nef", "nef/nikon-d1.nef", 59642},
        RealPair{"dng/blackmagic-pocket.dng", "dng/blackmagic-pocket.dng", 9216},
        RealPair{"dng/canon-x4-colorchart.dng", "dng/canon-x4-colorchart.dng", 1536}),
    [](const auto& pair) {
        std::string name = fs::path(pair.param.original).stem().string();
        std::erase_if(name,
                      [](char letter) { return std::isalnum(static_cast<unsigned char>(letter)) == 0; });
        return name;
    });

} // namespace
} // namespace test
