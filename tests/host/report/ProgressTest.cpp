#include "report/Progress.h"

#include "host/report/Records.h"
#include "text/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace plate_mend::host {
namespace {

using std::chrono::milliseconds;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

ProgressState some_state() {
    ProgressState state{.done = 12, .total = 225, .seconds = 6, .counts = {}, .current = "card/IMG_0042.ARW"};
    for (int count = 0; count < 11; ++count) {
        state.counts.add(Verdict::kWhole);
    }
    state.counts.add(Verdict::kNotRepaired);
    return state;
}

TEST(ProgressLine, ShowsPositionRateTimeLeftCountsAndFile) {
    EXPECT_EQ(progress_line(some_state(), 200),
              "[ 12/225] 2.0/s, 2 min left, 11 whole, 1 lost: card/IMG_0042.ARW");
}

TEST(ProgressLine, ShowsNoRateBeforeTheFirstFileIsDone) {
    EXPECT_EQ(progress_line({.done = 0, .total = 3, .seconds = 5, .counts = {}, .current = "a.arw"}, 80),
              "[0/3]: a.arw");
}

TEST(ProgressLine, ShowsNoTimeLeftAtTheEnd) {
    ProgressState state = some_state();
    state.total = 12;
    state.current.clear();
    EXPECT_EQ(progress_line(state, 80), "[12/12] 2.0/s, 11 whole, 1 lost");
    state.seconds = 360;
    EXPECT_THAT(progress_line(state, 80), HasSubstr(" 2.0/min, "));
}

TEST(ProgressLine, FitsAnyTerminal) {
    ProgressState state = some_state();
    state.current = "写真/写真/写真/写真/写真/IMG_0042.ARW";
    for (std::size_t columns = 0; columns < 120; ++columns) {
        EXPECT_LE(columns_of(progress_line(state, columns)), columns);
    }
    EXPECT_EQ(progress_line(some_state(), 60),
              "[ 12/225] 2.0/s, 2 min left, 11 whole, 1 lost: card/...2.ARW");
    EXPECT_EQ(progress_line(some_state(), 50), "[ 12/225] 2.0/s, 2 min left, 11 whole, 1 lost");
}

TEST(ProgressLine, NamesDoNotControlTheTerminal) {
    ProgressState state = some_state();
    state.current = "a\x1B[2J\n.arw";
    EXPECT_THAT(progress_line(state, 200), EndsWith(": a?[2J?.arw"));
}

TEST(FileLine, ShowsVerdictOutputAndSample) {
    EXPECT_EQ(
        file_line(test::full_record()),
        "broken/IMG_0042.arw: partly there, 1.5 kB of it cannot be read (2 places), written to "
        "out/IMG_0042.repaired.arw, JPEG written to out/IMG_0042.salvaged.jpg, mask written to "
        "out/IMG_0042.mask.png, own date and settings written to out/IMG_0042.repaired.xmp, sample "
        "samples/good.arw, image found by how its rows fit one another, "
        "66 of 67 pieces, 65 proved, 2 put together anew (the lower 648 rows are black; one data error)");
}

TEST(FileLine, ShowsWhyNothingWasWritten) {
    Record record = test::small_record("a\n.arw", Verdict::kNotRepaired);
    record.attempts.resize(1);
    record.attempts[0].code = -1124;
    EXPECT_THAT(file_line(record), StartsWith("a?.arw: lost, "));
    EXPECT_THAT(file_line(record), EndsWith("(code -1124)"));
    record = test::small_record("a.arw", Verdict::kNotRepaired);
    record.problem = "no such file";
    EXPECT_EQ(file_line(record), "a.arw: lost, no such file");
}

TEST(Duration, HasTheUnitThatFits) {
    EXPECT_EQ(format_duration(0.2), "less than 1 s");
    EXPECT_EQ(format_duration(59), "59 s");
    EXPECT_EQ(format_duration(60), "1 min");
    EXPECT_EQ(format_duration(3570), "1 h 0 min");
    EXPECT_EQ(format_duration(7500), "2 h 5 min");
    EXPECT_THAT(format_duration(1e300), EndsWith(" min"));
}

class ProgressOn : public ::testing::Test {
  protected:
    Progress progress(Progress::Style style) {
        return Progress(
            stream, style, 3, [] { return 80U; }, [this] { return now; });
    }

