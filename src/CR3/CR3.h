#pragma once

#include "CR3/StandardBoxes.h"
#include "CR3/VendorBoxes.h"
#include "util/MMap.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

// The model of a Canon CR3 file. It serves the repair and nothing else, and is not a general reader of ISO
// BMFF: every parent expects certain children, in a fixed number and order.
//
//   ftyp
//   moov             begins with the header of a "uuid" box, which is not a box of its own here
//     CNCV  CCTP (three CCDT)  CTBO  free (all zero)  CMT1  CMT2  CMT3  CMT4  THMB  mvhd
//     trak           four times: the large JPEG, a small picture, the raw picture, metadata
//       tkhd
//       mdia
//         mdhd  hdlr
//         minf
//           vmhd (or nmhd)  dinf (dref)
//           stbl
//             stsd (CRAW or CTMD)  stts  stsc  free (not in track 4)  stsz  free  co64
//   uuid             the XMP packet
//   uuid (PRVW)      the preview
//   mdat             the bytes of the four tracks, in this order
//
// Boxes follow one another without gaps, and none may be missing. Each track has one chunk of one sample: the
// only entry of its stsz is the length of its bytes, that of its co64 their offset in the file.

namespace plate_mend {

/// One file. Offsets and lengths are unsigned 32-bit numbers, and sums of them wrap; the high words of 64-bit
/// offsets are kept and not used. Calling operations out of the order given here is undefined.
///
/// The sample is read by parse_ftyp, parse_moov, parse_xpacket, parse_preview, parse_mdat, blank_previews:
/// each begins where the last one stopped. No box of the damaged file is read. It is searched by find_data
/// and find_data_in_range, the places found are set as corrupt_track..., and read_corrupt_track1 and then
/// read_corrupt_track3 take the bytes. write_repaired makes one file of both.
///
/// Every read throws OutRangeException at the end of the file, and at once where nothing is mapped.
class CR3 {
  public:
    using Pattern = std::vector<unsigned char>;

    /// Maps the file for reading and writing, and reads nothing. A file that cannot be mapped does not throw;
    /// the first read does.
    explicit CR3(std::filesystem::path path);

    /// Read the boxes of the top level, with everything in them. Throw IllegalException for a box of another
    /// type than the one expected, a wrong identifier, a non-zero byte in moov's own "free" and a line of
    /// "CCTP" that is refused. What has been read by then stays.
    void parse_ftyp();
    void parse_moov();
    void parse_xpacket();
    void parse_preview();

    /// Reads the bytes of the four tracks, which must be in this order. Bytes between them are dropped, and
    /// the stored offsets corrected as if those bytes had never been there; from then on the offsets do not
    /// describe the file on disk. Throws MismatchingException for a track that begins before the end of the
    /// one before it, or before the payload; IllegalException for a box that is not "mdat".
    void parse_mdat();

    /// Zeroes the first 30 bytes of the thumbnail and of the preview, or as many as there are.
    void blank_previews();

    /// Take the bytes of tracks 1 and 3 from the places given by corrupt_track... Throw
    /// VisitingBeyondException when a track begins or ends (its end as a 32-bit number) at or past the end of
    /// the file: see docs/compatibility.md, CR3. They never throw MismatchingException, though they share
    /// their code with the reading of the sample.
    void read_corrupt_track1();
    void read_corrupt_track3();

    /// The offset of the first place from start on where the pattern is. The cursor is not used. Throws
    /// OutRangeException for a start past the end of the file, NotFoundException.
    [[nodiscard]] std::uint32_t find_data(Pattern pattern, std::uint32_t start) const;

    /// The same in [start, end). Throws OutRangeException for an end past the end of the file,
    /// NotFoundException also when the end is before the start.
    [[nodiscard]] std::uint32_t find_data_in_range(Pattern pattern, std::uint32_t start,
                                                   std::uint32_t end) const;

    /// Whether the box whose type is at pos has this size. Throw OutRangeException below offset 4, where
    /// there is no room for a size.
    [[nodiscard]] bool has_box_size_112(std::uint32_t pos);
    [[nodiscard]] bool has_box_size_228(std::uint32_t pos);

    /// The low word of the first chunk offset in the "co64" whose type is at pos.
    [[nodiscard]] std::uint32_t read_chunk_offset(std::uint32_t pos);

    /// The first entry of the table in the "stsz" whose type is at pos.
    [[nodiscard]] std::uint32_t read_sample_size(std::uint32_t pos);

    /// Offset (the low word) and length of track n, 1 to 4, as in its co64 and its stsz.
    [[nodiscard]] std::uint32_t get_track_offset(unsigned n) const;
    [[nodiscard]] std::uint32_t get_track_size(unsigned n) const;
    void set_track_offset(unsigned n, std::uint32_t value);
    void set_track_size(unsigned n, std::uint32_t value);

