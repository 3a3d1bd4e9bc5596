#pragma once

#include "CR3/Box.h"
#include "CR3/TrackData.h"
#include "CR3/VendorBoxes.h"

#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

// The ISO BMFF boxes that a CR3 file has. Layouts count from the start of the box. A container reads its
// children in the order of its members, whatever its size is.

namespace plate_mend {

/// The file type. Raw. It has its own accessors: see docs/compatibility.md, CR3.
class FtypBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("ftyp"); }

    [[nodiscard]] std::uint32_t get_size() const { return size; }
    [[nodiscard]] std::uint32_t get_type() const { return type; }
    [[nodiscard]] std::vector<unsigned char> get_data() const { return data; }
    void set_size(std::uint32_t value) { size = value; }
    void set_type(std::uint32_t value) { type = value; }
    void set_data(std::vector<unsigned char> value) { data = std::move(value); }
};

/// The movie header. Raw.
class MvhdBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("mvhd"); }
};

/// A track header. Raw.
class TkhdBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("tkhd"); }
};

/// A media header. Raw.
class MdhdBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("mdhd"); }
};

/// The kind of a track. Raw.
class HdlrBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("hdlr"); }
};

/// The header of a video track, or that of a metadata track. Raw.
class VmhdBox : public Box {
  public:
    [[nodiscard]] bool check_type() const {
        return get_type() == four_cc("vmhd") || get_type() == four_cc("nmhd");
    }
};

/// Data references. Raw.
class DrefBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("dref"); }
};

/// Decoding times. Raw.
class SttsBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("stts"); }
};

/// Samples to chunks. Raw.
class StscBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("stsc"); }
};

/// Free space. Raw.
class FreeBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("free"); }
};

/// Data information, a container.
class DinfBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("dinf"); }

    [[nodiscard]] std::shared_ptr<DrefBox> get_dref() const { return dref; }
    void set_dref(std::shared_ptr<DrefBox> value) { dref = std::move(value); }

  private:
    std::shared_ptr<DrefBox> dref;
};

/// The sample descriptions.
///
///   8   4  header, raw bytes: version and flags
///   12  4  entry_count: kept, not used (see docs/compatibility.md, CR3)
///   16     one sample entry
class StsdBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("stsd"); }

    [[nodiscard]] std::array<unsigned char, 4> get_header() const { return header; }
    void set_header(const std::array<unsigned char, 4>& value) { header = value; }
    [[nodiscard]] std::uint32_t get_entry_count() const { return entry_count; }
    void set_entry_count(std::uint32_t value) { entry_count = value; }
    [[nodiscard]] std::shared_ptr<CRAWBox> get_sample_entry() const { return sample_entry; }
    void set_sample_entry(std::shared_ptr<CRAWBox> value) { sample_entry = std::move(value); }

  private:
    std::array<unsigned char, 4> header{};
    std::uint32_t entry_count = 0;
    std::shared_ptr<CRAWBox> sample_entry;
};

/// The sample sizes: one.
///
///            tracks 1 to 3             track 4: a fixed size and no table
///   8        8  header, raw bytes      4  header, raw bytes
///   then     4  sample_count           4  entry_size
///   then     4  entry_size             4  sample_count
class StszBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("stsz"); }

    [[nodiscard]] std::vector<unsigned char> get_header() const { return header; }
    void set_header(std::vector<unsigned char> value) { header = std::move(value); }
    [[nodiscard]] std::uint32_t get_sample_count() const { return sample_count; }
    void set_sample_count(std::uint32_t value) { sample_count = value; }
    [[nodiscard]] std::uint32_t get_entry_size() const { return entry_size; }
    void set_entry_size(std::uint32_t value) { entry_size = value; }

  private:
    std::vector<unsigned char> header;
    std::uint32_t sample_count = 0;
    std::uint32_t entry_size = 0; ///< The track's length in bytes.
};

