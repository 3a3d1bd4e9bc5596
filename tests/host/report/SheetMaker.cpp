#include "report/Html.h"

#include "host/report/Records.h"
#include "support/Jpeg.h"
#include "support/Scene.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

// Writes a contact sheet for the tests in a browser, and the JPEGs that it names: sheet_maker FILE COUNT.

namespace {

using namespace plate_mend::host;

std::string picture(std::uint32_t number, unsigned width, unsigned height) {
    const test::Bytes jpeg = test::make_preview(test::Scene(number), width, height);
    return {jpeg.begin(), jpeg.end()};
}

/// One of a few pictures, some of them upright: to make one takes its time. Each file's is different in what
/// follows its end.
std::string picture(std::uint32_t number) {
    static const std::array<std::string, 5> kPictures = {picture(0, 480, 320), picture(1, 240, 360),
                                                         picture(2, 480, 320), picture(3, 480, 320),
                                                         picture(4, 480, 270)};
    return kPictures.at(number % kPictures.size()) + std::to_string(number);
}

/// A thousand per folder.
std::string name(std::uint32_t number) {
    return "card/DCIM/" + std::to_string(100 + number / 1000) + "/IMG_" + std::to_string(9 + number) + ".ARW";
}

FileIdentity file(const std::string& path, std::uint64_t size, char digit) {
    return {path, size, std::string(64, digit)};
}

Record whole(std::uint32_t number) {
    Record record = test::full_record();
    record.verdict = Verdict::kWhole;
    record.damaged = file(name(number), 24'500'000 + number * 10'007ULL, 'a');
    record.raw = file("out/IMG_" + std::to_string(9 + number) + ".repaired.ARW", 24'400'000, 'b');
    record.jpeg.reset();
    record.salvage = {};
    record.attempts.erase(record.attempts.begin());
    record.attempts[0].judgement.findings.clear();
    record.attempts[0].judgement.rows_good = 1;
    record.attempts[0].judgement.pixels_good = 1;
    record.attempts[0].judgement.data_errors = 0;
    record.attempts[0].image->lost.clear();
    record.attempts[0].image->doubtful.clear();
    record.mask.reset();
    record.unreadable.clear();
    record.picture = picture(number);
    record.sample_picture = picture(3);
    return record;
}

/// A JPEG that the page shows from its own file.
FileIdentity jpeg(std::uint32_t number) {
    const std::string path = "out/IMG_" + std::to_string(9 + number) + ".salvaged.jpg";
    std::filesystem::create_directories("out");
    const std::string bytes = picture(number);
    std::ofstream(path, std::ios::binary) << bytes;
    return file(path, bytes.size(), 'c');
}

Record partial(std::uint32_t number) {
    Record record = whole(number);
    record.verdict = Verdict::kPartial;
    record.attempts = test::full_record().attempts;
    record.attempts[1].image->lost.push_back({2000, 1500, 900, 240});
    record.unreadable = test::full_record().unreadable;
    record.mask = test::full_record().mask;
    record.attempts[1].judgement.pixels_good = 0.5 + 0.04 * (number % 10);
    record.jpeg = jpeg(number);
    return record;
}

Record preview_only(std::uint32_t number) {
    Record record = whole(number);
    record.verdict = Verdict::kPreviewOnly;
    record.raw.reset();
    record.attempts = {test::full_record().attempts[0]};
    record.sample_picture.clear();
    record.jpeg = jpeg(number);
    record.salvage = {.code = 0,
                      .problem = "",
                      .width = 1616,
                      .height = 1080,
                      .blocks = 6868,
                      .blocks_own = 6868,
                      .blocks_coarse = 0,
                      .blocks_guessed = 2,
                      .first_bad_byte = 4711,
                      .warnings = 32};
    return record;
}

Record lost(std::uint32_t number) {
    Record record = test::small_record(name(number), Verdict::kNotRepaired);
    record.damaged = file(name(number), 4096ULL * number, 'd');
    record.attempts = {test::full_record().attempts[0]};
    record.attempts[0].code = -1124;
    record.salvage.code = -2;
    return record;
}

Record evil(std::uint32_t number) {
    Record record = lost(number);
    constexpr std::array kNames = {"<img src=x onerror=document.title='run'>.arw",
                                   R"("onmouseover="document.title='run'" x=".arw)",
                                   "javascript:document.title='run'", "a#b?c%41 \xC3\xA4 'q'.arw"};
    record.damaged.path = std::string("card/DCIM/100/") + kNames.at(number / 8 % kNames.size());
    return record;
}

Record record_of(std::uint32_t number) {
    switch (number % 8) {
    case 2:
        return partial(number);
    case 4:
        return preview_only(number);
    case 6:
        return lost(number);
    default:
        return number % 8 == 7 && number < 32 ? evil(number) : whole(number);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: sheet_maker FILE COUNT\n";
        return EXIT_FAILURE;
    }
    try {
        const std::filesystem::path page = std::filesystem::absolute(argv[1]);
        std::filesystem::current_path(page.parent_path()); // All names in the page are relative to it.
        const Protected none;
        HtmlReport report(OutputFile(page, true), SheetPictures(page, none, true),
                          "plate-mend, 2026-05-01 12:30");
        const auto count = static_cast<std::uint32_t>(std::stoul(argv[2]));
        for (std::uint32_t number = 0; number < count; ++number) {
            report.add(record_of(number));
        }
        report.close();
        return EXIT_SUCCESS;
    } catch (const std::exception& e) {
        std::cerr << "sheet_maker: " << e.what() << '\n';
        return EXIT_FAILURE;
    }
}
