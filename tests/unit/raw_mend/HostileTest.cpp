#include "Consistency.h"
#include "container/Describe.h"
#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

// Whatever the bytes are, describe() ends, throws nothing, and is true to them. What follows would take
// hours, or more memory than there is, if the work were not linear.

namespace raw_mend {
namespace {

using test::Bytes;

/// The photographs of all builders, in both byte orders where there are two.
const std::vector<Bytes>& photographs() {
    static const std::vector<Bytes> kAll = [] {
        std::vector<Bytes> all;
        for (const auto order : {test::ByteOrder::kLittle, test::ByteOrder::kBig}) {
            all.push_back(test::ArwPhoto({.order = order}).bytes);
            all.push_back(test::Cr2Photo({.order = order}).bytes);
            all.push_back(test::DngPhoto({.order = order}).bytes);
            all.push_back(test::NefPhoto({.order = order}).bytes);
            all.push_back(test::make_orf({.order = order}).bytes);
            all.push_back(test::make_sr2({.order = order}).bytes);
        }
        all.push_back(test::RafPhoto().bytes);
        all.push_back(test::Cr3Photo({.pictures = true}).bytes);
        return all;
    }();
    return kAll;
}

/// Where the tables of a photograph are: most of the bytes are image, in which a change changes nothing.
std::vector<std::size_t> table_offsets(const Bytes& bytes) {
    std::vector<std::size_t> offsets;
    const auto description = describe(bytes);
    for (const Extent& table : description->tables) {
        for (std::uint64_t at = table.offset; at < table.end(); ++at) {
            offsets.push_back(static_cast<std::size_t>(at));
        }
    }
    return offsets;
}

TEST(Hostile, TruncatedAtEveryByteOfTheTables) {
    for (const Bytes& photo : photographs()) {
        const std::size_t last = table_offsets(photo).back();
        // Fillers are long: all of the first bytes, then some.
        for (std::size_t size = 0; size <= last + 1; size += size < 1500 || size + 1500 > last ? 1 : 37) {
            const Bytes cut = test::part(photo, 0, size);
            ASSERT_NO_THROW(expect_consistent(cut, describe(cut))) << size;
        }
    }
}

TEST(Hostile, FlippedBytes) {
    std::mt19937 random(20);
    for (const Bytes& photo : photographs()) {
        const auto tables = table_offsets(photo);
        for (unsigned trial = 0; trial < 300; ++trial) {
            Bytes bytes = photo;
            for (unsigned flip = 0; flip <= trial % 8; ++flip) {
                bytes[tables[random() % tables.size()]] = static_cast<unsigned char>(random());
            }
            ASSERT_NO_THROW(expect_consistent(bytes, describe(bytes))) << trial;
        }
    }
}

TEST(Hostile, NumbersOfTablesReplacedByExtremes) {
    constexpr std::array<std::uint32_t, 8> kExtremes{0,          1,          7,          8,
                                                     0x7FFFFFFF, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFF};
    std::mt19937 random(21);
    for (const Bytes& photo : photographs()) {
        auto tables = table_offsets(photo);
        std::erase_if(tables, [&](std::size_t at) { return at + 4 > photo.size(); });
        for (unsigned trial = 0; trial < 200; ++trial) {
            Bytes bytes = photo;
            for (unsigned change = 0; change <= trial % 3; ++change) {
                test::put_u32(bytes, tables[random() % tables.size()], kExtremes[random() % kExtremes.size()],
                              random() % 2 == 0 ? test::ByteOrder::kLittle : test::ByteOrder::kBig);
            }
            ASSERT_NO_THROW(expect_consistent(bytes, describe(bytes))) << trial;
        }
    }
}

TEST(Hostile, BytesLostAndPutIn) {
    std::mt19937 random(22);
    for (const Bytes& photo : photographs()) {
        const auto tables = table_offsets(photo);
        for (unsigned trial = 0; trial < 60; ++trial) {
            const std::size_t at = tables[random() % tables.size()];
            const std::size_t count = std::min<std::size_t>(1 + random() % 600, photo.size() - at);
            const Bytes lost =
                test::joined(test::part(photo, 0, at), test::part(photo, at + count, photo.size()));
            ASSERT_NO_THROW(expect_consistent(lost, describe(lost))) << trial;
            const Bytes put_in =
                test::joined(test::joined(test::part(photo, 0, at), test::noise(count, trial)),
                             test::part(photo, at, photo.size()));
            ASSERT_NO_THROW(expect_consistent(put_in, describe(put_in))) << trial;
        }
    }
}

TEST(Hostile, NoiseAfterAHeader) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        for (const std::string_view header :
             {std::string_view("II*\0\x08\0\0\0", 8), std::string_view("MM\0*\0\0\0\x08", 8),
              std::string_view("FUJIFILMCCD-RAW "),
              std::string_view("\0\0\0\x18"
                               "ftyp",
                               8)}) {
            Bytes bytes = test::noise(2000, seed);
            test::put_text(bytes, 0, header);
            ASSERT_NO_THROW(expect_consistent(bytes, describe(bytes))) << seed;
        }
    }
}

/// The bytes of one directory with these entries, which are in the entry or elsewhere already.
Bytes directory_bytes(const std::vector<Bytes>& entries, std::uint32_t next) {
    Bytes bytes = test::u16_bytes({static_cast<std::uint16_t>(entries.size())}, test::ByteOrder::kLittle);
    for (const Bytes& entry : entries) {
        bytes.insert(bytes.end(), entry.begin(), entry.end());
    }
    return test::joined(bytes, test::u32_bytes({next}, test::ByteOrder::kLittle));
}

