#include "support/Cr3Completion.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string_view>

namespace test {

namespace {

constexpr ByteOrder kBig = ByteOrder::kBig;
constexpr unsigned kPlanes = 4;
constexpr unsigned kBandsOfThreeLevels = 10;
constexpr std::size_t kTableSize = 1000; // Of quantizers.
constexpr std::size_t kMoreSize = 24;

struct SourceBox {
    std::string type;
    Bytes payload;
    bool whole = true;
};

std::vector<SourceBox> boxes_of(const Bytes& bytes) {
    std::vector<SourceBox> boxes;
    for (std::size_t at = 0; at + 8 <= bytes.size();) {
        const std::size_t size = get_u32(bytes, at, kBig);
        const std::size_t header = size == 1 ? 16 : 8;
        const std::size_t length = size == 1 ? get_u32(bytes, at + 12, kBig) : size;
        const std::size_t end = std::min(at + length, bytes.size());
        if (length < header) {
            break;
        }
        const Bytes type = part(bytes, at + 4, at + 8);
        boxes.push_back(
            {{type.begin(), type.end()}, part(bytes, at + header, end), at + length <= bytes.size()});
        at = end;
    }
    return boxes;
}

Bytes box(std::string_view type, const Bytes& payload) {
    Bytes bytes(8);
    put_u32(bytes, 0, static_cast<std::uint32_t>(payload.size() + 8), kBig);
    put_text(bytes, 4, type);
    return joined(bytes, payload);
}

Bytes u32s(const std::vector<std::uint32_t>& values) {
    return u32_bytes(values, kBig);
}

/// Writes the boxes before mdat, with the numbers that the places state.
class HeadWriter {
  public:
    struct Places {
        std::vector<std::size_t> tracks;
        std::map<std::size_t, CompletedCr3::Run> ctbo; ///< By an entry's number.
    };

    HeadWriter(const Bytes& head, const Cr3Shape& shape, const Cr3Contents& contents)
        : head_(boxes_of(head)), shape_(shape), contents_(contents) {}

    Bytes write(const Places& places) {
        places_ = places;
        Bytes bytes;
        for (const SourceBox& top : head_) {
            const bool xmp = top.type == "uuid" && top.payload[0] == 0xBE;
            const bool preview = top.type == "uuid" && top.payload[0] == 0xEA;
            if (top.type == "ftyp" || xmp) {
                const Bytes same = box(top.type, top.payload);
                note(xmp ? 1U : 0U, bytes.size(), same.size());
                bytes = joined(bytes, same);
            } else if (top.type == "moov") {
                bytes = joined(bytes, box("moov", moov(top.payload)));
                moov_end = bytes.size();
            } else if (preview) {
                const Bytes written = box("uuid", joined(part(top.payload, 0, 24), preview_box(top.payload)));
                note(2, bytes.size(), written.size());
                bytes = joined(bytes, written);
            }
        }
        return bytes;
    }

    std::size_t moov_end = 0;
    std::map<std::size_t, CompletedCr3::Run> noted; ///< Where boxes that CTBO lists are.

  private:
    void note(unsigned number, std::size_t offset, std::size_t size) { noted[number] = {offset, size}; }

    /// With a header of 16 bytes before the JPEG, which states its length at an offset.
    static Bytes with_jpeg(const Bytes& payload, std::size_t length_at, const Bytes& jpeg) {
        Bytes header = part(payload, 0, 16);
        put_u32(header, length_at, static_cast<std::uint32_t>(jpeg.size()), kBig);
        return joined(header, jpeg);
    }

    [[nodiscard]] Bytes preview_box(const Bytes& uuid) const {
        const auto inside = boxes_of(part(uuid, 24, uuid.size()));
        const Bytes& old = inside.at(0).payload;
        return box("PRVW", contents_.preview.empty() ? old : with_jpeg(old, 12, contents_.preview));
    }

