#include "host/HostFixture.h"
#include "host/WorkerScript.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>

// What may happen to workers, and what becomes of the files then. Scripts are started instead of the program.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// The problem of a worker that the signal SIGBUS ended. With sanitizers, their own handler ends it.
#if defined(PLATE_MEND_LEAK_DETECTION)
constexpr const char* kProblemOfABusError = R"("problem":"ended without an answer")";
#else
constexpr const char* kProblemOfABusError = R"("problem":"crashed: Bus error")";
#endif

class WorkerTroubles : public HostFixture {
  protected:
    /// Runs the program with workers that are started by a script.
    int run_with(const std::string& script, const std::vector<std::string>& arguments) {
        const WorkerScript workers(folder / "worker.sh", script);
        return run_as(workers.file(), arguments);
    }

    /// A condition for scripts: the worker is at work on broken.arw, and not on a sample.
    const std::string is_broken_ =
        R"({ ! grep -q '"judge"' "$2/task.json" && cmp -s "$2/damaged.arw" ')" + in("broken.arw") + "'; }";

    const std::vector<std::string> repair_{"repair", "-s", in("good.arw"), in("broken.arw")};
};

TEST_F(WorkerTroubles, CrashCostsThatFileOnly) {
    write_file(folder / "other.arw", damaged);
    write_file(folder / "broken.arw", joined(damaged, {1}));
    EXPECT_EQ(run_with(is_broken_ + " && kill -SEGV $$\nexec \"$program\" \"$@\"",
                       {"repair", "-s", in("good.arw"), in("broken.arw"), in("other.arw")}),
              2);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw", "other.arw", "other.repaired.arw"));
    EXPECT_THAT(out, HasSubstr("Segmentation fault"));
}

TEST_F(WorkerTroubles, CrashOnTheDamagedFilesPreviewCostsOnlyTheShare) {
    const std::size_t three_quarters = original.image_offset + original.image_size * 3 / 4;
    write_file(folder / "broken.arw", part(original.bytes, 0, three_quarters));
    const std::vector<std::string> arguments{"repair",      "--force",       "-s", in("good.arw"), "--json",
                                             in("r.jsonl"), in("broken.arw")};
    const auto share = [&](const std::string& script) {
        EXPECT_EQ(run_with(script + "exec \"$program\" \"$@\"", arguments), 1);
        const Bytes line = read_file(folder / "r.jsonl");
        const auto record = nlohmann::json::parse(line.begin(), line.end());
        EXPECT_EQ(record.at("verdict"), "partial");
        return record.at("attempts").at(0).at("judgement").at("rows_good");
    };
    EXPECT_EQ(share(""), 0.75);
    EXPECT_TRUE(share("grep -q '\"preview\"' \"$2/task.json\" && kill -SEGV $$\n").is_null());
}

