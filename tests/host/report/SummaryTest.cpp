#include "report/Summary.h"

#include "Records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

Record failed(const std::string& path, const std::string& problem) {
    Record record = test::small_record(path, Verdict::kNotDone);
    record.problem = problem;
    return record;
}

TEST(Summary, OfWholePhotographsIsShort) {
    Summary summary;
    Record record = test::small_record("a.arw", Verdict::kWhole);
    record.raw = FileIdentity{.path = "mended/a.arw", .size = 1, .sha256 = ""};
    summary.add(record);
    EXPECT_THAT(summary.lines({.files = 1, .results = "mended"}),
                ElementsAre("1 file: 1 whole", "Results: mended"));
    EXPECT_THAT(summary.lines({.files = 1, .contact_sheet = "s.html"}),
                ElementsAre("1 file: 1 whole", "Results: beside the damaged files", "Contact sheet: s.html"));
}

TEST(Summary, NamesTheCommonestReasons) {
    Summary summary;
    summary.add(failed("a", "rare"));
    for (const char* path : {"b", "c", "d"}) {
        summary.add(failed(path, std::string("only ") + std::to_string(path[0]) + " rows"));
    }
    summary.add(failed("e", "twice"));
    summary.add(failed("f", "twice"));
    summary.add(failed("g", "zz"));
    EXPECT_THAT(summary.lines({.files = 7}), ElementsAre("7 files: 7 not done", "The commonest reasons:",
                                                         "  3 files, such as b: only 98 rows",
                                                         "  2 files, such as e: twice", "  1 file, a: rare"))
        << "numbers make no other reason, and the fourth reason is left out";
}

TEST(Summary, ReasonIsTheFirstFindingOfWhatWasTaken) {
    Summary summary;
    Record record = test::full_record();
    record.verdict = Verdict::kPartial;
    record.problem.clear();
    ASSERT_NE(record.taken(), nullptr);
    record.taken()->judgement.findings = {"rows are shifted", "and more"};
    summary.add(record);
    EXPECT_THAT(summary.lines({.files = 1}),
                Contains("  1 file, " + record.damaged.path + ": rows are shifted"));
}

TEST(Summary, SaysHowToGoOn) {
    Summary summary;
    summary.add(test::small_record("a.arw", Verdict::kIntact));
    EXPECT_THAT(summary.lines({.files = 9, .stopped = true, .resumable = true}),
                ElementsAre("Stopped after 1 of 9 files: 1 intact already",
                            "To go on: the same command with --resume"));
    EXPECT_THAT(summary.lines({.files = 9, .stopped = true}),
                Contains("A run with --out FOLDER can be resumed; this one cannot"));
    EXPECT_THAT(summary.lines({.files = 1, .resumable = true}), Not(Contains(HasSubstr("--resume"))));
    summary.add(test::small_record("b.arw", Verdict::kNotRepaired));
    EXPECT_THAT(summary.lines({.files = 2, .resumable = true}),
                Contains("To try those again that are lost or not done: the same command with --resume"));
}

TEST(Summary, OfARunThatDidNothing) {
    EXPECT_THAT(Summary().lines({.files = 3, .stopped = true, .resumable = true}),
                ElementsAre("Stopped after 0 of 3 files", "To go on: the same command with --resume"));
}

} // namespace
} // namespace plate_mend::host
