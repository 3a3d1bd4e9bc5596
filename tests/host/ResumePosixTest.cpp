#include "host/BatchFixture.h"
#include "host/WorkerScript.h"

#include "faults/Limits.h"
#include "support/RawDecode.h"

#include "platform/Files.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

// Runs that end early, and the runs that resume them.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Verdict;
using ::testing::ElementsAre;
using ::testing::SizeIs;

class EndedRun : public BatchFixture {
  protected:
    EndedRun() {
        put("card/a.arw", damaged);
        put("card/b.arw", truncated_);
        put("card/c.arw", zeroed(damaged, 0, damaged.size()));
    }

    [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> all{"repair", "-j", "1", "-s", in("good.arw"), "--out", in("mended")};
        all.insert(all.end(), more.begin(), more.end());
        all.insert(all.end(),
                   {"--json", in("reports/records.jsonl"), "--report", in("reports/sheet.html"), in("card")});
        return all;
    }

    /// A script that sends a signal to the program when it starts the worker of that number, from 1.
    [[nodiscard]] std::string script(const char* signal, int number) const {
        return "echo >>'" + in("workers") + "'\nif [ $(wc -l <'" + in("workers") + "') -eq " +
               std::to_string(number) + " ]; then kill -" + signal +
               " $PPID; sleep 60; fi\nexec \"$program\" \"$@\"";
    }

    void begin_anew() {
        for (const char* name : {"workers", "mended", "reports"}) {
            fs::remove_all(folder / name);
        }
        fs::create_directory(folder / "reports");
    }

    /// Nothing but results, reports and the record is there.
    void expect_all_is_done() {
        EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "b.arw", "b.jpg"));
        EXPECT_THAT(files_below("reports"), ElementsAre("records.jsonl", "sheet.html"));
        EXPECT_THAT(entries("reports"), SizeIs(2));
        EXPECT_THAT(entries("mended/.plate-mend"), ElementsAre("run"));
        EXPECT_THAT(entries("mended/.plate-mend/run"),
                    ElementsAre("lock", "pictures", "records.jsonl", "samples.jsonl"));
        for (const std::string& picture : entries("mended/.plate-mend/run/pictures")) {
            EXPECT_NE(picture.front(), '.') << picture;
        }
        const auto found = records("reports/records.jsonl");
        ASSERT_THAT(found, SizeIs(3));
        EXPECT_EQ(found.at("a.arw").verdict, Verdict::kWhole);
        EXPECT_EQ(found.at("b.arw").verdict, Verdict::kPartial);
        EXPECT_EQ(found.at("c.arw").verdict, Verdict::kNotRepaired);
        EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
    }

    [[nodiscard]] std::vector<std::string> entries(const char* name) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder / name)) {
            found.push_back(utf8(entry.path().filename()));
        }
        std::sort(found.begin(), found.end());
        return found;
    }
};

TEST_F(EndedRun, KilledAtAnyWorkerItIsFinishedByTheNext) {
    int workers = 1;
    for (bool is_killed = true; is_killed; ++workers) {
        SCOPED_TRACE("killed at worker " + std::to_string(workers));
        begin_anew();
        const WorkerScript scripted(folder / "worker.sh", script("KILL", workers));
        const int status =
            status_of_child([&] { ::_exit(plate_mend::host::run(command({"--quiet"}), scripted.file())); });
        is_killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        if (is_killed) {
            EXPECT_EQ(run(command({"--resume"})), 2) << out << err;
        }
        expect_all_is_done();
    }
    EXPECT_GT(workers, 8) << "three files have more workers than that";
}

TEST_F(EndedRun, InterruptedAtAnyWorkerItIsFinishedByTheNext) {
    int workers = 1;
    for (bool is_interrupted = true; is_interrupted; ++workers) {
        SCOPED_TRACE("interrupted at worker " + std::to_string(workers));
        begin_anew();
        const WorkerScript scripted(folder / "worker.sh", script("INT", workers));
        const int status = run_as(scripted.file(), command());
        is_interrupted = status == 130;
        if (is_interrupted) {
            const auto found = records("reports/records.jsonl");
            const auto results = files_below("mended");
            EXPECT_EQ(std::count(results.begin(), results.end(), "a.arw"), found.count("a.arw"));
            EXPECT_EQ(std::count(results.begin(), results.end(), "b.arw"), found.count("b.arw"));
            EXPECT_THAT(entries("mended/.plate-mend/run"),
                        ElementsAre("lock", "pictures", "records.jsonl", "samples.jsonl"));
            EXPECT_THAT(entries("reports"), SizeIs(2)) << "the contact sheet of what was done";
            EXPECT_EQ(run(command({"--resume"})), 2) << out << err;
        }
        expect_all_is_done();
    }
    EXPECT_GT(workers, 8);
}

/// Its record must be that of what was read, not of what is there in the end.
TEST_F(EndedRun, InputThatChangesUnderTheRepairIsNotFinished) {
    begin_anew();
    fs::remove(folder / "card" / "b.arw");
    fs::remove(folder / "card" / "c.arw");
    const ArwPhoto other(ArwPhoto::Options{.number = 3});
    const Bytes changed = zeroed(other.bytes, 0, other.strip_entries);
    ASSERT_EQ(changed.size(), damaged.size());
    write_file(folder / "changed", changed);
    const WorkerScript scripted(folder / "worker.sh", R"(grep -q '"repair"' "$2/task.json" && cat ')" +
                                                          in("changed") + "' >'" + in("card/a.arw") +
                                                          "'\nexec \"$program\" \"$@\"");
    EXPECT_EQ(run_as(scripted.file(), command()), 0);
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
    EXPECT_EQ(run(command({"--resume"})), 3) << "the file there now was never repaired";
    fs::rename(folder / "mended" / "a.arw", folder / "mended" / "first.arw");
    EXPECT_EQ(run(command({"--resume"})), 0);
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(other.bytes));
}

/// The run is killed between its two results: the first record of the file says what they are to be.
TEST_F(EndedRun, ResultThatIsThereBeforeTheOtherIsTheRunsOwn) {
    begin_anew();
    EXPECT_EQ(run(command()), 2);
    const auto jpeg = plate_mend::host::platform::stamp_of(folder / "mended" / "b.jpg");
    fs::remove(folder / "mended" / "b.arw");
    EXPECT_EQ(run(command({"--resume"})), 2);
    expect_all_is_done();
    EXPECT_EQ(plate_mend::host::platform::stamp_of(folder / "mended" / "b.jpg")->index, jpeg->index);
    EXPECT_EQ(run(command({"--resume"})), 2);
    expect_all_is_done();
}

} // namespace
} // namespace test
