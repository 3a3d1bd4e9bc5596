#include "report/Html.h"

#include "host/report/Records.h"
#include "support/Jpeg.h"
#include "support/Scene.h"

#include <array>
#include <cstdlib>
#include <iostream>

// Writes a contact sheet for the test in a browser: sheet_maker FILE COUNT.

namespace {

using namespace plate_mend::host;

std::string picture(std::uint32_t number, unsigned width, unsigned height) {
    const test::Bytes jpeg = test::make_preview(test::Scene(number), width, height);
    return {jpeg.begin(), jpeg.end()};
}

/// One of a few pictures, some of them upright: to make one takes its time.
const std::string& picture(std::uint32_t number) {
    static const std::array<std::string, 5> kPictures = {picture(0, 480, 320), picture(1, 240, 360),
                                                         picture(2, 480, 320), picture(3, 480, 320),
                                                         picture(4, 480, 270)};
    return kPictures.at(number % kPictures.size());
}

std::string name(std::uint32_t number) {
    return "card/DCIM/IMG_" + std::to_string(9 + number) + ".ARW";
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
    record.attempts[0].judgement.data_errors = 0;
    record.picture = picture(number);
    return record;
}

Record partial(std::uint32_t number) {
    Record record = whole(number);
    record.verdict = Verdict::kPartial;
    record.attempts = test::full_record().attempts;
    record.attempts[1].judgement.rows_good = 0.5 + 0.04 * (number % 10);
    return record;
}

Record preview_only(std::uint32_t number) {
    Record record = whole(number);
    record.verdict = Verdict::kPreviewOnly;
    record.raw.reset();
    record.attempts = {test::full_record().attempts[0]};
    record.jpeg = file("out/IMG_" + std::to_string(9 + number) + ".salvaged.jpg", 812'345, 'c');
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
    record.damaged.path = "card/<img src=x onerror=document.title='run'>.arw";
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
        return number == 7 ? evil(number) : whole(number);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: sheet_maker FILE COUNT\n";
        return EXIT_FAILURE;
    }
    try {
        HtmlReport report(plate_mend::host::OutputFile(argv[1], true), "plate-mend, 2026-05-01 12:30");
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
