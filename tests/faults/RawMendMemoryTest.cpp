#include "faults/Limits.h"
#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/LosslessJpeg.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"

#include <raw_mend/raw_mend.h>

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

// Whatever a damaged file and a sample say, a repair needs less than 64 MiB of private memory.

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
constexpr std::size_t kMost = 64 * kMebibyte;
constexpr std::size_t kLarge = 100 * kMebibyte; ///< Bytes of a file that would exceed this if it were copied.

/// The bytes again and again.
Bytes repeated(const Bytes& bytes, std::size_t size) {
    Bytes all;
    all.reserve(size + bytes.size());
    while (all.size() < size) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

class RawMendMemory : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!AddressSpaceLimit::is_possible()) {
            GTEST_SKIP() << "a sanitizer needs more memory";
        }
    }

    /// What a repair returns that gets this much private memory, in a process of its own. 1 if that died.
    [[nodiscard]] std::int32_t result_within(std::size_t bytes) const {
        ::malloc_trim(0); // What the process has to spare does not count.
        const int status = status_of_child([&] {
            const PrivateMemoryLimit limit(bytes);
            const std::string good = utf8(sample);
            const char* const samples[] = {good.c_str()};
            ::_exit(-RawMendRepair(utf8(damaged).c_str(), samples, 1, utf8(output).c_str(), nullptr));
        });
        return WIFEXITED(status) ? -WEXITSTATUS(status) : 1;
    }

    /// Repairs one file with another in less than kMost, whatever comes of it.
    void expect_little(const Bytes& damaged_bytes, const Bytes& sample_bytes) const {
        write_file(damaged, damaged_bytes);
        write_file(sample, sample_bytes);
        const std::int32_t result = result_within(kMost);
        EXPECT_NE(result, RAW_MEND_NO_MEMORY);
        EXPECT_NE(result, RAW_MEND_INTERNAL);
        EXPECT_LE(result, 0) << "the process died";
        fs::remove(output);
    }

    /// The same with a hostile file in either role.
    void expect_little_in_each_role(const Bytes& hostile) const {
        expect_little(hostile, DngPhoto({.number = 2}).bytes);
        expect_little(hostile, ArwPhoto({.number = 2}).bytes);
        expect_little(DngPhoto().bytes, hostile);
        expect_little(hostile, hostile);
    }

    TempDir folder{quick_folder()};
    const fs::path damaged = folder / "damaged";
    const fs::path sample = folder / "sample";
    const fs::path output = folder / "output";
};

TEST_F(RawMendMemory, IsLittleWhereThereIsNoImage) {
    const Bytes dng = DngPhoto({.number = 2}).bytes;
    const Bytes arw = ArwPhoto({.number = 2}).bytes;
    for (const Bytes& large : {noise(kLarge, 1), Bytes(kLarge), repeated({0xFF, 0xD8}, kLarge)}) {
        expect_little(large, dng);
        expect_little(large, arw);
    }
}

TEST_F(RawMendMemory, IsLittleForALargePhotograph) {
    const DngPhoto photo;
    const Bytes moved = joined(Bytes(kLarge), zeroed(photo.bytes, 0, photo.tile_offsets[0]));
    expect_little(moved, DngPhoto({.number = 2}).bytes);
    expect_little(joined(photo.bytes, Bytes(kLarge)), DngPhoto({.number = 2}).bytes);
}

TEST_F(RawMendMemory, IsLittleForFloodsOfHeads) {
    const Bytes stream = lossless_jpeg(std::vector<std::uint16_t>(std::size_t{16} * 16, 1000), 16, 16);
    const Bytes dng =
        DngPhoto({.number = 2, .width = 32, .height = 16, .tile_width = 16, .tile_height = 16}).bytes;
    expect_little(repeated(stream, kLarge), dng);
    expect_little(repeated(part(stream, 0, stream.size() - 20), kLarge), dng);
    expect_little(repeated({0xFF, 0xDA, 0, 3, 0, 1, 2, 3}, kLarge), dng);
    expect_little(repeated({'I', 'I', '*', 0, 8, 0, 0, 0}, kLarge), dng);
}

/// A file that begins with a TIFF header, whose first directory is after it.
Bytes large_tiff(std::size_t size = kLarge) {
    Bytes bytes(size);
    put_text(bytes, 0, std::string_view("II*\0\x08\0\0\0", 8));
    return bytes;
}

void put_directory(Bytes& bytes, std::size_t at, const std::vector<Bytes>& entries, std::uint32_t next) {
    put_u16(bytes, at, static_cast<std::uint16_t>(entries.size()), ByteOrder::kLittle);
    at += 2;
    for (const Bytes& entry : entries) {
        put_bytes(bytes, at, entry);
        at += entry.size();
    }
    put_u32(bytes, at, next, ByteOrder::kLittle);
}

/// Entries of an image of 65,535 squared whose tiles are listed in two tables.
std::vector<Bytes> tiled_entries(std::uint32_t count, std::uint32_t offsets, std::uint32_t lengths) {
    return {entry_bytes(256, 4, 1, 65535),      entry_bytes(257, 4, 1, 65535),
            entry_bytes(258, 3, 1, 16),         entry_bytes(259, 3, 1, 7),
            entry_bytes(262, 3, 1, 32803),      entry_bytes(322, 4, 1, 1),
            entry_bytes(323, 4, 1, 1),          entry_bytes(324, 4, count, offsets),
            entry_bytes(325, 4, count, lengths)};
}

