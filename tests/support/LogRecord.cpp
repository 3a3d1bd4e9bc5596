#include "support/LogRecord.h"

#include "StandIns.h"

#include <cctype>

namespace test {

namespace {

/// Matches text that is prefix, a positive number, suffix.
MATCHER_P2(IsNumbered, prefix, suffix, std::string("is \"") + prefix + "<line>" + suffix + "\"") {
    const std::string& text = arg;
    const std::string before = prefix;
    const std::string after = suffix;
    if (text.size() <= before.size() + after.size() || text.compare(0, before.size(), before) != 0 ||
        text.compare(text.size() - after.size(), after.size(), after) != 0) {
        return false;
    }
    const std::string number = text.substr(before.size(), text.size() - before.size() - after.size());
    if (number.front() == '0') {
        return false;
    }
    for (const char digit : number) {
        if (std::isdigit(static_cast<unsigned char>(digit)) == 0) {
            return false;
        }
    }
    return true;
}

::testing::Matcher<const LogLine&> line_of(int level, const std::string& head, const std::string& tail) {
    return ::testing::AllOf(::testing::Field("module", &LogLine::module, "PlateMend"),
                            ::testing::Field("level", &LogLine::level, level),
                            ::testing::Field("text", &LogLine::text, IsNumbered(head, tail)));
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
    return stream << line.module << ' ' << line.level << " \"" << line.text << '"';
}

std::vector<LogLine> logged_lines() {
    std::vector<LogLine> lines;
    for (std::size_t line = 0; line < QuillStandInLineCount(); ++line) {
        lines.push_back(
            {QuillStandInLineModule(line), QuillStandInLineLevel(line), QuillStandInLineText(line)});
    }
    return lines;
}

void reset_stand_ins() {
    QuillStandInReset();
    StillMendStandInReset();
}

::testing::Matcher<const LogLine&> InformationLine(const std::string& function, const std::string& text) {
    return line_of(QUILL_LOG_INFORMATION, "[" + function + "](", "): " + text);
}

::testing::Matcher<const LogLine&> ErrorLine(const std::string& source, const std::string& function,
                                             const std::string& text) {
    return line_of(QUILL_LOG_ERROR, "---" + source + "---\n[" + function + "](", "): " + text);
}

} // namespace test
