#include "assemble/Transplant.h"
#include "Consistency.h"
#include "Written.h"
#include "container/Describe.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <random>

namespace test {
namespace {

using raw_mend::describe;
using raw_mend::described;
using raw_mend::Description;
using raw_mend::Extent;
using raw_mend::replace;
using raw_mend::Replacement;
using raw_mend::transplant;

using Places = std::vector<std::optional<Extent>>;

Bytes bytes_of(const Bytes& file, const Extent& extent) {
    const auto bytes = extent.of(file);
    return {bytes.begin(), bytes.end()};
}

Places places_of(const Bytes& file) {
    const auto description = describe(file);
    Places places;
    for (const auto& piece : description->raw.pieces) {
        places.emplace_back(piece.data);
    }
    return places;
}

/// Makes photographs of one camera, each with another number.
struct Format {
    std::string name;
    std::function<Bytes(unsigned number)> photograph;

    friend void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }
};

std::vector<Format> all_formats() {
    std::vector<Format> all;
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const std::string end = order == ByteOrder::kLittle ? "_II" : "_MM";
        all.push_back({"arw" + end,
                       [=](unsigned number) { return ArwPhoto({.order = order, .number = number}).bytes; }});
        all.push_back({"cr2" + end,
                       [=](unsigned number) { return Cr2Photo({.order = order, .number = number}).bytes; }});
        all.push_back({"dng" + end,
                       [=](unsigned number) { return DngPhoto({.order = order, .number = number}).bytes; }});
        all.push_back({"nef" + end,
                       [=](unsigned number) { return NefPhoto({.order = order, .number = number}).bytes; }});
        all.push_back({"orf" + end,
                       [=](unsigned number) { return make_orf({.order = order, .scene = number}).bytes; }});
        all.push_back({"sr2" + end,
                       [=](unsigned number) { return make_sr2({.order = order, .scene = number}).bytes; }});
    }
    all.push_back({"raf", [](unsigned number) { return RafPhoto({.number = number}).bytes; }});
    all.push_back(
        {"cr3", [](unsigned number) { return Cr3Photo({.number = number, .pictures = true}).bytes; }});
    return all;
}

class TransplantOfAnyFormat : public testing::TestWithParam<Format> {
  protected:
    const Bytes sample = GetParam().photograph(1);
    const Bytes other = GetParam().photograph(2);
};

INSTANTIATE_TEST_SUITE_P(Formats, TransplantOfAnyFormat, testing::ValuesIn(all_formats()),
                         [](const auto& test) { return test.param.name; });

TEST_P(TransplantOfAnyFormat, ShowsTheOtherPhotograph) {
    const auto splice = transplant(sample, *describe(sample), other, places_of(other));
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const auto picture = decode_raw(other);
    ASSERT_TRUE(picture);
    EXPECT_NE(decode_raw(sample), picture);
    EXPECT_EQ(decode_raw(result), picture);
}

TEST_P(TransplantOfAnyFormat, KeepsThePartsOfTheSample) {
    const auto before = describe(sample);
    const auto splice = transplant(sample, *before, other, places_of(other));
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const auto after = describe(result);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->raw.frame, before->raw.frame);
    EXPECT_EQ(after->not_understood, before->not_understood);
    EXPECT_EQ(after->references.size(), before->references.size());
    ASSERT_EQ(after->pictures.size(), before->pictures.size());
    for (std::size_t nth = 0; nth < before->pictures.size(); ++nth) {
        ASSERT_EQ(after->pictures[nth].pieces.size(), before->pictures[nth].pieces.size());
        for (std::size_t piece = 0; piece < before->pictures[nth].pieces.size(); ++piece) {
            EXPECT_EQ(bytes_of(result, after->pictures[nth].pieces[piece].data),
                      bytes_of(sample, before->pictures[nth].pieces[piece].data));
        }
    }
    ASSERT_EQ(after->metadata.size(), before->metadata.size());
    for (std::size_t nth = 0; nth < before->metadata.size(); ++nth) {
        EXPECT_EQ(bytes_of(result, after->metadata[nth].data), bytes_of(sample, before->metadata[nth].data));
    }
}

TEST_P(TransplantOfAnyFormat, WithItsOwnImageIsTheSample) {
    const auto splice = transplant(sample, *describe(sample), sample, places_of(sample));
    ASSERT_TRUE(splice);
    EXPECT_EQ(written(*splice), sample);
}

