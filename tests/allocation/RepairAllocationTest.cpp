#include "allocation/FailingAllocation.h"

#include "ORF/OrfRepair.h"
#include "SR2/Sr2Repair.h"
#include "support/LogRecord.h"
#include "support/OrfPhoto.h"
#include "support/QuietErrors.h"
#include "support/SmallPair.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"
#include "support/oracle/Oracle.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <optional>

namespace test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::Field;
using ::testing::Ge;
using ::testing::Le;

/// What a repair ended in: its code, and its last log line.
struct Outcome {
    std::int32_t code = 0;
    LogLine line;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << outcome.code << ' ' << outcome.line;
}

::testing::Matcher<const Outcome&> EndsIn(std::int32_t code, const ::testing::Matcher<const LogLine&>& line) {
    return AllOf(Field("code", &Outcome::code, code), Field("line", &Outcome::line, line));
}

/// Repairs the same two files again and again, with one allocation after the other failing.
class RepairAllocation : public ::testing::Test {
  protected:
    RepairAllocation() {
        MndRawInit(utf8(folder.path()).c_str(), utf8(folder.path()).c_str(), utf8(folder.path()).c_str());
    }

    /// The outcomes of all repairs that did not throw. The exception of an allocation outside the guarded
    /// stages leaves the repair. The last repair, with no failure left, must succeed.
    template <typename Repair>
    std::vector<Outcome> outcomes(const Bytes& damaged, const Bytes& sample) {
        write_file(folder / "damaged", damaged);
        write_file(folder / "sample", sample);
        const std::string damaged_path = utf8(folder / "damaged");
        const std::string sample_path = utf8(folder / "sample");
        const std::string output_path = utf8(folder / "output");
        std::vector<Outcome> all;
        for (std::size_t number = 1;; ++number) {
            reset_stand_ins();
            std::optional<std::int32_t> code;
            try {
                const FailingAllocation failing(number);
                Repair repair;
                code = repair.AdvanceRepair(damaged_path.c_str(), sample_path.c_str(), output_path.c_str());
            } catch (const std::bad_alloc&) {
                code = std::nullopt;
            }
            if (!FailingAllocation::has_failed()) {
                EXPECT_EQ(code, 0);
                EXPECT_GT(number, 20U); // Else next to nothing was tried.
                return all;
            }
            if (code) {
                all.push_back({*code, logged_lines().empty() ? LogLine{} : logged_lines().back()});
            }
        }
    }

    TempDir folder;
};

TEST_F(RepairAllocation, OrfRepairEndsInItsCodes) {
    const auto line = [](const std::string& text) {
        return ErrorLine("src/ORF/OrfRepair.cpp", "OrfRepair::AdvanceRepair", text);
    };
    const std::vector<Outcome> all =
        outcomes<plate_mend::OrfRepair>(make_orf({.scene = 2}).bytes, make_orf({.scene = 1}).bytes);
    EXPECT_THAT(all, Each(Field("code", &Outcome::code, AllOf(Ge(-1147), Le(-1141)))));
    EXPECT_THAT(all, Contains(EndsIn(-1147, line("sample catch exception is std::bad_alloc"))));
    EXPECT_THAT(all, Contains(EndsIn(-1147, line("corrupt file error: std::bad_alloc"))));
    EXPECT_THAT(all, Contains(EndsIn(-1146, line("orf merge data error is std::bad_alloc"))));
}

TEST_F(RepairAllocation, Sr2RepairEndsInItsCodes) {
    const auto line = [](const std::string& text) {
        return ErrorLine("src/SR2/Sr2Repair.cpp", "Sr2Repair::AdvanceRepair", text);
    };
    const std::vector<Outcome> all =
        outcomes<plate_mend::Sr2Repair>(make_sr2({.scene = 2}).bytes, make_sr2({.scene = 1}).bytes);
    EXPECT_THAT(all, Each(Field("code", &Outcome::code, AllOf(Ge(-1136), Le(-1131)))));
    EXPECT_THAT(all, Contains(EndsIn(-1136, line("sample catch exception is std::bad_alloc"))));
    // In the damaged stage the cause is not logged, and only the code differs from that of an offset.
    EXPECT_THAT(all, Contains(EndsIn(-1136, line("corrupt file offset is far"))));
    EXPECT_THAT(all, Contains(EndsIn(-1135, line("sr2  merge data error: std::bad_alloc"))));
}

/// All formats, with small pairs. The codes are those of a repair whose input is there and whose working copy
/// opens; and of a working copy that does not, as a stream takes a failed allocation for a failure of its
/// own.
class AnyRepairAllocation : public ::testing::TestWithParam<SmallPair> {
  private:
    QuietErrors quiet_; // One repairer reports it there.
};

TEST_P(AnyRepairAllocation, EndsInACodeOrReachesTheCallerAndHarmsNothing) {
    const SmallPair& pair = GetParam();
    const oracle::Format& format = oracle::format_of(pair.extension);
    const TempDir folder;
    const std::string work = utf8(folder.path());
    const std::string sample = utf8(folder / "sample");
    const std::string damaged = utf8(folder / ("damaged." + std::string(pair.extension)));
    const std::string output = utf8(folder / "output");
    MndRawInit(work.c_str(), work.c_str(), work.c_str());
    write_file(folder / "sample", pair.sample);
    write_file(damaged, pair.damaged);
    for (std::size_t number = 1;; ++number) {
        reset_stand_ins();
        std::optional<std::int32_t> code;
        try {
            const FailingAllocation failing(number);
            code = MndRawAdvanceRepair(damaged.c_str(), sample.c_str(), output.c_str());
        } catch (const std::bad_alloc&) {
            code = std::nullopt;
        }
        ASSERT_EQ(read_file(folder / "sample"), pair.sample) << "allocation " << number;
        ASSERT_EQ(read_file(damaged), pair.damaged) << "allocation " << number;
        if (!FailingAllocation::has_failed()) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(read_file(output), *format.repaired(pair.sample, pair.damaged));
            EXPECT_GT(number, 20U); // Else next to nothing was tried.
            return;
        }
        if (code && *code != 0) {
            ASSERT_THAT(*code, AllOf(Ge(format.lowest_code), Le(format.highest_code + 1)))
                << "allocation " << number;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, AnyRepairAllocation, ::testing::ValuesIn(small_pairs()),
                         [](const auto& pair) { return pair.param.name; });

} // namespace
} // namespace test
