#include "allocation/FailingAllocation.h"

#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TempDir.h"
#include "unit/still_mend/JpegHabits.h"

#include <still_mend/still_mend.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>

#include <jpeglib.h>

namespace test {
namespace {

namespace fs = std::filesystem;

/// A damaged file by what its salvage does.
struct Damaged {
    std::string name;
    Bytes file;
    std::size_t got_over = 10; ///< Failures at most that libjpeg gets over by asking for less.
};

std::ostream& operator<<(std::ostream& stream, const Damaged& damaged) {
    return stream << damaged.name;
}

std::vector<Damaged> damaged_files() {
    const Bytes picture = make_preview(Scene(1), 64, 48);
    const Bytes sibling = make_preview(Scene(2), 48, 32);
    const std::size_t size = picture.size();
    const Bytes large = make_preview(Scene(1), 480, 320);
    const Bytes tables{0xFF, 0xDB};
    const auto quant = static_cast<std::size_t>(
        std::search(picture.begin(), picture.end(), tables.begin(), tables.end()) - picture.begin());
    const Pixels pixels = scene_pixels(1, 64, 48, 3);
    const Bytes progressive =
        encode(pixels, [](jpeg_compress_struct& info) { jpeg_simple_progression(&info); });
    const Bytes arithmetic = encode(pixels, [](jpeg_compress_struct& info) { info.arith_code = TRUE; });
    return {
        {"Copied", picture},
        {"CopiedWithSeveralScans", progressive},
        {"ReadByLibjpegAlone", part(arithmetic, 0, arithmetic.size() * 2 / 3), 15},
        {"Completed", part(picture, 0, size - 2)},
        {"CodedAnew", part(picture, 0, size * 2 / 3), 15},
        {"Resynchronised", zeroed(picture, size * 3 / 4, size * 3 / 4 + 16)},
        {"WithTheTablesOfASibling", joined(zeroed(picture, quant, quant + 8), sibling)},
        {"WithoutItsHeader", zeroed(large, 0, large.size() / 4)},
        {"OnlyAThumbnail", joined(noise(100, 1), picture)},
        {"WithoutAPicture", noise(2000, 2)},
    };
}

/// Salvages the same file again and again, with one allocation after the other failing.
class SalvageAllocation : public ::testing::TestWithParam<Damaged> {
  protected:
    [[nodiscard]] std::int32_t salvage() {
        return MndJpegGeneralRepairReport(input.c_str(), output.c_str(), &report);
    }

    /// What is in the folder beside the damaged file.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            if (entry.path().filename() != "damaged") {
                found.push_back(utf8(entry.path().filename()));
            }
        }
        return found;
    }

    TempDir folder;
    const std::string input = utf8(folder / "damaged");
    const std::string output = utf8(folder / "output");
    StillMendReport report{};
};

TEST_P(SalvageAllocation, FailureIsReportedAndLeavesTheOldOutput) {
    write_file(folder / "damaged", GetParam().file);
    const std::int32_t undisturbed = salvage();
    const bool delivers = undisturbed != STILL_MEND_NOTHING_FOUND;
    const Bytes wanted = delivers ? read_file(folder / "output") : Bytes{};
    ASSERT_TRUE(!delivers || jpeg_decodes(wanted));
    const Bytes old{1, 2, 3};
    const std::vector<std::string> only_output{"output"};
    std::size_t told = 0;
    for (std::size_t number = 1;; ++number) {
        write_file(folder / "output", old);
        std::int32_t code = 0;
        {
            const FailingAllocation failing(number);
            code = salvage();
        }
        ASSERT_EQ(read_file(folder / "damaged"), GetParam().file) << "allocation " << number;
        ASSERT_EQ(names(), only_output) << "allocation " << number;
        if (code == STILL_MEND_INTERNAL) {
            ASSERT_EQ(read_file(folder / "output"), old) << "allocation " << number;
            ASSERT_EQ(report.mcu_count, 0U) << "allocation " << number;
            ++told;
        } else { // No allocation failed, or libjpeg was content with less.
            ASSERT_EQ(code, undisturbed) << "allocation " << number;
            ASSERT_EQ(read_file(folder / "output"), delivers ? wanted : old) << "allocation " << number;
        }
        if (!FailingAllocation::has_failed()) {
            EXPECT_NE(code, STILL_MEND_INTERNAL);
            EXPECT_GT(told, 10U); // Else next to nothing was tried.
            EXPECT_LE(number - 1 - told, GetParam().got_over) << "few failures are got over";
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, SalvageAllocation, ::testing::ValuesIn(damaged_files()),
                         [](const auto& damaged) { return damaged.param.name; });

} // namespace
} // namespace test
