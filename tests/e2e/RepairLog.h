#pragma once

#include "support/LogRecord.h"

#include <string>
#include <string_view>

namespace test {

/// The lines that the advanced repair of one format logs:
///
///   const RepairLog kLog = repair_log("arw");
///   EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("sample file map error")));
struct RepairLog {
    std::string source;                          ///< "src/ARW/ArwRepair.cpp"
    std::string function;                        ///< "ArwRepair::AdvanceRepair"
    ::testing::Matcher<const LogLine&> cloned;   ///< The working copy is made. Not for CR3, which has none.
    ::testing::Matcher<const LogLine&> repaired; ///< The last line of a success.

    [[nodiscard]] ::testing::Matcher<const LogLine&> failed(const std::string& text) const {
        return ErrorLine(source, function, text);
    }
};

/// The lines of a format by its extension. Throws std::out_of_range for any other.
[[nodiscard]] RepairLog repair_log(std::string_view extension);

} // namespace test
