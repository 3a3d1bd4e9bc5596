#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace test::oracle {

namespace {

Bytes text(std::string_view letters) {
    return {letters.begin(), letters.end()};
}

const Bytes kXmpUuid{0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                     0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
const Bytes kPreviewUuid{0xEA, 0xF4, 0x2B, 0x5E, 0x1C, 0x98, 0x4B, 0x88,
                         0xB9, 0xFB, 0xB7, 0xDC, 0x40, 0x6E, 0x4D, 0x16};

constexpr std::size_t kBlanked = 30;

/// Walks a sample from box to box, and copies what it walks over.
struct Walk {
    Draft file;
    std::uint64_t at = 0;
    Draft out{{}, ByteOrder::kBig};

    [[nodiscard]] std::size_t end_of_out() const { return out.bytes.size(); }

    /// Copies count bytes.
    void copy(std::uint64_t count) {
        out.bytes = joined(std::move(out.bytes), file.run(at, count));
        at += count;
    }
    std::uint32_t copy_u32() {
        const std::uint32_t value = file.u32(at);
        copy(4);
        return value;
    }
    /// Copies size and type, and returns the size.
    std::uint32_t header(std::initializer_list<std::string_view> types) {
        const std::uint32_t size = file.u32(at);
        const Bytes type = file.run(at + 4, 4);
        require(std::any_of(types.begin(), types.end(),
                            [&type](std::string_view allowed) { return type == text(allowed); }));
        copy(8);
        return size;
    }
    /// Copies a whole box, and returns where its payload begins in the output.
    std::size_t box(std::initializer_list<std::string_view> types) {
        const std::uint32_t size = header(types);
        require(size >= 8);
        const std::size_t payload = end_of_out();
        copy(size - 8);
        return payload;
    }
};

/// Where a track's numbers are in the output, and what the sample says.
struct Track {
    std::size_t size_field;
    std::size_t offset_field;
    std::uint32_t size;
    std::uint32_t offset;
};

void copy_cctp(Walk& walk) {
    walk.header({"CCTP"});
    const std::size_t reserved = walk.end_of_out();
    walk.copy(8);
    unsigned char& byte3 = walk.out.bytes[reserved + 3];
    byte3 = static_cast<unsigned char>((byte3 & 0x0FU) << 4U);
    walk.copy(4);
    for (int line = 0; line < 3; ++line) {
        const std::size_t payload = walk.box({"CCDT"});
        const Bytes& out = walk.out.bytes;
        require(out.size() - payload >= 16);
        const unsigned kind = out[payload + 7];
        const unsigned track = out[payload + 15];
        require(kind == 0 || kind == 1 || kind == 16);
        require(track >= 1 && track <= 3);
    }
}

/// Copies a JPEG of the size given, with its head blanked.
void copy_jpeg(Walk& walk, std::uint32_t size) {
    const std::size_t jpeg = walk.end_of_out();
    walk.copy(size);
    std::fill_n(walk.out.bytes.begin() + static_cast<std::ptrdiff_t>(jpeg),
                std::min<std::size_t>(size, kBlanked), static_cast<unsigned char>(0));
}

void copy_thmb(Walk& walk) {
    walk.header({"THMB"});
    walk.copy(8);
    const std::uint32_t size = walk.copy_u32();
    walk.copy(4);
    copy_jpeg(walk, size);
    if (size % 4 != 0) {
        const std::size_t filler = walk.end_of_out();
        walk.copy(size % 4);
        std::fill(walk.out.bytes.begin() + static_cast<std::ptrdiff_t>(filler), walk.out.bytes.end(),
                  static_cast<unsigned char>(0));
        walk.copy(4);
    }
}

Track copy_trak(Walk& walk, int number) {
    Track track{};
    walk.header({"trak"});
    walk.box({"tkhd"});
    walk.header({"mdia"});
    walk.box({"mdhd"});
    walk.box({"hdlr"});
    walk.header({"minf"});
    walk.box({"vmhd", "nmhd"});
    walk.header({"dinf"});
    walk.box({"dref"});
    walk.header({"stbl"});
    walk.header({"stsd"});
    walk.copy(8);
    walk.box({"CRAW", "CTMD"});
    walk.box({"stts"});
    walk.box({"stsc"});
    if (number != 4) {
        walk.box({"free"});
    }
    walk.header({"stsz"});
    walk.copy(number != 4 ? 12 : 4);
    track.size_field = walk.end_of_out();
    track.size = walk.copy_u32();
    walk.copy(number != 4 ? 0 : 4);
    walk.box({"free"});
    walk.header({"co64"});
    walk.copy(12);
    track.offset_field = walk.end_of_out();
    track.offset = walk.copy_u32();
    return track;
}

/// The first "CRAW" after offset 0 with this size before it.
std::uint64_t find_craw(const Draft& damaged, std::uint32_t size) {
    std::uint64_t at = damaged.find(text("CRAW"), 1);
    while (true) {
        require(at >= 4);
        if (damaged.u32(at - 4) == size) {
            return at;
        }
        at = damaged.find(text("CRAW"), at + 1);
    }
}

/// The picture whose tables are in [first, last). It must not reach the last byte of the file.
Bytes damaged_track(const Draft& damaged, std::uint64_t first, std::uint64_t last) {
    const auto stsz = damaged.seek(text("stsz"), first, last);
    const auto co64 = damaged.seek(text("co64"), first, last);
    require(stsz && co64);
    const std::uint32_t offset = damaged.u32(*co64 + 16);
    const std::uint32_t size = damaged.u32(*stsz + 16);
    require(offset < damaged.size() && static_cast<std::uint32_t>(offset + size) < damaged.size());
    require(offset != 0 || size == 0);
    return damaged.run(offset, size);
}

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Walk walk{{sample_bytes, ByteOrder::kBig}};
    walk.box({"ftyp"});
    walk.copy(32); // Only the lengths of moov and the box in it are known.
    walk.box({"CNCV"});
    copy_cctp(walk);
    walk.box({"CTBO"});
    const std::size_t filler = walk.box({"free"});
    require(std::all_of(walk.out.bytes.begin() + static_cast<std::ptrdiff_t>(filler), walk.out.bytes.end(),
                        [](unsigned char byte) { return byte == 0; }));
    walk.box({"CMT1"});
    walk.box({"CMT2"});
    walk.box({"CMT3"});
    walk.box({"CMT4"});
    copy_thmb(walk);
    walk.box({"mvhd"});
    std::array<Track, 4> tracks{};
    for (int number = 1; number <= 4; ++number) {
        tracks[static_cast<std::size_t>(number - 1)] = copy_trak(walk, number);
    }

    const std::uint32_t xmp_size = walk.header({"uuid"});
    require(walk.file.run(walk.at, 16) == kXmpUuid);
    walk.copy(16);
    require(xmp_size >= 24);
    walk.copy(xmp_size - 24);

    walk.header({"uuid"});
    require(walk.file.run(walk.at, 16) == kPreviewUuid);
    walk.copy(24);
    walk.header({"PRVW"});
    walk.copy(12);
    const std::uint32_t preview_size = walk.copy_u32();
    copy_jpeg(walk, preview_size);

    const std::size_t mdat = walk.end_of_out();
    const bool large = walk.header({"mdat"}) == 1;
    walk.copy(large ? 8 : 0);
    const std::uint64_t payload = walk.at;

    // The tracks are one after the other; what is between them is dropped.
    std::array<Bytes, 4> data;
    for (std::size_t index = 0; index < 4; ++index) {
        require(tracks[index].offset >= walk.at);
        data[index] = walk.file.run(tracks[index].offset, tracks[index].size);
        walk.at = std::uint64_t{tracks[index].offset} + tracks[index].size;
    }

    const Draft damaged{damaged_bytes, ByteOrder::kBig};
    const std::uint64_t track1 = find_craw(damaged, 112);
    const std::uint64_t track3 = find_craw(damaged, 228);
    const std::uint64_t track4 = damaged.find(text("CTMD"), track3);
    data[0] = damaged_track(damaged, track1, track3);
    data[2] = damaged_track(damaged, track3, track4);

    Draft out = walk.out;
    std::uint64_t offset = payload;
    Bytes body;
    for (std::size_t index = 0; index < 4; ++index) {
        out.put(tracks[index].size_field, static_cast<std::uint32_t>(data[index].size()));
        out.put(tracks[index].offset_field, static_cast<std::uint32_t>(offset));
        offset += data[index].size();
        body = joined(std::move(body), data[index]);
    }
    body.resize(body.size() + body.size() % 4);
    if (large) {
        out.put(mdat + 12, static_cast<std::uint32_t>(body.size() + 16));
    } else {
        out.put(mdat, static_cast<std::uint32_t>(body.size() + 8));
    }
    return joined(std::move(out.bytes), body);
}

} // namespace

Expected repaired_cr3(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
