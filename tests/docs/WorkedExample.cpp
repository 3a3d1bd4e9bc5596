#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"

#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// worked_example FORMAT    prints the worked example of a format's page
//
// It makes two photographs from one camera, destroys as much of the second as may be lost, has it repaired,
// and prints where everything is. The status is 0 only if the repaired file is, byte for byte, what the last
// part of the text says, and if LibRaw decodes it to the pixels of the undamaged photograph. So a page
// cannot show a wrong offset.

namespace {

namespace fs = std::filesystem;
using test::ByteOrder;
using test::Bytes;

/// A line of the text: an offset and what is there.
struct Line {
    std::size_t offset = 0;
    std::string text;
};

enum class Source { kSample, kDamaged, kZeros };

/// A run of the repaired file that is copied whole.
struct Piece {
    Source from = Source::kSample;
    std::size_t offset = 0; ///< In the file it comes from.
    std::size_t size = 0;
};

/// Bytes of the repaired file that differ from those of the piece they are in.
struct Patch {
    std::size_t offset = 0;
    Bytes bytes;
    std::string text;
};

struct Example {
    Bytes sample;
    Bytes original;
    std::size_t lost = 0; ///< The first bytes of the damaged photograph are zero.
    std::vector<Line> sample_lines;
    std::vector<Line> damaged_lines;
    std::vector<Piece> pieces;
    std::vector<Patch> patches;
};

constexpr std::size_t kBlanked = 30; // Bytes at the start of a preview.

std::string hex(std::size_t number) {
    std::ostringstream text;
    text << "0x" << std::uppercase << std::hex << std::setw(5) << std::setfill('0') << number;
    return text.str();
}

std::string decimal(std::size_t number) {
    return std::to_string(number);
}

Bytes number_bytes(std::size_t number, ByteOrder order) {
    Bytes bytes(4);
    test::put_u32(bytes, 0, static_cast<std::uint32_t>(number), order);
    return bytes;
}

Patch blanked(std::size_t offset, std::size_t size, const std::string& what) {
    return {offset, Bytes(size), decimal(size) + " zero bytes: " + what};
}

/// The sample up to its image, then the damaged file from its image on.
void splice(Example& example, std::size_t sample_image, std::size_t damaged_image) {
    example.pieces = {{Source::kSample, 0, sample_image},
                      {Source::kDamaged, damaged_image, example.original.size() - damaged_image}};
}

Example arw() {
    Example example;
    const test::ArwPhoto sample;
    const test::ArwPhoto original(test::ArwPhoto::Options{.number = 2, .maker_notes = 3000});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.strip_entries;
    example.sample_lines = {{0, "II, 42, IFD 0 at " + hex(sample.ifd0.offset)},
                            {sample.ifd0.entry(330), "SubIFDs in IFD 0: " + hex(sample.sub_ifd.offset)},
                            {sample.strip_entries, "StripOffsets: " + hex(sample.image_offset)},
                            {sample.sub_ifd.entry(279), "StripByteCounts: " + decimal(sample.image_size)}};
    example.damaged_lines = {
        {original.strip_entries, "StripOffsets: " + hex(original.image_offset)},
        {original.sub_ifd.entry(278), "RowsPerStrip, 12 bytes later"},
        {original.sub_ifd.entry(279), "StripByteCounts, 24 bytes later: " + decimal(original.image_size)},
        {original.image_offset, "the image"}};
    for (std::size_t index = 0; index < sample.preview_offsets.size(); ++index) {
        example.patches.push_back(
            blanked(sample.preview_offsets[index], kBlanked, "the preview of IFD " + decimal(index)));
    }
    example.patches.push_back({sample.sub_ifd.value(279),
                               number_bytes(original.image_size, ByteOrder::kLittle),
                               "StripByteCounts: " + decimal(original.image_size)});
    splice(example, sample.image_offset, original.image_offset);
    return example;
}

Example sr2() {
    Example example;
    const test::Sr2Photo sample = test::make_sr2();
    const test::Sr2Photo original = test::make_sr2({.scene = 2, .preview_width = 96, .preview_height = 72});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.sub_ifd.entry(273);
    example.sample_lines = {{0, "II, 42, IFD 0 at " + hex(sample.ifd0.offset)},
                            {sample.ifd0.entry(330), "SubIFDs in IFD 0: " + hex(sample.sub_ifd.offset)},
                            {sample.sub_ifd.entry(273), "StripOffsets: " + hex(sample.image)},
                            {sample.sub_ifd.entry(279), "StripByteCounts: " + decimal(sample.image_size)}};
    example.damaged_lines = {
        {original.sub_ifd.entry(273), "StripOffsets: " + hex(original.image)},
        {original.sub_ifd.entry(278), "RowsPerStrip, 36 bytes later"},
        {original.sub_ifd.entry(279), "StripByteCounts, 48 bytes later: " + decimal(original.image_size)},
        {original.image, "the image"}};
    example.patches = {blanked(sample.preview, kBlanked, "the preview of IFD 0"),
                       blanked(sample.thumbnail, kBlanked, "the thumbnail of IFD 1"),
                       {sample.sub_ifd.value(279), number_bytes(original.image_size, ByteOrder::kLittle),
                        "StripByteCounts: " + decimal(original.image_size)}};
    splice(example, sample.image, original.image);
    return example;
}

Example raf() {
    Example example;
    const test::RafPhoto sample;
    const test::RafPhoto original(test::RafPhoto::Options{.number = 2, .maker_notes = 2000});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.second_header;
    example.sample_lines = {
        {sample.first_header, "first TIFF header; IFD 0 follows"},
        {sample.thumb_offset_entry, "0x0201 in IFD 1: the thumbnail at " + hex(sample.thumb)},
        {sample.thumb_size_entry, "0x0202 in IFD 1: " + decimal(sample.thumb_size)},
        {sample.xpacket_end, "\"xpacket end\""},
        {sample.dht, "the first FF C4 after it"},
        {sample.dqt, "the first FF DB after that"},
        {sample.second_header, "second TIFF header"},
        {sample.strip_offsets_entry, "0xF007: " + hex(sample.image_offset - sample.second_header) +
                                         ", plus " + hex(sample.second_header) + " is " +
                                         hex(sample.image_offset)},
        {sample.strip_byte_counts_entry, "0xF008: " + decimal(sample.image_size)}};
    example.damaged_lines = {{original.second_header, "a TIFF header"},
                             {original.strip_offsets_entry,
                              "0xF007, " + decimal(original.strip_offsets_entry - original.second_header) +
                                  " bytes later: " + hex(original.image_offset - original.second_header) +
                                  ", plus " + hex(original.second_header) + " is " +
                                  hex(original.image_offset)},
                             {original.strip_byte_counts_entry, "0xF008: " + decimal(original.image_size)},
                             {original.image_offset, "the image"}};
    example.patches = {blanked(sample.thumb, sample.thumb_size, "the thumbnail"),
                       blanked(sample.dht, sample.dqt + 2 - sample.dht, "the tables of the large JPEG"),
                       {std::size_t{sample.strip_byte_counts_entry} + 8,
                        number_bytes(original.image_size, ByteOrder::kLittle),
                        "0xF008: " + decimal(original.image_size)}};
    splice(example, sample.image_offset, original.image_offset);
    return example;
}

Example orf() {
    Example example;
    const test::OrfPhoto sample = test::make_orf();
    const test::OrfPhoto original = test::make_orf({.scene = 2, .preview_width = 96, .preview_height = 72});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.ifd0.entry(273);
    example.sample_lines = {
        {0, "IIRO, IFD 0 at " + hex(sample.ifd0.offset)},
        {sample.ifd0.entry(273), "StripOffsets: " + hex(sample.image)},
        {sample.ifd0.entry(279), "StripByteCounts: " + decimal(sample.image_size)},
        {sample.ifd0.next_link, "next directory: 0"},
        {sample.thumbnail, "FF D8 FF DB"},
        {sample.preview, "FF D8 FF DB"},
    };
    example.damaged_lines = {
        {original.ifd0.entry(273), "StripOffsets: " + hex(original.image)},
        {original.ifd0.entry(278), "RowsPerStrip, 36 bytes later"},
        {original.ifd0.entry(279), "StripByteCounts, 48 bytes later: " + decimal(original.image_size)},
        {original.image, "the image"}};
    example.patches = {blanked(sample.thumbnail, kBlanked, "the thumbnail"),
                       blanked(sample.preview, kBlanked, "the preview"),
                       {sample.ifd0.value(279), number_bytes(original.image_size, ByteOrder::kLittle),
                        "StripByteCounts: " + decimal(original.image_size)}};
    splice(example, sample.image, original.image);
    return example;
}

Example dng() {
    Example example;
    const test::DngPhoto sample(test::DngPhoto::Options{.width = 128});
    const test::DngPhoto original(test::DngPhoto::Options{.number = 2, .width = 128, .private_data = 3000});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.main_entry;
    example.sample_lines = {{0, "II, 42, IFD 0 at " + hex(sample.ifd0.offset)},
                            {sample.ifd0.entry(273), "StripOffsets of IFD 0"},
                            {sample.ifd0.entry(330), "SubIFDs: three directories"},
                            {sample.main_entry, "NewSubfileType of the second: 0, the main image"}};
    example.damaged_lines = {{original.main_entry, "NewSubfileType: 0"},
                             {original.main_ifd.entry(324),
                              "TileOffsets: four numbers from " + hex(original.offset_slot(0)) + " on"},
                             {original.main_ifd.entry(325), "TileByteCounts: four numbers from " +
                                                                hex(original.byte_count_slot(0)) + " on"}};
    for (const std::uint32_t offset : sample.preview_offsets) {
        example.patches.push_back(blanked(offset, kBlanked, "a preview, at its StripOffsets"));
    }
    std::size_t tile_offset = sample.tile_offsets[0];
    for (std::size_t tile = 0; tile < sample.tiles(); ++tile) {
        const std::size_t size = original.tile_byte_counts[tile];
        example.sample_lines.push_back(
            {sample.tile_offsets[tile],
             "tile " + decimal(tile) + ", " + decimal(sample.tile_byte_counts[tile]) + " bytes"});
        example.damaged_lines.push_back(
            {original.tile_offsets[tile], "tile " + decimal(tile) + ", " + decimal(size) + " bytes"});
        if (tile != 0) { // The first tile stays where the sample's is.
            example.patches.push_back({sample.offset_slot(tile),
                                       number_bytes(tile_offset, ByteOrder::kLittle),
                                       "TileOffsets " + decimal(tile) + ": " + hex(tile_offset)});
        }
        example.patches.push_back({sample.byte_count_slot(tile), number_bytes(size, ByteOrder::kLittle),
                                   "TileByteCounts " + decimal(tile) + ": " + decimal(size)});
        tile_offset += size;
    }
    splice(example, sample.tile_offsets[0], original.tile_offsets[0]);
    return example;
}

Example cr2() {
    Example example;
    const test::Cr2Photo sample;
    const test::Cr2Photo original(test::Cr2Photo::Options{.number = 2, .maker_notes = 3000});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.raw_ifd.entry(273);
    example.sample_lines = {
        {0, "II, 42, IFD 0 at " + hex(sample.ifd0.offset) + ", CR, 2, 0, raw directory at " +
                hex(sample.raw_ifd.offset)},
        {sample.ifd0.entry(273), "StripOffsets of IFD 0: " + hex(sample.preview_offset)},
        {sample.ifd0.entry(34853), "GPSInfo, the last entry of IFD 0; after it " + hex(sample.ifd1.offset)},
        {sample.ifd1.entry(513), "JPEGInterchangeFormat of IFD 1: " + hex(sample.thumbnail_offset)},
        {sample.ifd1.entry(514), "its length, the last entry of IFD 1; after it " + hex(sample.ifd2.offset)},
        {sample.ifd2.entry(273), "StripOffsets of IFD 2: " + hex(sample.small_offset)},
        {sample.ifd2.entry(279), "StripByteCounts of IFD 2: " + decimal(sample.small_size)},
        {sample.raw_ifd.entry(273), "StripOffsets of the raw directory: " + hex(sample.raw_offset)}};
    example.damaged_lines = {{original.raw_ifd.entry(273), "StripOffsets: " + hex(original.raw_offset)},
                             {original.raw_ifd.entry(279),
                              "StripByteCounts, a LONG, 12 bytes later: " + decimal(original.raw_size)},
                             {original.raw_offset, "the image"}};
    example.patches = {blanked(sample.thumbnail_offset, kBlanked, "the thumbnail of IFD 1"),
                       blanked(sample.preview_offset, kBlanked, "the JPEG of IFD 0"),
                       blanked(sample.small_offset, sample.small_size, "the small picture of IFD 2, whole")};
    splice(example, sample.raw_offset, original.raw_offset);
    return example;
}

Example nef() {
    Example example;
    const test::NefPhoto sample;
    const test::NefPhoto original(test::NefPhoto::Options{.number = 2, .maker_notes = 3000});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.raw_ifd.entry(254);
    example.sample_lines = {
        {0, "MM, 42, IFD 0 at " + hex(sample.ifd0.offset)},
        {sample.ifd0.entry(273), "StripOffsets of IFD 0: " + hex(sample.thumbnail_offset)},
        {sample.ifd0.entry(279), "StripByteCounts of IFD 0: " + decimal(sample.thumbnail_size)},
        {sample.ifd0.entry(330),
         "SubIFDs: " + hex(sample.preview_ifd.offset) + " and " + hex(sample.raw_ifd.offset)},
        {sample.preview_ifd.entry(513), "JPEGInterchangeFormat: " + hex(sample.preview_offset)},
        {sample.raw_ifd.entry(273), "StripOffsets of the second: " + hex(sample.raw_offset)}};
    example.damaged_lines = {{original.raw_ifd.entry(254), "NewSubfileType: 0"},
                             {original.raw_ifd.entry(273), "StripOffsets: " + hex(original.raw_offset)},
                             {original.raw_offset, "the image"}};
    example.patches = {blanked(sample.thumbnail_offset, sample.thumbnail_size, "the picture of IFD 0, whole"),
                       blanked(sample.preview_offset, kBlanked, "the JPEG of the first sub-directory")};
    splice(example, sample.raw_offset, original.raw_offset);
    return example;
}

Example cr3() {
    Example example;
    const test::Cr3Photo sample(test::Cr3Photo::Options{.pictures = true});
    const test::Cr3Photo original(
        test::Cr3Photo::Options{.number = 2, .maker_notes = 1500, .pictures = true});
    example.sample = sample.bytes;
    example.original = original.bytes;
    example.lost = original.at("trak1/entry");
    const auto tables = [](const test::Cr3Photo& photo, unsigned n) {
        const std::string track = "trak" + decimal(n);
        const auto& run = photo.tracks.at(n - 1);
        return std::vector<Line>{
            {photo.at(track + "/stsz"),
             "\"stsz\" of track " + decimal(n) + ": " + decimal(run.size) + " bytes"},
            {photo.at(track + "/co64"), "\"co64\" of track " + decimal(n) + ": " + hex(run.offset)}};
    };
    const auto add = [](std::vector<Line>& lines, const std::vector<Line>& more) {
        lines.insert(lines.end(), more.begin(), more.end());
    };
    example.sample_lines = {{sample.thumbnail.offset, "the JPEG in THMB"}};
    for (unsigned n = 1; n <= 4; ++n) {
        add(example.sample_lines, tables(sample, n));
    }
    add(example.sample_lines, {{sample.preview.offset, "the JPEG in PRVW"},
                               {sample.at("mdat"), "\"mdat\""},
                               {sample.payload, "its content"}});
    example.damaged_lines = {{original.at("trak1/entry"), "\"CRAW\", size 112"}};
    add(example.damaged_lines, tables(original, 1));
    add(example.damaged_lines, {{original.at("trak3/entry"), "\"CRAW\", size 228"}});
    add(example.damaged_lines, tables(original, 3));
    add(example.damaged_lines, {{original.at("trak4/entry"), "\"CTMD\""}});

    example.patches = {
        blanked(sample.thumbnail.offset, kBlanked, "the JPEG in THMB"),
        blanked(sample.preview.offset, kBlanked, "the JPEG in PRVW"),
        {sample.size_entry(1), number_bytes(original.tracks[0].size, ByteOrder::kBig),
         "length of track 1: " + decimal(original.tracks[0].size)},
        {sample.size_entry(3), number_bytes(original.tracks[2].size, ByteOrder::kBig),
         "length of track 3: " + decimal(original.tracks[2].size)},
    };
    example.pieces = {{Source::kSample, 0, sample.payload}};
    std::size_t at = sample.payload;
    for (unsigned n = 1; n <= 4; ++n) {
        const bool damaged = n == 1 || n == 3;
        const auto& run = damaged ? original.tracks.at(n - 1) : sample.tracks.at(n - 1);
        example.pieces.push_back({damaged ? Source::kDamaged : Source::kSample, run.offset, run.size});
        if (n != 1) {
            example.patches.push_back({sample.offset_entry(n), number_bytes(at, ByteOrder::kBig),
                                       "offset of track " + decimal(n) + ": " + hex(at)});
        }
        at += run.size;
    }
    const std::size_t padding = (at - sample.payload) % 4;
    if (padding != 0) {
        example.pieces.push_back({Source::kZeros, 0, padding});
    }
    const std::size_t filler = sample.thumbnail.size % 4;
    if (filler != 0) {
        example.patches.push_back(
            blanked(sample.thumbnail.offset + sample.thumbnail.size, filler, "the filler after that JPEG"));
    }
    const std::size_t mdat_size = at + padding - sample.at("mdat");
    example.patches.push_back({sample.at("mdat") + 12, number_bytes(mdat_size, ByteOrder::kBig),
                               "size of \"mdat\": " + decimal(mdat_size)});
    return example;
}

void print(std::size_t offset, const std::string& text) {
    std::cout << "  " << hex(offset) << "  " << text << '\n';
}

void print(std::vector<Line> lines) {
    std::sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) { return a.offset < b.offset; });
    for (const Line& line : lines) {
        print(line.offset, line.text);
    }
}

