#include "support/ArwPhoto.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

// demo make FOLDER       writes sample.arw, original.arw and damaged.arw
// demo opens RAW         checks whether LibRaw opens the file and decodes its image; status 0 if so
// demo same RAW RAW      checks whether both decode to the same pixels; status 0 if so
// demo render RAW JPEG   renders the photograph
// demo beside DAMAGED REPAIRED JPEG
//                        draws the bytes of the damaged file beside the repaired photograph

namespace {

namespace fs = std::filesystem;

int make(const fs::path& folder) {
    using test::ArwPhoto;
    const ArwPhoto sample(
        ArwPhoto::Options{.number = 1, .width = 1920, .height = 1280, .maker_notes = 98304});
    const ArwPhoto original(
        ArwPhoto::Options{.number = 2, .width = 1920, .height = 1280, .maker_notes = 98304});
    const std::size_t lost = std::size_t{96} * 1024;
    fs::create_directories(folder);
    test::write_file(folder / "sample.arw", sample.bytes);
    test::write_file(folder / "original.arw", original.bytes);
    test::write_file(folder / "damaged.arw", test::zeroed(original.bytes, 0, lost));
    std::cout << "two photographs from one camera, " << original.bytes.size()
              << " bytes each; of the second, the first " << lost << " bytes are gone\n";
    return 0;
}

int opens(const fs::path& raw) {
    const auto picture = test::decode_raw(raw);
    std::cout << raw.filename().string() << ": ";
    if (!picture) {
        std::cout << "LibRaw does not open it\n";
        return 1;
    }
    std::cout << "LibRaw decodes " << picture->width << " x " << picture->height << " pixels, "
              << picture->errors << " data errors\n";
    return 0;
}

int same(const fs::path& first, const fs::path& second) {
    const auto picture = test::decode_raw(first);
    const bool equal = picture && picture == test::decode_raw(second);
    std::cout << first.filename().string() << " and " << second.filename().string()
              << (equal ? ": every pixel is the same\n" : ": the pixels differ\n");
    return equal ? 0 : 1;
}

int render(const fs::path& raw, const fs::path& jpeg) {
    const auto rendering = test::render_raw(raw);
    if (!rendering) {
        std::cout << raw.filename().string() << ": cannot be rendered\n";
        return 1;
    }
    test::write_file(jpeg, test::make_jpeg(rendering->rgb, rendering->width, rendering->height, 92));
    std::cout << "a picture of it: " << jpeg.string() << '\n';
    return 0;
}

/// Half the width and height, each pixel the mean of four.
test::Rendering halved(const test::Rendering& picture) {
    test::Rendering half{picture.width / 2, picture.height / 2, {}};
    const std::size_t row = std::size_t{picture.width} * 3;
    for (std::size_t y = 0; y < half.height; ++y) {
        for (std::size_t x = 0; x < std::size_t{half.width} * 3; ++x) {
            const std::size_t at = 2 * y * row + x / 3 * 6 + x % 3;
            const unsigned sum =
                picture.rgb[at] + picture.rgb[at + 3] + picture.rgb[at + row] + picture.rgb[at + row + 3];
            half.rgb.push_back(static_cast<unsigned char>(sum / 4));
        }
    }
    return half;
}

/// The bytes of a file as a grey picture: each row of it a row of the sensor. Of every two bytes the high one
/// is drawn, which holds six bits.
test::Rendering drawn_bytes(const test::Bytes& file, unsigned width, unsigned height, std::size_t row_bytes) {
    test::Rendering drawing{width, height, {}};
    const std::size_t rows = file.size() / row_bytes;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const std::size_t column = x * row_bytes / width / 4 * 4 + 3;
            const std::size_t row = y * rows / height / 2 * 2;
            const auto grey = static_cast<unsigned char>(std::min(255, 4 * file[row * row_bytes + column]));
            drawing.rgb.insert(drawing.rgb.end(), 3, grey);
        }
    }
    return drawing;
}

int beside(const fs::path& damaged, const fs::path& repaired, const fs::path& jpeg) {
    const auto decoded = test::decode_raw(repaired);
    const auto rendering = test::render_raw(repaired);
    if (!decoded || !rendering) {
        std::cout << repaired.filename().string() << ": cannot be rendered\n";
        return 1;
    }
    const test::Rendering after = halved(*rendering);
    const test::Rendering before = drawn_bytes(test::read_file(damaged), after.width, after.height,
                                               std::size_t{decoded->width} * sizeof(std::uint16_t));
    const std::size_t row = std::size_t{after.width} * 3;
    const unsigned gap = 8;
    std::vector<unsigned char> rgb;
    for (unsigned y = 0; y < after.height; ++y) {
        const auto at = static_cast<std::ptrdiff_t>(y * row);
        const auto end = at + static_cast<std::ptrdiff_t>(row);
        rgb.insert(rgb.end(), before.rgb.begin() + at, before.rgb.begin() + end);
        rgb.insert(rgb.end(), std::size_t{gap} * 3, 255);
        rgb.insert(rgb.end(), after.rgb.begin() + at, after.rgb.begin() + end);
    }
    test::write_file(jpeg, test::make_jpeg(rgb, 2 * after.width + gap, after.height, 80));
    std::cout << "before and after: " << jpeg.string() << '\n';
    return 0;
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() == 2 && arguments[0] == "make") {
        return make(arguments[1]);
    }
    if (arguments.size() == 2 && arguments[0] == "opens") {
        return opens(arguments[1]);
    }
    if (arguments.size() == 3 && arguments[0] == "same") {
        return same(arguments[1], arguments[2]);
    }
    if (arguments.size() == 3 && arguments[0] == "render") {
        return render(arguments[1], arguments[2]);
    }
    if (arguments.size() == 4 && arguments[0] == "beside") {
        return beside(arguments[1], arguments[2], arguments[3]);
    }
    std::cerr << "usage: demo make FOLDER | opens RAW | same RAW RAW | render RAW JPEG |\n"
                 "            beside DAMAGED REPAIRED JPEG\n";
    return 64;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& e) {
        std::cerr << "demo: " << e.what() << '\n';
        return 1;
    }
}