    // The same for each track: see docs/compatibility.md, CR3.
    [[nodiscard]] std::uint32_t get_track1_offset() const { return get_track_offset(1); }
    [[nodiscard]] std::uint32_t get_track2_offset() const { return get_track_offset(2); }
    [[nodiscard]] std::uint32_t get_track3_offset() const { return get_track_offset(3); }
    [[nodiscard]] std::uint32_t get_track4_offset() const { return get_track_offset(4); }
    [[nodiscard]] std::uint32_t get_track1_size() const { return get_track_size(1); }
    [[nodiscard]] std::uint32_t get_track2_size() const { return get_track_size(2); }
    [[nodiscard]] std::uint32_t get_track3_size() const { return get_track_size(3); }
    [[nodiscard]] std::uint32_t get_track4_size() const { return get_track_size(4); }
    void set_track1_offset(std::uint32_t value) { set_track_offset(1, value); }
    void set_track2_offset(std::uint32_t value) { set_track_offset(2, value); }
    void set_track3_offset(std::uint32_t value) { set_track_offset(3, value); }
    void set_track4_offset(std::uint32_t value) { set_track_offset(4, value); }
    void set_track1_size(std::uint32_t value) { set_track_size(1, value); }
    void set_track2_size(std::uint32_t value) { set_track_size(2, value); }
    void set_track3_size(std::uint32_t value) { set_track_size(3, value); }
    void set_track4_size(std::uint32_t value) { set_track_size(4, value); }

    [[nodiscard]] std::uint32_t get_corrupt_track1_size() const { return corrupt_track1_size; }
    [[nodiscard]] std::uint32_t get_corrupt_track1_offset() const { return corrupt_track1_offset; }
    [[nodiscard]] std::uint32_t get_corrupt_track3_size() const { return corrupt_track3_size; }
    [[nodiscard]] std::uint32_t get_corrupt_track3_offset() const { return corrupt_track3_offset; }
    void set_corrupt_track1_size(std::uint32_t value) { corrupt_track1_size = value; }
    void set_corrupt_track1_offset(std::uint32_t value) { corrupt_track1_offset = value; }
    void set_corrupt_track3_size(std::uint32_t value) { corrupt_track3_size = value; }
    void set_corrupt_track3_offset(std::uint32_t value) { corrupt_track3_offset = value; }

    /// Corrects the sample's numbers for the damaged file's two tracks, and writes the sample's tree with
    /// their bytes to the output, appending to what is there. Failed writes go unnoticed. Throws
    /// VisitingBeyondException when the output cannot be opened.
    static void write_repaired(const std::shared_ptr<CR3>& damaged, const std::shared_ptr<CR3>& sample,
                               const std::filesystem::path& output_path);

    std::shared_ptr<MMAP> mmap;
    std::shared_ptr<FtypBox> ftyp;
    std::shared_ptr<MoovBox> moov;
    std::shared_ptr<XPacketDataBox> xpacket;
    std::shared_ptr<PreviewDataBox> preview;
    std::shared_ptr<MdatBox> mdat;

  private:
    // Where the two pictures of the damaged file are.
    std::uint32_t corrupt_track3_size = 0;
    std::uint32_t corrupt_track3_offset = 0;
    std::uint32_t corrupt_track1_size = 0;
    std::uint32_t corrupt_track1_offset = 0;

  public:
    bool mapped = false; ///< Whether there was anything to map. Not checked: see docs/compatibility.md, CR3.

  private:
    /// Whose tables give the place of a track.
    enum class Source { kSample, kDamaged };

    /// How far the reading of the tracks has come.
    struct TrackCursor {
        std::uint32_t offset = 0; ///< That of the next unread byte.
        std::uint32_t gap = 0;    ///< Bytes skipped so far.
    };

    // Each box is read from where the last one stopped, and handed to its parent when it is complete. Tracks
    // count from 0 here.
    template <typename BoxClass>
    std::shared_ptr<BoxClass> parse_header();
    template <typename BoxClass>
    void parse_header(BoxClass& box);
    template <typename BoxClass>
    std::shared_ptr<BoxClass> parse_raw();
    template <typename BoxClass>
    void parse_raw(BoxClass& box);
    void parse_cctp(const std::shared_ptr<MoovBox>& parent);
    void parse_moov_free(const std::shared_ptr<MoovBox>& parent);
    void parse_thmb(const std::shared_ptr<MoovBox>& parent);
    void parse_dinf(const std::shared_ptr<MinfBox>& parent);
    void parse_stsd(const std::shared_ptr<StblBox>& parent);
    void parse_stsz(const std::shared_ptr<StblBox>& parent, unsigned track);
    void parse_co64(const std::shared_ptr<StblBox>& parent);
    void parse_stbl(const std::shared_ptr<MinfBox>& parent, unsigned track);
    void parse_minf(const std::shared_ptr<MdiaBox>& parent, unsigned track);
    void parse_mdia(const std::shared_ptr<TrakBox>& parent, unsigned track);
    std::shared_ptr<TrakBox> parse_trak(unsigned track);
    void parse_prvw(const std::shared_ptr<PreviewDataBox>& parent);

    [[nodiscard]] std::shared_ptr<StblBox> sample_tables(unsigned n) const;
    std::uint32_t read_track(unsigned n, Source source, TrackCursor& cursor);
    [[nodiscard]] TrackCursor enter_corrupt_track(std::uint32_t offset, std::uint32_t size);
    [[nodiscard]] std::uint32_t read_number_at(std::uint64_t offset);
};

} // namespace plate_mend
