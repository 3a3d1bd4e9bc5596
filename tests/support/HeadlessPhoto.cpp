#include "support/HeadlessPhoto.h"

#include "support/HeadlessCoding.h"
#include "support/Scene.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <algorithm>
#include <random>
#include <string_view>

namespace test {

namespace {

using Kind = HeadlessPhoto::Kind;

constexpr std::uint16_t kMakerNote = 37500;
constexpr std::uint16_t kFirstValue = 2048; ///< Nikon: what the first samples of rows add to.
constexpr std::size_t kCurve = 2000;        ///< Places in the curve of a lossy NEF.

struct Camera {
    std::string_view make;
    std::string_view model;
    unsigned bits;        ///< Of the samples.
    unsigned stated_bits; ///< BitsPerSample.
    std::uint16_t compression;
};

const Camera& camera_of(Kind kind) {
    static const Camera cells{"SONY", "DSLR-A700", 11, 8, 32767};
    static const Camera differences{"SONY", "DSLR-A100", 12, 12, 32767};
    static const Camera olympus{"OLYMPUS IMAGING CORP.", "E-510", 12, 16, 1};
    static const Camera nikon12{"NIKON CORPORATION", "NIKON D3", 12, 12, 34713};
    static const Camera nikon14{"NIKON CORPORATION", "NIKON D3", 14, 14, 34713};
    switch (kind) {
    case Kind::kSonyCells:
        return cells;
    case Kind::kSonyDifferences:
        return differences;
    case Kind::kOlympus:
        return olympus;
    case Kind::kNikonLossless14:
        return nikon14;
    default:
        return nikon12;
    }
}

Bytes image_of(const HeadlessPhoto& photo, const HeadlessPhoto::Options& options) {
    switch (options.kind) {
    case Kind::kSonyCells:
        return sony_cells(photo.samples, options.width);
    case Kind::kSonyDifferences: {
        // Eight rows that the directory does not count.
        std::vector<std::uint16_t> all = photo.samples;
        all.insert(all.end(), all.end() - std::ptrdiff_t{8} * options.width, all.end());
        return sony_differences(all, options.width);
    }
    case Kind::kOlympus:
        return olympus_run(photo.samples, options.width);
    case Kind::kNikonLossless12:
        return nikon_differences(photo.samples, options.width, NikonTree::kLossless12, kFirstValue);
    case Kind::kNikonLossless14:
        return nikon_differences(photo.samples, options.width, NikonTree::kLossless14, kFirstValue);
    default:
        return nikon_differences(photo.samples, options.width, NikonTree::kLossy12, kFirstValue);
    }
}

/// What Nikon's decoder needs: version, first values, and the curve, which a lossless image has not.
Bytes nikon_parameters(Kind kind, ByteOrder order) {
    const bool is_lossy = kind == Kind::kNikonLossy12;
    std::vector<std::uint16_t> numbers(5, kFirstValue);
    numbers.back() = is_lossy ? kCurve : 0;
    for (std::size_t place = 0; is_lossy && place < kCurve; ++place) {
        numbers.push_back(static_cast<std::uint16_t>(2 * place)); // Places are samples of half the range.
    }
    const Bytes version = is_lossy ? Bytes{0x44, 0x10} : Bytes{0x46, 0x30};
    return joined(version, u16_bytes(numbers, order));
}

/// A maker note with a directory that has the parameters only.
Bytes nikon_note(Kind kind, ByteOrder order) {
    constexpr std::uint16_t kParameters = 0x96;
    TiffWriter tiff(order);
    tiff.write_header();
    tiff.write_directory({tiff.undefined(kParameters, nikon_parameters(kind, order))});
    return joined({'N', 'i', 'k', 'o', 'n', 0, 2, 0x10, 0, 0}, tiff.bytes());
}

bool is_nikon(Kind kind) {
    return camera_of(kind).compression == 34713;
}

} // namespace

std::vector<std::uint16_t> noisy_scene(unsigned number, unsigned width, unsigned height, unsigned bits) {
    std::vector<std::uint16_t> samples = Scene(number).bayer(width, height, bits, 1U << (bits - 5));
    std::mt19937 random(number);
    const auto most = static_cast<std::uint16_t>((1U << bits) - 1);
    for (std::uint16_t& sample : samples) {
        sample = std::min(most, static_cast<std::uint16_t>(sample + random() % 8));
    }
    return samples;
}

HeadlessPhoto::HeadlessPhoto(const Options& options) {
    const Camera& camera = camera_of(options.kind);
    samples = noisy_scene(options.number, options.width, options.height, camera.bits);
    if (options.kind == Kind::kNikonLossy12) {
        std::ranges::transform(samples, samples.begin(), [](std::uint16_t sample) {
            return static_cast<std::uint16_t>(std::min<std::size_t>(sample / 2, kCurve - 1));
        });
    }
    const Bytes image = joined(image_of(*this, options), Bytes(options.slack));
    image_size = static_cast<std::uint32_t>(image.size());

    TiffWriter tiff(options.order);
    tiff.write_header();
    const TiffDirectory ifd0 = tiff.write_directory(
        {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {options.width}),
         tiff.longs(kImageLength, {options.height}),
         tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(camera.stated_bits)}),
         tiff.shorts(kCompression, {camera.compression}), tiff.shorts(kPhotometric, {kCfa}),
         tiff.ascii(kMake, camera.make), tiff.ascii(kModel, camera.model),
         tiff.longs(kStripOffsets, {kLater}), tiff.shorts(kOrientation, {1}),
         tiff.shorts(kSamplesPerPixel, {1}), tiff.longs(kRowsPerStrip, {options.height}),
         tiff.longs(kStripByteCounts, {image_size}), tiff.ascii(kDateTime, "2026:11:21 17:40:00"),
         tiff.shorts(kCfaPatternDim, {2, 2}), tiff.byte(kCfaPattern, {0, 1, 1, 2}),
         tiff.longs(kExifIfd, {kLater})});
    const Bytes note = is_nikon(options.kind) ? nikon_note(options.kind, options.order) : Bytes(600, 0x31);
    const TiffDirectory exif =
        tiff.write_directory({tiff.rationals(kExposureTime, {1, 125}), tiff.undefined(kMakerNote, note)});
    tiff.set_value(ifd0, kExifIfd, exif.offset);
    tiff.append(noise(options.filler, options.number));
    tiff.pad_to_sector();
    image_offset = tiff.append(image);
    tiff.set_value(ifd0, kStripOffsets, image_offset);
    bytes = tiff.bytes();
    if (options.kind == Kind::kOlympus) {
        put_text(bytes, 2, options.order == ByteOrder::kLittle ? "RO" : "OR");
    }
    if (options.kind == Kind::kNikonLossy12) {
        std::ranges::transform(samples, samples.begin(),
                               [](std::uint16_t place) { return static_cast<std::uint16_t>(2 * place); });
    }
}

} // namespace test
