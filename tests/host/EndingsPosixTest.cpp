#include "faults/Limits.h"
#include "host/ShellFixture.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>

// The program ends before its work is done, its workers misbehave, and files are larger than any photograph.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Endings : public ShellFixture {
  protected:
    Endings() { fs::create_directory(desk_ / "tmp"); }

    /// A script for workers in which the program ends by a signal while this worker hangs.
    [[nodiscard]] std::string hang_and_send(const char* signal) const {
        return "echo $$ > '" + utf8(desk_ / "worker.id") + "'\nkill -" + signal + " $PPID\nsleep 600";
    }

    /// Runs the host in a child process of this one. Returns how that ended.
    [[nodiscard]] int status_of_host(const std::string& text,
                                     const std::vector<std::string>& arguments) const {
        const fs::path program = script(text);
        return status_of_child([&] {
            ::setenv("TMPDIR", utf8(desk_ / "tmp").c_str(), 1);
            ::_exit(plate_mend::host::run(arguments, program));
        });
    }

    [[nodiscard]] static std::vector<std::string> private_folders(const fs::path& place) {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(place)) {
            if (utf8(entry.path().filename()).rfind(".plate-mend-", 0) == 0) {
                found.push_back(utf8(entry.path()));
            }
        }
        return found;
    }
};

TEST_F(Endings, NextStartClearsWhatAKilledRunLeft) {
    const std::vector<std::string> beside{"repair", "-s", in("good.arw"), in("broken.arw")};
    const std::vector<std::string> out_of{"repair",     "-s",       in("good.arw"),  "--out",
                                          in("mended"), "--resume", in("broken.arw")};
    const std::vector<std::string> check{"check", in("good.arw")};
    const fs::path record = folder / "mended" / ".plate-mend" / "run";
    for (const auto& [command, place] :
         {std::pair(beside, folder.path()), std::pair(out_of, record), std::pair(check, desk_ / "tmp")}) {
        EXPECT_EQ(status_of_host(hang_and_send("KILL"), command), SIGKILL);
        EXPECT_EQ(private_folders(place).size(), 1U) << "the test is of no use";
        EXPECT_EQ(WEXITSTATUS(status_of_host("exec \"$program\" \"$@\"", command)), 0);
        EXPECT_THAT(private_folders(place), IsEmpty());
    }
}

TEST_F(Endings, ReportThatWasNeverPublishedIsClearedAfterADay) {
    const fs::path young = folder / ".plate-mend-12";
    const fs::path old = folder / ".plate-mend-34";
    write_file(young, {1});
    write_file(old, {1});
    fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours(25));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("broken.arw")}), 0);
    EXPECT_TRUE(fs::exists(young)) << "somebody may be at work on it";
    EXPECT_FALSE(fs::exists(old));
}

TEST_F(Endings, FolderThatAKilledRunHadJustMadeIsClearedByTheNextWithItsRecord) {
    const fs::path record = folder / "mended" / ".plate-mend" / "run";
    for (const char* name : {".plate-mend-12", ".plate-mend-34"}) {
        fs::create_directories(record / name);
        fs::create_directory(folder / "mended" / name);
    }
    write_file(record / ".plate-mend-34" / "lock", {});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("broken.arw")}), 0);
    EXPECT_THAT(private_folders(record), IsEmpty());
    EXPECT_EQ(private_folders(folder / "mended").size(), 2U) << "there another run may just have made them";
}

TEST_F(Endings, KilledProgramLeavesNoWorker) {
    // Half a picture before a hole that ends in something keeps the worker busy for seconds.
    const Bytes picture = make_preview(Scene(1), 320, 240);
    write_file(folder / "a.jpg", part(picture, 0, picture.size() / 2));
    fs::resize_file(folder / "a.jpg", std::uint64_t{256} << 20U);
    { std::ofstream(folder / "a.jpg", std::ios::binary | std::ios::app) << 'x'; }
    const std::string worker = "grep -qs \"$PWD/.plate-mend\" /proc/[0-9]*/cmdline";
    EXPECT_EQ(shell("\"$P\" salvage -o x.jpg a.jpg & id=$!\n"
                    "while ! " +
                    worker +
                    "; do kill -0 $id || exit 9; done\n"
                    "kill -KILL $id; wait $id\n"
                    "n=0; while " +
                    worker + "; do n=$((n+1)); [ $n -lt 200 ] || exit 8; done"),
              0);
    EXPECT_FALSE(fs::exists(folder / "x.jpg"));
}