Bytes bytes_of(const Piece& piece, const Example& example, const Bytes& damaged) {
    if (piece.from == Source::kZeros) {
        return Bytes(piece.size);
    }
    const Bytes& file = piece.from == Source::kSample ? example.sample : damaged;
    return test::part(file, piece.offset, piece.offset + piece.size);
}

std::string name_of(const Piece& piece) {
    if (piece.from == Source::kZeros) {
        return "zero bytes";
    }
    return std::string("bytes of ") + (piece.from == Source::kSample ? "the sample" : "the damaged file") +
           ", from " + hex(piece.offset) + " on";
}

/// The repaired file as the example describes it.
Bytes described_output(const Example& example, const Bytes& damaged) {
    Bytes output;
    for (const Piece& piece : example.pieces) {
        output = test::joined(output, bytes_of(piece, example, damaged));
    }
    for (const Patch& patch : example.patches) {
        test::put_bytes(output, patch.offset, patch.bytes);
    }
    return output;
}

/// The library's output for the pair.
Bytes repaired(const std::string& extension, const Example& example, const Bytes& damaged) {
    const test::TempDir folder;
    const std::string work = test::utf8(folder.path());
    const auto path = [&](const std::string& name) { return folder / (name + '.' + extension); };
    test::write_file(path("damaged"), damaged);
    test::write_file(path("sample"), example.sample);
    MndRawInit((work + "/no-log").c_str(), work.c_str(), work.c_str());
    const auto code =
        MndRawAdvanceRepair(test::utf8(path("damaged")).c_str(), test::utf8(path("sample")).c_str(),
                            test::utf8(path("repaired")).c_str());
    if (code != PLATE_MEND_OK) {
        throw std::runtime_error("code " + std::to_string(code));
    }
    return test::read_file(path("repaired"));
}