constexpr std::size_t kLarge = std::size_t{4} << 20U;

/// A file that begins with a TIFF header and is filled up to kLarge bytes.
Bytes large_file(std::uint32_t first) {
    Bytes bytes(kLarge);
    test::put_text(bytes, 0, std::string_view("II*\0", 4));
    test::put_u32(bytes, 4, first, test::ByteOrder::kLittle);
    return bytes;
}

TEST(Hostile, FiftyThousandDirectoriesThatShareAnArray) {
    constexpr std::uint32_t kArray = std::uint32_t{3} << 20U;
    constexpr std::uint32_t kCount = (kLarge - kArray) / 4;
    Bytes bytes = large_file(8);
    std::uint32_t at = 8;
    for (unsigned index = 0; index < 50000; ++index) {
        const Bytes directory = directory_bytes({test::entry_bytes(273, 4, kCount, kArray),
                                                 test::entry_bytes(279, 4, kCount, kArray),
                                                 test::entry_bytes(330, 4, kCount, kArray)},
                                                at + 42);
        test::put_bytes(bytes, at, directory);
        at += 42;
    }
    const auto description = describe(bytes);
    ASSERT_TRUE(description);
    std::size_t pieces = description->raw.pieces.size();
    for (const Image& picture : description->pictures) {
        pieces += picture.pieces.size();
    }
    EXPECT_LE(pieces, kLarge / 4);
    EXPECT_LE(description->tables.size(), kLarge / 12);
}

TEST(Hostile, SubIfdsThatPointAtEachByteOfALargeDirectory) {
    constexpr std::uint32_t kArray = std::uint32_t{2} << 20U;
    Bytes bytes = large_file(8);
    constexpr std::uint32_t kCount = (kLarge - kArray) / 4;
    test::put_bytes(bytes, 8, directory_bytes({test::entry_bytes(330, 4, kCount, kArray)}, 0));
    // Wherever a directory is read from, it has 257 or 513 entries of type BYTE or SHORT.
    std::fill(bytes.begin() + 64, bytes.begin() + kArray, static_cast<unsigned char>(1));
    for (std::uint32_t index = 0; index < kCount; ++index) {
        test::put_u32(bytes, kArray + std::size_t{4} * index, 64 + index, test::ByteOrder::kLittle);
    }
    for (std::size_t at = 66; at + 2 < kArray; at += 2) { // Types of 0x0001.
        bytes[at] = 1;
        bytes[at + 1] = 0;
    }
    expect_consistent(bytes, describe(bytes));
}

TEST(Hostile, ALongChainOfDirectories) {
    Bytes bytes = large_file(8);
    for (std::uint32_t at = 8; at + 64 < kLarge; at += 18) {
        test::put_bytes(bytes, at, directory_bytes({test::entry_bytes(271, 2, 0xFFFFFF, at)}, at + 18));
    }
    const auto description = describe(bytes);
    ASSERT_TRUE(description);
    EXPECT_FALSE(description->not_understood.empty());
}

TEST(Hostile, NestedAndCountlessBoxes) {
    Bytes bytes(kLarge);
    for (std::size_t at = 0; at + 8 <= kLarge; at += 8) { // Boxes of nothing but a header.
        test::put_u32(bytes, at, 8, test::ByteOrder::kBig);
        test::put_text(bytes, at + 4, at % 24 == 0 ? "moov" : "uuid");
    }
    EXPECT_TRUE(describe(bytes));
    for (std::size_t at = 0; at + 8 <= kLarge; at += 8) { // Each in the one before.
        test::put_u32(bytes, at, static_cast<std::uint32_t>(kLarge - at), test::ByteOrder::kBig);
        test::put_text(bytes, at + 4, "moov");
    }
    EXPECT_TRUE(describe(bytes));
}

TEST(Hostile, ManyTracksThatStateManySamplesOfOneSize) {
    const test::Cr3Photo photo;
    const std::size_t track = photo.at("trak4") - photo.at("trak3");
    const std::size_t size_at = photo.at("trak3/stsz") - photo.at("trak3") + 12;
    const std::size_t runs_at = photo.at("trak3/stsc") - photo.at("trak3") + 20;
    Bytes one = test::part(photo.bytes, photo.at("trak3"), photo.at("trak4"));
    test::put_u32(one, size_at, 1, test::ByteOrder::kBig);
    test::put_u32(one, size_at + 4, 0xFFFFFFFF, test::ByteOrder::kBig);
    test::put_u32(one, runs_at, 0xFFFFFFFF, test::ByteOrder::kBig);
    Bytes bytes = test::part(photo.bytes, 0, photo.at("moov") + 8);
    for (unsigned index = 0; index < 2000; ++index) {
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    ASSERT_EQ(one.size(), track);
    test::put_u32(bytes, photo.at("moov"), static_cast<std::uint32_t>(bytes.size() - photo.at("moov")),
                  test::ByteOrder::kBig);
    const auto description = describe(bytes);
    ASSERT_TRUE(description);
    std::size_t pieces = description->raw.pieces.size();
    for (const Image& picture : description->pictures) {
        pieces += picture.pieces.size();
    }
    EXPECT_LE(pieces, bytes.size() / 8);
}

} // namespace
} // namespace raw_mend