TEST_F(Endings, BrokenPipeEndsTheRunAndTheNextOneContinues) {
    fs::create_directory(folder / "card");
    for (int number = 0; number < 6; ++number) {
        write_file(folder / "card" / (std::to_string(number) + ".arw"), damaged);
    }
    static_cast<void>(shell("\"$P\" repair -j 2 -s good.arw --out mended --json - card | head -1"));
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
    EXPECT_EQ(shell("\"$P\" repair --resume -s good.arw --out mended --json - card"), 0) << out << err;
    for (int number = 0; number < 6; ++number) {
        EXPECT_EQ(decode_raw(folder / "mended" / (std::to_string(number) + ".arw")),
                  decode_raw(original.bytes));
    }
    EXPECT_THAT(private_folders(folder / "mended" / ".plate-mend" / "run"), IsEmpty());
}

TEST_F(Endings, LongestTimeLimitDoesNotOverflow) {
    EXPECT_EQ(run_with("cp \"$2/task.json\" '" + utf8(desk_ / "task") + "'\nexec \"$program\" \"$@\"",
                       {"check", "--time-limit", "4294967295", in("good.arw")}),
              0)
        << out << err;
    EXPECT_THAT(text_of(desk_ / "task"), HasSubstr("\"seconds\":4294967295"));
}

TEST_F(Endings, CheckSurvivesHostileFilesInLittleMemory) {
    for (int number = 0; number < 200; ++number) {
        write_file(folder / ("x" + std::to_string(number) + ".arw"), zeroed(original.bytes, 0, 200));
    }
    const fs::path program =
        script("case $(($$ % 3)) in 0) kill -SEGV $$;; 1) kill -ABRT $$;; esac\nexec \"$program\" \"$@\"");
    const int status = status_of_child([&] {
        if (std::freopen((desk_ / "out").c_str(), "w", stdout) == nullptr) {
            ::_exit(3);
        }
        std::vector<std::string> words{"check"};
        for (int number = 0; number < 200; ++number) {
            words.push_back(in("x" + std::to_string(number) + ".arw"));
        }
        // The program's own pages are read when they are first needed, and are not what is meant.
        if (plate_mend::host::run({words[0], words[1], words[2], words[3]}, program) != 1) {
            ::_exit(4);
        }
        rusage before{};
        ::getrusage(RUSAGE_SELF, &before);
        const int result = plate_mend::host::run(words, program);
        rusage after{};
        ::getrusage(RUSAGE_SELF, &after);
#if defined(PLATE_MEND_LEAK_DETECTION)
        constexpr long kMostKiB = 1024 * 1024; // Sanitizers keep what was freed.
#else
        constexpr long kMostKiB = 1024;
#endif
        ::_exit(result != 1 ? 2 : after.ru_maxrss - before.ru_maxrss < kMostKiB ? 0 : 1);
    });
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

class LongHoles : public Endings {
  protected:
    void SetUp() override {
        if (holes_take_memory(folder.path())) {
            GTEST_SKIP() << "holes that are read take memory here";
        }
    }
};

TEST_F(LongHoles, InterruptionEndsTheWorkOnATerabyte) {
    std::error_code refused;
    fs::resize_file(folder / "broken.arw", std::uint64_t{1} << 40U, refused);
    if (refused) {
        GTEST_SKIP() << "no file is as long here";
    }
    const std::string loop = " & id=$!\nwhile ! ls -A . mended/.plate-mend/run/.plate-mend-* 2>/dev/null | "
                             "grep -q '^damaged' && ! ls -A .plate-mend-* 2>/dev/null | grep -q '^damaged'; "
                             "do kill -0 $id || exit 9; done\nkill -INT $id; wait $id";
    for (const char* command : {"repair -s good.arw --out mended broken.arw", "salvage broken.arw"}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(shell("trap - INT; \"$P\" " + std::string(command) + loop), 130) << command << out << err;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30)) << command;
    }
    EXPECT_THAT(private_folders(folder.path()), IsEmpty());
}

TEST_F(LongHoles, SmallPhotographWithALongTailHasASmallResult) {
    fs::resize_file(folder / "broken.arw", 1'900'000'000);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("broken.arw")}), 0)
        << out << err;
    EXPECT_EQ(decode_raw(folder / "mended" / "broken.arw"), decode_raw(original.bytes));
    EXPECT_LT(fs::file_size(folder / "mended" / "broken.arw"), 2 * sample.bytes.size());
}

} // namespace
} // namespace test