    Bytes moov(const Bytes& payload) {
        Bytes bytes;
        std::vector<Bytes> traks;
        for (const SourceBox& inside : boxes_of(payload)) {
            if (inside.type == "trak") {
                traks.push_back(inside.payload);
            } else if (inside.type == "uuid") {
                bytes = joined(bytes,
                               box("uuid", joined(part(inside.payload, 0, 16),
                                                  canon(part(inside.payload, 16, inside.payload.size())))));
            } else {
                bytes = joined(bytes, box(inside.type, inside.payload));
            }
        }
        for (std::size_t nth = 0; nth < shape_.tracks.size(); ++nth) {
            bytes = joined(bytes, box("trak", track(traks.at(shape_.tracks[nth] - 1), nth)));
        }
        return bytes;
    }

    [[nodiscard]] Bytes canon(const Bytes& payload) const {
        Bytes bytes;
        for (SourceBox& inside : boxes_of(payload)) {
            if (inside.type == "THMB" && !contents_.thumbnail.empty()) {
                inside.payload = with_jpeg(inside.payload, 8, contents_.thumbnail);
            } else if (inside.type == "CTBO") {
                inside.payload = ctbo(inside.payload);
            }
            bytes = joined(bytes, box(inside.type, inside.payload));
        }
        return bytes;
    }

    [[nodiscard]] Bytes ctbo(Bytes payload) const {
        for (std::size_t at = 4; at + 20 <= payload.size(); at += 20) {
            const auto place = places_.ctbo.find(get_u32(payload, at, kBig));
            if (place != places_.ctbo.end()) {
                put_u32(payload, at + 8, static_cast<std::uint32_t>(place->second.offset), kBig);
                put_u32(payload, at + 16, static_cast<std::uint32_t>(place->second.size), kBig);
            }
        }
        return payload;
    }

    [[nodiscard]] Bytes track(const Bytes& payload, std::size_t nth) const {
        Bytes bytes;
        for (const SourceBox& inside : boxes_of(payload)) {
            if (inside.type == "mdia" || inside.type == "minf" || inside.type == "stbl") {
                bytes = joined(bytes, box(inside.type, track(inside.payload, nth)));
            } else if (inside.type == "stsz") {
                bytes = joined(bytes, box("stsz", sizes(inside.payload, nth)));
            } else if (inside.type == "co64") {
                bytes = joined(bytes, offsets(nth));
            } else {
                bytes = joined(bytes, box(inside.type, inside.payload));
            }
        }
        return bytes;
    }

    [[nodiscard]] Bytes sizes(const Bytes& payload, std::size_t nth) const {
        const auto size = static_cast<std::uint32_t>(contents_.tracks.at(nth).size());
        const bool fixed = shape_.sizes == Cr3Shape::Sizes::kAsTheHead
                               ? get_u32(payload, 4, kBig) != 0
                               : shape_.sizes == Cr3Shape::Sizes::kFixed;
        return fixed ? u32s({0, size, 1}) : u32s({0, 0, 1, size});
    }

    [[nodiscard]] Bytes offsets(std::size_t nth) const {
        const auto offset = places_.tracks.empty() ? 0U : static_cast<std::uint32_t>(places_.tracks[nth]);
        return shape_.wide_offsets ? box("co64", u32s({0, 1, 0, offset})) : box("stco", u32s({0, 1, offset}));
    }

