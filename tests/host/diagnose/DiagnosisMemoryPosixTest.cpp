#include "diagnose/Diagnosis.h"

#include "faults/Limits.h"
#include "host/Pairs.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// Files of nearly 2 GiB, most of which are a hole, and little memory.

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20U;
constexpr std::uint64_t kLargest = 2048 * kMebibyte - 1;

class LargeDiagnosis : public ::testing::TestWithParam<Format> {
  protected:
    void SetUp() override {
        if (holes_take_memory(folder.path())) {
            GTEST_SKIP() << "holes that are read take memory here";
        }
        if (!AddressSpaceLimit::is_possible()) {
            GTEST_SKIP() << "the runtime of a sanitizer takes memory without end";
        }
        write_file(sample, pair.sample);
        write_file(photo, zeroed(pair.original, 0, pair.lost));
        std::filesystem::resize_file(photo, kLargest);
    }

    TempDir folder;
    const Pair pair = GetParam().make({});
    const std::string extension = GetParam().extension;
    const std::filesystem::path sample = folder / ("sample." + extension);
    const std::filesystem::path photo = folder / ("photo." + extension);
};

TEST_P(LargeDiagnosis, TakesLittlePrivateMemory) {
    std::optional<Diagnosis> diagnosis;
    {
        const PrivateMemoryLimit limit(64 * kMebibyte);
        diagnosis = diagnose(photo, sample);
    }
    EXPECT_EQ(diagnosis->size, kLargest);
    EXPECT_TRUE(diagnosis->landmarks.complete());
    EXPECT_THAT(diagnosis->repair, HasSubstr("will probably rebuild"));
    ASSERT_FALSE(diagnosis->spans.empty());
    EXPECT_GT(diagnosis->spans.back().size, kLargest - 2 * pair.original.size());
}

TEST_P(LargeDiagnosis, WithoutRoomForTheFileSaysSo) {
    std::string complaint;
    {
        const AddressSpaceLimit limit(512 * kMebibyte);
        try {
            static_cast<void>(diagnose(photo, sample));
        } catch (const std::exception& e) {
            complaint = e.what();
        }
    }
    EXPECT_THAT(complaint, HasSubstr("there is not enough memory"));
    EXPECT_THAT(complaint, HasSubstr("raise the memory limit"));
    EXPECT_THAT(complaint, Not(HasSubstr("bad_alloc")));
}

// The searches of the formats differ in what they look for; each goes through the whole hole.
INSTANTIATE_TEST_SUITE_P(Formats, LargeDiagnosis,
                         ::testing::Values(formats()[0], formats()[3], formats()[5], formats()[7]),
                         [](const auto& format) { return format.param.extension; });

/// Takes all the memory that a limit leaves, except pieces too small for the work.
class Glutton {
  public:
    Glutton() {
        blocks_.reserve(4096);
        try {
            while (blocks_.size() < blocks_.capacity()) {
                blocks_.push_back(std::make_unique_for_overwrite<char[]>(kBlock));
            }
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): that is wanted.
        }
    }

  private:
    static constexpr std::size_t kBlock = 4 * kMebibyte;
    std::vector<std::unique_ptr<char[]>> blocks_;
};

using LargeDiagnosisOfOne = LargeDiagnosis;

TEST_P(LargeDiagnosisOfOne, WithoutRoomForTheWorkSaysSo) {
    std::string complaint;
    {
        const PrivateMemoryLimit limit(8 * kMebibyte);
        const Glutton glutton;
        try {
            static_cast<void>(diagnose(photo, sample));
        } catch (const std::exception& e) {
            complaint = e.what();
        }
    }
    EXPECT_THAT(complaint, HasSubstr("not enough memory to examine it"));
}

INSTANTIATE_TEST_SUITE_P(Formats, LargeDiagnosisOfOne, ::testing::Values(formats()[0]),
                         [](const auto& format) { return format.param.extension; });

} // namespace
} // namespace test
