#pragma once

#include "support/Bytes.h"
#include "support/QuietErrors.h"
#include "support/SmallPair.h"
#include "support/TempDir.h"
#include "support/oracle/Oracle.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace test {

/// What a repair ended in.
struct Outcome {
    std::optional<std::int32_t> code; ///< Nothing after an exception.
    std::string exception;            ///< Its what().

    friend bool operator==(const Outcome&, const Outcome&) = default;
};
[[nodiscard]] inline Outcome code(std::int32_t value) {
    return {value, {}};
}
[[nodiscard]] inline Outcome exception(std::string what) {
    return {std::nullopt, std::move(what)};
}
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

/// How the repairs of a format end in trouble.
struct Endings {
    Outcome copy_not_opened; ///< A CR3 repair needs no working copy.
    Outcome sample_not_mapped;
    Outcome damaged_not_mapped;
    Outcome output_not_opened; ///< Three formats do not look.
};
[[nodiscard]] const Endings& endings_of(std::string_view extension);

/// A repair of a small pair, in folders that a test can spoil. All files are open to every user.
class Fault : public ::testing::TestWithParam<SmallPair> {
  protected:
    Fault();
    void TearDown() override;

    [[nodiscard]] Outcome repair() const;

    /// The output; nothing where there is none.
    [[nodiscard]] std::optional<Bytes> output_bytes() const;

    /// What the repair must write when nothing is in its way.
    [[nodiscard]] Bytes expected() const { return *format.repaired(pair.sample, pair.damaged); }

    /// Fails the test unless both inputs are as they were.
    void expect_inputs_unchanged() const;

    [[nodiscard]] bool is(std::string_view extension) const { return pair.extension == extension; }

    /// Is called with each line that the library logs.
    void on_log(std::function<void(std::string_view line)> listener);

    const SmallPair& pair = GetParam();
    const oracle::Format& format = oracle::format_of(pair.extension);
    const Endings& endings = endings_of(pair.extension);
    TempDir folder;
    std::filesystem::path work = folder / "work";
    std::filesystem::path sample = folder / ("sample." + std::string(pair.extension));
    std::filesystem::path damaged = folder / ("damaged." + std::string(pair.extension));
    std::filesystem::path output = folder / "out" / ("output." + std::string(pair.extension));
    std::filesystem::path temporary = work / ("temp." + std::string(pair.extension));

  private:
    QuietErrors quiet_; ///< One repairer reports a bad sample there.
};

/// The name of a test's pair.
[[nodiscard]] std::string pair_name(const ::testing::TestParamInfo<SmallPair>& pair);

/// One pair per format.
[[nodiscard]] std::vector<SmallPair> one_pair_a_format();

} // namespace test
