#include "diagnose/FormatLandmarks.h"

#include <string>

namespace plate_mend::host {

namespace {

constexpr std::uint64_t kSizeBeforeType = 4; // A box begins with its size.

/// "CRAW" with that size before it. If it is among the first bytes, there is no size before it, and the
/// repair stops.
Offset find_track(const ByteReader& reader, std::uint32_t size) {
    Offset offset = reader.find("CRAW", 1);
    while (offset && *offset >= kSizeBeforeType && reader.u32(*offset - kSizeBeforeType) != size) {
        offset = reader.find("CRAW", *offset + 1);
    }
    return offset && *offset >= kSizeBeforeType ? offset : std::nullopt;
}

/// Where a repair may read a track: it refuses one that ends where the file does.
bool is_in_reach(const ByteReader& reader, std::uint64_t offset, std::uint64_t size) {
    return size == 0 ? offset < reader.size() : offset > 0 && offset + size < reader.size();
}

struct Track {
    std::string name;
    Offset entry;
    Offset next_entry;
};

void add_track(Landmarks& marks, const ByteReader& reader, const Track& track) {
    // After the type: version and flags; a size for all samples, or 0; their count; the first of their sizes.
    // In the other table: the count; the first offset, in 64 bits.
    constexpr std::uint64_t kCommonSize = 8;
    constexpr std::uint64_t kFirstNumber = 16;
    constexpr std::uint32_t kBoxWithoutSizes = 20;
    const auto table = [&](std::string_view type) {
        const Offset offset = track.entry && track.next_entry
                                  ? reader.find(type, *track.entry, *track.next_entry)
                                  : std::nullopt;
        return offset && reader.u32(*offset + kFirstNumber) ? offset : std::nullopt;
    };
    const Offset sizes = table("stsz");
    const Offset offsets = table("co64");
    add_landmark(marks, "size of " + track.name + " (stsz)", true, sizes);
    add_landmark(marks, "place of " + track.name + " (co64)", true, offsets);
    if (!sizes || !offsets) {
        return;
    }
    const std::uint32_t common = reader.u32(*sizes + kCommonSize).value_or(0);
    const bool one_size = common != 0 && reader.u32(*sizes - kSizeBeforeType).value_or(0) == kBoxWithoutSizes;
    const std::uint64_t offset = reader.u32(*offsets + kFirstNumber).value_or(0);
    const std::uint64_t size = one_size ? common : reader.u32(*sizes + kFirstNumber).value_or(0);
    marks.images.push_back({offset, size});
    if (one_size) {
        marks.obstacle = "its tables have one size for all samples, which no repair reads";
    } else if (marks.obstacle.empty() && !is_in_reach(reader, offset, size)) {
        marks.obstacle = offset == 0 ? "its tables put image data at the very start of the file"
                                     : "its tables lead to the end of the file or past it";
    }
}

} // namespace

void add_cr3(Landmarks& marks, std::span<const unsigned char> bytes) {
    const ByteReader reader(bytes, std::endian::big);
    const auto box = [&](std::string_view type) {
        const Offset offset = reader.find(type, kSizeBeforeType);
        return offset ? Offset(*offset - kSizeBeforeType) : offset;
    };
    add_landmark(marks, "file type box (ftyp crx)", false,
                 reader.has(kSizeBeforeType, "ftypcrx ") ? Offset(0) : std::nullopt);
    add_landmark(marks, "box of all tables (moov)", false, box("moov"));
    add_landmark(marks, "first track box (trak)", false, box("trak"));
    const Offset small = find_track(reader, 112);
    const Offset large = find_track(reader, 228);
    const Offset metadata = large ? reader.find("CTMD", *large) : std::nullopt;
    add_landmark(marks, "entry of the JPEG track (CRAW of 112 bytes)", true, small);
    add_landmark(marks, "entry of the raw track (CRAW of 228 bytes)", true, large);
    add_landmark(marks, "entry of the metadata track (CTMD)", true, metadata);
    add_track(marks, reader, {"the JPEG track", small, large});
    add_track(marks, reader, {"the raw track", large, metadata});
}

} // namespace plate_mend::host
