#include "faults/Limits.h"
#include "host/Pairs.h"
#include "host/ShellFixture.h"

#include "support/RawDecode.h"

#include <sys/mount.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <iostream>
#include <sstream>

// The machine fails: no room, no permission, no memory, no threads. None of its failures may be taken for a
// verdict on a photograph.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// Two photographs that become whole, and one of which only the preview is left, in a folder of their own.
class FullDisk : public ShellFixture {
  protected:
    FullDisk() {
        const ArwPhoto large(ArwPhoto::Options{.number = 2, .width = 640, .height = 480});
        fs::create_directories(folder / "card");
        fs::create_directory(folder / "disk");
        write_file(folder / "card" / "a.arw", damaged);
        write_file(folder / "card" / "b.arw", zeroed(large.bytes, 0, large.strip_entries + 36));
        write_file(folder / "card" / "c.arw", joined(damaged, {1}));
        EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("expected"), in("card")}), 1) << err;
    }

    [[nodiscard]] std::vector<std::string> command(bool resume) const {
        std::vector<std::string> words{"repair", "-j", "1", "-s", in("good.arw"), "--out", in("disk/mended")};
        for (const char* report : {"json", "csv", "report"}) {
            words.push_back(std::string("--") + report);
            words.push_back(in("disk/" + std::string(report)));
        }
        if (resume) {
            words.emplace_back("--resume");
        }
        words.push_back(in("card"));
        return words;
    }

    /// What a run that ended early must not have left, in words; empty where all is well.
    [[nodiscard]] std::string wrong_after(int status) const {
        if (status != 1 && status != 3) {
            return "exit status " + std::to_string(status);
        }
        if (status == 3 && (err.find("the disk is full") == err.npos || err.find("--resume") == err.npos)) {
            return "no way on is told";
        }
        for (const char* name : {"a.arw", "b.jpg", "c.arw"}) {
            const fs::path made = folder / "disk" / "mended" / name;
            if (fs::exists(made) && read_file(made) != read_file(folder / "expected" / name)) {
                return std::string(name) + " is another";
            }
            if (status == 1 && !fs::exists(made)) {
                return std::string(name) + " is not there";
            }
        }
        for (const auto& entry : fs::recursive_directory_iterator(folder / "disk")) {
            if (utf8(entry.path().filename()).rfind(".plate-mend-", 0) == 0) {
                return "left behind: " + utf8(entry.path());
            }
        }
        return "";
    }

    [[nodiscard]] std::string wrong_with(bool resume, const std::function<void(bool)>& room) {
        room(false);
        const int status = run(command(resume));
        std::string wrong = wrong_after(status);
        full_ = full_ || status == 3;
        room(true);
        const std::string before = out + err;
        if (wrong.empty() && run(command(true)) != 1) {
            wrong = "does not go on: " + out + err;
        }
        if (wrong.empty()) {
            wrong = wrong_after(1);
        }
        return wrong.empty() ? "" : wrong + "\n" + before;
    }

    bool full_ = false; ///< At least one run had no room.
};

TEST_F(FullDisk, AtAnyMomentLeavesNothingThatIsNotWhole) {
    const auto result = result_on_small_file_system(folder / "disk", [&] {
        const fs::path disk = folder / "disk";
        ::umount(disk.c_str());
        for (unsigned kib = 8; kib < 2048; kib += kib < 128 ? 12 : kib / 6) {
            const std::string size = "size=" + std::to_string(kib) + "k";
            if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, size.c_str()) != 0) {
                return 2;
            }
            const std::string wrong = wrong_with(false, [&](bool much) {
                if (much) {
                    ::mount("tmpfs", disk.c_str(), "tmpfs", MS_REMOUNT, "size=64m");
                }
            });
            if (!wrong.empty()) {
                std::cerr << kib << " KiB: " << wrong << '\n';
                return 3;
            }
            ::umount(disk.c_str());
        }
        return full_ ? 0 : 4;
    });
    if (!result) {
        GTEST_SKIP() << "only root mounts a small disk";
    }
    EXPECT_EQ(*result, 0);
}

