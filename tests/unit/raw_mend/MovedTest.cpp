#include "Consistency.h"
#include "container/Describe.h"
#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RealFiles.h"
#include "support/Sr2Photo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

// The fields of a description are all that it takes to move the parts of a file: with bytes put in and every
// field corrected, the file is described as before, with each part where it is now.

namespace raw_mend {
namespace {

using test::Bytes;

constexpr std::uint64_t kPutIn = 512;

/// Where an offset is once bytes are put in.
std::uint64_t moved(std::uint64_t offset, std::uint64_t at) {
    return offset >= at ? offset + kPutIn : offset;
}

Extent moved(const Extent& extent, std::uint64_t at) {
    const bool is_around = extent.offset < at && at < extent.end();
    return {moved(extent.offset, at), extent.length + (is_around ? kPutIn : 0)};
}

void put_number(Bytes& bytes, const NumberField& field, std::uint64_t number) {
    for (unsigned index = 0; index < field.size; ++index) {
        const unsigned shift = 8 * (field.order == ByteOrder::kBig ? field.size - 1 - index : index);
        bytes.at(static_cast<std::size_t>(field.at) + index) = static_cast<unsigned char>(number >> shift);
    }
}

std::vector<Piece> all_pieces(const Description& description) {
    std::vector<Piece> all = description.raw.pieces;
    for (const Image& picture : description.pictures) {
        all.insert(all.end(), picture.pieces.begin(), picture.pieces.end());
    }
    for (const auto& pieces : {description.references, description.metadata, description.enclosing}) {
        all.insert(all.end(), pieces.begin(), pieces.end());
    }
    return all;
}

/// The file with bytes put in, and the fields corrected.
Bytes put_in(const Bytes& bytes, const Description& description, std::uint64_t at) {
    const auto place = static_cast<std::size_t>(at);
    Bytes result = test::joined(test::joined(test::part(bytes, 0, place), Bytes(kPutIn, 0x99)),
                                test::part(bytes, place, bytes.size()));
    for (const Piece& piece : all_pieces(description)) {
        const Extent data = moved(piece.data, at);
        if (piece.offset_field) {
            NumberField field = *piece.offset_field;
            field.at = moved(field.at, at);
            // The base is an offset of its own, or the lengths of samples before this one.
            const bool is_offset = description.container != Description::Container::kBmff && field.base != 0;
            put_number(result, field, data.offset - (is_offset ? moved(field.base, at) : field.base));
        }
        if (piece.length_field) {
            NumberField field = *piece.length_field;
            field.at = moved(field.at, at);
            put_number(result, field, data.length);
        }
    }
    return result;
}

std::vector<Extent> extents_of(const std::vector<Piece>& pieces) {
    std::vector<Extent> extents;
    std::ranges::transform(pieces, std::back_inserter(extents), &Piece::data);
    return extents;
}

std::vector<Extent> moved_extents(const std::vector<Piece>& pieces, std::uint64_t at) {
    std::vector<Extent> extents = extents_of(pieces);
    for (Extent& extent : extents) {
        extent = moved(extent, at);
    }
    return extents;
}

void expect_moved(const Bytes& bytes, std::uint64_t at) {
    SCOPED_TRACE(at);
    const auto before = describe(bytes);
    ASSERT_TRUE(before);
    const Bytes result = put_in(bytes, *before, at);
    const auto after = describe(result);
    ASSERT_TRUE(after);
    expect_consistent(result, *after);
    EXPECT_EQ(after->make, before->make);
    EXPECT_EQ(after->model, before->model);
    EXPECT_EQ(after->raw.frame, before->raw.frame);
    EXPECT_EQ(after->not_understood.size(), before->not_understood.size());
    EXPECT_EQ(after->raw.slices, before->raw.slices);
    EXPECT_EQ(extents_of(after->raw.pieces), moved_extents(before->raw.pieces, at));
    EXPECT_EQ(extents_of(after->references), moved_extents(before->references, at));
    EXPECT_EQ(extents_of(after->metadata), moved_extents(before->metadata, at));
    EXPECT_EQ(extents_of(after->enclosing), moved_extents(before->enclosing, at));
    ASSERT_EQ(after->pictures.size(), before->pictures.size());
    for (std::size_t index = 0; index < after->pictures.size(); ++index) {
        EXPECT_EQ(after->pictures[index].frame, before->pictures[index].frame);
        EXPECT_EQ(extents_of(after->pictures[index].pieces),
                  moved_extents(before->pictures[index].pieces, at));
    }
    const auto size = [](const Description& description) {
        std::uint64_t all = 0;
        for (const Extent& table : description.tables) {
            all += table.length;
        }
        return all;
    };
    EXPECT_EQ(size(*after), size(*before));
}

/// Bytes put in after the header, before each table that is somewhere else, and before the image.
void expect_all_moved(const Bytes& bytes, std::uint64_t header) {
    const auto description = describe(bytes);
    ASSERT_TRUE(description);
    expect_moved(bytes, header);
    ASSERT_FALSE(description->raw.pieces.empty());
    if (description->raw.pieces[0].data.offset < bytes.size()) {
        expect_moved(bytes, description->raw.pieces[0].data.offset);
    }
    for (const Extent& table : description->tables) {
        if (table.offset >= header) {
            expect_moved(bytes, table.offset);
        }
    }
}

TEST(Moved, PhotographsOfEveryBuilder) {
    for (const auto order : {test::ByteOrder::kLittle, test::ByteOrder::kBig}) {
        expect_all_moved(test::ArwPhoto({.order = order}).bytes, 8);
        expect_all_moved(test::Cr2Photo({.order = order}).bytes, 16);
        expect_all_moved(test::DngPhoto({.order = order}).bytes, 8);
        expect_all_moved(test::NefPhoto({.order = order}).bytes, 8);
        expect_all_moved(test::make_orf({.order = order}).bytes, 8);
        expect_all_moved(test::make_sr2({.order = order}).bytes, 8);
    }
}

TEST(Moved, Raf) {
    const test::RafPhoto photo;
    expect_moved(photo.bytes, photo.jpeg_end); // Before the CFA header,
    expect_moved(photo.bytes, photo.second_header);
    expect_moved(photo.bytes, photo.second_header + 8); // Within the CFA data: before each directory,
    expect_moved(photo.bytes, photo.second_header + 26);
    expect_moved(photo.bytes, photo.image_offset);
}

TEST(Moved, Cr3) {
    for (const bool is_large : {true, false}) {
        const test::Cr3Photo photo({.pictures = true, .large_mdat = is_large});
        for (const auto& track : photo.tracks) {
            if (track.offset == photo.payload) {
                continue; // The first bytes of the media data belong to its header, too.
            }
            expect_moved(photo.bytes, track.offset);
        }
    }
}

TEST(Moved, RealFiles) {
    for (const auto& [name, header] : {std::pair{"pairs/nikon-d5000-dng/sample1.dng", 8U},
                                       {"dng/lg-h815-lossy.dng", 8U},
                                       {"dng/blackmagic-pocket.dng", 8U},
                                       {"nef/nikon-d1.nef", 8U},
                                       {"arw/sony-a330-head.arw", 8U}}) {
        SCOPED_TRACE(name);
        REAL_FILE_OR_SKIP(bytes, name);
        expect_moved(bytes, header);
        const auto description = describe(bytes);
        for (const Piece& piece : {description->raw.pieces.front(), description->raw.pieces.back()}) {
            if (piece.data.offset < bytes.size()) {
                expect_moved(bytes, piece.data.offset);
            }
        }
    }
    REAL_FILE_OR_SKIP(cr3, "cr3/canon-m50-stripped.cr3");
    expect_moved(cr3, 11466); // Within the media data: CTBO and the box itself grow.
}

} // namespace
} // namespace raw_mend