TEST_P(TransplantOfAnyFormat, RefusesPiecesThatAreNotThere) {
    const auto description = describe(sample);
    const Places places = places_of(other);
    Places changed = places;
    changed.emplace_back(places.front());
    EXPECT_FALSE(transplant(sample, *description, other, changed));
    EXPECT_FALSE(transplant(sample, *description, other, {}));
    changed = places;
    changed.back() = Extent{other.size() - 1, 2};
    EXPECT_FALSE(transplant(sample, *description, other, changed));
    changed.back() = Extent{~std::uint64_t{0}, 2};
    EXPECT_FALSE(transplant(sample, *description, other, changed));
    changed.back() = Extent{other.size() - 2, 2};
    EXPECT_TRUE(transplant(sample, *description, other, changed));
}

TEST_P(TransplantOfAnyFormat, HasZerosInPlaceOfALostPiece) {
    const auto before = describe(sample);
    Places places = places_of(other);
    places.back() = std::nullopt;
    const auto splice = transplant(sample, *before, other, places);
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const auto after = describe(result);
    ASSERT_TRUE(after);
    const std::uint64_t length = before->raw.pieces.back().data.length;
    EXPECT_EQ(bytes_of(result, after->raw.pieces.back().data), Bytes(static_cast<std::size_t>(length)));
}

TEST_P(TransplantOfAnyFormat, HasOtherBytesInPlaceOfAMendedPiece) {
    const auto before = describe(sample);
    const Extent piece = before->raw.pieces.back().data;
    const Bytes mended(static_cast<std::size_t>(piece.length) + 1000, 0x5A);
    const std::vector<Replacement> replacements{{piece, mended}};
    const auto splice = transplant(sample, *before, other, places_of(other), replacements);
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const auto after = describe(result);
    ASSERT_TRUE(after);
    EXPECT_EQ(bytes_of(result, {after->raw.pieces.back().data.offset, mended.size()}), mended);
}

/// Whether a picture is inside another one, as a preview's thumbnail.
bool is_nested(const Description& description, const Extent& inner) {
    return std::ranges::any_of(description.pictures, [&](const auto& picture) {
        const Extent& outer = picture.pieces.front().data;
        return outer != inner && outer.offset <= inner.offset && inner.end() <= outer.end();
    });
}

/// So many bytes that begin as these.
Bytes resized(Bytes bytes, std::ptrdiff_t more) {
    const std::size_t kept = bytes.size() / 2;
    bytes.resize(static_cast<std::size_t>(static_cast<std::ptrdiff_t>(bytes.size()) + more));
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(std::min(kept, bytes.size())), bytes.end(), 0xA5);
    return bytes;
}

/// Replaces pictures of one piece with bytes of this many more or fewer, and checks the result: these
/// pictures are as they were put in, and the raw image is as before.
void expect_pictures_replaced(const Bytes& file, std::ptrdiff_t more) {
    const Description before = described(file);
    std::vector<Bytes> pictures;
    std::vector<Replacement> replacements;
    for (const auto& picture : before.pictures) {
        const Extent& old = picture.pieces.front().data;
        if (picture.pieces.size() == 1 && picture.pieces.front().length_field && !is_nested(before, old)) {
            pictures.push_back(resized(bytes_of(file, old), more));
            replacements.push_back({old, {}});
        }
    }
    for (std::size_t nth = 0; nth < pictures.size(); ++nth) {
        replacements[nth].bytes = pictures[nth];
    }
    const auto splice = replace(file, before, replacements);
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const std::size_t growth = more > 0 ? static_cast<std::size_t>(more) * replacements.size() : 0;
    EXPECT_EQ(result.size(), file.size() + growth);
    EXPECT_EQ(decode_raw(result), decode_raw(file));
    std::vector<Bytes> found;
    for (const auto& picture : described(result).pictures) {
        found.push_back(bytes_of(result, picture.pieces.front().data));
    }
    EXPECT_THAT(found, testing::IsSupersetOf(pictures));
}

TEST_P(TransplantOfAnyFormat, HasOtherPicturesOfAnyLength) {
    for (const std::ptrdiff_t more : {0, 1, -1, 5000, -20}) {
        SCOPED_TRACE(more);
        expect_pictures_replaced(sample, more);
    }
}

TEST_P(TransplantOfAnyFormat, HasOtherTablesOfTheSameLength) {
    const auto description = describe(sample);
    const Extent table = description->tables.back();
    const Bytes bytes = bytes_of(sample, table);
    Bytes without = sample;
    std::fill_n(without.begin() + static_cast<std::ptrdiff_t>(table.offset), table.length, 0);
    const std::vector<Replacement> replacements{{table, bytes}};
    const auto splice = transplant(without, *description, sample, places_of(sample), replacements);
    ASSERT_TRUE(splice);
    EXPECT_EQ(written(*splice), sample);
}

