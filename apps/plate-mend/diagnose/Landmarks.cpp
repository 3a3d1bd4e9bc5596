#include "diagnose/Landmarks.h"

#include "diagnose/FormatLandmarks.h"

#include <algorithm>
#include <string_view>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;
using namespace std::string_view_literals;

ByteReader reader_of(Bytes bytes, bool big_endian) {
    return {bytes, big_endian ? std::endian::big : std::endian::little};
}

bool begins_with(Bytes bytes, std::string_view text) {
    return reader_of(bytes, false).has(0, text);
}

/// The header at the beginning of the file, with its byte order where it has one.
void add_header(Landmarks& marks, Bytes bytes, RawFormat format) {
    if (format == RawFormat::kRaf) {
        add_landmark(marks, "RAF header", false, begins_with(bytes, "FUJIFILM") ? Offset(0) : std::nullopt);
        return;
    }
    const std::string_view little = format == RawFormat::kOrf ? "IIR"sv : tiff_mark(false);
    const std::string_view big = format == RawFormat::kOrf ? "MMO"sv : tiff_mark(true);
    const bool intact = begins_with(bytes, little) || begins_with(bytes, big);
    add_landmark(marks, "TIFF header", false, intact ? Offset(0) : std::nullopt);
    if (intact) {
        marks.big_endian = begins_with(bytes, big);
    }
}

void add_entries(Landmarks& marks, Bytes bytes, RawFormat format, bool big_endian) {
    const ByteReader reader = reader_of(bytes, big_endian);
    switch (format) {
    case RawFormat::kArw:
        return add_arw(marks, reader);
    case RawFormat::kSr2:
    case RawFormat::kOrf:
        return add_sr2_or_orf(marks, reader);
    case RawFormat::kCr2:
        return add_cr2(marks, reader);
    case RawFormat::kNef:
        return add_nef(marks, reader);
    case RawFormat::kDng:
        return add_dng(marks, reader);
    case RawFormat::kRaf:
        return add_raf(marks, bytes);
    case RawFormat::kCr3:
        break;
    }
}

Landmarks find_in_order(Bytes bytes, RawFormat format, bool big_endian) {
    Landmarks marks;
    add_header(marks, bytes, format);
    add_entries(marks, bytes, format, big_endian);
    marks.big_endian = marks.complete() ? std::optional(big_endian) : marks.big_endian;
    return marks;
}

/// Whether the image data of these entries are in the file: bytes that look like entries by chance point
/// elsewhere.
bool is_plausible(const Landmarks& marks, std::uint64_t size) {
    return marks.complete() &&
           std::all_of(marks.images.begin(), marks.images.end(),
                       [size](const ImageData& image) { return image.offset != 0 && image.offset < size; });
}

/// Whether a sample's header passes; the repair checks nothing else in it.
bool has_good_header(Bytes bytes, RawFormat format) {
    const bool big_endian = begins_with(bytes, "MM");
    const ByteReader reader = reader_of(bytes, big_endian);
    const auto mark_is = [&](std::string_view one, std::string_view other) {
        return reader.has(2, one) || reader.has(2, other);
    };
    if (!big_endian && !begins_with(bytes, "II")) {
        return false;
    }
    // The two spellings of the mark are not tied to the byte order.
    const bool marked = format == RawFormat::kOrf ? mark_is("RO", "OR") : mark_is("*\0"sv, "\0*"sv);
    const bool leads_on = reader.u32(4).value_or(0) != 0;
    // A CR2 has its own mark, its version, and the offset of the directory of the raw data.
    const bool is_complete =
        format != RawFormat::kCr2 || (reader.has(8, "CR\x02\0"sv) && reader.u32(12).value_or(0) != 0);
    return marked && leads_on && is_complete;
}

/// The TIFF headers of the Exif and of the raw data, of which a RAF sample must have both.
bool has_two_headers(Bytes bytes) {
    constexpr std::string_view kHeader = "II*\0\x08\0\0\0"sv;
    const ByteReader reader = reader_of(bytes, false);
    const Offset first = reader.find(kHeader);
    return first && reader.find(kHeader, *first + kHeader.size());
}

bool is_header_of_sample_intact(Bytes bytes, RawFormat format) {
    return format == RawFormat::kCr3   ? reader_of(bytes, true).has(4, "ftyp")
           : format == RawFormat::kRaf ? has_two_headers(bytes)
                                       : has_good_header(bytes, format);
}

} // namespace

bool Landmarks::complete() const {
    return !found.empty() && std::all_of(found.begin(), found.end(), [](const Landmark& mark) {
        return !mark.needed || mark.offset.has_value();
    });
}

Landmarks find_landmarks(std::span<const unsigned char> bytes, RawFormat format,
                         std::optional<bool> big_endian) {
    if (format == RawFormat::kCr3) {
        Landmarks marks;
        add_cr3(marks, bytes);
        return marks;
    }
    if (format == RawFormat::kRaf) {
        big_endian = false;
    }
    if (big_endian) {
        return find_in_order(bytes, format, *big_endian);
    }
    Landmarks little = find_in_order(bytes, format, false);
    Landmarks big = find_in_order(bytes, format, true);
    if (is_plausible(little, bytes.size()) != is_plausible(big, bytes.size())) {
        return is_plausible(big, bytes.size()) ? big : little;
    }
    return big.complete() && !little.complete() ? big : little;
}

SampleMarks read_sample_marks(std::span<const unsigned char> bytes, RawFormat format) {
    if (!is_header_of_sample_intact(bytes, format)) {
        return {"its own header is damaged", std::nullopt, std::nullopt};
    }
    SampleMarks sample;
    if (format != RawFormat::kCr3) {
        sample.big_endian = format != RawFormat::kRaf && begins_with(bytes, "MM");
    }
    const Landmarks marks = find_landmarks(bytes, format, sample.big_endian);
    if (format == RawFormat::kDng) {
        sample.tiles = tiles_of_sample(reader_of(bytes, *sample.big_endian));
    }
    if (!marks.complete() || (format == RawFormat::kDng && !sample.tiles)) {
        sample.problem = "its own entries are damaged";
    } else {
        sample.problem = marks.obstacle;
    }
    return sample;
}

} // namespace plate_mend::host
