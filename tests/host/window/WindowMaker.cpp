#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/DngPhoto.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

// Writes damaged photographs and samples for the tests in a browser: window_maker FOLDER COUNT. FOLDER/card
// has COUNT photographs: most of them can be made whole, the third is lost, every fourth is truncated, and
// the fifth has lost a tile. FOLDER/good has a sample of each kind.

namespace {

namespace fs = std::filesystem;

/// Markup, where the system allows it in names.
constexpr const char* kHostile = "<img src=x onerror=document.title='run'>.arw";

/// Without its last rows.
test::Bytes truncated(const test::Bytes& bytes) {
    return test::part(bytes, 0, bytes.size() - std::size_t{160} * 2 * 30);
}

test::DngPhoto tiled(unsigned number) {
    return test::DngPhoto(
        {.number = number, .width = 960, .height = 640, .tile_width = 160, .tile_height = 128});
}

/// Without its head and a tile in the middle.
test::Bytes without_a_tile(const test::DngPhoto& photo) {
    constexpr std::size_t kLost = 14;
    const std::size_t offset = photo.tile_offsets[kLost];
    return test::zeroed(test::zeroed(photo.bytes, 0, photo.tile_offsets[0]), offset,
                        offset + photo.tile_byte_counts[kLost]);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: window_maker FOLDER COUNT\n";
        return 64;
    }
    const fs::path folder = argv[1];
    const unsigned long count = std::strtoul(argv[2], nullptr, 10);
    const test::ArwPhoto sample(test::ArwPhoto::Options{.number = 1});
    const test::ArwPhoto original(test::ArwPhoto::Options{.number = 2});
    const test::Bytes damaged = test::zeroed(original.bytes, 0, original.strip_entries);
    fs::create_directories(folder / "card");
    fs::create_directories(folder / "good");
    test::write_file(folder / "good" / "IMG_0007.ARW", sample.bytes);
    constexpr unsigned long kTiled = 4;
    if (count > kTiled) {
        test::write_file(folder / "card" / "IMG_0005.DNG", without_a_tile(tiled(2)));
        test::write_file(folder / "good" / "IMG_0009.DNG", tiled(1).bytes);
    }
    for (unsigned long number = 0; number < count; ++number) {
        if (number == kTiled) {
            continue;
        }
        std::string digits = std::to_string(number + 1);
        digits.insert(0, 4 - std::min<std::size_t>(4, digits.size()), '0');
        const fs::path file =
            folder / "card" / (number == 1 ? std::string(kHostile) : "IMG_" + digits + ".ARW");
        test::write_file(file, number % 4 == 3 ? truncated(damaged)
                               : number == 2   ? test::Bytes(3000, 7)
                                               : damaged);
    }
    return 0;
}
