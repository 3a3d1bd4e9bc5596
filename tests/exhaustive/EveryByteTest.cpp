#include "support/QuietErrors.h"
#include "support/RepairTrial.h"
#include "support/SmallPair.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>

// Every byte of a small pair cut off, set to 00 and set to FF, in both files, for each format and byte order.
// All mappings end at a page that cannot be read.

namespace test {
namespace {

class EveryByte : public ::testing::TestWithParam<SmallPair> {
  protected:
    void try_pair(const Bytes& sample, const Bytes& damaged, const std::string& what) {
        const std::string complaint = trial.complaint(sample, damaged);
        ASSERT_EQ(complaint, "") << what;
    }

    /// Calls the change with each offset of the sample, then of the damaged file, and tries the pair.
    template <typename Change>
    void try_each(Change change) {
        const SmallPair& pair = GetParam();
        for (std::size_t offset = 0; offset < pair.sample.size(); ++offset) {
            Bytes sample = pair.sample;
            change(sample, offset);
            ASSERT_NO_FATAL_FAILURE(
                try_pair(sample, pair.damaged, "sample, offset " + std::to_string(offset)));
        }
        for (std::size_t offset = 0; offset < pair.damaged.size(); ++offset) {
            Bytes damaged = pair.damaged;
            change(damaged, offset);
            ASSERT_NO_FATAL_FAILURE(
                try_pair(pair.sample, damaged, "damaged, offset " + std::to_string(offset)));
        }
    }

    TempDir folder{quick_folder()};
    const oracle::Format& format = oracle::format_of(GetParam().extension);
    RepairTrial trial{format, folder.path()};

  private:
    QuietErrors quiet_; // One repairer reports a bad sample there.
};

TEST_P(EveryByte, UndamagedPairIsRepaired) {
    const SmallPair& pair = GetParam();
    const oracle::Expected expected = format.repaired(pair.sample, pair.damaged);
    ASSERT_TRUE(expected);
    EXPECT_NE(std::search(expected->begin(), expected->end(), pair.image.begin(), pair.image.end()),
              expected->end());
    try_pair(pair.sample, pair.damaged, "as it is");
}

TEST_P(EveryByte, FileCutOff) {
    try_each([](Bytes& bytes, std::size_t offset) { bytes.resize(offset); });
}

TEST_P(EveryByte, ByteSetTo00) {
    try_each([](Bytes& bytes, std::size_t offset) { bytes[offset] = 0x00; });
}

TEST_P(EveryByte, ByteSetToFF) {
    try_each([](Bytes& bytes, std::size_t offset) { bytes[offset] = 0xFF; });
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryByte, ::testing::ValuesIn(small_pairs()),
                         [](const auto& pair) { return pair.param.name; });

} // namespace
} // namespace test
