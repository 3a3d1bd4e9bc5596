#include "host/OutputsFixture.h"
#include "host/WorkerScript.h"

#include "faults/Limits.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Links, pipes, permissions, and what others do in the folders while the program is working.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Verdict;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OutputsAmidLinks : public OutputsFixture {
  protected:
    OutputsAmidLinks() { put("card/a.arw", damaged); }

    /// Creates a link, and its folder if missing.
    void link(const fs::path& target, const fs::path& name) {
        fs::create_directories((folder / name).parent_path());
        fs::create_symlink(folder / target, folder / name);
    }

    /// Runs the command with workers that run the script first.
    int run_with(const std::string& script, const std::vector<std::string>& arguments) {
        const WorkerScript workers(folder / "worker.sh", script + "\nexec \"$program\" \"$@\"");
        return run_as(workers.file(), arguments);
    }
};

TEST_F(OutputsAmidLinks, RootMayBeALinkOrBeReachedThroughOne) {
    put("card/day 1/b.arw", damaged);
    link("card", "deep/down/link");
    link("card/day 1", "day");
    const std::vector<std::pair<std::string, std::string>> ways{
        {in("deep/down/link"), in("card")},
        {in("card"), in("deep/down/link")},
        {in("deep/down/link"), in("deep/down/link")},
        {in("day/.."), in("card")}, // Not the folder in which the link is.
        {in("card"), in("day/..")},
        {in("deep/down/link/day 1/.."), in("card/day 1/..")},
    };
    for (const auto& [root, files] : ways) {
        SCOPED_TRACE(::testing::Message() << root << " and " << files);
        EXPECT_EQ(run(command({"--root", root, files})), 0) << out << err;
        EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "day 1/b.arw"));
        fs::remove_all(folder / "mended");
    }
}

TEST_F(OutputsAmidLinks, FileAndALinkToItAreOneInput) {
    link("card/a.arw", "card/z.arw");
    EXPECT_EQ(run(command({in("card")})), 0);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw"));
    EXPECT_THAT(err, HasSubstr("is named more than once"));
}

TEST_F(OutputsAmidLinks, LinksAreNeverWrittenThrough) {
    put("mine", mine_);
    for (const char* target : {"mine", "card/a.arw", "good.arw", "nowhere"}) {
        fs::remove_all(folder / "mended");
        link(target, "mended/a.arw");
        EXPECT_EQ(run(command({in("card")})), 3) << target;
        EXPECT_TRUE(fs::is_symlink(folder / "mended" / "a.arw")) << target;
        const bool is_input = std::string(target).find(".arw") != std::string::npos;
        EXPECT_EQ(run(command({"--force", in("card")})), is_input ? 3 : 0) << target;
        EXPECT_EQ(fs::is_symlink(folder / "mended" / "a.arw"), is_input) << target;
        EXPECT_FALSE(fs::exists(folder / "nowhere"));
    }
    EXPECT_EQ(bytes_of("mine"), mine_);
    EXPECT_EQ(bytes_of("card/a.arw"), damaged);
    EXPECT_EQ(bytes_of("good.arw"), sample.bytes);
}

TEST_F(OutputsAmidLinks, LinkFromTheResultsToTheInputsCostsTheFilesBelowIt) {
    put("card/day 1/b.arw", damaged);
    link("card/day 1", "mended/day 1");
    EXPECT_EQ(run(command({"--force", in("card")})), 3);
    EXPECT_EQ(bytes_of("card/day 1/b.arw"), damaged);
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
}

TEST_F(OutputsAmidLinks, JpegIsNeverWrittenThroughALink) {
    put("card/a.arw", only_a_preview());
    link("card/a.arw", "mended/a.jpg");
    EXPECT_EQ(run(command({"--force", in("card")})), 1) << out;
    EXPECT_EQ(bytes_of("card/a.arw"), only_a_preview());
    EXPECT_TRUE(jpeg_decodes(bytes_of("mended/a.arw.jpg")));
}

TEST_F(OutputsAmidLinks, ReportsAreNeverWrittenThroughLinks) {
    put("mine", mine_);
    for (const char* target : {"mine", "card/a.arw", "good.arw", "nowhere"}) {
        const bool is_input = std::string(target).find(".arw") != std::string::npos;
        for (const char* kind : {"--json", "--csv", "--report"}) {
            fs::remove(folder / "r");
            fs::remove_all(folder / "mended");
            link(target, "r");
            EXPECT_EQ(run(command({kind, in("r"), in("card")})), 64) << kind << target;
            EXPECT_TRUE(fs::is_symlink(folder / "r"));
            EXPECT_EQ(run(command({"--force", kind, in("r"), in("card")})), is_input ? 64 : 0)
                << kind << target;
            EXPECT_EQ(fs::is_symlink(folder / "r"), is_input) << kind << target;
        }
        fs::remove_all(folder / "logs");
        fs::remove_all(folder / "mended");
        link(target, "logs/PlateMend.log");
        EXPECT_EQ(run(command({"--log", in("logs"), in("card")})), 64) << target;
        EXPECT_EQ(run(command({"--force", "--log", in("logs"), in("card")})), is_input ? 64 : 0) << target;
        EXPECT_FALSE(fs::exists(folder / "nowhere"));
    }
    EXPECT_EQ(bytes_of("mine"), mine_);
    EXPECT_EQ(bytes_of("card/a.arw"), damaged);
    EXPECT_EQ(bytes_of("good.arw"), sample.bytes);
}

