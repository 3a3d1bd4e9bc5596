#include "diagnose/LandmarkSearch.h"

// The formats that are made of TIFF directories.

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

void add_image(Landmarks& marks, const Numbers& numbers, std::uint32_t offset,
               std::optional<std::uint64_t> size) {
    marks.images.push_back({offset, size});
    if (offset > numbers.size()) {
        marks.obstacle = kPastTheEnd;
    }
}

/// Tags 273, 278 and 279 with the last two at fixed distances after the first.
void add_strip_triple(Landmarks& marks, const Numbers& numbers, std::uint64_t second, std::uint64_t third) {
    const auto is_triple = [&](std::size_t place) {
        return numbers.u16(place + second) == kRowsPerStrip && numbers.u16(place + third) == kStripByteCounts;
    };
    Place place = numbers.find(kStripOffsets, 0);
    while (place && numbers.holds(*place, third + 2) && !is_triple(*place)) {
        place = numbers.find(kStripOffsets, *place + 1);
    }
    if (place && !numbers.holds(*place, third + kEntrySize)) {
        place.reset();
    }
    add_landmark(marks, "strip entries of the image (tags 273, 278, 279)", true, place);
    if (place) {
        add_image(marks, numbers, numbers.value_of(*place), numbers.value_of(*place + third));
    }
}

/// The next entry of tag 254 whose value is 0: that of a main image.
Place find_main_image(const Numbers& numbers, std::uint64_t start) {
    Place place = numbers.find(kSubfileType, start);
    while (place && numbers.holds(*place, kEntrySize)) {
        if (numbers.is_legal_entry(*place) && numbers.value_of(*place) == 0) {
            return place;
        }
        place = numbers.find(kSubfileType, *place + 1);
    }
    return std::nullopt;
}

/// The next place of a tag. It remembers the last search, so that for starts that only grow all searches
/// together read the file once.
class TagSearch {
  public:
    TagSearch(const Numbers& numbers, std::uint16_t tag) : numbers_(numbers), tag_(tag) {}

    Place next(std::uint64_t start) {
        const bool is_known = start >= known_from_ && (!place_ || *place_ >= start);
        if (!is_known) {
            place_ = numbers_.find(tag_, start);
            known_from_ = start;
        }
        return place_;
    }

  private:
    const Numbers& numbers_;
    std::uint16_t tag_;
    std::uint64_t known_from_ = ~std::uint64_t{0}; ///< From here to the place the tag does not appear.
    Place place_;
};

enum class ListState { kGood, kIllegal, kUnreachable };

/// What a repair makes of the entry of a list. It reads one byte more than the list has.
ListState state_of_list(const Numbers& numbers, Place entry) {
    constexpr std::uint64_t kNumberSize = 4;
    if (!entry || !numbers.holds(*entry, kEntrySize)) {
        return ListState::kUnreachable;
    }
    if (!numbers.is_legal_entry(*entry)) {
        return ListState::kIllegal;
    }
    const std::uint64_t count = numbers.u32(*entry + kCountInEntry).value_or(0);
    return numbers.holds(numbers.value_of(*entry), count * kNumberSize + 1) ? ListState::kGood
                                                                            : ListState::kUnreachable;
}

/// A number of an entry's list.
std::uint32_t in_list(const Numbers& numbers, std::size_t entry, std::uint64_t index) {
    return numbers.u32(numbers.value_of(entry) + 4 * index).value_or(0);
}

/// The first main image whose two lists are good. A list that is out of reach ends the search.
struct MainImage {
    Place entry;
    Place offsets;
    Place counts;
};

MainImage find_tiled_image(const Numbers& numbers) {
    TagSearch offsets(numbers, kTileOffsets);
    TagSearch counts(numbers, kTileByteCounts);
    MainImage main;
    for (main.entry = find_main_image(numbers, 0); main.entry;
         main.entry = find_main_image(numbers, *main.entry + 1)) {
        main.offsets = offsets.next(*main.entry);
        const ListState state = state_of_list(numbers, main.offsets);
        if (state == ListState::kIllegal) {
            continue;
        }
        if (state == ListState::kUnreachable) {
            return {main.entry, std::nullopt, std::nullopt};
        }
        main.counts = counts.next(*main.entry);
        const ListState counts_state = state_of_list(numbers, main.counts);
        if (counts_state != ListState::kIllegal) {
            return {main.entry, main.offsets, counts_state == ListState::kGood ? main.counts : std::nullopt};
        }
    }
    return {};
}

TileCounts counts_of(const Numbers& numbers, const MainImage& main) {
    return {numbers.u32(*main.offsets + kCountInEntry).value_or(0),
            numbers.u32(*main.counts + kCountInEntry).value_or(0)};
}

/// From the first tile to the end of the last.
void add_tiles(Landmarks& marks, const Numbers& numbers, const MainImage& main) {
    const TileCounts tiles = counts_of(numbers, main);
    const std::uint32_t first = in_list(numbers, *main.offsets, 0);
    const std::uint32_t last = in_list(numbers, *main.offsets, tiles.offsets - 1);
    // Of 32 bits, as the repair computes it.
    const std::uint32_t size = last + in_list(numbers, *main.counts, tiles.byte_counts - 1) - first;
    marks.tiles = tiles;
    marks.images.push_back({first, size});
    if (!numbers.holds(first, size)) {
        marks.obstacle = kPastTheEnd;
    }
    if (tiles.byte_counts < tiles.offsets - 1) {
        marks.obstacle = "it lists more tiles than lengths of tiles";
    }
}

/// The first TIFF header that an entry may belong to: at most 136 bytes before it.
Place owning_header(std::span<const unsigned char> bytes, std::string_view header, std::uint64_t entry) {
    constexpr std::uint64_t kReach = 136;
    return find_text(bytes, header, entry > kReach ? entry - kReach : 0, entry + header.size());
}

} // namespace

