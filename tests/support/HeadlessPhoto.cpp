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
    static const Camera pentax12{"PENTAX Corporation", "PENTAX K10D", 12, 12, 65535};
    static const Camera pentax14{"PENTAX", "PENTAX K-5", 14, 14, 65535};
    switch (kind) {
    case Kind::kSonyCells:
        return cells;
    case Kind::kSonyDifferences:
        return differences;
    case Kind::kOlympus:
        return olympus;
    case Kind::kNikonLossless14:
    case Kind::kNikonLossy14:
        return nikon14;
    case Kind::kPentax12:
        return pentax12;
    case Kind::kPentax14:
        return pentax14;
    default:
        return nikon12;
    }
}

bool is_lossy(Kind kind) {
    return kind == Kind::kNikonLossy12 || kind == Kind::kNikonLossy14;
}

bool is_pentax(Kind kind) {
    return kind == Kind::kPentax12 || kind == Kind::kPentax14;
}

/// Bits of the codes for differences of 0 bits, 1 bit and so on.
std::vector<unsigned> pentax_lengths(Kind kind) {
    return kind == Kind::kPentax12 ? std::vector<unsigned>{3, 3, 3, 3, 2, 3, 4, 5, 6, 7, 8, 9, 9}
                                   : std::vector<unsigned>{3, 3, 3, 3, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 11};
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
    case Kind::kNikonLossy14:
        return nikon_differences(photo.samples, options.width, NikonTree::kLossy14, kFirstValue);
    case Kind::kPentax12:
    case Kind::kPentax14:
        return pentax_differences(photo.samples, options.width, pentax_lengths(options.kind));
    default:
        return nikon_differences(photo.samples, options.width, NikonTree::kLossy12, kFirstValue);
    }
}

/// What Nikon's decoder needs: version, first values, and the curve, which a lossless image has not.
Bytes nikon_parameters(Kind kind, ByteOrder order) {
    std::vector<std::uint16_t> numbers(5, kFirstValue);
    numbers.back() = is_lossy(kind) ? kCurve : 0;
    for (std::size_t place = 0; is_lossy(kind) && place < kCurve; ++place) {
        numbers.push_back(static_cast<std::uint16_t>(2 * place)); // Places are samples of half the range.
    }
    const Bytes version = is_lossy(kind) ? Bytes{0x44, 0x10} : Bytes{0x46, 0x30};
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

/// A maker note with a directory that has the decoder's table only, which follows it. Its offset counts from
/// the beginning of the file.
Bytes pentax_note(Kind kind, ByteOrder order, std::uint32_t at) {
    constexpr std::uint16_t kTable = 0x220;
    constexpr std::uint32_t kBeforeTable = 24;
    const std::vector<unsigned> lengths = pentax_lengths(kind);
    std::vector<std::uint16_t> numbers(7);
    numbers[0] = static_cast<std::uint16_t>((lengths.size() + 4) % 16);
    std::uint16_t begin = 0;
    for (const unsigned length : lengths) {
        numbers.push_back(begin);
        begin = static_cast<std::uint16_t>(begin + (1U << (12 - length)));
    }
    const Bytes table = joined(u16_bytes(numbers, order), Bytes(lengths.begin(), lengths.end()));
    Bytes note{'A', 'O', 'C', 0};
    note = joined(std::move(note), order == ByteOrder::kLittle ? Bytes{'I', 'I'} : Bytes{'M', 'M'});
    note = joined(std::move(note), u16_bytes({1}, order));
    note = joined(std::move(note),
                  entry_bytes(kTable, 7, static_cast<std::uint32_t>(table.size()), at + kBeforeTable, order));
    return joined(joined(std::move(note), u32_bytes({0}, order)), table);
}

/// The note at an offset of the file.
Bytes note_of(Kind kind, ByteOrder order, std::uint32_t at) {
    if (camera_of(kind).compression == 34713) {
        return nikon_note(kind, order);
    }
    return is_pentax(kind) ? pentax_note(kind, order, at) : Bytes(600, 0x31);
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
    if (is_lossy(options.kind)) {
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
    const Bytes note = note_of(options.kind, options.order, 0);
    const TiffDirectory exif =
        tiff.write_directory({tiff.rationals(kExposureTime, {1, 125}), tiff.undefined(kMakerNote, note)});
    const std::uint32_t note_at = get_u32(tiff.bytes(), exif.value(kMakerNote), options.order);
    tiff.set_value(ifd0, kExifIfd, exif.offset);
    tiff.append(noise(options.filler, options.number));
    tiff.pad_to_sector();
    image_offset = tiff.append(image);
    tiff.set_value(ifd0, kStripOffsets, image_offset);
    bytes = tiff.bytes();
    put_bytes(bytes, note_at, note_of(options.kind, options.order, note_at));
    if (options.kind == Kind::kOlympus) {
        put_text(bytes, 2, options.order == ByteOrder::kLittle ? "RO" : "OR");
    }
    if (is_lossy(options.kind)) {
        std::ranges::transform(samples, samples.begin(),
                               [](std::uint16_t place) { return static_cast<std::uint16_t>(2 * place); });
    }
}

} // namespace test
