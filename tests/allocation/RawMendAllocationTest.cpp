#include "allocation/FailingAllocation.h"

#include "support/ArwPhoto.h"
#include "support/DngPhoto.h"
#include "support/TempDir.h"

#include <raw_mend/raw_mend.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;

/// A damaged file and a sample by what their repair does.
struct Case {
    std::string name;
    Bytes damaged;
    Bytes sample;
    std::int32_t result;
};

std::ostream& operator<<(std::ostream& stream, const Case& repair) {
    return stream << repair.name;
}

std::vector<Case> cases() {
    const DngPhoto photo({.width = 128, .height = 64});
    const Bytes sample = DngPhoto({.number = 2, .width = 128, .height = 64}).bytes;
    const ArwPhoto rows({.width = 640, .height = 240});
    return {
        {"CodedPieces", zeroed(photo.bytes, 0, photo.tile_offsets[0]), sample, RAW_MEND_OK},
        {"OwnTables", joined(noise(100, 1), photo.bytes), sample, RAW_MEND_OK},
        {"Rows", joined(noise(100, 1), zeroed(rows.bytes, 0, rows.image_offset)),
         ArwPhoto({.number = 2, .width = 640, .height = 240}).bytes, RAW_MEND_OK},
        {"Nothing", noise(5000, 1), sample, RAW_MEND_NOT_FOUND},
        {"NoPhotograph", photo.bytes, noise(5000, 1), RAW_MEND_SAMPLE_NOT_UNDERSTOOD},
    };
}

/// Repairs the same file again and again, with one allocation after the other failing.
class RawMendAllocation : public ::testing::TestWithParam<Case> {
  protected:
    RawMendAllocation() {
        write_file(folder / "damaged", GetParam().damaged);
        write_file(folder / "sample", GetParam().sample);
    }

    [[nodiscard]] std::int32_t repair() {
        const char* const samples[] = {sample.c_str()};
        return RawMendRepair(damaged.c_str(), samples, 1, output.c_str(), &report);
    }

    TempDir folder;
    const std::string damaged = utf8(folder / "damaged");
    const std::string sample = utf8(folder / "sample");
    const std::string output = utf8(folder / "output");
    RawMendReport report{};
};

TEST_P(RawMendAllocation, FailureIsReportedAndLeavesNothing) {
    std::size_t failures = 0;
    for (std::size_t number = 1;; ++number) {
        std::int32_t code = 0;
        {
            const FailingAllocation failing(number);
            code = repair();
        }
        if (!FailingAllocation::has_failed()) {
            EXPECT_EQ(code, GetParam().result);
            break;
        }
        ++failures;
        ASSERT_EQ(code, RAW_MEND_NO_MEMORY) << "allocation " << number;
        ASSERT_FALSE(fs::exists(folder / "output")) << "allocation " << number;
        ASSERT_EQ(report.size, 0U) << "allocation " << number;
    }
    EXPECT_GT(failures, 5U); // Else next to nothing was tried.
    EXPECT_EQ(fs::exists(folder / "output"), GetParam().result == RAW_MEND_OK);
}

TEST_P(RawMendAllocation, FailureToListPicturesIsReported) {
    for (std::size_t number = 1;; ++number) {
        std::uint32_t count = 77;
        std::int32_t code = 0;
        {
            const FailingAllocation failing(number);
            code = RawMendPictures(sample.c_str(), nullptr, 0, &count);
        }
        if (!FailingAllocation::has_failed()) {
            break;
        }
        ASSERT_EQ(code, RAW_MEND_NO_MEMORY) << "allocation " << number;
        ASSERT_EQ(count, 0U) << "allocation " << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, RawMendAllocation, ::testing::ValuesIn(cases()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
