#include "Harness.h"
#include "SalvageInput.h"

#include "support/Jpeg.h"
#include "support/TempDir.h"

#include <still_mend/still_mend.h>

#include <sstream>

// The salvage of a picture from any file: the input is unchanged, the result is one that an existing input
// and a writable folder can have, a picture that was written decodes, and the report fits it.

namespace {

bool is_zero(const StillMendReport& report) {
    return report.width == 0 && report.height == 0 && report.mcu_count == 0 && report.own_mcu_count == 0 &&
           report.coarse_mcu_count == 0 && report.picture_offset == 0 && report.first_bad_byte == 0 &&
           report.warnings == 0 && report.guessed_mcu_count == 0;
}

std::string about_report(const StillMendReport& report, std::size_t file_size) {
    std::ostringstream text;
    if (report.width == 0 || report.height == 0 || report.mcu_count == 0 ||
        report.own_mcu_count + report.guessed_mcu_count > report.mcu_count ||
        report.coarse_mcu_count > report.own_mcu_count || report.picture_offset >= file_size ||
        (report.first_bad_byte != STILL_MEND_NO_BAD_BYTE && report.first_bad_byte > file_size) ||
        report.warnings > 2047) {
        text << "the report: " << report.width << " x " << report.height << ", " << report.own_mcu_count
             << " of " << report.mcu_count << " MCUs, " << report.guessed_mcu_count << " guessed, "
             << report.coarse_mcu_count << " coarse, from " << report.picture_offset << ", bad at "
             << report.first_bad_byte << ", warnings " << report.warnings;
    }
    return text.str();
}

/// The second half of the input is the sample, if there is to be one.
std::string complaint(const test::Bytes& file, bool has_sample, const std::filesystem::path& folder) {
    const std::filesystem::path damaged = folder / "damaged";
    const std::filesystem::path output = folder / "output.jpg";
    std::filesystem::remove(output);
    test::write_file(damaged, file);
    StillMendReport report;
    std::int32_t code = STILL_MEND_INTERNAL;
    if (has_sample) {
        const std::filesystem::path sample = folder / "sample";
        test::write_file(sample, test::part(file, file.size() / 2, file.size()));
        code = MndJpegSampleRepair(test::utf8(damaged).c_str(), test::utf8(sample).c_str(),
                                   test::utf8(output).c_str(), &report);
    } else {
        code = MndJpegGeneralRepairReport(test::utf8(damaged).c_str(), test::utf8(output).c_str(), &report);
    }
    if (test::read_file(damaged) != file) {
        return "the input has changed";
    }
    if (code == STILL_MEND_NOTHING_FOUND || (has_sample && code == STILL_MEND_SAMPLE_UNUSABLE)) {
        return std::filesystem::exists(output) || !is_zero(report)
                   ? "nothing was found, yet something is told"
                   : "";
    }
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        return "the code is " + std::to_string(code);
    }
    if (!test::jpeg_decodes(test::read_file(output))) {
        return "the picture does not decode";
    }
    return about_report(report, file.size());
}

} // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::TempDir folder(test::quick_folder());
    const test::Bytes file = fuzz::repeated_file(data, size);
    fuzz::stop_on(complaint(file, false, folder.path()));
    fuzz::stop_on(complaint(file, true, folder.path()));
    return 0;
}