TEST_F(FullDisk, LimitOnFileSizesAtAnyMomentIsLikeOne) {
    for (const unsigned blocks : {2U, 8U, 40U, 64U, 96U, 140U, 600U}) {
        fs::remove_all(folder / "disk");
        fs::create_directory(folder / "disk");
        std::string line = "ulimit -f " + std::to_string(blocks) + "; \"$P\"";
        for (const std::string& word : command(false)) {
            line += " '" + word + "'";
        }
        EXPECT_EQ(wrong_after(shell(line)), "") << blocks << '\n' << out << err;
        full_ = full_ || err.find("the disk is full") != err.npos;
        EXPECT_EQ(run(command(true)), 1) << blocks << '\n' << out << err;
        EXPECT_EQ(wrong_after(1), "") << blocks;
    }
    EXPECT_TRUE(full_);
}

TEST_F(FullDisk, StandardOutputThatIsFullIsAnError) {
    EXPECT_EQ(shell("\"$P\" check good.arw > /dev/full"), 3);
    EXPECT_EQ(err, "plate-mend: the standard output cannot be written to\n");
}

class Machine : public ShellFixture {
  protected:
    void expect_undone(const std::string& reason) const {
        EXPECT_THAT(out, HasSubstr(": not done, ")) << err;
        EXPECT_THAT(out, HasSubstr(reason));
        const std::string records = text_of(folder / "mended" / ".plate-mend" / "run" / "records.jsonl");
        EXPECT_EQ(records.find("\"record\""), records.npos) << "what is not done is not finished";
    }

    int repair() { return run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("broken.arw")}); }

    /// Everything belongs to a user without rights, who runs the repair.
    int repair_without_privileges() {
        fs::permissions(folder.path(), fs::perms::all);
        const WithoutPrivileges others;
        return repair();
    }

    /// Runs the program as a user without rights for good: a worker whose real user is another than the
    /// effective one does not find its libraries.
    int status_as_nobody(const std::vector<std::string>& arguments) {
        const int status = status_of_child([&] {
            constexpr ::uid_t kNobody = 65534;
            if (::geteuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0) {
                ::_exit(99);
            }
            ::_exit(run(arguments));
        });
        return WEXITSTATUS(status);
    }
};

TEST_F(Machine, InputWithoutReadPermissionIsNotDone) {
    fs::permissions(folder / "broken.arw", fs::perms::none);
    EXPECT_EQ(repair_without_privileges(), 3);
    expect_undone("cannot be opened: Permission denied");
    fs::permissions(folder / "broken.arw", fs::perms::owner_read);
}

