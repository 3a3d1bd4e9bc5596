#include "diagnose/FormatLandmarks.h"

// The formats that consist of TIFF directories.

namespace plate_mend::host {

namespace {

constexpr std::uint16_t kSubfileType = 254;
constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kRowsPerStrip = 278;
constexpr std::uint16_t kStripByteCounts = 279;
constexpr std::uint16_t kTileOffsets = 324;
constexpr std::uint16_t kTileByteCounts = 325;
constexpr std::uint16_t kSubIfds = 330;

constexpr const char* kPastTheEnd = "the entries lead past the end of the file";

void add_image(Landmarks& marks, const ByteReader& reader, std::uint32_t offset,
               std::optional<std::uint64_t> size) {
    marks.images.push_back({offset, size});
    if (offset > reader.size()) {
        marks.obstacle = kPastTheEnd;
    }
}

/// Tags 273, 278 and 279 with the last two at fixed distances after the first.
void add_strip_triple(Landmarks& marks, const ByteReader& reader, std::uint64_t second, std::uint64_t third) {
    const auto is_triple = [&](std::size_t entry) {
        return reader.u16(entry + second) == kRowsPerStrip && reader.u16(entry + third) == kStripByteCounts;
    };
    Offset entry = find_tag(reader, kStripOffsets, 0);
    while (entry && reader.holds(*entry, third + 2) && !is_triple(*entry)) {
        entry = find_tag(reader, kStripOffsets, *entry + 1);
    }
    if (entry && !reader.holds(*entry, third + kEntrySize)) {
        entry.reset();
    }
    add_landmark(marks, "strip entries of the image (tags 273, 278, 279)", true, entry);
    if (entry) {
        add_image(marks, reader, value_of(reader, *entry), value_of(reader, *entry + third));
    }
}

/// The next entry of tag 254 whose value is 0: that of a main image.
Offset find_main_image(const ByteReader& reader, std::uint64_t start) {
    Offset entry = find_tag(reader, kSubfileType, start);
    while (entry && reader.holds(*entry, kEntrySize)) {
        if (is_legal_entry(reader, *entry) && value_of(reader, *entry) == 0) {
            return entry;
        }
        entry = find_tag(reader, kSubfileType, *entry + 1);
    }
    return std::nullopt;
}

/// The next entry of a tag. It remembers the last search, so that searches from ascending offsets read the
/// file only once in all.
class TagFinder {
  public:
    TagFinder(const ByteReader& reader, std::uint16_t tag) : reader_(reader), tag_(tag) {}

    Offset next(std::uint64_t start) {
        const bool is_known = start >= known_from_ && (!found_ || *found_ >= start);
        if (!is_known) {
            found_ = find_tag(reader_, tag_, start);
            known_from_ = start;
        }
        return found_;
    }

