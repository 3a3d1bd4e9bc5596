#include "CR3/CR3.h"

#include "api/Exceptions.h"

#include <fstream>

// The writer of a repaired file: first it corrects the numbers, then it writes the tree. It mirrors
// CR3Readers.cpp.

namespace plate_mend {

namespace {

constexpr unsigned kTrack4 = 3; // Tracks count from 0 here.

/// Tracks 1 and 3 get the damaged file's lengths; the tracks after them move, and "mdat" grows or shrinks.
/// Nothing before "mdat" changes its length, so track 1 stays where it is.
void fit_numbers(const CR3& damaged, CR3& sample) {
    const std::uint32_t new3 = damaged.get_corrupt_track3_size();
    const std::uint32_t old3 = sample.get_track3_size();
    sample.set_track3_size(new3);
    const std::uint32_t offset4 = sample.get_track4_offset() - old3 + new3;
    sample.set_track4_offset(offset4);

    const std::uint32_t new1 = damaged.get_corrupt_track1_size();
    const std::uint32_t old1 = sample.get_track1_size();
    sample.set_track1_size(new1);
    sample.set_track2_offset(new1 + (sample.get_track2_offset() - old1));
    sample.set_track3_offset(new1 + (sample.get_track3_offset() - old1));
    sample.set_track4_offset(new1 + (offset4 - old1));

    const std::uint32_t total = sample.get_track1_size() + sample.get_track2_size() +
                                sample.get_track3_size() + sample.get_track4_size();
    const std::uint32_t pad = total & 3U; // The low two bits of the sum: see docs/compatibility.md, CR3.
    sample.mdat->set_padding(std::vector<unsigned char>(pad));
    const std::uint32_t body = total + pad;
    if (sample.mdat->get_size() == 1) {
        sample.mdat->set_large_size_low(body + 16);
    } else {
        sample.mdat->set_size(body + 8);
    }
}

template <typename BoxClass>
void write_header(std::ostream& output, const BoxClass& box) {
    write_u32(output, box.get_size());
    write_u32(output, box.get_type());
}

template <typename BoxClass>
void write_raw(std::ostream& output, const BoxClass& box) {
    write_header(output, box);
    write_bytes(output, box.get_data());
}

void write_cctp(std::ostream& output, const CCTPBox& cctp) {
    write_header(output, cctp);
    write_u64(output, cctp.get_reserved());
    write_u32(output, cctp.get_line_count());
    for (const CCDTBox& line : cctp.get_lines()) {
        write_raw(output, line);
    }
}

void write_thmb(std::ostream& output, const THMBBox& thmb) {
    write_header(output, thmb);
    write_four(output, thmb.get_header());
    write_u16(output, thmb.get_value1());
    write_u16(output, thmb.get_value2());
    write_u32(output, thmb.get_jpeg_size());
    write_u16(output, thmb.get_value3());
    write_u16(output, thmb.get_value4());
    write_bytes(output, thmb.get_jpeg());
    write_bytes(output, thmb.get_padding());
    if (!thmb.get_padding().empty()) {
        write_u32(output, thmb.get_trailer());
    }
}

void write_dinf(std::ostream& output, const DinfBox& dinf) {
    write_header(output, dinf);
    write_raw(output, *dinf.get_dref());
}

void write_stsd(std::ostream& output, const StsdBox& stsd) {
    write_header(output, stsd);
    write_four(output, stsd.get_header());
    write_u32(output, stsd.get_entry_count());
    write_raw(output, *stsd.get_sample_entry());
}

void write_stsz(std::ostream& output, const StszBox& stsz, unsigned track) {
    write_header(output, stsz);
    write_bytes(output, stsz.get_header());
    if (track != kTrack4) {
        write_u32(output, stsz.get_sample_count());
        write_u32(output, stsz.get_entry_size());
    } else {
        write_u32(output, stsz.get_entry_size());
        write_u32(output, stsz.get_sample_count());
    }
}

void write_co64(std::ostream& output, const Co64Box& co64) {
    write_header(output, co64);
    write_u32(output, co64.get_version_flags());
    write_u32(output, co64.get_entry_count());
    write_u32(output, co64.get_chunk_offset_high());
    write_u32(output, co64.get_chunk_offset_low());
}

void write_stbl(std::ostream& output, const StblBox& stbl, unsigned track) {
    write_header(output, stbl);
    write_stsd(output, *stbl.get_stsd());
    write_raw(output, *stbl.get_stts());
    write_raw(output, *stbl.get_stsc());
    if (track != kTrack4) {
        write_raw(output, *stbl.get_free1());
    }
    write_stsz(output, *stbl.get_stsz(), track);
    write_raw(output, *stbl.get_free2());
    write_co64(output, *stbl.get_co64());
}

void write_minf(std::ostream& output, const MinfBox& minf, unsigned track) {
    write_header(output, minf);
    write_raw(output, *minf.get_vmhd());
    write_dinf(output, *minf.get_dinf());
    write_stbl(output, *minf.get_stbl(), track);
}

void write_mdia(std::ostream& output, const MdiaBox& mdia, unsigned track) {
    write_header(output, mdia);
    write_raw(output, *mdia.get_mdhd());
    write_raw(output, *mdia.get_hdlr());
    write_minf(output, *mdia.get_minf(), track);
}

void write_trak(std::ostream& output, const TrakBox& trak, unsigned track) {
    write_header(output, trak);
    write_raw(output, *trak.get_tkhd());
    write_mdia(output, *trak.get_mdia(), track);
}

void write_moov(std::ostream& output, const MoovBox& moov) {
    write_header(output, moov);
    write_u32(output, moov.get_uuid_size());
    write_u32(output, moov.get_uuid_type());
    write_uuid(output, moov.get_uuid());
    write_raw(output, *moov.get_cncv());
    write_cctp(output, *moov.get_cctp());
    write_raw(output, *moov.get_ctbo());
    write_raw(output, *moov.get_free());
    write_raw(output, *moov.get_cmt1());
    write_raw(output, *moov.get_cmt2());
    write_raw(output, *moov.get_cmt3());
    write_raw(output, *moov.get_cmt4());
    write_thmb(output, *moov.get_thmb());
    write_raw(output, *moov.get_mvhd());
    write_trak(output, *moov.get_trak1(), 0);
    write_trak(output, *moov.get_trak2(), 1);
    write_trak(output, *moov.get_trak3(), 2);
    write_trak(output, *moov.get_trak4(), 3);
}

void write_xpacket(std::ostream& output, const XPacketDataBox& xpacket) {
    write_header(output, xpacket);
    write_uuid(output, xpacket.get_uuid());
    write_bytes(output, xpacket.get_data());
}

void write_prvw(std::ostream& output, const PRVWBox& prvw) {
    write_header(output, prvw);
    write_u32(output, prvw.get_word1());
    write_u16(output, prvw.get_value1());
    write_u16(output, prvw.get_value2());
    write_u16(output, prvw.get_value3());
    write_u16(output, prvw.get_value4());
    write_u32(output, prvw.get_jpeg_size());
    write_bytes(output, prvw.get_jpeg());
}

void write_preview(std::ostream& output, const PreviewDataBox& preview) {
    write_header(output, preview);
    write_uuid(output, preview.get_uuid());
    write_u32(output, preview.get_word1());
    write_u32(output, preview.get_word2());
    write_prvw(output, *preview.get_prvw());
}

void write_mdat(std::ostream& output, const MdatBox& damaged, const MdatBox& sample) {
    write_header(output, sample);
    if (sample.get_size() == 1) {
        write_u32(output, sample.get_large_size_high());
        write_u32(output, sample.get_large_size_low());
    }
    damaged.write_track(1, output);
    sample.write_track(2, output);
    damaged.write_track(3, output);
    sample.write_track(4, output);
    write_bytes(output, sample.get_padding());
}

} // namespace

void CR3::write_repaired(const std::shared_ptr<CR3>& damaged, const std::shared_ptr<CR3>& sample,
                         const std::filesystem::path& output_path) {
    fit_numbers(*damaged, *sample);
    std::ofstream output(output_path, std::ios::binary | std::ios::app);
    if (!output.is_open()) {
        throw VisitingBeyondException();
    }
    write_raw(output, *sample->ftyp);
    write_moov(output, *sample->moov);
    write_xpacket(output, *sample->xpacket);
    write_preview(output, *sample->preview);
    write_mdat(output, *damaged->mdat, *sample->mdat);
    output.close();
}

} // namespace plate_mend
