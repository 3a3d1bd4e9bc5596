#include "host/BatchFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class DryRun : public BatchFixture {
  protected:
    [[nodiscard]] std::string result(const std::string& name) const {
        return (folder / "mended" / name).string();
    }
};

TEST_F(DryRun, SaysWhatWouldHappenToEachFileAndWritesNothing) {
    put("card/a.arw", damaged);
    put("card/notes.txt", Bytes{'h', 'i'});
    const auto before = names();
    EXPECT_EQ(run({"repair", "--dry-run", "-s", in("good.arw"), "--out", in("mended"), "--report",
                   in("sheet.html"), "--json", in("r.jsonl"), in("card")}),
              0)
        << err;
    EXPECT_THAT(out, AllOf(HasSubstr("a.arw: ARW, "), HasSubstr("; sample " + in("good.arw") + " ("),
                           HasSubstr("exact engine, then raw engine; to " + result("a.arw")),
                           HasSubstr("1 file, 1 sample; nothing was written\nAbout "), HasSubstr(" free\n")));
    EXPECT_THAT(err, HasSubstr("1 .txt"));
    EXPECT_EQ(names(), before);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("card")}), 0);
    EXPECT_TRUE(fs::exists(result("a.arw"))) << "where the dry run said";
}

TEST_F(DryRun, RefusesWhatTheRunWouldRefuse) {
    put("card/a.arw", damaged);
    EXPECT_EQ(run({"repair", "-n", "-s", in("missing.arw"), "--out", in("mended"), in("card")}), 64);
    EXPECT_EQ(run({"repair", "-n", "-s", in("good.arw"), "--out", in("mended"), "--json", in("good.arw"),
                   in("card")}),
              64);
    EXPECT_FALSE(fs::exists(folder / "mended"));
}

TEST_F(DryRun, FilesThatWouldNotBeDoneAreNamedWithTheReason) {
    put("card/a.arw", damaged);
    put("mended/a.arw", {1});
    EXPECT_EQ(
        run({"repair", "-n", "-s", in("good.arw"), "--out", in("mended"), in("card"), in("card/gone.arw")}),
        3);
    EXPECT_THAT(out, AllOf(HasSubstr("a.arw: not done, "), HasSubstr("gone.arw: not done, no such file\n")));
    EXPECT_EQ(run({"repair", "-n", "-s", in("good.arw"), "--out", in("mended"), "--force", in("card")}), 0);
    EXPECT_EQ(read_file(folder / "mended" / "a.arw"), Bytes{1});
}

TEST_F(DryRun, KnowsWhatAnEarlierRunFinished) {
    put("card/a.arw", damaged);
    put("card/b.arw", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("card/a.arw")}), 0);
    const std::vector<std::string> again{"repair", "-n",         "--resume", "-s",       in("good.arw"),
                                         "--out",  in("mended"), "--root",   in("card"), in("card")};
    EXPECT_EQ(run(again), 0) << out << err;
    EXPECT_THAT(out, AllOf(HasSubstr("a.arw: done already\n"), HasSubstr("b.arw: ARW, ")));
    fs::remove(result("a.arw"));
    EXPECT_EQ(run(again), 0);
    EXPECT_THAT(out, Not(HasSubstr("done already")));
}

} // namespace
} // namespace test