  private:
    const ByteReader& reader_;
    std::uint16_t tag_;
    std::uint64_t known_from_ = ~std::uint64_t{0}; ///< The tag is not between here and the entry.
    Offset found_;
};

enum class ListState { kGood, kIllegal, kUnreachable };

/// How a repair reads the entry of a list: it reads one byte more than the list has.
ListState state_of_list(const ByteReader& reader, Offset entry) {
    constexpr std::uint64_t kNumberSize = 4;
    if (!entry || !reader.holds(*entry, kEntrySize)) {
        return ListState::kUnreachable;
    }
    if (!is_legal_entry(reader, *entry)) {
        return ListState::kIllegal;
    }
    const std::uint64_t count = reader.u32(*entry + kCountInEntry).value_or(0);
    return reader.holds(value_of(reader, *entry), count * kNumberSize + 1) ? ListState::kGood
                                                                           : ListState::kUnreachable;
}

/// A number of an entry's list.
std::uint32_t in_list(const ByteReader& reader, std::size_t entry, std::uint64_t index) {
    return reader.u32(value_of(reader, entry) + 4 * index).value_or(0);
}

/// The first main image whose two lists are good. A list that is out of reach ends the search.
struct MainImage {
    Offset entry;
    Offset offsets;
    Offset counts;
};

MainImage find_tiled_image(const ByteReader& reader) {
    TagFinder offsets(reader, kTileOffsets);
    TagFinder counts(reader, kTileByteCounts);
    MainImage main;
    for (main.entry = find_main_image(reader, 0); main.entry;
         main.entry = find_main_image(reader, *main.entry + 1)) {
        main.offsets = offsets.next(*main.entry);
        const ListState state = state_of_list(reader, main.offsets);
        if (state == ListState::kIllegal) {
            continue;
        }
        if (state == ListState::kUnreachable) {
            return {main.entry, std::nullopt, std::nullopt};
        }
        main.counts = counts.next(*main.entry);
        const ListState counts_state = state_of_list(reader, main.counts);
        if (counts_state != ListState::kIllegal) {
            return {main.entry, main.offsets, counts_state == ListState::kGood ? main.counts : std::nullopt};
        }
    }
    return {};
}

TileCounts counts_of(const ByteReader& reader, const MainImage& main) {
    return {reader.u32(*main.offsets + kCountInEntry).value_or(0),
            reader.u32(*main.counts + kCountInEntry).value_or(0)};
}

/// From the first tile to the end of the last.
void add_tiles(Landmarks& marks, const ByteReader& reader, const MainImage& main) {
    const TileCounts tiles = counts_of(reader, main);
    const std::uint32_t first = in_list(reader, *main.offsets, 0);
    const std::uint32_t last = in_list(reader, *main.offsets, tiles.offsets - 1);
    // In 32 bits, as the repair computes it.
    const std::uint32_t size = last + in_list(reader, *main.counts, tiles.byte_counts - 1) - first;
    marks.tiles = tiles;
    marks.images.push_back({first, size});
    if (!reader.holds(first, size)) {
        marks.obstacle = kPastTheEnd;
    }
    if (tiles.byte_counts < tiles.offsets - 1) {
        marks.obstacle = "it lists more tiles than lengths of tiles";
    }
}

/// The first TIFF header that an entry may belong to: at most 136 bytes before it.
Offset owning_header(const ByteReader& reader, std::string_view header, std::uint64_t entry) {
    constexpr std::uint64_t kReach = 136;
    return reader.find(header, entry > kReach ? entry - kReach : 0, entry + header.size());
}

} // namespace

void add_arw(Landmarks& marks, const ByteReader& reader) {
    add_strip_triple(marks, reader, kEntrySize, 2 * kEntrySize);
}

void add_sr2_or_orf(Landmarks& marks, const ByteReader& reader) {
    add_strip_triple(marks, reader, 3 * kEntrySize, 4 * kEntrySize);
}

void add_cr2(Landmarks& marks, const ByteReader& reader) {
    const auto leads_on = [&reader](std::size_t entry) {
        const std::uint64_t next = entry + kEntrySize;
        return reader.u16(next) == kStripByteCounts && reader.u16(next + 2) == kTypeLong &&
               reader.u32(next + kCountInEntry) != 0U && value_of(reader, next) != 0;
    };
    Offset entry = find_tag(reader, kStripOffsets, 0);
    while (entry && reader.holds(*entry, 2 * kEntrySize) && !leads_on(*entry)) {
        entry = find_tag(reader, kStripOffsets, *entry + 1);
    }
    if (entry && (!reader.holds(*entry, 2 * kEntrySize) || !is_legal_entry(reader, *entry))) {
        entry.reset();
    }
    add_landmark(marks, "strip entries of the image (tag 273 with 279 after it)", true, entry);
    if (entry) {
        add_image(marks, reader, value_of(reader, *entry), value_of(reader, *entry + kEntrySize));
    }
}

void add_nef(Landmarks& marks, const ByteReader& reader) {
    const Offset main = find_main_image(reader, 0);
    Offset strip = main ? find_tag(reader, kStripOffsets, *main) : std::nullopt;
    if (strip && !is_legal_entry(reader, *strip)) {
        strip.reset();
    }
    add_landmark(marks, "entry of the main image (tag 254 with value 0)", true, main);
    add_landmark(marks, "strip entry of the image (tag 273 after it)", true, strip);
    if (strip) {
        add_image(marks, reader, value_of(reader, *strip), std::nullopt);
    }
}

void add_dng(Landmarks& marks, const ByteReader& reader) {
    const MainImage main = find_tiled_image(reader);
    add_landmark(marks, "entry of the main image (tag 254 with value 0)", true, main.entry);
    add_landmark(marks, "tile offsets after it (tag 324)", true, main.offsets);
    add_landmark(marks, "tile byte counts after it (tag 325)", true, main.counts);
    if (main.counts) {
        add_tiles(marks, reader, main);
    }
}

void add_raf(Landmarks& marks, std::span<const unsigned char> bytes) {
    using namespace std::string_view_literals;
    constexpr std::string_view kHeader = "II*\0\x08\0\0\0"sv;
    const ByteReader reader(bytes, std::endian::little);
    const auto whole = [&reader](Offset entry) {
        return entry && reader.holds(*entry, kEntrySize) ? entry : std::nullopt;
    };
    const Offset header = reader.find(kHeader);
    const Offset strip = whole(reader.find("\x07\xF0\x04\0"sv));
    const Offset length_tag = reader.find("\x08\xF0\x04\0"sv);
    const Offset length = whole(length_tag);
    const Offset owner = strip ? owning_header(reader, kHeader, *strip) : std::nullopt;
    add_landmark(marks, "a TIFF header", true, header);
    add_landmark(marks, "strip entry of the raw data (tag 0xF007)", true, strip);
    add_landmark(marks, "TIFF header of the raw data before it", false, owner);
    // Without one, the data extend to the end of the file; a truncated one stops the repair.
    add_landmark(marks, "length entry of the raw data (tag 0xF008)", length_tag && !length, length);
    if (!strip) {
        return;
    }
    const auto offset = static_cast<std::uint32_t>(value_of(reader, *strip) + owner.value_or(0));
    const auto size = length ? std::optional<std::uint64_t>(value_of(reader, *length)) : std::nullopt;
    marks.images.push_back({offset, size});
    const bool nothing_is_read = size == std::uint64_t{0} || (!size && offset == reader.size());
    if (!nothing_is_read && offset >= reader.size()) {
        marks.obstacle = kPastTheEnd;
    }
}

std::optional<TileCounts> tiles_of_sample(const ByteReader& reader) {
    // More than any camera writes; each may cost a search.
    constexpr std::uint32_t kMostDirectories = 64;
    const Offset sub_ifds = find_tag(reader, kSubIfds, reader.u32(4).value_or(0));
    if (!sub_ifds || !is_legal_entry(reader, *sub_ifds)) {
        return std::nullopt;
    }
    const std::uint32_t count = reader.u32(*sub_ifds + kCountInEntry).value_or(0);
    if (count > kMostDirectories) {
        return std::nullopt;
    }
    TagFinder types(reader, kSubfileType);
    TagFinder offsets(reader, kTileOffsets);
    TagFinder counts(reader, kTileByteCounts);
    std::optional<TileCounts> tiles; // Where several are main images, the last one's.
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t ifd =
            count == 1 ? value_of(reader, *sub_ifds) : in_list(reader, *sub_ifds, index);
        const Offset type = types.next(ifd);
        if (!type || !is_legal_entry(reader, *type)) {
            return std::nullopt;
        }
        if (value_of(reader, *type) != 0) {
            continue;
        }
        const MainImage main{type, offsets.next(ifd), counts.next(ifd)};
        if (state_of_list(reader, main.offsets) != ListState::kGood ||
            state_of_list(reader, main.counts) != ListState::kGood) {
            return std::nullopt;
        }
        tiles = counts_of(reader, main);
    }
    return tiles;
}

} // namespace plate_mend::host