TEST_F(WorkerTroubles, HangIsEndedByTheTimeLimit) {
    EXPECT_EQ(run_with("sleep 600", {"repair", "--time-limit", "1", "--no-fallback", "-s", in("good.arw"),
                                     in("broken.arw")}),
              2);
    EXPECT_THAT(out, HasSubstr("stopped after 1 second"));
    EXPECT_THAT(out, Not(HasSubstr("1 seconds")));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

/// A damaged photograph that only the raw engine makes whole: all its entries are gone.
class RawEngineTroubles : public WorkerTroubles {
  protected:
    RawEngineTroubles() {
        write_file(folder / "broken.arw", zeroed(original.bytes, 0, original.image_offset));
    }

    /// A condition for scripts: the worker runs the raw engine.
    const std::string is_raw_ = R"(grep -q '"task":"raw"' "$2/task.json")";
};

TEST_F(RawEngineTroubles, NoneIsTheControl) {
    EXPECT_EQ(run_with("exec \"$program\" \"$@\"", repair_), 0) << out << err;
    EXPECT_EQ(decode_raw(folder / "broken.repaired.arw"), decode_raw(original.bytes));
}

TEST_F(RawEngineTroubles, CrashCostsOnlyItsResult) {
    EXPECT_EQ(run_with(is_raw_ + " && kill -SEGV $$\nexec \"$program\" \"$@\"", repair_), 2);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
    EXPECT_THAT(out, HasSubstr("raw engine: crashed: Segmentation fault"));
}

TEST_F(RawEngineTroubles, HangIsEndedByTheTimeLimit) {
    EXPECT_EQ(
        run_with(is_raw_ + " && sleep 600\nexec \"$program\" \"$@\"",
                 {"repair", "--time-limit", "2", "--no-fallback", "-s", in("good.arw"), in("broken.arw")}),
        2);
    EXPECT_THAT(out, HasSubstr("raw engine: stopped after 2 seconds"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(RawEngineTroubles, LackOfMemoryLeavesTheFileForAnotherRun) {
    EXPECT_EQ(run_with(is_raw_ + " && exit 71\nexec \"$program\" \"$@\"", repair_), 3) << out << err;
    EXPECT_THAT(out, HasSubstr("memory ran out"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(RawEngineTroubles, PreviewsThatCannotBeRenderedStay) {
    EXPECT_EQ(run_with(R"(grep -q '"task":"pictures"' "$2/task.json" && kill -SEGV $$
exec "$program" "$@")",
                       repair_),
              0)
        << out << err;
    EXPECT_EQ(decode_raw(folder / "broken.repaired.arw"), decode_raw(original.bytes));
}

TEST_F(WorkerTroubles, WorkerWithoutAnAnswerIsAFailure) {
    EXPECT_EQ(run_with("exit 0", repair_), 2);
    EXPECT_THAT(out, HasSubstr("ended without an answer"));
}

TEST_F(WorkerTroubles, WorkerThatCannotBeLoadedIsNotThePhotographsFault) {
    EXPECT_EQ(run_with("exit 127", repair_), 3);
    EXPECT_THAT(out, HasSubstr("not done, a worker cannot be loaded"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(WorkerTroubles, FullDiskIsNoticedEvenIfTheLibraryMissesIt) {
    // Writes beyond 36 KiB fail, as on a full disk; the photograph has more.
    ASSERT_GT(sample.bytes.size(), 36U * 1024);
    EXPECT_EQ(run_with("trap '' XFSZ\nulimit -f 72\nexec \"$program\" \"$@\"",
                       {"repair", "--no-fallback", "-s", in("good.arw"), in("broken.arw")}),
              3);
    EXPECT_THAT(out, ::testing::ContainsRegex("not done, .*: the disk is full"));
    EXPECT_THAT(err, HasSubstr("the disk is full, and the run stops"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(WorkerTroubles, DamagedFileThatShrinksUnderTheRepairIsRepairedAsItWasRead) {
    EXPECT_EQ(run_with("grep -q '\"repair\"' \"$2/task.json\" && : > '" + in("broken.arw") +
                           "'\nexec \"$program\" \"$@\"",
                       repair_),
              0);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "broken.repaired.arw", "good.arw"));
    EXPECT_EQ(fs::file_size(folder / "broken.arw"), 0U);
    EXPECT_EQ(decode_raw(folder / "broken.repaired.arw"), decode_raw(original.bytes));
}

TEST_F(WorkerTroubles, FileThatShrinksWhileItIsMappedCostsThatFileOnly) {
    // Half a picture before a hole that ends in something keeps the salvager busy for seconds, were the file
    // not cut short as soon as it is mapped.
    const Bytes picture = make_preview(Scene(1), 320, 240);
    write_file(folder / "broken.arw", part(picture, 0, picture.size() / 2));
    fs::resize_file(folder / "broken.arw", std::uint64_t{256} << 20U);
    { std::ofstream(folder / "broken.arw", std::ios::binary | std::ios::app) << 'x'; }
    write_file(folder / "other.arw", damaged);
    const std::string script =
        "if grep -q salvage \"$2/task.json\"; then\n"
        "(while [ -e /proc/$$/maps ] && ! grep -q damaged.arw /proc/$$/maps; do :; done; "
        ": > \"$2/damaged.arw\") 3>&- &\nfi\nexec \"$program\" \"$@\"";
    EXPECT_EQ(run_with(script, {"repair", "-j", "1", "-s", in("good.arw"), "--json", in("records.jsonl"),
                                in("broken.arw"), in("other.arw")}),
              2);
    const Bytes records = read_file(folder / "records.jsonl");
    EXPECT_THAT(std::string(records.begin(), records.end()), HasSubstr(kProblemOfABusError));
    EXPECT_THAT(names(),
                ElementsAre("broken.arw", "good.arw", "other.arw", "other.repaired.arw", "records.jsonl"));
    EXPECT_EQ(decode_raw(folder / "other.repaired.arw"), decode_raw(original.bytes));
}

TEST_F(WorkerTroubles, InterruptionEndsCleanlyWithAReport) {
    write_file(folder / "a.arw", damaged);
    write_file(folder / "broken.arw", joined(damaged, {1}));
    // The first file is repaired; at the second the user presses Ctrl-C.
    const std::string script = "if " + is_broken_ +
                               "; then kill -INT $PPID; sleep 600; fi\n"
                               "exec \"$program\" \"$@\"";
    EXPECT_EQ(run_with(script, {"repair", "-j", "1", "-s", in("good.arw"), "--json", in("records.jsonl"),
                                "--report", in("sheet.html"), in("a.arw"), in("broken.arw")}),
              130);
    EXPECT_THAT(names(), ElementsAre("a.arw", "a.repaired.arw", "broken.arw", "good.arw", "records.jsonl",
                                     "sheet.html"));
    const Bytes records = read_file(folder / "records.jsonl");
    EXPECT_EQ(std::count(records.begin(), records.end(), '\n'), 1);
    EXPECT_EQ(decode_raw(folder / "a.repaired.arw"), decode_raw(original.bytes));
}

#if !defined(PLATE_MEND_LEAK_DETECTION)
TEST_F(WorkerTroubles, LackOfMemoryCostsThatFileOnly) {
    EXPECT_EQ(run({"repair", "--memory-limit", "8", "-s", in("good.arw"), in("broken.arw")}), 3);
    EXPECT_THAT(out, HasSubstr("not done, memory ran out (--memory-limit allows 8 MiB)"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}
#endif

} // namespace
} // namespace test
