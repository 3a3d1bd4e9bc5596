#pragma once

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <still_mend/still_mend.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace test {

/// A small damaged file with a picture, by the way in which the picture is written.
struct SalvageCase {
    std::string name;
    Bytes file;
    std::uint32_t warnings = 0; ///< The report's warnings that show which way was taken.
};
[[nodiscard]] const std::vector<SalvageCase>& salvage_cases();
[[nodiscard]] std::string salvage_name(const ::testing::TestParamInfo<SalvageCase>& info);
std::ostream& operator<<(std::ostream& stream, const SalvageCase& salvage);

/// A salvage in folders that a test can spoil. All files are open to every user.
class SalvageFault : public ::testing::Test {
  protected:
    SalvageFault();
    void TearDown() override;

    /// Salvages. The report is kept.
    std::int32_t salvage();

    /// Writes the damaged file.
    void damage(const Bytes& file) const;

    /// What a salvage writes when nothing is in its way. The output is not left there.
    [[nodiscard]] Bytes undisturbed();

    /// Names of all that is in the output's folder, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

    /// Fails the test unless the output's folder holds nothing, and the report too.
    void expect_nothing_written() const;

    TempDir folder;
    std::filesystem::path damaged = folder / "damaged.arw";
    std::filesystem::path output = folder / "out" / "output.jpg";
    std::filesystem::path beside = folder / "out" / "output.jpg.part"; ///< What is written on the way.
    StillMendReport report{};
};

/// The same for each way.
class EachSalvage : public SalvageFault, public ::testing::WithParamInterface<SalvageCase> {
  protected:
    EachSalvage() { damage(GetParam().file); }
};

} // namespace test
