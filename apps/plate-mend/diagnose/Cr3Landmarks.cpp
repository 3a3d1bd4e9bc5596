#include "diagnose/LandmarkSearch.h"

#include <string>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::uint64_t kSizeBeforeType = 4; // A box begins with its size.

/// "CRAW" with that size before it. Before one among the first bytes there is no size, and the repair stops.
Place find_track(Bytes bytes, const Numbers& numbers, std::uint32_t size) {
    Place place = find_text(bytes, "CRAW", 1);
    while (place && *place >= kSizeBeforeType && numbers.u32(*place - kSizeBeforeType) != size) {
        place = find_text(bytes, "CRAW", *place + 1);
    }
    return place && *place >= kSizeBeforeType ? place : std::nullopt;
}

/// Where a repair may read a track: it refuses one that ends where the file does.
bool is_in_reach(const Numbers& numbers, std::uint64_t offset, std::uint64_t size) {
    return size == 0 ? offset < numbers.size() : offset > 0 && offset + size < numbers.size();
}

struct Track {
    std::string name;
    Place entry;
    Place next_entry;
};

void add_track(Landmarks& marks, Bytes bytes, const Numbers& numbers, const Track& track) {
    // Behind the type: version and flags; a size for all samples, or 0; their count; the first of their
    // sizes. In the other table: the count; the first offset, in 64 bits.
    constexpr std::uint64_t kCommonSize = 8;
    constexpr std::uint64_t kFirstNumber = 16;
    constexpr std::uint32_t kBoxWithoutSizes = 20;
    const auto table = [&](std::string_view type) {
        const Place place = track.entry && track.next_entry
                                ? find_text(bytes, type, *track.entry, *track.next_entry)
                                : std::nullopt;
        return place && numbers.u32(*place + kFirstNumber) ? place : std::nullopt;
    };
    const Place sizes = table("stsz");
    const Place offsets = table("co64");
    add_landmark(marks, "size of " + track.name + " (stsz)", true, sizes);
    add_landmark(marks, "place of " + track.name + " (co64)", true, offsets);
    if (!sizes || !offsets) {
        return;
    }
    const std::uint32_t common = numbers.u32(*sizes + kCommonSize).value_or(0);
    const bool one_size =
        common != 0 && numbers.u32(*sizes - kSizeBeforeType).value_or(0) == kBoxWithoutSizes;
    const std::uint64_t offset = numbers.u32(*offsets + kFirstNumber).value_or(0);
    const std::uint64_t size = one_size ? common : numbers.u32(*sizes + kFirstNumber).value_or(0);
    marks.images.push_back({offset, size});
    if (one_size) {
        marks.obstacle = "its tables give one size for all samples, which no repair reads";
    } else if (marks.obstacle.empty() && !is_in_reach(numbers, offset, size)) {
        marks.obstacle = offset == 0 ? "its tables put image data at the very start of the file"
                                     : "its tables lead to the end of the file or past it";
    }
}

} // namespace

void add_cr3(Landmarks& marks, Bytes bytes) {
    const Numbers numbers(bytes, true);
    const auto box = [&](std::string_view type) {
        const Place place = find_text(bytes, type, kSizeBeforeType);
        return place ? Place(*place - kSizeBeforeType) : place;
    };
    add_landmark(marks, "file type box (ftyp crx)", false,
                 find_text(bytes, "ftypcrx ", kSizeBeforeType, 12) ? Place(0) : std::nullopt);
    add_landmark(marks, "box of all tables (moov)", false, box("moov"));
    add_landmark(marks, "first track box (trak)", false, box("trak"));
    const Place small = find_track(bytes, numbers, 112);
    const Place large = find_track(bytes, numbers, 228);
    const Place metadata = large ? find_text(bytes, "CTMD", *large) : std::nullopt;
    add_landmark(marks, "entry of the JPEG track (CRAW of 112 bytes)", true, small);
    add_landmark(marks, "entry of the raw track (CRAW of 228 bytes)", true, large);
    add_landmark(marks, "entry of the metadata track (CTMD)", true, metadata);
    add_track(marks, bytes, numbers, {"the JPEG track", small, large});
    add_track(marks, bytes, numbers, {"the raw track", large, metadata});
}

} // namespace plate_mend::host
