#include "RepairInput.h"
#include "SalvageInput.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/Jpeg.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Scene.h"
#include "support/SmallPair.h"
#include "support/Sr2Photo.h"

#include <cstdio>
#include <filesystem>
#include <string>

// Writes the seeds of all harnesses: FOLDER/HARNESS/NAME.

namespace {

namespace fs = std::filesystem;
using test::ByteOrder;
using test::Bytes;

void write_seed(const fs::path& folder, const std::string& harness, const std::string& name,
                const Bytes& bytes) {
    fs::create_directories(folder / harness);
    test::write_file(folder / harness / name, bytes);
}

Bytes bytes_of(const std::string& text) {
    return {text.begin(), text.end()};
}

/// The pairs with nothing but what a repair reads.
void write_small_pairs(const fs::path& folder) {
    for (const test::SmallPair& pair : test::small_pairs()) {
        write_seed(folder, std::string(pair.extension), "small_" + pair.name,
                   fuzz::join({pair.sample, pair.damaged}));
    }
}

/// Complete photographs, as small as possible; the second has lost its first bytes.
void write_photographs(const fs::path& folder) {
    const auto write_pair = [&folder](const std::string& format, const std::string& name, const Bytes& sample,
                                      const Bytes& damaged) {
        write_seed(folder, format, "photographs_" + name, fuzz::join({sample, test::zeroed(damaged, 0, 64)}));
        write_seed(folder, "raw_describe", format + "_" + name, sample);
        write_seed(folder, "raw_repair", format + "_" + name, fuzz::join({sample, damaged}));
    };
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const std::string name = order == ByteOrder::kLittle ? "II" : "MM";
        const auto arw = [order](unsigned number) {
            return test::ArwPhoto({.order = order,
                                   .number = number,
                                   .width = 8,
                                   .height = 8,
                                   .maker_notes = std::size_t{16} * number})
                .bytes;
        };
        const auto sr2 = [order](unsigned scene) {
            return test::make_sr2({.order = order,
                                   .scene = scene,
                                   .width = 8,
                                   .height = 8,
                                   .preview_width = 8,
                                   .preview_height = 8})
                .bytes;
        };
        const auto orf = [order](unsigned scene) {
            return test::make_orf({.order = order,
                                   .scene = scene,
                                   .width = 8,
                                   .height = 8,
                                   .preview_width = 8,
                                   .preview_height = 8})
                .bytes;
        };
        const auto dng = [order](unsigned number) {
            return test::DngPhoto({.order = order,
                                   .number = number,
                                   .width = 16,
                                   .height = 8,
                                   .tile_width = 8,
                                   .tile_height = 8,
                                   .private_data = std::size_t{16} * number})
                .bytes;
        };
        const auto cr2 = [order](unsigned number) {
            return test::Cr2Photo({.order = order,
                                   .number = number,
                                   .width = 8,
                                   .height = 8,
                                   .maker_notes = std::size_t{16} * number})
                .bytes;
        };
        const auto nef = [order](unsigned number) {
            return test::NefPhoto({.order = order,
                                   .number = number,
                                   .width = 8,
                                   .height = 8,
                                   .maker_notes = std::size_t{16} * number})
                .bytes;
        };
        write_pair("arw", name, arw(1), arw(2));
        write_pair("sr2", name, sr2(1), sr2(2));
        write_pair("orf", name, orf(1), orf(2));
        write_pair("dng", name, dng(1), dng(2));
        write_pair("cr2", name, cr2(1), cr2(2));
        write_pair("nef", name, nef(1), nef(2));
    }
    const auto raf = [](unsigned number) {
        return test::RafPhoto(
                   {.number = number, .width = 8, .height = 8, .maker_notes = std::size_t{16} * number})
            .bytes;
    };
    write_pair("raf", "II", raf(1), raf(2));
    write_pair("cr3", "tracks", test::Cr3Photo({.number = 1}).bytes, test::Cr3Photo({.number = 2}).bytes);
}

