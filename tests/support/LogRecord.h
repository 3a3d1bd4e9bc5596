#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

// What the library logged, as the stand-in for the log library recorded it.

namespace test {

struct LogLine {
    std::string module;
    int level = 0;
    std::string text;
};

std::ostream& operator<<(std::ostream& stream, const LogLine& line);

/// All lines since the last forget_lines.
[[nodiscard]] std::vector<LogLine> logged_lines();

/// Forgets all recorded calls of both stand-ins, and lets them answer success again.
void reset_stand_ins();

/// Match one whole line, except the number of the source line, which must be a positive number:
/// EXPECT_THAT(logged_lines(), ElementsAre(InformationLine("ArwRepair::AdvanceRepair", "text"), ...)).
[[nodiscard]] ::testing::Matcher<const LogLine&> InformationLine(const std::string& function,
                                                                 const std::string& text);
[[nodiscard]] ::testing::Matcher<const LogLine&>
ErrorLine(const std::string& source, const std::string& function, const std::string& text);

} // namespace test
