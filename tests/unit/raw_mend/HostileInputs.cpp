#include "HostileInputs.h"

#include "RowImages.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/LosslessJpeg.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"
#include "support/TiffWriter.h"

#include <algorithm>

namespace test {

namespace {

std::vector<SmallPhotograph> make_small_photographs() {
    std::vector<SmallPhotograph> all;
    for (const auto order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const std::string suffix = order == ByteOrder::kLittle ? "_II" : "_MM";
        all.push_back({"arw" + suffix, ArwPhoto({.order = order}).bytes,
                       ArwPhoto({.order = order, .number = 2, .maker_notes = 1000}).bytes});
        all.push_back({"cr2" + suffix, Cr2Photo({.order = order}).bytes,
                       Cr2Photo({.order = order, .number = 2}).bytes});
        all.push_back({"dng" + suffix, DngPhoto({.order = order}).bytes,
                       DngPhoto({.order = order, .number = 2, .private_data = 1000}).bytes});
        all.push_back({"nef" + suffix, NefPhoto({.order = order}).bytes,
                       NefPhoto({.order = order, .number = 2}).bytes});
        all.push_back(
            {"orf" + suffix, make_orf({.order = order}).bytes, make_orf({.order = order, .scene = 2}).bytes});
        all.push_back(
            {"sr2" + suffix, make_sr2({.order = order}).bytes, make_sr2({.order = order, .scene = 2}).bytes});
    }
    all.push_back({"raf", RafPhoto().bytes, RafPhoto({.number = 2}).bytes});
    all.push_back(
        {"cr3", Cr3Photo({.pictures = true}).bytes, Cr3Photo({.number = 2, .pictures = true}).bytes});
    return all;
}

/// One directory of a raw image in tiles, each of a width and a height, after the bytes of all tiles.
Bytes photograph_of_tiles(const Bytes& data, const std::vector<std::uint32_t>& offsets,
                          const std::vector<std::uint32_t>& lengths, std::uint32_t width,
                          std::uint32_t height, std::uint16_t compression, std::uint16_t bits) {
    TiffWriter writer(ByteOrder::kLittle);
    writer.write_header(8);
    writer.patch_u32(4, writer.offset() + static_cast<std::uint32_t>(data.size()));
    writer.append(data);
    const auto count = static_cast<std::uint32_t>(offsets.size());
    writer.write_directory({writer.longs(254, {0}), writer.longs(256, {width}),
                            writer.longs(257, {height * count}), writer.shorts(258, {bits}),
                            writer.shorts(259, {compression}), writer.shorts(262, {32803}),
                            writer.shorts(277, {1}), writer.longs(322, {width}), writer.longs(323, {height}),
                            writer.longs(324, offsets), writer.longs(325, lengths),
                            writer.shorts(33421, {2, 2}), writer.byte(33422, {0, 1, 1, 2})});
    return writer.bytes();
}

/// A stream of about this many bytes: 14 bits of noise per sample.
Bytes long_stream(std::size_t size, std::uint32_t seed) {
    constexpr unsigned kColumns = 64;
    const auto rows = static_cast<unsigned>(std::clamp<std::size_t>(size / kColumns / 2, 1, 60000));
    const Bytes bytes = noise(std::size_t{kColumns} * rows, seed);
    std::vector<std::uint16_t> samples;
    for (const unsigned char byte : bytes) {
        samples.push_back(static_cast<std::uint16_t>(byte * 64U));
    }
    return lossless_jpeg(samples, kColumns, rows);
}

Bytes tiny_stream(std::uint16_t sample) {
    return lossless_jpeg({sample, sample, sample, sample}, 2, 2);
}

Bytes repeated(const Bytes& bytes, std::size_t size) {
    Bytes all;
    while (all.size() < size) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

/// Tiles that all are the same stream, as many as half of the file can name.
Bytes tiles_that_share_a_stream(std::size_t size) {
    const Bytes stream = long_stream(size / 2, 1);
    const std::size_t count = size / 16;
    return photograph_of_tiles(stream, std::vector<std::uint32_t>(count, 8),
                               std::vector<std::uint32_t>(count, static_cast<std::uint32_t>(stream.size())),
                               64, 2, 7, 14);
}

/// Tiles of a few bytes each, side by side.
Bytes tiny_tiles(std::size_t size) {
    Bytes data;
    std::vector<std::uint32_t> offsets;
    std::vector<std::uint32_t> lengths;
    for (std::uint16_t nth = 0; data.size() + 8 * offsets.size() < size; ++nth) {
        const Bytes stream = tiny_stream(nth % 1000);
        offsets.push_back(static_cast<std::uint32_t>(8 + data.size()));
        lengths.push_back(static_cast<std::uint32_t>(stream.size()));
        data.insert(data.end(), stream.begin(), stream.end());
    }
    return photograph_of_tiles(data, offsets, lengths, 2, 2, 7, 14);
}

/// Tiny tiles, of which some are lost.
Bytes tiny_tiles_with_gaps(std::size_t size) {
    const Bytes stream = tiny_stream(500);
    Bytes bytes;
    for (std::size_t nth = 0; bytes.size() < size; ++nth) {
        const bool kept = nth % 3 != 0;
        bytes = kept ? joined(std::move(bytes), stream) : joined(std::move(bytes), Bytes(stream.size()));
    }
    return bytes;
}

/// A photograph whose image is one strip of 12-bit rows.
Bytes photograph_of_rows(std::size_t size) {
    constexpr std::size_t kWidth = 256;
    const Picture picture = clouds(kWidth, std::max<std::size_t>(32, size / kWidth / 2), 1);
    const Bytes data = coded_rows(picture, geometry_of(picture, raw_mend::Packing::kLittleWords, 12));
    return photograph_of_tiles(data, {8}, {static_cast<std::uint32_t>(data.size())}, kWidth,
                               static_cast<std::uint32_t>(picture.height), 1, 12);
}

/// The same rows, with a byte lost every few rows: as many phases as there can be.
Bytes rows_of_many_phases(const Bytes& photograph, std::size_t rows) {
    Bytes bytes;
    for (std::size_t at = 8; at < photograph.size(); at += 512 * rows) {
        const Bytes some = part(photograph, at, std::min(photograph.size(), at + 512 * rows - 3));
        bytes.insert(bytes.end(), some.begin(), some.end());
    }
    return bytes;
}

} // namespace

const std::vector<SmallPhotograph>& small_photographs() {
    static const std::vector<SmallPhotograph> all = make_small_photographs();
    return all;
}

std::vector<HostilePair> hostile_pairs(std::size_t size) {
    const Bytes shared = tiles_that_share_a_stream(size);
    const Bytes tiny = tiny_tiles(size);
    const Bytes rows = photograph_of_rows(size);
    const Bytes stream = long_stream(size, 2);
    const Bytes one =
        photograph_of_tiles(stream, {8}, {static_cast<std::uint32_t>(stream.size())}, 64,
                            static_cast<std::uint32_t>(std::clamp<std::size_t>(size / 128, 1, 60000)), 7, 14);
    const Bytes head = part(stream, 0, stream.size() > 100 ? 100 : stream.size());
    const Bytes unending = with(stream, stream.size() - 2, {0, 0});
    return {
        {"tiles that share a stream", shared, shared},
        {"tiles that share a stream, many headers", shared,
         joined(repeated(part(shared, 0, 8), size / 2), shared)},
        {"tiny tiles", tiny, tiny},
        {"tiny tiles, displaced", tiny, part(tiny, 100, tiny.size())},
        {"tiny tiles, some lost", tiny, tiny_tiles_with_gaps(size)},
        {"one stream, a flood of heads", one, repeated(head, size)},
        {"one stream, a flood of SOI", one, repeated({0xFF, 0xD8}, size)},
        {"one stream, a flood of headers", one, repeated(part(one, 0, 8), size)},
        {"one stream, a flood of EOI after it", one,
         joined(part(unending, 0, unending.size() / 2), repeated({0xFF, 0xD9}, size))},
        {"one stream, a flood of tiny ones", one, repeated(tiny_stream(9), size)},
        {"one stream, a flood of markers", one, repeated({0xFF, 0xD8, 0xFF, 0xC3, 0xFF, 0xDA}, size)},
        {"tiny tiles, a flood of heads", tiny, repeated(head, size)},
        {"rows, zeros", rows, Bytes(size)},
        {"rows, noise", rows, noise(size, 3)},
        {"rows, a flood of headers", rows, repeated(part(rows, 0, 8), size)},
        {"rows, phases that change every 4 rows", rows, rows_of_many_phases(rows, 4)},
        {"rows, phases that change every 40 rows", rows, rows_of_many_phases(rows, 40)},
        {"rows, every other sector zeroed", rows,
         [&] {
             Bytes bytes = part(rows, 8, rows.size());
             for (std::size_t at = 0; at + 512 <= bytes.size(); at += 1024) {
                 std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), 512,
                             static_cast<unsigned char>(0));
             }
             return bytes;
         }()},
    };
}

} // namespace test