/// A progressive grey picture of 2080 x 2080 pixels with two blocks in four bytes, each 2047 brighter than
/// the one before.
Bytes growing_brightness() {
    Bytes file{0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    file.insert(file.end(), 64, 1);
    const Bytes frame{0xFF, 0xC2, 0, 11, 8, 0x08, 0x20, 0x08, 0x20, 1, 1, 0x11, 0};
    const Bytes table{0xFF, 0xC4, 0, 20, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 11};
    const Bytes scan{0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0, 0, 0x7F, 0xF7, 0xFF, 0x00, 0xFF, 0xD9};
    return test::joined(test::joined(file, frame), test::joined(table, scan));
}

/// A sample and a damaged photograph in which every way to find an image has enough to go by.
void write_raw_pairs(const fs::path& folder) {
    const auto write = [&folder](const std::string& name, const Bytes& sample, const Bytes& damaged) {
        write_seed(folder, "raw_repair", name, fuzz::join({sample, damaged}));
    };
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const std::string name = order == ByteOrder::kLittle ? "II" : "MM";
        const auto rows = [order](unsigned number) {
            return test::ArwPhoto(
                {.order = order, .number = number, .width = 64, .height = 64, .maker_notes = 16});
        };
        const auto tiles = [order](unsigned number) {
            return test::DngPhoto({.order = order,
                                   .number = number,
                                   .width = 32,
                                   .height = 16,
                                   .tile_width = 16,
                                   .tile_height = 16,
                                   .private_data = 16,
                                   .sub_previews = 1});
        };
        const test::ArwPhoto strip = rows(2);
        write("rows_" + name, rows(1).bytes, test::zeroed(strip.bytes, 0, strip.image_offset));
        write("rows_displaced_" + name, rows(1).bytes, test::joined(test::noise(100, 1), strip.bytes));
        const test::DngPhoto coded = tiles(2);
        const std::size_t second = coded.tile_offsets[1];
        write("tiles_" + name, tiles(1).bytes, test::zeroed(coded.bytes, 0, coded.tile_offsets[0]));
        write("tiles_one_lost_" + name, tiles(1).bytes, test::zeroed(coded.bytes, second, second + 64));
        write("tiles_displaced_" + name, tiles(1).bytes, test::joined(test::noise(100, 1), coded.bytes));
    }
}

void write_pictures(const fs::path& folder) {
    const auto write = [&folder](const std::string& name, const Bytes& file) {
        write_seed(folder, "still_mend", name, fuzz::repeating(file));
    };
    const Bytes picture = test::make_preview(test::Scene(1), 48, 32);
    const Bytes thumbnail = test::make_preview(test::Scene(1), 16, 8);
    write("picture", picture);
    write("cut", test::part(picture, 0, picture.size() * 2 / 3));
    write("headless", test::part(picture, 20, picture.size()));
    write("hole", test::zeroed(picture, picture.size() - 200, picture.size() - 150));
    write("two", test::joined(thumbnail, picture));
    write("arw", test::ArwPhoto({.width = 16, .height = 16, .maker_notes = 16}).bytes);
    write_seed(folder, "still_mend", "data_again_and_again",
               fuzz::repeating(picture, 6, picture.size() - 100, 50));
    const Bytes growing = growing_brightness();
    write_seed(folder, "still_mend", "growing_brightness",
               fuzz::repeating(growing, 16, growing.size() - 6, 4));
}

void write_paths(const fs::path& folder) {
    write_seed(folder, "utf8_path", "words",
               bytes_of("f\xC3\xBCr \xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x93\xB7.arw"));
    write_seed(
        folder, "utf8_path", "bounds",
        bytes_of("\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"));
    for (const std::string end : {"arw", "raw", "sr2", "raf", "dng", "cr2", "nef", "orf", "cr3", "jpg"}) {
        write_seed(folder, "extension", end, bytes_of("folder.d/Photo." + end));
    }
    write_seed(folder, "extension", "none", bytes_of("folder.arw/photo"));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 64;
    }
    try {
        const fs::path folder(argv[1]);
        write_small_pairs(folder);
        write_photographs(folder);
        write_raw_pairs(folder);
        write_pictures(folder);
        write_paths(folder);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
