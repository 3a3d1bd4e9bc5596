#include "report/Html.h"

#include "faults/Limits.h"
#include "host/report/Records.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace plate_mend::host {
namespace {

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20U;

/// Records with entries and pictures of usual sizes: 160 MB of pictures.
void add_records(HtmlReport& report) {
    for (std::uint32_t number = 0; number < 2000; ++number) {
        Record record = test::full_record();
        record.damaged.path = "card/" + std::to_string(number) + ".arw";
        record.picture = std::string(80'000, 'x') + std::to_string(number);
        report.add(record);
    }
}

TEST(SheetOfThousands, TakesLittleMemory) {
    if (!test::AddressSpaceLimit::is_possible()) {
        GTEST_SKIP() << "the runtime of a sanitizer takes memory without end";
    }
    const test::TempDir folder;
    const Protected inputs;
    const std::filesystem::path page = folder / "sheet.html";
    {
        const test::PrivateMemoryLimit limit(8 * kMebibyte);
        HtmlReport report(OutputFile(page, false), SheetPictures(page, inputs, false), "");
        add_records(report);
        report.close();
    }
    EXPECT_LT(std::filesystem::file_size(page), 10 * kMebibyte);
    std::size_t pictures = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder / "sheet_files")) {
        ++pictures;
    }
    EXPECT_EQ(pictures, 2000U);
}

} // namespace
} // namespace plate_mend::host
