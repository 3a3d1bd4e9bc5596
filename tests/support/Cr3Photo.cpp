#include "support/Cr3Photo.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

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

    void begin(std::string_view type, const std::string& name) {
        photo_.boxes[name] = bytes_.size();
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
    std::string_view entry;
    std::size_t entry_payload;
    std::uint32_t dimensions; ///< Width and height in pixels.
};

constexpr std::array<TrackKind, 4> kTracks{{{"vide", "vmhd", "CRAW", 104, 0x0D5008E0},
                                            {"vide", "vmhd", "CRAW", 204, 0x06540438},
                                            {"vide", "vmhd", "CRAW", 220, 0x0D5008E0},
                                            {"meta", "nmhd", "CTMD", 68, 0}}};

void write_track(BoxWriter& boxes, unsigned n, std::size_t size) {
    const TrackKind& kind = kTracks[n - 1];
    const std::string trak = "trak" + std::to_string(n);
    const std::string within = trak + "/";
    boxes.begin("trak", trak);
    boxes.raw("tkhd", within + "tkhd", words(84, {{0, 7}, {12, n}, {76, kind.dimensions}}));
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
    boxes.raw(kind.entry, within + "entry", words(kind.entry_payload, {{4, 1}, {24, kind.dimensions}}));
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
    boxes.raw("CMT1", "CMT1", noise(200, 10 * options.number));
    boxes.raw("CMT2", "CMT2", noise(300, 10 * options.number + 1));
    boxes.raw("CMT3", "CMT3", noise(options.maker_notes, 10 * options.number + 2));
    boxes.raw("CMT4", "CMT4", noise(101, 10 * options.number + 3));
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
    const auto picture = [&](unsigned width, std::size_t size, std::uint32_t seed) {
        return options.pictures ? make_preview(scene, width, width * 3 / 4) : noise(size, seed);
    };
    const Bytes small = picture(64, options.thumbnail, 100 * options.number);
    const Bytes medium = picture(96, options.preview, 100 * options.number + 1);
    std::array<Bytes, 4> data;
    data[0] = picture(128, options.tracks[0], 100 * options.number + 2);
    for (unsigned index = 1; index < 4; ++index) {
        data[index] = noise(options.tracks[index], 100 * options.number + 2 + index);
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
    writer.run(noise(options.behind, 2000));
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
    // All in front of mdat, with the heads of both previews blank and the filler of the thumbnail lost.
    const std::size_t mdat = sample.at("mdat");
    Bytes out = part(sample.bytes, 0, mdat);
    const auto& small = sample.thumbnail;
    out = zeroed(out, small.offset, small.offset + std::min<std::size_t>(small.size, 30));
    out = zeroed(out, small.offset + small.size, small.offset + small.size + small.size % 4);
    const auto& medium = sample.preview;
    out = zeroed(out, medium.offset, medium.offset + std::min<std::size_t>(medium.size, 30));
    unsigned char& byte3 = out[sample.at("CCTP") + 11];
    byte3 = static_cast<unsigned char>(byte3 % 16 * 16);

    // The tracks, one behind the other.
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

} // namespace test