TEST_F(OutputsAmidLinks, RecordOfARunMustNotBeALinkOrAPipe) {
    put("elsewhere/records.jsonl", mine_);
    link("elsewhere", "mended/.plate-mend");
    EXPECT_EQ(run(command({in("card")})), 3);
    fs::remove(folder / "mended" / ".plate-mend");
    link("elsewhere", "mended/.plate-mend/run");
    EXPECT_EQ(run(command({in("card")})), 3);
    fs::remove(folder / "mended" / ".plate-mend" / "run");
    link("elsewhere/records.jsonl", "mended/.plate-mend/run/records.jsonl");
    EXPECT_EQ(run(command({in("card")})), 3);
    fs::remove(folder / "mended" / ".plate-mend" / "run" / "records.jsonl");
    ASSERT_EQ(::mkfifo((folder / "mended" / ".plate-mend" / "run" / "records.jsonl").c_str(), 0600), 0);
    EXPECT_EQ(run(command({in("card")})), 3) << "and it does not wait";
    EXPECT_THAT(err, HasSubstr("the run's record cannot be written"));
    EXPECT_EQ(bytes_of("elsewhere/records.jsonl"), mine_);
    EXPECT_THAT(files_below("mended"), IsEmpty()) << "what cannot be recorded is not delivered";
}

TEST_F(OutputsAmidLinks, OddInputsCostThemselvesOnly) {
    fs::create_symlink("loop.arw", folder / "card" / "loop.arw");
    fs::create_symlink(".", folder / "card" / "day 1" / "again");
    ASSERT_EQ(::mkfifo((folder / "card" / "pipe.arw").c_str(), 0600), 0);
    EXPECT_EQ(run(command({in("card")})), 0) << "in folders they are no photographs";
    fs::remove_all(folder / "mended");
    EXPECT_EQ(run(command({"--json", in("records.jsonl"), in("card/loop.arw"), in("card/pipe.arw"),
                           "/dev/null", "/dev/zero", in("card/a.arw")})),
              3);
    const auto found = records();
    for (const char* name : {"loop.arw", "pipe.arw", "null", "zero"}) {
        EXPECT_EQ(found.at(name).verdict, Verdict::kNotDone) << name;
    }
    EXPECT_EQ(found.at("a.arw").verdict, Verdict::kWhole);
}