    std::vector<SourceBox> head_;
    const Cr3Shape& shape_;
    const Cr3Contents& contents_;
    Places places_;
};

std::size_t aligned(std::size_t offset, std::size_t alignment) {
    return (offset + alignment - 1) / alignment * alignment;
}

/// The length of a part when a rest is divided among some parts, this one included.
std::size_t share(std::size_t rest, unsigned parts, std::mt19937& random) {
    return parts == 1 ? rest : rest / parts / 8 * 4 + random() % (rest / parts / 8 * 8 + 8) / 8 * 8;
}

Bytes crx_header(unsigned code, std::size_t length, std::uint32_t word, bool large) {
    Bytes bytes(large ? 20 : 12);
    put_u16(bytes, 0, static_cast<std::uint16_t>(code), kBig);
    put_u16(bytes, 2, static_cast<std::uint16_t>(bytes.size() - 4), kBig);
    put_u32(bytes, 4, static_cast<std::uint32_t>(length), kBig);
    put_u32(bytes, 8, word, kBig);
    return bytes;
}

} // namespace

CompletedCr3 complete_cr3(const Bytes& head, const Cr3Shape& shape, const Cr3Contents& contents) {
    CompletedCr3 result;
    HeadWriter writer(head, shape, contents);
    const std::size_t head_size = writer.write({}).size();
    const std::size_t header = shape.wide_mdat ? 16 : 8;
    // A box of filler brings the first track to its place.
    const std::size_t first = aligned(head_size + 8 + header, shape.alignment);
    const std::size_t filler = shape.alignment == 1 ? 0 : first - header - head_size;
    result.mdat = head_size + filler;
    result.payload = result.mdat + header;

    std::size_t at = result.payload;
    HeadWriter::Places places;
    for (const Bytes& data : contents.tracks) {
        at = aligned(at, shape.alignment);
        places.tracks.push_back(at);
        result.tracks.push_back({at, data.size()});
        at += data.size();
    }
    places.ctbo = writer.noted;
    places.ctbo[3] = {result.mdat, at - result.mdat};
    result.bytes = writer.write(places);
    result.moov_end = writer.moov_end;
    if (filler != 0) {
        result.bytes = joined(result.bytes, box("free", Bytes(filler - 8)));
    }
    const auto size = static_cast<std::uint32_t>(at - result.mdat);
    result.bytes =
        joined(result.bytes, shape.wide_mdat ? joined(box("mdat", {}), u32s({0, size})) : box("mdat", {}));
    put_u32(result.bytes, result.mdat, shape.wide_mdat ? 1 : size, kBig);
    for (std::size_t nth = 0; nth < contents.tracks.size(); ++nth) {
        result.bytes.resize(places.tracks[nth]);
        result.bytes.insert(result.bytes.end(), contents.tracks[nth].begin(), contents.tracks[nth].end());
    }
    if (shape.after != 0) {
        result.bytes = joined(result.bytes, box("free", Bytes(shape.after - 8)));
    }
    return result;
}

std::size_t CrxKind::header_size() const {
    const std::size_t tile =
        lossy ? 20 + kPlanes * (12 + kBandsOfThreeLevels * 20) : 12 + kPlanes * (12 + 12);
    return (tiles * tile + 7) / 8 * 8;
}

Bytes noisy_crx(const CrxKind& kind, std::size_t length, unsigned seed) {
    std::mt19937 random(seed);
    const unsigned extra = kind.lossy ? 0x10 : 0;
    const unsigned bands = kind.lossy ? kBandsOfThreeLevels : 1;
    const std::size_t own = kind.lossy ? kTableSize + kMoreSize : 0;
    Bytes headers;
    std::size_t rest = length - kind.header_size();
    for (unsigned tile = 0; tile < kind.tiles; ++tile) {
        std::size_t in_tile = share(rest, kind.tiles - tile, random);
        rest -= in_tile;
        Bytes header = crx_header(0xFF01 + extra, in_tile, tile << 16U, kind.lossy);
        if (kind.lossy) {
            put_u32(header, 12, kTableSize, kBig);
            put_u16(header, 16, kMoreSize, kBig);
        }
        headers = joined(headers, header);
        in_tile -= own;
        for (unsigned plane = 0; plane < kPlanes; ++plane) {
            std::size_t in_plane = share(in_tile, kPlanes - plane, random);
            in_tile -= in_plane;
            headers = joined(headers, crx_header(0xFF02 + extra, in_plane, plane << 28U, false));
            for (unsigned band = 0; band < bands; ++band) {
                const std::size_t in_band = share(in_plane, bands - band, random);
                in_plane -= in_band;
                headers = joined(headers, crx_header(0xFF03 + extra, in_band, band << 28U, kind.lossy));
            }
        }
    }
    headers.resize(kind.header_size());
    return joined(headers, noise(length - headers.size(), seed));
}

} // namespace test
