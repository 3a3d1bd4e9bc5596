#include "support/Cr3Photo.h"

#include "support/CrxEncoder.h"
#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TiffWriter.h"

#include <algorithm>
#include <string_view>

namespace test {

namespace {

constexpr ByteOrder kBig = ByteOrder::kBig;

constexpr std::array<unsigned char, 16> kCanonUuid{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                                                   0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
constexpr std::array<unsigned char, 16> kXmpUuid{0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                                                 0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
constexpr std::array<unsigned char, 16> kPreviewUuid{0xEA, 0xF4, 0x2B, 0x5E, 0x1C, 0x98, 0x4B, 0x88,
                                                     0xB9, 0xFB, 0xB7, 0xDC, 0x40, 0x6E, 0x4D, 0x16};

/// Writes boxes from front to back; a box's size is patched when it ends.
class BoxWriter {
  public:
    explicit BoxWriter(Cr3Photo& photo) : photo_(photo), bytes_(photo.bytes) {}

    void u8(unsigned value) { bytes_.push_back(static_cast<unsigned char>(value)); }
    void u16(std::size_t value) {
        bytes_.resize(bytes_.size() + 2);
        put_u16(bytes_, bytes_.size() - 2, static_cast<std::uint16_t>(value), kBig);
    }
    void u32(std::size_t value) {
        bytes_.resize(bytes_.size() + 4);
        put_u32(bytes_, bytes_.size() - 4, static_cast<std::uint32_t>(value), kBig);
    }
    void text(std::string_view value) { bytes_.insert(bytes_.end(), value.begin(), value.end()); }
    void run(const Bytes& value) { bytes_.insert(bytes_.end(), value.begin(), value.end()); }
    void uuid(const std::array<unsigned char, 16>& value) { run({value.begin(), value.end()}); }

    /// The content of a sample entry has no name.
    void begin(std::string_view type, const std::string& name = {}) {
        if (!name.empty()) {
            photo_.boxes[name] = bytes_.size();
        }
        open_.push_back(bytes_.size());
        u32(0);
        text(type);
    }
    void end() {
        put_u32(bytes_, open_.back(), static_cast<std::uint32_t>(bytes_.size() - open_.back()), kBig);
        open_.pop_back();
    }
    void raw(std::string_view type, const std::string& name, const Bytes& payload) {
        begin(type, name);
        run(payload);
        end();
    }
    [[nodiscard]] std::size_t offset() const { return bytes_.size(); }

  private:
    Cr3Photo& photo_;
    Bytes& bytes_;
    std::vector<std::size_t> open_;
};

/// size zeros with a few numbers put in.
Bytes words(std::size_t size, const std::map<std::size_t, std::uint32_t>& numbers) {
    Bytes bytes(size);
    for (const auto& [offset, value] : numbers) {
        put_u32(bytes, offset, value, kBig);
    }
    return bytes;
}

struct TrackKind {
    std::string_view handler;
    std::string_view header;
    unsigned width; ///< The picture's, in pixels.
    unsigned height;
};

constexpr unsigned kSmallWidth = 80; // A raw picture that a decoder passes over for the large one.
constexpr unsigned kSmallHeight = 60;
constexpr std::array<TrackKind, 4> kTracks{{{"vide", "vmhd", 128, 96},
                                            {"vide", "vmhd", kSmallWidth, kSmallHeight},
                                            {"vide", "vmhd", Cr3Photo::kWidth, Cr3Photo::kHeight},
                                            {"meta", "nmhd", 0, 0}}};

/// How a raw picture is coded.
///
///   8   4  FF00 0030
///   12  4  version: 0100 0000
///   16  8  width, then height
///   24  8  the same of a tile: all is one
///   32  1  bits a sample
///   33  1  planes (4), and the filter (0: RGGB)
///   34  1  coding (0: lossless), and wavelet levels (0)
///   35  1  flags of the tiles: 0
///   36  4  length of the headers before the planes
///   40     0, and four times 01010000
void write_cmp1(BoxWriter& boxes, const TrackKind& kind) {
    boxes.begin("CMP1");
    boxes.u32(0xFF000030);
    boxes.u32(0x01000000);
    for (unsigned repeated = 0; repeated < 2; ++repeated) {
        boxes.u32(kind.width);
        boxes.u32(kind.height);
    }
    boxes.u8(Cr3Photo::kBits);
    boxes.u8(0x40);
    boxes.u16(0);
    boxes.u32(kCrxHeaderSize);
    boxes.u32(0);
    for (unsigned repeated = 0; repeated < 4; ++repeated) {
        boxes.u32(0x01010000);
    }
    boxes.end();
}

/// The areas of a raw picture, each by its first and its last pixel: the part to be shown; two masked
/// borders, only with the large picture, and empty here; the part that saw light.
void write_cdi1(BoxWriter& boxes, const TrackKind& kind, bool masks) {
    boxes.begin("CDI1");
    boxes.u32(0);
    boxes.begin("IAD1");
    boxes.u32(0);
    boxes.u16(kind.width);
    boxes.u16(kind.height);
    boxes.u16(1);
    boxes.u16(masks ? 2 : 0);
    boxes.u16(1);
    boxes.u16(0);
    const auto whole = [&] {
        boxes.u32(0);
        boxes.u16(kind.width - 1);
        boxes.u16(kind.height - 1);
    };
    whole();
    boxes.run(Bytes(masks ? 16 : 0));
    whole();
    boxes.end();
    boxes.end();
}

/// The sample entry of a picture: 112 bytes for the JPEG, 212 for the small raw picture, 228 for the large.
///
///   8   8   0, with the data reference (1) in the last two bytes
///   16  16  0
///   32  4   width, then height
///   36  8   dots an inch: 72.0, twice
///   44  4   0
///   48  2   frames: 1
///   50  32  0
///   82  2   depth: 24
///   84  2   FFFF
///   86  4   0003 0000 for a JPEG, 0001 0001 for a raw picture
///   90      JPEG, or CMP1 and CDI1; then free
void write_picture_entry(BoxWriter& boxes, unsigned n, const std::string& within) {
    const TrackKind& kind = kTracks[n - 1];
    boxes.begin("CRAW", within + "entry");
    Bytes visual = words(82, {{4, 1}, {28, 0x00480000}, {32, 0x00480000}, {38, 1}, {76, 0xFFFF0000}});
    put_u16(visual, 24, static_cast<std::uint16_t>(kind.width), kBig);
    put_u16(visual, 26, static_cast<std::uint16_t>(kind.height), kBig);
    put_u16(visual, 74, 24, kBig);
    put_u32(visual, 78, n == 1 ? 0x00030000 : 0x00010001, kBig);
    boxes.run(visual);
    if (n == 1) {
        boxes.raw("JPEG", {}, Bytes(4));
    } else {
        write_cmp1(boxes, kind);
        write_cdi1(boxes, kind, n == 3);
    }
    boxes.raw("free", {}, Bytes(2));
    boxes.end();
}

void write_track(BoxWriter& boxes, unsigned n, std::size_t size) {
    const TrackKind& kind = kTracks[n - 1];
    const std::string trak = "trak" + std::to_string(n);
    const std::string within = trak + "/";
    boxes.begin("trak", trak);
    boxes.raw("tkhd", within + "tkhd",
              words(84, {{0, 7}, {12, n}, {76, kind.width << 16U}, {80, kind.height << 16U}}));
    boxes.begin("mdia", within + "mdia");
    boxes.raw("mdhd", within + "mdhd", words(24, {{12, 1}, {16, 1}}));
    Bytes hdlr(25);
    put_text(hdlr, 8, kind.handler);
    boxes.raw("hdlr", within + "hdlr", hdlr);
    boxes.begin("minf", within + "minf");
    boxes.raw(kind.header, within + "vmhd", Bytes(n == 4 ? 4 : 12));
    boxes.begin("dinf", within + "dinf");
    Bytes dref = words(20, {{4, 1}, {8, 12}, {16, 1}});
    put_text(dref, 12, "url ");
    boxes.raw("dref", within + "dref", dref);
    boxes.end();
    boxes.begin("stbl", within + "stbl");
    boxes.begin("stsd", within + "stsd");
    boxes.u32(0);
    boxes.u32(1);
    if (n != 4) {
        write_picture_entry(boxes, n, within);
    } else {
        boxes.raw("CTMD", within + "entry", words(68, {{4, 1}}));
    }
    boxes.end();
    boxes.raw("stts", within + "stts", words(16, {{4, 1}, {8, 1}, {12, 1}}));
    boxes.raw("stsc", within + "stsc", words(20, {{4, 1}, {8, 1}, {12, 1}, {16, 1}}));
    if (n != 4) {
        boxes.raw("free", within + "free1", Bytes(7));
        boxes.begin("stsz", within + "stsz");
        boxes.u32(0);
        boxes.u32(0);
        boxes.u32(1);
        boxes.u32(size);
        boxes.end();
    } else {
        boxes.begin("stsz", within + "stsz");
        boxes.u32(0);
        boxes.u32(size);
        boxes.u32(1);
        boxes.end();
    }
    boxes.raw("free", within + "free2", Bytes(n != 4 ? 4 : 7));
    boxes.raw("co64", within + "co64", words(16, {{4, 1}}));
    boxes.end(); // stbl
    boxes.end(); // minf
    boxes.end(); // mdia
    boxes.end(); // trak
}

/// The TIFF file in one of the boxes CMT1 to CMT4, filled up to a length.
Bytes directory_file(unsigned n, std::size_t size) {
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    switch (n) {
    case 1: // IFD 0: width, height, make, model, orientation, time.
        tiff.write_directory({tiff.shorts(256, {Cr3Photo::kWidth}), tiff.shorts(257, {Cr3Photo::kHeight}),
                              tiff.ascii(271, "Canon"), tiff.ascii(272, "Canon EOS M50"),
                              tiff.shorts(274, {1}), tiff.ascii(306, "2026:11:21 17:40:00")});
        break;
    case 2: // Exif: exposure time, aperture, sensitivity, version.
        tiff.write_directory({tiff.rationals(33434, {1, 125}), tiff.rationals(33437, {56, 10}),
                              tiff.shorts(34855, {100}), tiff.undefined(36864, {'0', '2', '3', '1'})});
        break;
    case 3: // Canon's maker notes: the image type.
        tiff.write_directory({tiff.ascii(6, "Canon EOS M50")});
        break;
    default: // GPS: the version.
        tiff.write_directory({tiff.byte(0, {2, 3, 0, 0})});
    }
    tiff.pad_to(size);
    return tiff.bytes();
}

/// The metadata of a track: records that open with their length and kind, low byte first, and 6 bytes more.
Bytes metadata_records() {
    Bytes records(24 + 16);
    const auto begin = [&](std::size_t offset, std::uint32_t size, std::uint16_t kind) {
        put_u32(records, offset, size, ByteOrder::kLittle);
        put_u16(records, offset + 4, kind, ByteOrder::kLittle);
    };
    begin(0, 24, 1); // The time.
    put_u16(records, 14, 2026, ByteOrder::kLittle);
    put_bytes(records, 16, {11, 21, 17, 40});
    begin(24, 16, 3); // The focal length, as a fraction.
    put_u16(records, 36, 35, ByteOrder::kLittle);
    put_u16(records, 38, 1, ByteOrder::kLittle);
    return records;
}

void write_canon_boxes(BoxWriter& boxes, Cr3Photo& photo, const Cr3Photo::Options& options,
                       const Bytes& thumbnail) {
    Bytes version(30);
    put_text(version, 0, "CanonCR3_001/00.11.00/00.00.00");
    boxes.raw("CNCV", "CNCV", version);
    boxes.begin("CCTP", "CCTP");
    boxes.u32(0);
    boxes.u32(1);
    boxes.u32(3);
    boxes.raw("CCDT", "CCDT1", words(16, {{4, 16}, {12, 1}}));
    boxes.raw("CCDT", "CCDT2", words(16, {{4, 1}, {12, 2}}));
    boxes.raw("CCDT", "CCDT3", words(16, {{4, 0}, {12, 3}}));
    boxes.end();
    boxes.raw("CTBO", "CTBO", Bytes(84));
    boxes.raw("free", "free", Bytes(6));
    const std::array<std::size_t, 4> sizes{200, 300, options.maker_notes, 101};
    for (unsigned n = 1; n <= 4; ++n) {
        const std::string name = "CMT" + std::to_string(n);
        const std::size_t size = sizes[n - 1];
        boxes.raw(name, name,
                  options.pictures ? directory_file(n, size) : noise(size, 10 * options.number + n - 1));
    }
    boxes.begin("THMB", "THMB");
    boxes.u32(0);
    boxes.u16(160);
    boxes.u16(120);
    boxes.u32(thumbnail.size());
    boxes.u16(1);
    boxes.u16(0);
    photo.thumbnail = {boxes.offset(), thumbnail.size()};
    boxes.run(thumbnail);
    const std::size_t filler = thumbnail.size() & 3U;
    boxes.run(Bytes(filler, 0xA5));
    if (filler != 0) {
        boxes.u32(0x54524C52);
    }
    boxes.end();
}

void write_xmp(BoxWriter& boxes) {
    boxes.begin("uuid", "xmp");
    boxes.uuid(kXmpUuid);
    boxes.text("<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'/>");
    boxes.text(std::string(200, ' '));
    boxes.text("<?xpacket end='w'?>");
    boxes.end();
}

void write_preview(BoxWriter& boxes, Cr3Photo& photo, const Bytes& jpeg) {
    boxes.begin("uuid", "preview");
    boxes.uuid(kPreviewUuid);
    boxes.u32(0);
    boxes.u32(1);
    boxes.begin("PRVW", "PRVW");
    boxes.u32(0);
    boxes.u16(1);
    boxes.u16(1620);
    boxes.u16(1080);
    boxes.u16(1);
    boxes.u32(jpeg.size());
    photo.preview = {boxes.offset(), jpeg.size()};
    boxes.run(jpeg);
    boxes.end();
    boxes.end();
}

} // namespace

Cr3Photo::Cr3Photo(const Options& options) {
    const Scene scene(options.number);
    Bytes small = noise(options.thumbnail, 100 * options.number);
    Bytes medium = noise(options.preview, 100 * options.number + 1);
    std::array<Bytes, 4> data;
    if (options.pictures) {
        const auto raw = [](const std::vector<std::uint16_t>& samples, const TrackKind& kind) {
            return encode_crx(samples, kind.width, kind.height, kBits);
        };
        const auto bayer = [&](const TrackKind& kind) {
            return scene.bayer(kind.width, kind.height, kBits, kBlack);
        };
        small = make_preview(scene, 64, 48);
        medium = make_preview(scene, 96, 72);
        data = {options.large.empty() ? make_preview(scene, kTracks[0].width, kTracks[0].height)
                                      : options.large,
                raw(bayer(kTracks[1]), kTracks[1]),
                raw(options.samples.empty() ? bayer(kTracks[2]) : options.samples, kTracks[2]),
                metadata_records()};
    } else {
        for (unsigned index = 0; index < 4; ++index) {
            data[index] = noise(options.tracks[index], 100 * options.number + 2 + index);
        }
    }

    BoxWriter writer(*this);
    writer.raw("ftyp", "ftyp", [] {
        Bytes brands(16);
        put_text(brands, 0, "crx ");
        put_u32(brands, 4, 1, kBig);
        put_text(brands, 8, "crx isom");
        return brands;
    }());
    writer.begin("moov", "moov");
    writer.begin("uuid", "canon");
    writer.uuid(kCanonUuid);
    write_canon_boxes(writer, *this, options, small);
    writer.end();
    writer.raw("mvhd", "mvhd", words(100, {{12, 1}, {16, 1}, {96, 5}}));
    for (unsigned n = 1; n <= 4; ++n) {
        write_track(writer, n, data[n - 1].size());
    }
    writer.end();
    write_xmp(writer);
    write_preview(writer, *this, medium);

    writer.begin("mdat", "mdat");
    if (options.large_mdat) {
        writer.u32(0);
        writer.u32(0);
    }
    payload = writer.offset();
    for (unsigned index = 0; index < 4; ++index) {
        writer.run(noise(options.gaps[index], 1000 + index));
        tracks[index] = {writer.offset(), data[index].size()};
        writer.run(data[index]);
        put_u32(bytes, offset_entry(index + 1), static_cast<std::uint32_t>(tracks[index].offset), kBig);
    }
    writer.run(noise(options.after_tracks, 2000));
    writer.end();
    if (options.large_mdat) {
        put_u32(bytes, at("mdat") + 12, get_u32(bytes, at("mdat"), kBig), kBig);
        put_u32(bytes, at("mdat"), 1, kBig);
    }
}

Bytes Cr3Photo::track(unsigned n) const {
    const Run& run = tracks[n - 1];
    return part(bytes, run.offset, run.offset + run.size);
}

std::size_t Cr3Photo::size_entry(unsigned n) const {
    return at("trak" + std::to_string(n) + "/stsz") + (n == 4 ? 12 : 20);
}

std::size_t Cr3Photo::offset_entry(unsigned n) const {
    return at("trak" + std::to_string(n) + "/co64") + 20;
}

Bytes expected_cr3(const Cr3Photo& sample, const Bytes& track1, const Bytes& track3) {
    // All before mdat, with the heads of both previews blank and the filler of the thumbnail lost.
    const std::size_t mdat = sample.at("mdat");
    Bytes out = part(sample.bytes, 0, mdat);
    const auto& small = sample.thumbnail;
    out = zeroed(out, small.offset, small.offset + std::min<std::size_t>(small.size, 30));
    out = zeroed(out, small.offset + small.size, small.offset + small.size + small.size % 4);
    const auto& medium = sample.preview;
    out = zeroed(out, medium.offset, medium.offset + std::min<std::size_t>(medium.size, 30));
    unsigned char& byte3 = out[sample.at("CCTP") + 11];
    byte3 = static_cast<unsigned char>(byte3 % 16 * 16);

    // The tracks, one after the other.
    const std::array<Bytes, 4> tracks{track1, sample.track(2), track3, sample.track(4)};
    Bytes body;
    for (unsigned n = 1; n <= 4; ++n) {
        put_u32(out, sample.size_entry(n), static_cast<std::uint32_t>(tracks[n - 1].size()), kBig);
        put_u32(out, sample.offset_entry(n), static_cast<std::uint32_t>(sample.payload + body.size()), kBig);
        body = joined(body, tracks[n - 1]);
    }
    body = joined(body, Bytes(body.size() % 4));

    Bytes header = part(sample.bytes, mdat, sample.payload);
    const std::size_t size_word = header.size() == 16 ? 12 : 0;
    put_u32(header, size_word, static_cast<std::uint32_t>(header.size() + body.size()), kBig);
    return joined(joined(out, header), body);
}

Bytes expected_output(const Cr3Photo& sample, const Cr3Photo& original) {
    return expected_cr3(sample, original.track(1), original.track(3));
}

} // namespace test