/// The chunk offsets: one, whatever entry_count is.
///
///   8   4  version_flags            16  4  chunk_offset_high
///   12  4  entry_count              20  4  chunk_offset_low
class Co64Box : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("co64"); }

    [[nodiscard]] std::uint32_t get_version_flags() const { return version_flags; }
    void set_version_flags(std::uint32_t value) { version_flags = value; }
    [[nodiscard]] std::uint32_t get_entry_count() const { return entry_count; }
    void set_entry_count(std::uint32_t value) { entry_count = value; }
    [[nodiscard]] std::uint32_t get_chunk_offset_high() const { return chunk_offset_high; }
    void set_chunk_offset_high(std::uint32_t value) { chunk_offset_high = value; }
    [[nodiscard]] std::uint32_t get_chunk_offset_low() const { return chunk_offset_low; }
    void set_chunk_offset_low(std::uint32_t value) { chunk_offset_low = value; }

  private:
    std::uint32_t version_flags = 0;
    std::uint32_t entry_count = 0;
    std::uint32_t chunk_offset_high = 0;
    std::uint32_t chunk_offset_low = 0;
};

/// The sample tables, a container.
class StblBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("stbl"); }

    [[nodiscard]] std::shared_ptr<StsdBox> get_stsd() const { return stsd; }
    void set_stsd(std::shared_ptr<StsdBox> value) { stsd = std::move(value); }
    [[nodiscard]] std::shared_ptr<SttsBox> get_stts() const { return stts; }
    void set_stts(std::shared_ptr<SttsBox> value) { stts = std::move(value); }
    [[nodiscard]] std::shared_ptr<StscBox> get_stsc() const { return stsc; }
    void set_stsc(std::shared_ptr<StscBox> value) { stsc = std::move(value); }
    [[nodiscard]] std::shared_ptr<FreeBox> get_free1() const { return free1; }
    void set_free1(std::shared_ptr<FreeBox> value) { free1 = std::move(value); }
    [[nodiscard]] std::shared_ptr<StszBox> get_stsz() const { return stsz; }
    void set_stsz(std::shared_ptr<StszBox> value) { stsz = std::move(value); }
    [[nodiscard]] std::shared_ptr<FreeBox> get_free2() const { return free2; }
    void set_free2(std::shared_ptr<FreeBox> value) { free2 = std::move(value); }
    [[nodiscard]] std::shared_ptr<Co64Box> get_co64() const { return co64; }
    void set_co64(std::shared_ptr<Co64Box> value) { co64 = std::move(value); }

  private:
    std::shared_ptr<StsdBox> stsd;
    std::shared_ptr<SttsBox> stts;
    std::shared_ptr<StscBox> stsc;
    std::shared_ptr<FreeBox> free1; ///< Null in track 4, which has none.
    std::shared_ptr<StszBox> stsz;
    std::shared_ptr<FreeBox> free2;
    std::shared_ptr<Co64Box> co64;
};

/// Media information, a container.
class MinfBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("minf"); }

    [[nodiscard]] std::shared_ptr<VmhdBox> get_vmhd() const { return vmhd; }
    void set_vmhd(std::shared_ptr<VmhdBox> value) { vmhd = std::move(value); }
    [[nodiscard]] std::shared_ptr<DinfBox> get_dinf() const { return dinf; }
    void set_dinf(std::shared_ptr<DinfBox> value) { dinf = std::move(value); }
    [[nodiscard]] std::shared_ptr<StblBox> get_stbl() const { return stbl; }
    void set_stbl(std::shared_ptr<StblBox> value) { stbl = std::move(value); }

  private:
    std::shared_ptr<VmhdBox> vmhd;
    std::shared_ptr<DinfBox> dinf;
    std::shared_ptr<StblBox> stbl;
};