    std::ostringstream stream;
    std::chrono::steady_clock::time_point now;
};

TEST_F(ProgressOn, PipeHasOneLinePerFile) {
    auto lines = progress(Progress::Style::kLines);
    lines.begin("a.arw");
    lines.end(test::small_record("a.arw", Verdict::kWhole));
    lines.begin("b.arw");
    lines.end(test::small_record("b.arw", Verdict::kPartial));
    lines.finish();
    EXPECT_EQ(stream.str(), "a.arw: whole\nb.arw: partly there\n");
}

TEST_F(ProgressOn, QuietSaysNothing) {
    auto quiet = progress(Progress::Style::kQuiet);
    quiet.begin("a.arw");
    quiet.end(test::small_record("a.arw", Verdict::kNotRepaired));
    quiet.finish();
    EXPECT_EQ(stream.str(), "");
}

TEST_F(ProgressOn, TerminalHasOneLineThatIsOverwritten) {
    auto terminal = progress(Progress::Style::kTerminal);
    terminal.begin("a.arw");
    EXPECT_EQ(stream.str(), "[0/3]: a.arw");
    now += milliseconds(500);
    terminal.end(test::small_record("a.arw", Verdict::kWhole));
    terminal.finish();
    EXPECT_EQ(stream.str(), "[0/3]: a.arw\r\x1B[K[1/3] 2.0/s, 1 s left, 1 whole: a.arw\r\x1B[K");
}

TEST_F(ProgressOn, SamplesHaveALineOfTheirOwnBeforeTheWork) {
    auto terminal = progress(Progress::Style::kTerminal);
    for (std::uint64_t done = 0; done < 3; ++done, now += milliseconds(100)) {
        terminal.read_samples(done, 3);
    }
    EXPECT_EQ(stream.str(), "Samples: 0 of 3\r\x1B[KSamples: 1 of 3\r\x1B[KSamples: 2 of 3");
    stream.str("");
    now += std::chrono::hours(1);
    terminal.read_samples(3, 3);
    EXPECT_EQ(stream.str(), "\r\x1B[K");
    now += milliseconds(500);
    terminal.end(test::small_record("a.arw", Verdict::kWhole));
    EXPECT_THAT(stream.str(), HasSubstr("[1/3] 2.0/s")) << "the hour is no part of the work";
    for (const auto style : {Progress::Style::kLines, Progress::Style::kQuiet}) {
        stream.str("");
        progress(style).read_samples(1, 3);
        EXPECT_EQ(stream.str(), "");
    }
    EXPECT_EQ(samples_line(120, 3000, 80), "Samples: 120 of 3000");
    EXPECT_EQ(samples_line(120, 3000, 10).size(), 10U);
}

TEST_F(ProgressOn, TerminalIsNotDrawnMoreThanTenTimesASecond) {
    auto terminal = progress(Progress::Style::kTerminal);
    terminal.begin("a.arw");
    now += milliseconds(99);
    terminal.begin("b.arw");
    EXPECT_THAT(stream.str(), Not(HasSubstr("b.arw")));
    now += milliseconds(1);
    terminal.begin("c.arw");
    EXPECT_THAT(stream.str(), EndsWith("\r\x1B[K[0/3]: c.arw"));
}

TEST_F(ProgressOn, TerminalKeepsALineForEachFileThatIsNotWhole) {
    auto terminal = progress(Progress::Style::kTerminal);
    terminal.begin("a.arw");
    terminal.end(test::small_record("a.arw", Verdict::kNotRepaired));
    EXPECT_THAT(stream.str(), HasSubstr("\r\x1B[Ka.arw: lost\n["));
}

} // namespace
} // namespace plate_mend::host