TEST_F(Machine, SampleWithoutReadPermissionLeavesTheFileUndone) {
    fs::permissions(folder / "broken.arw", fs::perms::others_read, fs::perm_options::add);
    fs::permissions(folder / "good.arw", fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(status_as_nobody({"repair", "-s", in("good.arw"), "--out", in("mended"), "--json",
                                in("records"), in("broken.arw")}),
              3);
    out = text_of(folder / "records");
    EXPECT_THAT(out, HasSubstr(R"("verdict":"not done")"));
    EXPECT_THAT(out, HasSubstr("good.arw: cannot be read: Permission denied"));
}

TEST_F(Machine, SampleWithoutReadPermissionCostsNothingBesideAnother) {
    write_file(folder / "second.arw", ArwPhoto(ArwPhoto::Options{.number = 5}).bytes);
    write_file(folder / "intact.arw", original.bytes);
    for (const char* name : {"second.arw", "broken.arw", "intact.arw"}) {
        fs::permissions(folder / name, fs::perms::others_read, fs::perm_options::add);
    }
    fs::permissions(folder / "good.arw", fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    const int status =
        status_as_nobody({"repair", "-s", in("good.arw"), "-s", in("second.arw"), "--out", in("mended"),
                          "--json", in("r.jsonl"), in("broken.arw"), in("intact.arw")});
    EXPECT_EQ(status, 0) << text_of(folder / "r.jsonl");
    EXPECT_THAT(text_of(folder / "r.jsonl"), HasSubstr("\"verdict\":\"intact\""));
    EXPECT_THAT(text_of(folder / "r.jsonl"), HasSubstr("\"verdict\":\"whole\""));
}

TEST_F(Machine, OutputFolderThatMayNotBeWrittenIsNotDone) {
    fs::create_directory(folder / "mended");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder / "mended",
                    fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    const WithoutPrivileges others;
    EXPECT_EQ(repair(), 3);
    EXPECT_THAT(err, HasSubstr("Permission denied"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended/x.arw"), in("broken.arw")}), 3);
    EXPECT_THAT(out, HasSubstr(": not done, "));
    EXPECT_THAT(out, HasSubstr("Permission denied"));
}

TEST_F(Machine, OutputFolderThatVanishesIsNotDone) {
    EXPECT_EQ(run_with("rm -rf '" + in("mended") + "'\nexec \"$program\" \"$@\"",
                       {"repair", "-s", in("good.arw"), "--out", in("mended"), in("broken.arw")}),
              3);
    EXPECT_THAT(out, HasSubstr(": not done, "));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(Machine, UnreadableFileIsNoFindingOfCheck) {
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder / "good.arw", fs::perms::none);
    const WithoutPrivileges others;
    EXPECT_EQ(run({"check", in("good.arw")}), 3);
    EXPECT_EQ(err, "plate-mend: " + in("good.arw") + ": cannot be read: Permission denied\n");
}

TEST_F(Machine, DamagedFileThatGoesKeepsItsResult) {
    // The card is pulled once the result is made: it is the only copy then.
    EXPECT_EQ(run_with("grep -q '\"judge\"' \"$2/task.json\" && rm -f '" + in("broken.arw") +
                           "'\nexec \"$program\" \"$@\"",
                       {"repair", "-s", in("good.arw"), "--out", in("mended"), in("broken.arw")}),
              0);
    EXPECT_FALSE(fs::exists(folder / "broken.arw"));
    EXPECT_EQ(decode_raw(folder / "mended" / "broken.arw"), decode_raw(original.bytes));
}

TEST_F(Machine, FileThatCannotBeRecordedKeepsItsVerdictAndTheRunStops) {
    // The record has reached the longest length that files may have, with a line that says nothing.
    constexpr std::uintmax_t kLongest = std::uintmax_t{1} << 20U;
    const fs::path lines = folder / "mended" / ".plate-mend" / "run" / "records.jsonl";
    fs::create_directories(lines.parent_path());
    write_file(lines, joined(Bytes(kLongest - 1, ' '), {'\n'}));
    write_file(folder / "fine.arw", original.bytes);
    EXPECT_EQ(
        shell("ulimit -f 2048; \"$P\" repair -j 1 -s good.arw --out mended --json - fine.arw broken.arw"), 3)
        << "broken.arw was not begun";
    EXPECT_THAT(err, HasSubstr("the run's record cannot be written: the disk is full\n"));
    EXPECT_THAT(err, HasSubstr("the disk is full, and the run stops"));
    EXPECT_THAT(out, HasSubstr(R"("verdict":"intact","problem":null)"));
    EXPECT_EQ(out.find("broken.arw"), out.npos) << out;
}

#if !defined(PLATE_MEND_LEAK_DETECTION)
TEST_F(Machine, NoMemoryLimitMakesAVerdictOnThePhotograph) {
    const ArwPhoto good(ArwPhoto::Options{.number = 1, .width = 2000, .height = 1500});
    const ArwPhoto photo(ArwPhoto::Options{.number = 2, .width = 2000, .height = 1500});
    write_file(folder / "good.arw", good.bytes);
    write_file(folder / "broken.arw", zeroed(photo.bytes, 0, photo.strip_entries));
    bool short_of_memory = false;
    for (const unsigned limit : {60U, 64U, 68U, 71U, 74U, 90U}) {
        const int status = run({"repair", "--force", "--memory-limit", std::to_string(limit), "-s",
                                in("good.arw"), "-o", in("made.arw"), in("broken.arw")});
        EXPECT_THAT(status, AnyOf(0, 3)) << limit << " MiB: " << out << err;
        short_of_memory = short_of_memory || status == 3;
    }
    EXPECT_TRUE(short_of_memory);
}

TEST_F(Machine, MissingMemoryLimitIsReported) {
    EXPECT_EQ(shell("FAULTY_MEMORY=1 LD_PRELOAD='" PLATE_MEND_FAULTY_SYSTEM
                    "' \"$P\" repair --memory-limit 4000 -s good.arw broken.arw"),
              0);
    EXPECT_EQ(err,
              "plate-mend: results are written beside the damaged files; --out FOLDER keeps them off a "
              "failing disk\n"
              "plate-mend: the system refuses to limit the memory of workers; they work without a limit\n");
}

TEST_F(Machine, ThreadsThatCannotBeStartedAreNotAnError) {
    for (const char* name : {"a.arw", "b.arw", "c.arw"}) {
        write_file(folder / name, damaged);
    }
    for (const char* threads : {"0", "1"}) {
        EXPECT_EQ(shell(std::string("FAULTY_THREADS=") + threads +
                        " LD_PRELOAD='" PLATE_MEND_FAULTY_SYSTEM
                        "' \"$P\" repair -j 4 -s good.arw --out mended" +
                        threads + " a.arw b.arw c.arw broken.arw"),
                  0)
            << out << err;
    }
}

TEST_F(Machine, NoMoreThreadsAreStartedThanThereAreFiles) {
    // One that cannot be started would be no error, so they are counted.
    const auto most_threads = [&](const std::string& files) {
        const std::string count = utf8(desk_ / "threads");
        EXPECT_EQ(
            run_with("ls /proc/$PPID/task | wc -l >> '" + count + "'\nexec \"$program\" \"$@\"",
                     {"repair", "-j", "100000", "-s", in("good.arw"), "--out", in("mended"), in(files)}),
            0)
            << out << err;
        std::istringstream lines(text_of(desk_ / "threads"));
        int most = 0;
        for (int threads = 0; lines >> threads;) {
            most = std::max(most, threads);
        }
        fs::remove(desk_ / "threads");
        return most;
    };
    const int others = static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task"), {})) - 1;
    fs::create_directories(folder / "ten");
    for (int number = 0; number < 10; ++number) {
        write_file(folder / "ten" / (std::to_string(number) + ".arw"), damaged);
    }
    fs::create_directories(folder / "one");
    write_file(folder / "one" / "a.arw", damaged);
    EXPECT_EQ(most_threads("one") - others, 1) << "this thread does the work";
    const int working = most_threads("ten") - others;
    EXPECT_GT(working, 1);
    EXPECT_LE(working, 10);
}
#endif

TEST_F(Machine, NoMessageNamesAnException) {
    fs::create_directory(folder / "locked");
    const std::vector<std::string> commands{
        R"(TMPDIR="$PWD/none" "$P" check good.arw)",
        "\"$P\" salvage -o good.arw/x.jpg broken.arw",
        "\"$P\" salvage none.arw",
        "\"$P\" repair -s good.arw --out good.arw/x broken.arw",
        "\"$P\" repair -s good.arw --log good.arw/x broken.arw",
        "\"$P\" repair -s good.arw --json good.arw/x broken.arw",
        "\"$P\" repair -s good.arw -o good.arw/x broken.arw",
        "\"$P\" repair -s good.arw --log $(printf '%05000d' 1) broken.arw",
        "\"$P\" repair -s good.arw --out $(printf '%0300d' 1) broken.arw",
        "\"$P\" repair -s good.arw -o $(printf '%0300d' 1) broken.arw",
        "\"$P\" repair -s $(printf '%0300d' 1) broken.arw",
        "\"$P\" repair -s good.arw $(printf '%0300d' 1).arw",
        "\"$P\" check $(printf '%0300d' 1) good.arw/x",
        "\"$P\" worker none",
        "\"$P\" worker locked",
        "cd locked && rmdir ../locked && \"$P\" repair -s ../good.arw x.arw",
    };
    for (const std::string& command : commands) {
        EXPECT_NE(shell(command), 0) << command;
        const std::string all = out + err;
        EXPECT_THAT(all, Not(HasSubstr("std::"))) << command;
        EXPECT_THAT(all, Not(HasSubstr("filesystem error"))) << command;
        EXPECT_THAT(all, Not(HasSubstr("basic_"))) << command;
        EXPECT_THAT(all, Not(HasSubstr("json.exception"))) << command;
        EXPECT_THAT(all, Not(HasSubstr("terminate"))) << command;
    }
}

} // namespace
} // namespace test