TEST_F(OutputsAmidLinks, PipesAndDevicesAreRefusedAsOutputs) {
    fs::create_directories(folder / "mended");
    for (const char* name : {"pipe", "mended/a.arw"}) {
        ASSERT_EQ(::mkfifo((folder / name).c_str(), 0600), 0);
    }
    for (const char* force : {"--quiet", "--force"}) {
        EXPECT_EQ(run(command({force, in("card")})), 3);
        for (const char* kind : {"--json", "--csv", "--report"}) {
            EXPECT_EQ(run(command({force, kind, in("pipe"), in("card")})), 64);
            EXPECT_EQ(run(command({force, kind, "/dev/null", in("card")})), 64);
        }
        EXPECT_EQ(run({"repair", force, "-s", in("good.arw"), "-o", "/dev/null", in("card/a.arw")}), 3);
    }
    EXPECT_TRUE(fs::is_fifo(folder / "mended" / "a.arw"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(OutputsAmidLinks, FilesWithLongNamesAreRepairedIfTheResultsNameFits) {
    const std::string name = std::string(247, 'n') + ".arw";
    const std::string longest = std::string(251, 'm') + ".arw";
    put(fs::path("card") / name, damaged);
    put(fs::path("card") / longest, damaged);
    EXPECT_EQ(run(command({in("card")})), 0) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", longest, name));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("card")}), 3);
    EXPECT_THAT(files_below("card"), ElementsAre("a.arw", "a.repaired.arw", longest, name));
}

TEST_F(OutputsAmidLinks, UnreadableFolderAndFileCostThemselvesOnly) {
    put("card/locked/b.arw", damaged);
    put("card/day 1/secret.arw", damaged);
    fs::create_directories(folder / "mended");
    for (const fs::path& path : {folder.path(), folder / "mended"}) {
        fs::permissions(path, fs::perms::all);
    }
    fs::permissions(folder / "card" / "locked", fs::perms::none);
    fs::permissions(folder / "card" / "day 1" / "secret.arw", fs::perms::none);
    const auto status_of_user = [&](const std::vector<std::string>& arguments) {
        const int status = status_of_child([&] {
            constexpr ::uid_t kNobody = 65534;
            ::_exit(::geteuid() == 0 && ::setuid(kNobody) != 0 ? 99 : run(arguments));
        });
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(status_of_user(command({"--json", in("r1"), in("card/locked"), in("card/a.arw")})), 3);
    EXPECT_EQ(records("r1").at("a.arw").verdict, Verdict::kWhole);
    EXPECT_EQ(status_of_user(command({"--force", "--json", in("r2"), in("card/day 1"), in("card/a.arw")})),
              3);
    EXPECT_EQ(records("r2").at("a.arw").verdict, Verdict::kWhole);
    EXPECT_EQ(records("r2").at("secret.arw").verdict, Verdict::kNotDone);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw"));
    fs::permissions(folder / "card" / "locked", fs::perms::owner_all);
}

TEST_F(OutputsAmidLinks, FileThatAppearsDuringTheRunIsKept) {
    const std::string plants =
        R"(grep -q '"repair"' "$2/task.json" && printf mine > ')" + in("mended/a.arw") + "'";
    EXPECT_EQ(run_with(plants, command({"--json", in("records.jsonl"), in("card")})), 3);
    EXPECT_EQ(bytes_of("mended/a.arw"), mine_);
    EXPECT_THAT(records().at("a.arw").problem,
                HasSubstr("has been created by another program meanwhile, and stays"));
    EXPECT_FALSE(records().at("a.arw").raw.has_value());
    EXPECT_EQ(run(command({"--resume", in("card")})), 3) << "it is no result of the run";
    EXPECT_EQ(bytes_of("mended/a.arw"), mine_);
}

TEST_F(OutputsAmidLinks, JpegIsRemovedIfThePhotographCannotBeDelivered) {
    put("card/a.arw", truncated_); // A partial one, with a JPEG.
    const std::string plants =
        R"(grep -q '"salvage"' "$2/task.json" && printf mine > ')" + in("mended/a.arw") + "'";
    EXPECT_EQ(run_with(plants, command({"--json", in("records.jsonl"), in("card")})), 3);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw"));
    EXPECT_EQ(bytes_of("mended/a.arw"), mine_);
    EXPECT_FALSE(records().at("a.arw").jpeg.has_value());
    EXPECT_EQ(records().at("a.arw").verdict, Verdict::kNotDone);
}

TEST_F(OutputsAmidLinks, ContactSheetReplacesNothingThatAppeared) {
    const std::string plants = "printf mine > '" + in("r.html") + "'";
    EXPECT_EQ(run_with(plants, command({"--report", in("r.html"), in("card")})), 3);
    EXPECT_EQ(bytes_of("r.html"), mine_);
    EXPECT_THAT(err, HasSubstr("has been created by another program meanwhile, and stays"));
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
    EXPECT_THAT(names(), ElementsAre("card", "good.arw", "mended", "r.html")) << "nothing private stays";
}

TEST_F(OutputsAmidLinks, InputThatDisappearsAfterItWasReadIsRepaired) {
    put("card/b.arw", damaged);
    const std::string removes = R"(grep -q '"repair"' "$2/task.json" && rm -f ')" + in("card/a.arw") + "'";
    EXPECT_EQ(run_with(removes, command({"-j", "1", in("card")})), 0) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "b.arw"));
}

TEST_F(OutputsAmidLinks, SecondRunIntoAFolderIsRefused) {
    const std::string second =
        " --out '" + in("mended") + "' -s '" + in("good.arw") + "' '" + in("card") + "'";
    const std::string script = "if mkdir '" + in("once") +
                               "' 2>/dev/null; then\n"
                               "\"$program\" repair" +
                               second + " 2>'" + in("said") + "'; echo $? >'" + in("status") + "'; ls -A '" +
                               in("mended") + "' >'" + in("listed") +
                               "'\n"
                               "\"$program\" repair --task other" +
                               second + "; echo $? >>'" + in("status") + "'\nfi";
    EXPECT_EQ(run_with(script, command({in("card")})), 3) << "the other task was faster";
    const auto text = [&](const char* name) {
        const Bytes bytes = bytes_of(name);
        return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_EQ(text("status"), "3\n0\n");
    EXPECT_THAT(text("said"), HasSubstr("another run is using this folder"));
    EXPECT_EQ(text("listed"), ".plate-mend\n") << "the second changed nothing";
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw"));
    EXPECT_THAT(out, HasSubstr("has been created by another program meanwhile, and stays"));
}

} // namespace
} // namespace test
