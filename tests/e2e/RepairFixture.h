#pragma once

#include "support/Bytes.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace test {

/// Repairs through the library's exports, each test in a folder of its own:
///
///   EXPECT_EQ(advance("arw", damaged, sample), 0);
///   EXPECT_EQ(output(), expected);
///   EXPECT_THAT(lines(), ElementsAre(...));
///   EXPECT_THAT(work_files(), IsEmpty());
///
/// The library is initialised with the work directory, and the lines of that are forgotten.
class RepairFixture : public ::testing::Test {
  protected:
    RepairFixture();

    /// Writes both files, if given, as "damaged.EXT" and "sample.EXT" and repairs into "output.EXT".
    std::int32_t advance(const std::string& extension, const std::optional<Bytes>& damaged,
                         const std::optional<Bytes>& sample);

    /// The same with paths of any kind.
    static std::int32_t advance(const std::filesystem::path& damaged, const std::filesystem::path& sample,
                                const std::filesystem::path& output);

    /// The output of the first form; nothing when there is none.
    [[nodiscard]] std::optional<Bytes> output() const;

    /// What was logged since the fixture was made.
    [[nodiscard]] static std::vector<LogLine> lines() { return logged_lines(); }

    /// Names in the work directory, sorted, and one file of it.
    [[nodiscard]] std::vector<std::string> work_files() const;
    [[nodiscard]] Bytes work_file(const std::string& name) const;

    /// What the body writes to the standard error output.
    template <typename Body>
    static std::string standard_error_of(Body body) {
        ::testing::internal::CaptureStderr();
        body();
        return ::testing::internal::GetCapturedStderr();
    }

    TempDir folder;
    std::filesystem::path work = folder / "work";
    std::filesystem::path damaged_path;
    std::filesystem::path sample_path;
    std::filesystem::path output_path;
};

} // namespace test