void print(const std::string& extension, const Example& example, const Bytes& output) {
    std::cout << "sample." << extension << ", " << example.sample.size() << " bytes\n";
    print(example.sample_lines);
    std::cout << "\ndamaged." << extension << ", " << example.original.size() << " bytes, the first "
              << example.lost << " (" << hex(example.lost) << ") are zero\n";
    print(example.damaged_lines);
    std::cout << "\nrepaired." << extension << ", " << output.size() << " bytes\n";
    std::vector<Line> lines;
    std::size_t at = 0;
    for (const Piece& piece : example.pieces) {
        lines.push_back({at, decimal(piece.size) + ' ' + name_of(piece) + (at == 0 ? ", except" : "")});
        at += piece.size;
    }
    for (const Patch& patch : example.patches) {
        lines.push_back({patch.offset, "  " + patch.text});
    }
    print(lines);
}

void run(const std::string& extension, const std::function<Example()>& make) {
    const Example example = make();
    const Bytes damaged = test::zeroed(example.original, 0, example.lost);
    const Bytes output = repaired(extension, example, damaged);
    if (output != described_output(example, damaged)) {
        throw std::runtime_error("the repaired file is not as described");
    }
    const auto picture = test::decode_raw(output);
    if (!picture || picture->errors != 0 || picture != test::decode_raw(example.original)) {
        throw std::runtime_error("the repaired file does not decode to the original's pixels");
    }
    if (test::decode_raw(damaged)) {
        throw std::runtime_error("LibRaw decodes the damaged file");
    }
    print(extension, example, output);
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<Example()>> formats{{"arw", arw}, {"sr2", sr2}, {"raf", raf},
                                                                  {"orf", orf}, {"dng", dng}, {"cr2", cr2},
                                                                  {"nef", nef}, {"cr3", cr3}};
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        if (arguments.size() != 1 || formats.count(arguments[0]) == 0) {
            std::cerr << "usage: worked_example arw|sr2|raf|orf|dng|cr2|nef|cr3\n";
            return 64;
        }
        run(arguments[0], formats.at(arguments[0]));
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "worked_example: " << e.what() << '\n';
        return 1;
    }
}
