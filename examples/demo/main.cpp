#include "support/ArwPhoto.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

// demo make FOLDER       writes sample.arw, original.arw and damaged.arw
// demo opens RAW         tells whether LibRaw opens the file and decodes its image; status 0 if so
// demo same RAW RAW      tells whether both decode to the same pixels; status 0 if so
// demo render RAW JPEG   writes a picture that a person can look at

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
    std::cerr << "usage: demo make FOLDER | opens RAW | same RAW RAW | render RAW JPEG\n";
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
