#include "Consistency.h"

#include "container/Describe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace raw_mend {

namespace {

void expect_field(const test::Bytes& bytes, const std::optional<NumberField>& field, std::uint64_t expected) {
    if (!field) {
        return;
    }
    ASSERT_TRUE(field->size == 2 || field->size == 4 || field->size == 8) << field->size;
    ASSERT_LE(field->at, bytes.size());
    ASSERT_LE(field->size, bytes.size() - field->at);
    EXPECT_EQ(number_in(bytes, *field) + field->base, expected) << "field at " << field->at;
}

void expect_piece(const test::Bytes& bytes, const Piece& piece) {
    EXPECT_GE(piece.data.end(), piece.data.offset);
    expect_field(bytes, piece.offset_field, piece.data.offset);
    expect_field(bytes, piece.length_field, piece.data.length);
}

std::vector<Image> all_images(const Description& description) {
    std::vector<Image> images = description.pictures;
    images.push_back(description.raw);
    return images;
}

/// The ends of the tables are compared with the images one by one: few of either, in tests.
void expect_tables(const test::Bytes& bytes, const Description& description) {
    std::uint64_t last_end = 0;
    for (std::size_t index = 0; index < description.tables.size(); ++index) {
        const Extent& table = description.tables[index];
        EXPECT_GT(table.length, 0U);
        EXPECT_LE(table.end(), bytes.size());
        EXPECT_TRUE(index == 0 ? true : table.offset > last_end || table.offset == last_end);
        last_end = table.end();
    }
    for (const Image& image : all_images(description)) {
        for (const Piece& piece : image.pieces) {
            const auto overlaps = [&](const Extent& table) {
                return piece.data.length != 0 && table.offset < piece.data.end() &&
                       piece.data.offset < table.end();
            };
            EXPECT_TRUE(std::ranges::none_of(description.tables, overlaps))
                << "a table overlaps an image at " << piece.data.offset;
        }
    }
}

} // namespace

std::uint64_t number_in(const test::Bytes& bytes, const NumberField& field) {
    std::uint64_t number = 0;
    for (unsigned index = 0; index < field.size; ++index) {
        const unsigned at = field.order == ByteOrder::kBig ? index : field.size - 1 - index;
        number = number << 8U | bytes.at(static_cast<std::size_t>(field.at) + at);
    }
    return number;
}

void expect_consistent(const test::Bytes& bytes, const Description& description) {
    std::size_t pieces = 0;
    for (const Image& image : all_images(description)) {
        pieces += image.pieces.size();
        for (const Piece& piece : image.pieces) {
            expect_piece(bytes, piece);
        }
    }
    EXPECT_LE(pieces, bytes.size() / 2 + 1);
    for (const Piece& piece : description.metadata) {
        expect_piece(bytes, piece);
    }
    for (const Piece& piece : description.enclosing) {
        expect_piece(bytes, piece);
    }
    for (const Piece& piece : description.references) {
        expect_piece(bytes, piece);
    }
    expect_tables(bytes, description);
    const auto pixels = [](const Image& image) {
        return std::uint64_t{image.frame.width} * image.frame.height;
    };
    EXPECT_TRUE(std::ranges::is_sorted(description.pictures, std::ranges::greater{}, pixels));
    EXPECT_LE(description.not_understood.size(), 64U);
}

void expect_consistent(const test::Bytes& bytes, const std::optional<Description>& description) {
    if (description) {
        expect_consistent(bytes, *description);
    }
}

Description described(const test::Bytes& bytes) {
    const auto description = describe(bytes);
    EXPECT_TRUE(description);
    if (!description) {
        return {};
    }
    expect_consistent(bytes, *description);
    return *description;
}

Description understood(const test::Bytes& bytes) {
    Description description = described(bytes);
    EXPECT_THAT(description.not_understood, testing::IsEmpty());
    return description;
}

} // namespace raw_mend