/// The media of a track, a container.
class MdiaBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("mdia"); }

    [[nodiscard]] std::shared_ptr<MdhdBox> get_mdhd() const { return mdhd; }
    void set_mdhd(std::shared_ptr<MdhdBox> value) { mdhd = std::move(value); }
    [[nodiscard]] std::shared_ptr<HdlrBox> get_hdlr() const { return hdlr; }
    void set_hdlr(std::shared_ptr<HdlrBox> value) { hdlr = std::move(value); }
    [[nodiscard]] std::shared_ptr<MinfBox> get_minf() const { return minf; }
    void set_minf(std::shared_ptr<MinfBox> value) { minf = std::move(value); }

  private:
    std::shared_ptr<MdhdBox> mdhd;
    std::shared_ptr<HdlrBox> hdlr;
    std::shared_ptr<MinfBox> minf;
};

/// A track, a container.
class TrakBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("trak"); }

    [[nodiscard]] std::shared_ptr<TkhdBox> get_tkhd() const { return tkhd; }
    void set_tkhd(std::shared_ptr<TkhdBox> value) { tkhd = std::move(value); }
    [[nodiscard]] std::shared_ptr<MdiaBox> get_mdia() const { return mdia; }
    void set_mdia(std::shared_ptr<MdiaBox> value) { mdia = std::move(value); }

  private:
    std::shared_ptr<TkhdBox> tkhd;
    std::shared_ptr<MdiaBox> mdia;
};

/// The movie, with the header of the "uuid" box that contains Canon's boxes. None of it is checked. It has
/// its own accessors of size and type: see docs/compatibility.md, CR3.
///
///   8   4  uuid_size                16  16  uuid
///   12  4  uuid_type                32      the children
class MoovBox : public Box {
  public:
    [[nodiscard]] std::uint32_t get_size() const { return size; }
    [[nodiscard]] std::uint32_t get_type() const { return type; }
    void set_size(std::uint32_t value) { size = value; }
    void set_type(std::uint32_t value) { type = value; }

    [[nodiscard]] std::uint32_t get_uuid_size() const { return uuid_size; }
    void set_uuid_size(std::uint32_t value) { uuid_size = value; }
    [[nodiscard]] std::uint32_t get_uuid_type() const { return uuid_type; }
    void set_uuid_type(std::uint32_t value) { uuid_type = value; }
    [[nodiscard]] BoxUuid get_uuid() const { return uuid; }
    void set_uuid(const BoxUuid& value) { uuid = value; }
    [[nodiscard]] std::shared_ptr<CNCVBox> get_cncv() const { return cncv; }
    void set_cncv(std::shared_ptr<CNCVBox> value) { cncv = std::move(value); }
    [[nodiscard]] std::shared_ptr<CCTPBox> get_cctp() const { return cctp; }
    void set_cctp(std::shared_ptr<CCTPBox> value) { cctp = std::move(value); }
    [[nodiscard]] std::shared_ptr<CTBOBox> get_ctbo() const { return ctbo; }
    void set_ctbo(std::shared_ptr<CTBOBox> value) { ctbo = std::move(value); }
    [[nodiscard]] std::shared_ptr<FreeBox> get_free() const { return free; }
    void set_free(std::shared_ptr<FreeBox> value) { free = std::move(value); }
    [[nodiscard]] std::shared_ptr<CMT1Box> get_cmt1() const { return cmt1; }
    void set_cmt1(std::shared_ptr<CMT1Box> value) { cmt1 = std::move(value); }
    [[nodiscard]] std::shared_ptr<CMT2Box> get_cmt2() const { return cmt2; }
    void set_cmt2(std::shared_ptr<CMT2Box> value) { cmt2 = std::move(value); }
    [[nodiscard]] std::shared_ptr<CMT3Box> get_cmt3() const { return cmt3; }
    void set_cmt3(std::shared_ptr<CMT3Box> value) { cmt3 = std::move(value); }
    [[nodiscard]] std::shared_ptr<CMT4Box> get_cmt4() const { return cmt4; }
    void set_cmt4(std::shared_ptr<CMT4Box> value) { cmt4 = std::move(value); }
    [[nodiscard]] std::shared_ptr<THMBBox> get_thmb() const { return thmb; }
    void set_thmb(std::shared_ptr<THMBBox> value) { thmb = std::move(value); }
    [[nodiscard]] std::shared_ptr<MvhdBox> get_mvhd() const { return mvhd; }
    void set_mvhd(std::shared_ptr<MvhdBox> value) { mvhd = std::move(value); }
    [[nodiscard]] std::shared_ptr<TrakBox> get_trak1() const { return trak1; }
    void set_trak1(std::shared_ptr<TrakBox> value) { trak1 = std::move(value); }
    [[nodiscard]] std::shared_ptr<TrakBox> get_trak2() const { return trak2; }
    void set_trak2(std::shared_ptr<TrakBox> value) { trak2 = std::move(value); }
    [[nodiscard]] std::shared_ptr<TrakBox> get_trak3() const { return trak3; }
    void set_trak3(std::shared_ptr<TrakBox> value) { trak3 = std::move(value); }
    [[nodiscard]] std::shared_ptr<TrakBox> get_trak4() const { return trak4; }
    void set_trak4(std::shared_ptr<TrakBox> value) { trak4 = std::move(value); }

