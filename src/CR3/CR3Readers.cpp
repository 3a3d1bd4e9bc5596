#include "CR3/CR3.h"

#include "api/Exceptions.h"
#include "util/Reading.h"

#include <algorithm>

// The readers of the boxes. CR3Writer.cpp mirrors them.

namespace plate_mend {

namespace {

constexpr std::uint32_t kHeaderSize = 8;
constexpr std::uint32_t kUuidHeaderSize = 24;
constexpr unsigned kTrack4 = 3;

} // namespace

template <typename BoxClass>
void CR3::parse_header(BoxClass& box) {
    box.set_size(read_next_u32(*mmap));
    box.set_type(read_next_u32(*mmap));
    if (!box.check_type()) {
        throw IllegalException();
    }
}

template <typename BoxClass>
std::shared_ptr<BoxClass> CR3::parse_header() {
    auto box = std::make_shared<BoxClass>();
    parse_header(*box);
    return box;
}

template <typename BoxClass>
void CR3::parse_raw(BoxClass& box) {
    parse_header(box);
    // A size smaller than the header wraps to more bytes than any file has.
    box.set_data(read_next_bytes(*mmap, box.get_size() - kHeaderSize));
}

template <typename BoxClass>
std::shared_ptr<BoxClass> CR3::parse_raw() {
    auto box = std::make_shared<BoxClass>();
    parse_raw(*box);
    return box;
}

void CR3::parse_ftyp() {
    ftyp = std::make_shared<FtypBox>();
    mmap->seek(0);
    ftyp->set_size(read_u32(*mmap)); // The only number that begins at the cursor, not after it.
    ftyp->set_type(read_next_u32(*mmap));
    if (!ftyp->check_type()) {
        throw IllegalException();
    }
    ftyp->set_data(read_next_bytes(*mmap, ftyp->get_size() - kHeaderSize));
}

void CR3::parse_cctp(const std::shared_ptr<MoovBox>& parent) {
    const auto cctp = parse_header<CCTPBox>();
    // Byte 3 of reserved loses its high four bits, and its low four move into their place, with zeros below:
    // see docs/compatibility.md, CR3.
    const std::uint32_t high = read_next_u32(*mmap);
    const std::uint32_t low = read_next_u32(*mmap);
    const std::uint32_t kept = (high & 0xFFFFFF00U) | (high & 0x0FU) << 4U;
    cctp->set_reserved(std::uint64_t{kept} << 32U | low);
    cctp->set_line_count(read_next_u32(*mmap));
    const auto lines = std::make_shared<std::array<CCDTBox, 3>>();
    for (CCDTBox& line : *lines) {
        parse_raw(line);
        if (!line.check_data()) {
            throw IllegalException();
        }
    }
    cctp->set_lines(*lines);
    parent->set_cctp(cctp);
}

void CR3::parse_moov_free(const std::shared_ptr<MoovBox>& parent) {
    parent->set_free(parse_raw<FreeBox>());
    const auto data = parent->get_free()->get_data();
    if (std::any_of(data.begin(), data.end(), [](unsigned char byte) { return byte != 0; })) {
        throw IllegalException();
    }
}

void CR3::parse_thmb(const std::shared_ptr<MoovBox>& parent) {
    const auto thmb = parse_header<THMBBox>();
    thmb->set_header(read_next_four(*mmap));
    thmb->set_value1(read_next_u16(*mmap));
    thmb->set_value2(read_next_u16(*mmap));
    thmb->set_jpeg_size(read_next_u32(*mmap));
    thmb->set_value3(read_next_u16(*mmap));
    thmb->set_value4(read_next_u16(*mmap));
    thmb->set_jpeg(read_next_bytes(*mmap, thmb->get_jpeg_size()));
    // The low two bits of the length: see docs/compatibility.md, CR3.
    const std::uint32_t pad = thmb->get_jpeg_size() & 3U;
    if (pad != 0) {
        for (std::uint32_t skipped = 0; skipped < pad; ++skipped) {
            mmap->advance(1);
        }
        thmb->set_padding(std::vector<unsigned char>(pad));
        thmb->set_trailer(read_next_u32(*mmap));
    }
    parent->set_thmb(thmb);
}

void CR3::parse_dinf(const std::shared_ptr<MinfBox>& parent) {
    const auto dinf = parse_header<DinfBox>();
    dinf->set_dref(parse_raw<DrefBox>());
    parent->set_dinf(dinf);
}

void CR3::parse_stsd(const std::shared_ptr<StblBox>& parent) {
    const auto stsd = parse_header<StsdBox>();
    stsd->set_header(read_next_four(*mmap));
    stsd->set_entry_count(read_next_u32(*mmap));
    stsd->set_sample_entry(parse_raw<CRAWBox>());
    parent->set_stsd(stsd);
}

void CR3::parse_stsz(const std::shared_ptr<StblBox>& parent, unsigned track) {
    const auto stsz = parse_header<StszBox>();
    if (track != kTrack4) {
        stsz->set_header(read_next_bytes(*mmap, 8));
        stsz->set_sample_count(read_next_u32(*mmap));
        stsz->set_entry_size(read_next_u32(*mmap));
    } else {
        stsz->set_header(read_next_bytes(*mmap, 4));
        stsz->set_entry_size(read_next_u32(*mmap));
        stsz->set_sample_count(read_next_u32(*mmap));
    }
    parent->set_stsz(stsz);
}

void CR3::parse_co64(const std::shared_ptr<StblBox>& parent) {
    const auto co64 = parse_header<Co64Box>();
    co64->set_version_flags(read_next_u32(*mmap));
    co64->set_entry_count(read_next_u32(*mmap));
    co64->set_chunk_offset_high(read_next_u32(*mmap));
    co64->set_chunk_offset_low(read_next_u32(*mmap));
    parent->set_co64(co64);
}

void CR3::parse_stbl(const std::shared_ptr<MinfBox>& parent, unsigned track) {
    const auto stbl = parse_header<StblBox>();
    parse_stsd(stbl);
    stbl->set_stts(parse_raw<SttsBox>());
    stbl->set_stsc(parse_raw<StscBox>());
    if (track != kTrack4) {
        stbl->set_free1(parse_raw<FreeBox>());
    }
    parse_stsz(stbl, track);
    stbl->set_free2(parse_raw<FreeBox>());
    parse_co64(stbl);
    parent->set_stbl(stbl);
}

void CR3::parse_minf(const std::shared_ptr<MdiaBox>& parent, unsigned track) {
    const auto minf = parse_header<MinfBox>();
    minf->set_vmhd(parse_raw<VmhdBox>());
    parse_dinf(minf);
    parse_stbl(minf, track);
    parent->set_minf(minf);
}

void CR3::parse_mdia(const std::shared_ptr<TrakBox>& parent, unsigned track) {
    const auto mdia = parse_header<MdiaBox>();
    mdia->set_mdhd(parse_raw<MdhdBox>());
    mdia->set_hdlr(parse_raw<HdlrBox>());
    parse_minf(mdia, track);
    parent->set_mdia(mdia);
}

std::shared_ptr<TrakBox> CR3::parse_trak(unsigned track) {
    auto trak = parse_header<TrakBox>();
    trak->set_tkhd(parse_raw<TkhdBox>());
    parse_mdia(trak, track);
    return trak;
}

void CR3::parse_moov() {
    moov = std::make_shared<MoovBox>();
    moov->set_size(read_next_u32(*mmap));
    moov->set_type(read_next_u32(*mmap));
    moov->set_uuid_size(read_next_u32(*mmap));
    moov->set_uuid_type(read_next_u32(*mmap));
    moov->set_uuid(read_next_uuid(*mmap));
    moov->set_cncv(parse_raw<CNCVBox>());
    parse_cctp(moov);
    moov->set_ctbo(parse_raw<CTBOBox>());
    parse_moov_free(moov);
    moov->set_cmt1(parse_raw<CMT1Box>());
    moov->set_cmt2(parse_raw<CMT2Box>());
    moov->set_cmt3(parse_raw<CMT3Box>());
    moov->set_cmt4(parse_raw<CMT4Box>());
    parse_thmb(moov);
    moov->set_mvhd(parse_raw<MvhdBox>());
    moov->set_trak1(parse_trak(0));
    moov->set_trak2(parse_trak(1));
    moov->set_trak3(parse_trak(2));
    moov->set_trak4(parse_trak(3));
}

void CR3::parse_xpacket() {
    xpacket = std::make_shared<XPacketDataBox>();
    parse_header(*xpacket);
    xpacket->set_uuid(read_next_uuid(*mmap));
    if (!xpacket->check_uuid()) {
        throw IllegalException();
    }
    xpacket->set_data(read_next_bytes(*mmap, xpacket->get_size() - kUuidHeaderSize));
}

void CR3::parse_prvw(const std::shared_ptr<PreviewDataBox>& parent) {
    const auto prvw = parse_header<PRVWBox>();
    prvw->set_word1(read_next_u32(*mmap));
    prvw->set_value1(read_next_u16(*mmap));
    prvw->set_value2(read_next_u16(*mmap));
    prvw->set_value3(read_next_u16(*mmap));
    prvw->set_value4(read_next_u16(*mmap));
    prvw->set_jpeg_size(read_next_u32(*mmap));
    prvw->set_jpeg(read_next_bytes(*mmap, prvw->get_jpeg_size()));
    parent->set_prvw(prvw);
}

void CR3::parse_preview() {
    preview = std::make_shared<PreviewDataBox>();
    parse_header(*preview);
    preview->set_uuid(read_next_uuid(*mmap));
    if (!preview->check_uuid()) {
        throw IllegalException();
    }
    preview->set_word1(read_next_u32(*mmap));
    preview->set_word2(read_next_u32(*mmap));
    parse_prvw(preview);
}

void CR3::parse_mdat() {
    mdat = std::make_shared<MdatBox>();
    parse_header(*mdat);
    if (mdat->get_size() == 1) { // The size is in the next two words.
        mdat->set_large_size_high(read_next_u32(*mmap));
        mdat->set_large_size_low(read_next_u32(*mmap));
    }
    TrackCursor cursor{.offset = static_cast<std::uint32_t>(mmap->position() + 1), .gap = 0};
    std::uint32_t total = 0;
    for (unsigned n = 1; n <= 4; ++n) {
        total += read_track(n, Source::kSample, cursor);
    }
    const std::uint32_t pad = total & 3U;
    if (pad != 0) {
        mdat->set_padding(std::vector<unsigned char>(pad));
    }
}

} // namespace plate_mend
