#include "CR3/CR3.h"

#include "api/Exceptions.h"
#include "util/ByteScan.h"
#include "util/Reading.h"

#include <algorithm>
#include <utility>

namespace plate_mend {

namespace {

constexpr std::size_t kBlankedBytes = 30;
constexpr std::uint64_t kFirstTableEntry = 16; // After the type: in "stsz" the size, in "co64" the low word.

std::vector<unsigned char> with_blank_head(std::vector<unsigned char> jpeg) {
    std::fill_n(jpeg.begin(), std::min(jpeg.size(), kBlankedBytes), static_cast<unsigned char>(0));
    return jpeg;
}

} // namespace

CR3::CR3(std::filesystem::path path)
    : mmap(std::make_shared<MMAP>(std::move(path))), mapped(mmap->size() != 0) {}

std::shared_ptr<StblBox> CR3::sample_tables(unsigned n) const {
    const auto trak = n == 1   ? moov->get_trak1()
                      : n == 2 ? moov->get_trak2()
                      : n == 3 ? moov->get_trak3()
                               : moov->get_trak4();
    return trak->get_mdia()->get_minf()->get_stbl();
}

std::uint32_t CR3::get_track_offset(unsigned n) const {
    return sample_tables(n)->get_co64()->get_chunk_offset_low();
}

std::uint32_t CR3::get_track_size(unsigned n) const {
    return sample_tables(n)->get_stsz()->get_entry_size();
}

void CR3::set_track_offset(unsigned n, std::uint32_t value) {
    sample_tables(n)->get_co64()->set_chunk_offset_low(value);
}

void CR3::set_track_size(unsigned n, std::uint32_t value) {
    sample_tables(n)->get_stsz()->set_entry_size(value);
}

std::uint32_t CR3::read_track(unsigned n, Source source, TrackCursor& cursor) {
    const bool damaged = source == Source::kDamaged;
    std::uint32_t& corrupt_offset = n == 1 ? corrupt_track1_offset : corrupt_track3_offset;
    const std::uint32_t corrupt_size = n == 1 ? corrupt_track1_size : corrupt_track3_size;
    const std::uint32_t offset = damaged ? corrupt_offset : get_track_offset(n);
    const std::uint32_t size = damaged ? corrupt_size : get_track_size(n);
    const auto correct_offset = [&](std::uint32_t corrected) {
        if (damaged) {
            corrupt_offset = corrected;
        } else {
            set_track_offset(n, corrected);
        }
    };

    if (offset < cursor.offset) {
        throw MismatchingException();
    }
    const std::uint32_t skipped = offset - cursor.offset;
    if (skipped != 0) {
        mmap->advance(skipped);
        cursor.gap = n == 1 ? skipped : cursor.gap + skipped;
    }
    mdat->set_track(n, TrackData(mmap, size));
    if (n != 1) {
        correct_offset(offset - cursor.gap);
    } else if (skipped != 0) {
        correct_offset(cursor.offset);
    }
    cursor.offset = static_cast<std::uint32_t>(mmap->position() + 1);
    return size;
}

void CR3::blank_previews() {
    const auto thmb = moov->get_thmb();
    thmb->set_jpeg(with_blank_head(thmb->get_jpeg()));
    const auto prvw = preview->get_prvw();
    prvw->set_jpeg(with_blank_head(prvw->get_jpeg()));
}

CR3::TrackCursor CR3::enter_corrupt_track(std::uint32_t offset, std::uint32_t size) {
    const std::uint32_t end = offset + size;
    if (offset >= mmap->size() || end >= mmap->size()) {
        throw VisitingBeyondException();
    }
    // Before a track at offset 0 there is no byte; the 32-bit difference is past the end of any file, so that
    // only an empty track can be read from there.
    mmap->seek(offset - 1);
    return {.offset = offset, .gap = 0};
}

void CR3::read_corrupt_track1() {
    TrackCursor cursor = enter_corrupt_track(corrupt_track1_offset, corrupt_track1_size);
    mdat = std::make_shared<MdatBox>();
    read_track(1, Source::kDamaged, cursor);
}

void CR3::read_corrupt_track3() {
    TrackCursor cursor = enter_corrupt_track(corrupt_track3_offset, corrupt_track3_size);
    read_track(3, Source::kDamaged, cursor);
}

std::uint32_t CR3::find_data(Pattern pattern, std::uint32_t start) const {
    if (mmap->size() < start) {
        throw OutRangeException();
    }
    const auto match = find_in_file(*mmap, pattern, start, mmap->size());
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

std::uint32_t CR3::find_data_in_range(Pattern pattern, std::uint32_t start, std::uint32_t end) const {
    if (mmap->size() < end) {
        throw OutRangeException();
    }
    const auto match = find_in_file(*mmap, pattern, start, end);
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

std::uint32_t CR3::read_number_at(std::uint64_t offset) {
    mmap->seek(offset);
    return read_u32(*mmap);
}

bool CR3::has_box_size_112(std::uint32_t pos) {
    if (pos < 4) {
        throw OutRangeException();
    }
    return read_number_at(pos - 4) == 112;
}

bool CR3::has_box_size_228(std::uint32_t pos) {
    if (pos < 4) {
        throw OutRangeException();
    }
    return read_number_at(pos - 4) == 228;
}

std::uint32_t CR3::read_chunk_offset(std::uint32_t pos) {
    return read_number_at(pos + kFirstTableEntry);
}

std::uint32_t CR3::read_sample_size(std::uint32_t pos) {
    return read_number_at(pos + kFirstTableEntry);
}

} // namespace plate_mend