  private:
    std::uint32_t uuid_size = 0;
    std::uint32_t uuid_type = 0;
    BoxUuid uuid{};
    std::shared_ptr<CNCVBox> cncv;
    std::shared_ptr<CCTPBox> cctp;
    std::shared_ptr<CTBOBox> ctbo;
    std::shared_ptr<FreeBox> free;
    std::shared_ptr<CMT1Box> cmt1;
    std::shared_ptr<CMT2Box> cmt2;
    std::shared_ptr<CMT3Box> cmt3;
    std::shared_ptr<CMT4Box> cmt4;
    std::shared_ptr<THMBBox> thmb;
    std::shared_ptr<MvhdBox> mvhd;
    std::shared_ptr<TrakBox> trak1;
    std::shared_ptr<TrakBox> trak2;
    std::shared_ptr<TrakBox> trak3;
    std::shared_ptr<TrakBox> trak4;
};

/// The image data.
///
///   8   4  large_size_high          only when size is 1
///   12  4  large_size_low           only when size is 1
///   then   the bytes of the tracks, by their offsets
class MdatBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("mdat"); }

    [[nodiscard]] std::uint32_t get_large_size_high() const { return large_size_high; }
    void set_large_size_high(std::uint32_t value) { large_size_high = value; }
    [[nodiscard]] std::uint32_t get_large_size_low() const { return large_size_low; }
    void set_large_size_low(std::uint32_t value) { large_size_low = value; }
    [[nodiscard]] std::vector<unsigned char> get_track1_data() const { return tracks[0].bytes(); }
    void set_track1_data(std::vector<unsigned char> value) { tracks[0] = TrackData(std::move(value)); }
    [[nodiscard]] std::vector<unsigned char> get_track2_data() const { return tracks[1].bytes(); }
    void set_track2_data(std::vector<unsigned char> value) { tracks[1] = TrackData(std::move(value)); }
    [[nodiscard]] std::vector<unsigned char> get_track3_data() const { return tracks[2].bytes(); }
    void set_track3_data(std::vector<unsigned char> value) { tracks[2] = TrackData(std::move(value)); }
    [[nodiscard]] std::vector<unsigned char> get_track4_data() const { return tracks[3].bytes(); }
    void set_track4_data(std::vector<unsigned char> value) { tracks[3] = TrackData(std::move(value)); }

    /// The same for track n, 1 to 4, without a copy of its bytes.
    void set_track(unsigned n, TrackData value) { tracks.at(n - 1) = std::move(value); }
    void write_track(unsigned n, std::ostream& stream) const { tracks.at(n - 1).write(stream); }

    [[nodiscard]] std::vector<unsigned char> get_padding() const { return padding; }
    void set_padding(std::vector<unsigned char> value) { padding = std::move(value); }

  private:
    std::uint32_t large_size_high = 0;
    std::uint32_t large_size_low = 0;
    std::array<TrackData, 4> tracks;
    /// Zeros after track 4, their number the low two bits of the sum of the lengths: see
    /// docs/compatibility.md, CR3.
    std::vector<unsigned char> padding;
};

} // namespace plate_mend
