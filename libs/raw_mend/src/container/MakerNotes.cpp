#include "container/MakerNotes.h"

#include "container/TiffTags.h"

#include <utility>

namespace raw_mend {

namespace {

using namespace std::string_view_literals;

using Scope = TiffReader::Scope;

constexpr std::uint16_t kCanonSensorInfo = 0x00E0;
constexpr std::uint16_t kNikonPreviewIfd = 0x0011;
constexpr std::uint16_t kNikonOldCurve = 0x008C;
constexpr std::uint16_t kNikonCurve = 0x0096;
constexpr std::uint16_t kOlympusCameraSettings = 0x2020;
constexpr std::uint16_t kOlympusPreviewOffset = 0x0101;
constexpr std::uint16_t kOlympusPreviewLength = 0x0102;
constexpr std::uint16_t kPentaxPreviewLength = 0x0003;
constexpr std::uint16_t kPentaxPreviewOffset = 0x0004;
constexpr std::uint16_t kPentaxCurve = 0x0220;

/// Where an entry's value is.
std::optional<Extent> extent_of(const TiffEntry* entry) {
    if (entry == nullptr || !entry->is_inside || entry->is_inline) {
        return std::nullopt;
    }
    return Extent{entry->values, entry->count}; // Of bytes.
}

/// Absolute offsets, in the order of the file.
MakerNotes read_canon(const TiffReader& file, std::uint64_t note) {
    MakerNotes notes;
    const TiffReader reader(file.inventory(), file.order(), file.base(), Scope::kMakerNote);
    if (const auto directory = reader.read_directory(note)) {
        const TiffEntry* const sensor = directory->find(kCanonSensorInfo);
        notes.sensor_width = reader.number(sensor, 1).value_or(0);
        notes.sensor_height = reader.number(sensor, 2).value_or(0);
    }
    return notes;
}

/// "Nikon", 0, version 2, and a TIFF structure of its own. Older notes are without, and name no picture.
MakerNotes read_nikon(const TiffReader& file, std::uint64_t note) {
    constexpr std::uint64_t kBase = 10;
    MakerNotes notes;
    const auto header = read_tiff_header(file.inventory().bytes(), note + kBase);
    if (!header) {
        return notes;
    }
    const TiffReader reader(file.inventory(), header->order, note + kBase, Scope::kMakerNote);
    const auto directory = reader.read_directory(header->first_directory);
    if (!directory) {
        return notes;
    }
    notes.curve = extent_of(directory->find(kNikonCurve));
    if (!notes.curve) {
        notes.curve = extent_of(directory->find(kNikonOldCurve));
    }
    const auto preview = reader.number(directory->find(kNikonPreviewIfd));
    if (const auto ifd = preview ? reader.read_directory(reader.base() + *preview) : std::nullopt) {
        add_jpeg(reader, *ifd, tag::kJpegOffset, tag::kJpegLength, notes.pictures);
    }
    return notes;
}

/// A directory among whose sub-directories one names the preview. That one is a value, or an offset.
MakerNotes read_olympus(const TiffReader& reader, std::uint64_t first_directory) {
    MakerNotes notes;
    const auto directory = reader.read_directory(first_directory);
    const TiffEntry* const settings = directory ? directory->find(kOlympusCameraSettings) : nullptr;
    if (settings == nullptr) {
        return notes;
    }
    const auto pointer = reader.number(settings);
    const std::uint64_t at = pointer ? reader.base() + *pointer : settings->values;
    if (const auto ifd = reader.read_directory(at)) {
        add_jpeg(reader, *ifd, kOlympusPreviewOffset, kOlympusPreviewLength, notes.pictures);
    }
    return notes;
}

/// "AOC", 0, byte order or spaces; absolute offsets.
MakerNotes read_pentax(const TiffReader& file, std::uint64_t note) {
    MakerNotes notes;
    const bool is_little = file.bytes().has(note + 4, "II");
    const bool is_big = file.bytes().has(note + 4, "MM");
    const ByteOrder order = is_little ? ByteOrder::kLittle : is_big ? ByteOrder::kBig : file.order();
    const TiffReader reader(file.inventory(), order, file.base(), Scope::kMakerNote);
    if (const auto directory = reader.read_directory(note + 6)) {
        add_jpeg(reader, *directory, kPentaxPreviewOffset, kPentaxPreviewLength, notes.pictures);
        notes.curve = extent_of(directory->find(kPentaxCurve));
    }
    return notes;
}

} // namespace

MakerNotes read_maker_notes(const TiffReader& reader, const TiffDirectory& exif, const std::string& make) {
    const TiffEntry* const entry = exif.find(tag::kMakerNote);
    if (entry == nullptr || entry->is_inline) {
        return {};
    }
    const std::uint64_t note = entry->values;
    const auto& bytes = reader.bytes();
    if (bytes.has(note, "Nikon\0\x02"sv)) {
        return read_nikon(reader, note);
    }
    if (bytes.has(note, "OLYMPUS\0II"sv) || bytes.has(note, "OLYMPUS\0MM"sv)) {
        const ByteOrder order = bytes.has(note + 8, "II") ? ByteOrder::kLittle : ByteOrder::kBig;
        return read_olympus({reader.inventory(), order, note, Scope::kMakerNote}, note + 12);
    }
    if (bytes.has(note, "OLYMP\0"sv)) {
        return read_olympus({reader.inventory(), reader.order(), reader.base(), Scope::kMakerNote}, note + 8);
    }
    if (bytes.has(note, "AOC\0"sv)) {
        return read_pentax(reader, note);
    }
    return make.starts_with("Canon") ? read_canon(reader, note) : MakerNotes{};
}

} // namespace raw_mend