void add_arw(Landmarks& marks, const Numbers& numbers) {
    add_strip_triple(marks, numbers, kEntrySize, 2 * kEntrySize);
}

void add_sr2_or_orf(Landmarks& marks, const Numbers& numbers) {
    add_strip_triple(marks, numbers, 3 * kEntrySize, 4 * kEntrySize);
}

void add_cr2(Landmarks& marks, const Numbers& numbers) {
    const auto leads_on = [&numbers](std::size_t place) {
        const std::uint64_t next = place + kEntrySize;
        return numbers.u16(next) == kStripByteCounts && numbers.u16(next + 2) == kTypeLong &&
               numbers.u32(next + kCountInEntry) != 0U && numbers.value_of(next) != 0;
    };
    Place place = numbers.find(kStripOffsets, 0);
    while (place && numbers.holds(*place, 2 * kEntrySize) && !leads_on(*place)) {
        place = numbers.find(kStripOffsets, *place + 1);
    }
    if (place && (!numbers.holds(*place, 2 * kEntrySize) || !numbers.is_legal_entry(*place))) {
        place.reset();
    }
    add_landmark(marks, "strip entries of the image (tag 273 with 279 after it)", true, place);
    if (place) {
        add_image(marks, numbers, numbers.value_of(*place), numbers.value_of(*place + kEntrySize));
    }
}

void add_nef(Landmarks& marks, const Numbers& numbers) {
    const Place main = find_main_image(numbers, 0);
    Place strip = main ? numbers.find(kStripOffsets, *main) : std::nullopt;
    if (strip && !numbers.is_legal_entry(*strip)) {
        strip.reset();
    }
    add_landmark(marks, "entry of the main image (tag 254 with value 0)", true, main);
    add_landmark(marks, "strip entry of the image (tag 273 after it)", true, strip);
    if (strip) {
        add_image(marks, numbers, numbers.value_of(*strip), std::nullopt);
    }
}

void add_dng(Landmarks& marks, const Numbers& numbers) {
    const MainImage main = find_tiled_image(numbers);
    add_landmark(marks, "entry of the main image (tag 254 with value 0)", true, main.entry);
    add_landmark(marks, "tile offsets after it (tag 324)", true, main.offsets);
    add_landmark(marks, "tile byte counts after it (tag 325)", true, main.counts);
    if (main.counts) {
        add_tiles(marks, numbers, main);
    }
}

void add_raf(Landmarks& marks, std::span<const unsigned char> bytes) {
    using namespace std::string_view_literals;
    constexpr std::string_view kHeader = "II*\0\x08\0\0\0"sv;
    const Numbers numbers(bytes, false);
    const auto whole = [&numbers](Place entry) {
        return entry && numbers.holds(*entry, kEntrySize) ? entry : std::nullopt;
    };
    const Place header = find_text(bytes, kHeader);
    const Place strip = whole(find_text(bytes, "\x07\xF0\x04\0"sv));
    const Place length_tag = find_text(bytes, "\x08\xF0\x04\0"sv);
    const Place length = whole(length_tag);
    const Place owner = strip ? owning_header(bytes, kHeader, *strip) : std::nullopt;
    add_landmark(marks, "a TIFF header", true, header);
    add_landmark(marks, "strip entry of the raw data (tag 0xF007)", true, strip);
    add_landmark(marks, "TIFF header of the raw data before it", false, owner);
    // Without one the data go on to the end of the file; one that the end cuts stops the repair.
    add_landmark(marks, "length entry of the raw data (tag 0xF008)", length_tag && !length, length);
    if (!strip) {
        return;
    }
    const auto offset = static_cast<std::uint32_t>(numbers.value_of(*strip) + owner.value_or(0));
    const auto size = length ? std::optional<std::uint64_t>(numbers.value_of(*length)) : std::nullopt;
    marks.images.push_back({offset, size});
    const bool nothing_is_read = size == std::uint64_t{0} || (!size && offset == numbers.size());
    if (!nothing_is_read && offset >= numbers.size()) {
        marks.obstacle = kPastTheEnd;
    }
}

std::optional<TileCounts> tiles_of_sample(const Numbers& numbers) {
    // More than any camera writes; each may cost a search.
    constexpr std::uint32_t kMostDirectories = 64;
    const Place sub_ifds = numbers.find(kSubIfds, numbers.u32(4).value_or(0));
    if (!sub_ifds || !numbers.is_legal_entry(*sub_ifds)) {
        return std::nullopt;
    }
    const std::uint32_t count = numbers.u32(*sub_ifds + kCountInEntry).value_or(0);
    if (count > kMostDirectories) {
        return std::nullopt;
    }
    TagSearch types(numbers, kSubfileType);
    TagSearch offsets(numbers, kTileOffsets);
    TagSearch counts(numbers, kTileByteCounts);
    std::optional<TileCounts> tiles; // Where several are main images, the last one's.
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t ifd =
            count == 1 ? numbers.value_of(*sub_ifds) : in_list(numbers, *sub_ifds, index);
        const Place type = types.next(ifd);
        if (!type || !numbers.is_legal_entry(*type)) {
            return std::nullopt;
        }
        if (numbers.value_of(*type) != 0) {
            continue;
        }
        const MainImage main{type, offsets.next(ifd), counts.next(ifd)};
        if (state_of_list(numbers, main.offsets) != ListState::kGood ||
            state_of_list(numbers, main.counts) != ListState::kGood) {
            return std::nullopt;
        }
        tiles = counts_of(numbers, main);
    }
    return tiles;
}

} // namespace plate_mend::host
