#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/HeadlessCoding.h"
#include "support/HeadlessPhoto.h"
#include "support/LosslessJpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

// Heads of real cameras' files, completed with image data made here. Two completions of one head with
// different images are two photographs from one camera.

namespace test {
namespace {

using raw_mend::Sample;

/// A photograph, and where its raw image is.
struct Completed {
    Bytes file;
    std::size_t image = 0;
    std::size_t size = 0;
};

/// A scene that is enlarged eight times under the same filter, with noise in the lowest bits.
std::vector<std::uint16_t> large_scene(unsigned number, unsigned width, unsigned height, unsigned bits) {
    const unsigned small_width = width / 8 + 2;
    const auto small = noisy_scene(number, small_width, height / 8 + 2, bits);
    const auto reduced = [](unsigned place) { return place / 16 * 2 + place % 2; };
    std::mt19937 random(number);
    std::vector<std::uint16_t> large;
    large.reserve(std::size_t{width} * height);
    for (unsigned row = 0; row < height; ++row) {
        for (unsigned column = 0; column < width; ++column) {
            const unsigned sample = small[std::size_t{reduced(row)} * small_width + reduced(column)];
            large.push_back(static_cast<std::uint16_t>((sample + random() % 8) % (1U << bits)));
        }
    }
    return large;
}

Completed with_image(const Bytes& head, std::size_t at, unsigned number, const Bytes& image) {
    return {joined(joined(head, noise(at - head.size(), number)), image), at, image.size()};
}

constexpr std::size_t kA330Image = 688128;
constexpr std::size_t kA330Length = 92954; ///< Where the strip's length is.
constexpr std::size_t kA330Size = 8883620;

Completed a330(const Bytes& head, unsigned number) {
    const Bytes image = sony_differences(large_scene(number, 3880, 2608, 12), 3880);
    Completed photo = with_image(head, kA330Image, number, image);
    put_u32(photo.file, kA330Length, static_cast<std::uint32_t>(image.size()), ByteOrder::kLittle);
    return photo;
}

/// Image data that nothing can be said about.
Completed a330_of_noise(const Bytes& head, unsigned number) {
    return with_image(head, kA330Image, number, noise(kA330Size, 100 + number));
}

/// The directory that IFD 0 names as the raw image's, and an image of cells.
Completed with_cells(const Bytes& head, unsigned number, std::size_t directory) {
    constexpr std::size_t kImage = 800256;
    constexpr std::uint16_t kWidth = 1024;
    constexpr std::uint16_t kHeight = 680;
    const Bytes image = sony_cells(large_scene(number, kWidth, kHeight, 11), kWidth);
    Completed photo = with_image(head, kImage, number, image);
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_directory({tiff.longs(kNewSubfileType, {0}), tiff.shorts(kImageWidth, {kWidth}),
                          tiff.shorts(kImageLength, {kHeight}), tiff.shorts(kBitsPerSample, {14}),
                          tiff.shorts(kCompression, {32767}), tiff.shorts(kPhotometric, {kCfa}),
                          tiff.longs(kStripOffsets, {kImage}), tiff.shorts(kSamplesPerPixel, {1}),
                          tiff.shorts(kRowsPerStrip, {kHeight}),
                          tiff.longs(kStripByteCounts, {static_cast<std::uint32_t>(image.size())}),
                          tiff.shorts(kCfaPatternDim, {2, 2}), tiff.byte(kCfaPattern, {0, 1, 1, 2})});
    put_bytes(photo.file, directory, tiff.bytes());
    return photo;
}

Completed a7m3(const Bytes& head, unsigned number) {
    constexpr std::size_t kNextDirectory = 42918;
    Completed photo = with_cells(head, number, 133316);
    photo.file = zeroed(photo.file, kNextDirectory, kNextDirectory + 6);
    return photo;
}

Completed zv_e10(const Bytes& head, unsigned number) {
    return with_cells(head, number, 116362);
}

Completed s90(const Bytes& head, unsigned number) {
    constexpr std::size_t kRaw = 1826816;
    constexpr std::size_t kRawLength = 8920;
    constexpr unsigned kWidth = 3744;
    constexpr unsigned kHeight = 944;
    const Bytes image = lossless_jpeg(large_scene(number, kWidth, kHeight, 12), kWidth / 2, kHeight, 12, 2);
    Completed photo = with_image(head, kRaw, number, image);
    put_u32(photo.file, kRawLength, static_cast<std::uint32_t>(image.size()), ByteOrder::kLittle);
    return photo;
}

/// As long as the directory says, with zeros after the coded data.
Completed s90_padded(const Bytes& head, unsigned number) {
    constexpr std::size_t kSize = 11460721;
    Completed photo = s90(head, number);
    photo.file.resize(photo.image + kSize);
    put_bytes(photo.file, 0, head);
    return photo;
}

struct Camera {
    std::string name;
    std::string head;
    std::function<Completed(const Bytes& head, unsigned number)> complete;
    bool can_be_proved = true;
};

class RealHeads : public testing::TestWithParam<Camera> {};

TEST_P(RealHeads, ComeBackWhereverTheirImageIs) {
    REAL_FILE_OR_SKIP(head, GetParam().head);
    const Completed intact = GetParam().complete(head, 1);
    const Completed original = GetParam().complete(head, 2);
    const auto sample = Sample::read(intact.file);
    ASSERT_TRUE(sample);
    ASSERT_EQ(sample->description.raw.pieces.size(), 1U);
    const Bytes image = part(original.file, original.image, original.image + original.size);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.file, original.image, intact.file);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        if (damage.ends_alike || !GetParam().can_be_proved) {
            EXPECT_EQ(repaired->image.proved, GetParam().can_be_proved ? 1U : 0U)
                << testing::PrintToString(repaired->image.doubts);
        }
        const Bytes result = written(*repaired->file);
        const auto described = Sample::read(result);
        ASSERT_TRUE(described);
        const auto& piece = described->description.raw.pieces.front().data;
        ASSERT_TRUE(piece.is_within(result));
        ASSERT_GE(piece.length, image.size());
        EXPECT_TRUE(part(result, piece.offset, piece.offset + image.size()) == image) << piece.offset;
    }
}

TEST_P(RealHeads, DecodeAsTheOriginalDoes) {
    REAL_FILE_OR_SKIP(head, GetParam().head);
    const Completed intact = GetParam().complete(head, 1);
    const Completed original = GetParam().complete(head, 2);
    const auto sample = Sample::read(intact.file);
    ASSERT_TRUE(sample);
    const Bytes damaged = zeroed(original.file, 0, original.image);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(decode_raw(written(*repaired->file)), decode_raw(original.file));
}

INSTANTIATE_TEST_SUITE_P(All, RealHeads,
                         testing::Values(Camera{"SonyA330", "arw/sony-a330-head.arw", a330},
                                         Camera{"SonyA330OfNoise", "arw/sony-a330-head.arw", a330_of_noise,
                                                false},
                                         Camera{"SonyA7M3", "arw/sony-a7m3-head.arw", a7m3},
                                         Camera{"SonyZvE10", "arw/sony-zv-e10-head.arw", zv_e10},
                                         Camera{"CanonS90", "cr2/canon-s90-head.cr2", s90},
                                         Camera{"CanonS90Padded", "cr2/canon-s90-head.cr2", s90_padded}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