TEST_P(TransplantOfAnyFormat, RefusesReplacementsThatOverlap) {
    const auto description = describe(sample);
    const Extent raw = description->raw.pieces.front().data;
    const Extent table = description->tables.front();
    const Bytes bytes(100);
    const auto is_refused = [&](const std::vector<Replacement>& replacements) {
        return !replace(sample, *description, replacements);
    };
    EXPECT_TRUE(is_refused({{{raw.offset, 1}, bytes}}));
    EXPECT_TRUE(is_refused({{{raw.end() - 1, 1}, bytes}}));
    EXPECT_TRUE(is_refused({{table, bytes_of(sample, table)}, {{table.end() - 1, 1}, bytes}}));
    EXPECT_TRUE(is_refused({{{sample.size(), 1}, bytes}}));
    EXPECT_TRUE(is_refused({{{~std::uint64_t{0}, 1}, bytes}}));
}

TEST_P(TransplantOfAnyFormat, WritesAsManyBytesAsItSaysWhateverTheSampleStates) {
    std::mt19937 random(1);
    unsigned done = 0;
    for (unsigned nth = 0; nth < 300; ++nth) {
        Bytes changed = sample;
        for (unsigned count = 0; count <= nth % 4; ++count) {
            const auto tables = describe(sample)->tables;
            const Extent& table = tables[random() % tables.size()];
            changed[static_cast<std::size_t>(table.offset + random() % table.length)] =
                static_cast<unsigned char>(random());
        }
        const auto description = describe(changed);
        if (!description) {
            continue;
        }
        Places places;
        for (const auto& piece : description->raw.pieces) {
            places.emplace_back(Extent{random() % (other.size() / 2), random() % (other.size() / 2)});
            static_cast<void>(piece);
        }
        if (const auto splice = transplant(changed, *description, other, places)) {
            EXPECT_EQ(written(*splice).size(), splice->size());
            ++done;
        }
    }
    EXPECT_GT(done, 30U);
}

TEST(Transplant, RefusesPiecesOfTheSampleThatOverlap) {
    const DngPhoto sample;
    Description description = *describe(sample.bytes);
    ++description.raw.pieces.front().data.length;
    std::ranges::sort(description.raw.pieces, {}, [](const auto& piece) { return piece.data.offset; });
    description.raw.pieces.front().data.length =
        description.raw.pieces[1].data.offset - description.raw.pieces[0].data.offset + 1;
    EXPECT_FALSE(transplant(sample.bytes, description, sample.bytes, places_of(sample.bytes)));
}

TEST(Transplant, RefusesFieldsInsideTheImage) {
    const DngPhoto sample;
    const Description intact = *describe(sample.bytes);
    const Extent image =
        std::ranges::min(intact.raw.pieces, {}, [](const auto& piece) { return piece.data.offset; }).data;
    const auto is_done = [&](std::uint64_t at) {
        Description description = intact;
        description.references.front().offset_field->at = at;
        return transplant(sample.bytes, description, sample.bytes, places_of(sample.bytes)).has_value();
    };
    EXPECT_TRUE(is_done(image.offset - 4));
    EXPECT_FALSE(is_done(image.offset - 3));
    EXPECT_FALSE(is_done(image.offset));
    EXPECT_FALSE(is_done(image.end() - 1));
}

TEST(Transplant, RefusesAnImageWhoseLengthHasNoRoom) {
    const DngPhoto sample;
    Description description = *describe(sample.bytes);
    const Bytes other(70000, 1);
    Places places(description.raw.pieces.size(), Extent{0, 100});
    places.front() = Extent{0, 65535};
    description.raw.pieces.front().length_field->size = 2;
    EXPECT_TRUE(transplant(sample.bytes, description, other, places));
    places.front() = Extent{0, 65536};
    EXPECT_FALSE(transplant(sample.bytes, description, other, places));
}

TEST(Transplant, KeepsThePaddingOfTheOtherFile) {
    const DngPhoto sample;
    const Description description = *describe(sample.bytes);
    std::vector<std::size_t> order(description.raw.pieces.size());
    for (std::size_t nth = 0; nth < order.size(); ++nth) {
        order[nth] = nth;
    }
    std::ranges::sort(order, {},
                      [&](std::size_t piece) { return description.raw.pieces[piece].data.offset; });
    Bytes other(1000, 9);
    Places places(order.size());
    std::uint64_t at = 10;
    for (const std::size_t piece : order) {
        places[piece] = Extent{at, 5};
        std::fill_n(other.begin() + static_cast<std::ptrdiff_t>(at), 5, static_cast<unsigned char>(1));
        at += 8;
    }
    const auto splice = transplant(sample.bytes, description, other, places);
    ASSERT_TRUE(splice);
    const Bytes result = written(*splice);
    const auto first = static_cast<std::size_t>(description.raw.pieces[order[0]].data.offset);
    EXPECT_EQ(part(result, first, first + 13), (Bytes{1, 1, 1, 1, 1, 9, 9, 9, 1, 1, 1, 1, 1}));
}

} // namespace
} // namespace test