TEST_F(RawMendMemory, IsLittleForAnImageOfThousandsOfTiles) {
    const auto make = [](unsigned number) {
        return DngPhoto({.number = number, .width = 2048, .height = 1024, .tile_width = 8, .tile_height = 8});
    };
    const DngPhoto photo = make(1);
    ASSERT_EQ(photo.tiles(), 32768U);
    const Bytes other = make(2).bytes;
    const std::size_t image = photo.tile_offsets[0];
    for (const Bytes& file : {joined(noise(1000, 1), photo.bytes), zeroed(photo.bytes, 0, image),
                              zeroed(photo.bytes, 0, image + 1000)}) {
        expect_little(file, other);
        EXPECT_EQ(result_within(kMost), RAW_MEND_OK);
        fs::remove(output);
        EXPECT_EQ(result_within(kMebibyte), RAW_MEND_NO_MEMORY) << "The control: the limit is one.";
    }
}

/// Every second tile is lost, so that no two of them make one area.
TEST_F(RawMendMemory, IsLittleForThousandsOfLostAreas) {
    const auto make = [](unsigned number) {
        return DngPhoto({.number = number, .width = 2048, .height = 512, .tile_width = 8, .tile_height = 8});
    };
    const DngPhoto photo = make(1);
    Bytes bytes = zeroed(photo.bytes, 0, photo.tile_offsets[0]);
    for (std::size_t tile = 1; tile + 1 < photo.tiles(); tile += 2) {
        bytes = zeroed(std::move(bytes), photo.tile_offsets[tile],
                       photo.tile_offsets[tile] + photo.tile_byte_counts[tile]);
    }
    expect_little(bytes, make(2).bytes);
}

TEST_F(RawMendMemory, IsLittleForCountlessTiles) {
    Bytes bytes = large_tiff();
    put_directory(bytes, 8, tiled_entries(0xFFFFFFFF, 1000, 2000), 0);
    expect_little_in_each_role(bytes);
    constexpr std::uint32_t kTables = 4096;
    for (const std::uint32_t count : {65536U, (1U << 20U) * 10}) {
        put_directory(bytes, 8, tiled_entries(count, kTables, kTables + 4 * count), 0);
        for (std::uint32_t tile = 0; tile < count; ++tile) {
            const std::size_t at = kTables + std::size_t{4} * tile;
            put_u32(bytes, at, static_cast<std::uint32_t>(kLarge) - 2 * count + 2 * tile, ByteOrder::kLittle);
            put_u32(bytes, at + std::size_t{4} * count, 2, ByteOrder::kLittle);
        }
        expect_little_in_each_role(bytes);
        // The same as rows.
        put_directory(bytes, 8,
                      {entry_bytes(256, 4, 1, 65535), entry_bytes(257, 4, 1, 65535),
                       entry_bytes(258, 3, 1, 8), entry_bytes(259, 3, 1, 1), entry_bytes(262, 3, 1, 32803),
                       entry_bytes(273, 4, count, kTables), entry_bytes(278, 4, 1, 1),
                       entry_bytes(279, 4, count, kTables + 4 * count)},
                      0);
        expect_little_in_each_role(bytes);
    }
}

TEST_F(RawMendMemory, IsLittleForCountlessDirectories) {
    Bytes bytes = large_tiff();
    for (std::size_t at = 8; at + 64 < kLarge; at += 18) {
        put_directory(bytes, at, {entry_bytes(271, 2, 1000, static_cast<std::uint32_t>(at))},
                      static_cast<std::uint32_t>(at + 18));
    }
    expect_little_in_each_role(bytes);
    // Directories of 65,535 entries, each of which has its value elsewhere; then one that leads to itself.
    bytes = large_tiff();
    std::size_t at = 8;
    constexpr std::size_t kLength = 2 + std::size_t{65535} * 12 + 4;
    for (; at + kLength < kLarge; at += kLength) {
        const std::vector<Bytes> entries(65535, entry_bytes(700, 1, 100, 4096));
        put_directory(bytes, at, entries, static_cast<std::uint32_t>(at + kLength));
    }
    put_directory(bytes, at, {entry_bytes(330, 4, 1, 8)}, static_cast<std::uint32_t>(at));
    expect_little_in_each_role(bytes);
}

TEST_F(RawMendMemory, IsLittleForCountlessBoxes) {
    Bytes bytes(kLarge);
    for (std::size_t at = 0; at + 8 <= kLarge; at += 8) {
        put_u32(bytes, at, 8, ByteOrder::kBig);
        put_text(bytes, at + 4, at == 0 ? "ftyp" : "moov");
    }
    expect_little_in_each_role(bytes);
    // One track with a table of sizes that fills the file.
    const Cr3Photo photo;
    bytes = part(photo.bytes, 0, photo.at("trak3/stsz"));
    const std::size_t stsz = bytes.size();
    bytes.resize(kLarge);
    put_u32(bytes, stsz, static_cast<std::uint32_t>(kLarge - stsz), ByteOrder::kBig);
    put_text(bytes, stsz + 4, "stsz");
    put_u32(bytes, stsz + 16, static_cast<std::uint32_t>((kLarge - stsz - 20) / 4), ByteOrder::kBig);
    expect_little_in_each_role(bytes);
}

} // namespace
} // namespace test
