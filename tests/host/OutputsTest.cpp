#include "host/OutputsFixture.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>

// Where results and reports go, and what they must never touch.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Verdict;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class OutputPlaces : public BatchFixture {
  protected:
    /// A tree as cameras make them: one name, two photographs.
    OutputPlaces() {
        put("card/DCIM/100/IMG_1.arw", damaged);
        put("card/DCIM/101/IMG_1.arw", zeroed(other.bytes, 0, other.strip_entries));
    }

    /// Runs a repair into the folder "mended", and expects both photographs there.
    void expect_both(std::vector<std::string> arguments, const std::string& first = "100/IMG_1.arw",
                     const std::string& second = "101/IMG_1.arw") {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        arguments.insert(arguments.begin(), {"repair", "-s", in("good.arw"), "--out", in("mended")});
        EXPECT_EQ(run(arguments), 0) << out << err;
        ASSERT_THAT(files_below("mended"), ElementsAre(first, second));
        EXPECT_EQ(decode_raw(folder / "mended" / first), decode_raw(original.bytes));
        EXPECT_EQ(decode_raw(folder / "mended" / second), decode_raw(other.bytes));
        fs::remove_all(folder / "mended");
    }

    /// From the current folder; the whole path where that is on another drive.
    [[nodiscard]] std::string relative_name(const fs::path& name) const {
        const fs::path relative = fs::relative(folder / name);
        return relative.empty() ? in(name) : utf8(relative);
    }

    void write_list(const std::vector<std::string>& lines) {
        std::ofstream list(folder / "list.txt", std::ios::binary);
        for (const std::string& line : lines) {
            list << line << '\n';
        }
    }

    const ArwPhoto other{ArwPhoto::Options{.number = 3}};
    const std::string first_ = in("card/DCIM/100/IMG_1.arw");
    const std::string second_ = in("card/DCIM/101/IMG_1.arw");
};

TEST_F(OutputPlaces, RepeatedNamesKeepTheirFoldersHoweverTheyAreNamed) {
    expect_both({in("card/DCIM")});
    expect_both({in("card/DCIM") + "/"});
    expect_both({in("card/DCIM/.")});
    expect_both({in("card/DCIM/100"), in("card/DCIM/101")});
    expect_both({in("card/DCIM/100") + "/", in("card/DCIM/101") + "/"});
    expect_both({first_, second_});
    expect_both({first_, in("card/DCIM/101")});
    expect_both({in("card/DCIM/100/../100"), in("card/day 1/../DCIM/101")});
    expect_both({relative_name("card/DCIM")});
    expect_both({relative_name("card/DCIM/100"), second_});
}

TEST_F(OutputPlaces, ListsKeepTheFoldersToo) {
    write_list({first_, second_});
    expect_both({"--files-from", in("list.txt")});
    write_list({first_});
    expect_both({"--files-from", in("list.txt"), second_});
    write_list({in("card/DCIM")});
    expect_both({"--files-from", in("list.txt")});
}

TEST_F(OutputPlaces, RootMayBeWrittenInAnyWay) {
    for (const std::string& root : {in("card"), in("card") + "/", in("card/."), in("card/day 1/.."),
                                    in("card/DCIM/.."), relative_name("card")}) {
        expect_both({"--root", root, in("card/DCIM")}, "DCIM/100/IMG_1.arw", "DCIM/101/IMG_1.arw");
        expect_both({"--root", root, first_, in("card/day 1/../DCIM/101/IMG_1.arw")}, "DCIM/100/IMG_1.arw",
                    "DCIM/101/IMG_1.arw");
    }
}

TEST_F(OutputPlaces, FileOutsideTheRootCostsThatFileOnly) {
    put("IMG_1.arw", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--root", in("card/DCIM"), "--out", in("mended"), "--json",
                   in("records.jsonl"), in("IMG_1.arw"), first_, second_}),
              3);
    EXPECT_THAT(files_below("mended"), ElementsAre("100/IMG_1.arw", "101/IMG_1.arw"));
    EXPECT_THAT(out, HasSubstr("is not below --root"));
}

TEST_F(OutputPlaces, FileThatIsNamedTwiceIsTakenOnce) {
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), first_,
                   in("card/DCIM/100/./IMG_1.arw"), in("card/DCIM")}),
              0)
        << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("100/IMG_1.arw", "101/IMG_1.arw"));
    EXPECT_THAT(err, HasSubstr("is named more than once"));
}

TEST_F(OutputPlaces, FolderOfResultsInTheDamagedFolderIsNotAnInput) {
    for (int times = 0; times < 2; ++times) {
        const int status = run({"repair", "-s", in("good.arw"), "--out", in("card/mended"), in("card")});
        EXPECT_EQ(status, times == 0 ? 0 : 3) << "the second run finds its results in the way";
    }
    EXPECT_THAT(files_below("card/mended"), ElementsAre("DCIM/100/IMG_1.arw", "DCIM/101/IMG_1.arw"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("card"), in("card")}), 64);
    EXPECT_THAT(err,
                AllOf(HasSubstr("its files are not inputs"), HasSubstr("no damaged photograph was found")));
}

TEST_F(OutputPlaces, LinesOfAListMayBeginWithABrace) {
    put("card/{1}.arw", damaged);
    const auto before = fs::current_path();
    fs::current_path(folder / "card");
    write_list({"{1}.arw"});
    const int status =
        run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--files-from", in("list.txt")});
    fs::current_path(before);
    EXPECT_EQ(status, 0) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("{1}.arw"));
}

TEST_F(OutputPlaces, MissingAndUnfitInputsCostThemselvesOnly) {
    put("card/empty.arw", {});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card/none.arw"), in("card/empty.arw"), first_}),
              3);
    const auto found = records();
    EXPECT_EQ(found.at("none.arw").verdict, Verdict::kNotDone);
    EXPECT_EQ(found.at("empty.arw").verdict, Verdict::kNotRepaired);
    EXPECT_EQ(found.at("IMG_1.arw").verdict, Verdict::kWhole);
    EXPECT_THAT(files_below("mended"), ElementsAre("DCIM/100/IMG_1.arw"));
}

class ExistingFiles : public OutputsFixture {
  protected:
    ExistingFiles() {
        put("card/a.arw", damaged);
        put("card/b.arw", damaged);
    }
};

TEST_F(ExistingFiles, ResultsReplaceNothing) {
    put("mended/a.arw", mine_);
    EXPECT_EQ(run(command({"--json", in("records.jsonl"), in("card")})), 3);
    EXPECT_EQ(bytes_of("mended/a.arw"), mine_);
    const auto found = records();
    EXPECT_EQ(found.at("a.arw").verdict, Verdict::kNotDone);
    EXPECT_FALSE(found.at("a.arw").raw.has_value());
    EXPECT_THAT(found.at("a.arw").problem, HasSubstr("exists already; --force replaces it"));
    EXPECT_EQ(found.at("b.arw").verdict, Verdict::kWhole);
    EXPECT_EQ(run(command({"--force", in("card")})), 0);
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
}

TEST_F(ExistingFiles, FolderIsNeverReplaced) {
    put("mended/a.arw/inside", mine_);
    for (const char* force : {"--quiet", "--force"}) {
        EXPECT_EQ(run(command({force, in("card/a.arw")})), 3);
        EXPECT_EQ(bytes_of("mended/a.arw/inside"), mine_);
    }
    EXPECT_THAT(out, HasSubstr("the output is a folder"));
}

TEST_F(ExistingFiles, FileInThePlaceOfAFolderCostsTheFilesOfThatFolder) {
    put("card/day 1/c.arw", damaged);
    put("mended/day 1", mine_);
    EXPECT_EQ(run(command({in("card")})), 3);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "b.arw", "day 1"));
    EXPECT_EQ(bytes_of("mended/day 1"), mine_);
}

TEST_F(ExistingFiles, JpegTakesItsOtherNameOrElseNone) {
    put("card/a.arw", only_a_preview());
    put("mended/a.jpg", mine_);
    EXPECT_EQ(run(command({in("card/a.arw")})), 1) << out;
    EXPECT_EQ(bytes_of("mended/a.jpg"), mine_);
    EXPECT_TRUE(jpeg_decodes(bytes_of("mended/a.arw.jpg")));
    const Bytes first = bytes_of("mended/a.arw.jpg");
    EXPECT_EQ(run(command({"--json", in("records.jsonl"), in("card/a.arw")})), 3);
    EXPECT_EQ(bytes_of("mended/a.arw.jpg"), first);
    EXPECT_THAT(records().at("a.arw").problem, HasSubstr("a.arw.jpg: exists already; --force replaces it"));
    EXPECT_FALSE(records().at("a.arw").jpeg.has_value());
}

TEST_F(ExistingFiles, FormatsOfOneNameShareNoJpeg) {
    for (const char* name : {"x.arw", "x.dng", "x.nef", "x.arw.dng"}) {
        put(fs::path("card") / name, only_a_preview());
    }
    const std::vector<std::string> files{in("card/x.arw"), in("card/x.dng"), in("card/x.nef"),
                                         in("card/x.arw.dng")};
    EXPECT_EQ(run(command(files)), 1) << out;
    EXPECT_THAT(files_below("mended"), ElementsAre("x.arw.dng.jpg", "x.arw.jpg", "x.dng.jpg", "x.nef.jpg"));
    std::vector<std::string> beside{"repair", "-s", in("good.arw")};
    beside.insert(beside.end(), files.begin(), files.end());
    EXPECT_EQ(run(beside), 1) << out;
    for (const char* name : {"x.arw", "x.dng", "x.nef", "x.arw.dng"}) {
        EXPECT_TRUE(jpeg_decodes(bytes_of(fs::path("card") / (std::string(name) + ".salvaged.jpg")))) << name;
    }
    std::vector<std::string> without = command({"--no-fallback"});
    without.insert(without.end(), files.begin(), files.end());
    fs::remove_all(folder / "mended");
    EXPECT_EQ(run(without), 2);
    EXPECT_THAT(files_below("mended"), IsEmpty());
}

TEST_F(ExistingFiles, FilesOfOthersWithPrivateNamesAreKept) {
    std::error_code no_time; // Wine sets none of folders.
    for (const fs::path folder_name : {"card", "mended", "reports"}) {
        put(folder_name / ".plate-mend-123", mine_);
        put(folder_name / ".plate-mend-backup" / "x", mine_);
        put(folder_name / ".plate-mend-backup" / "lock", mine_);
        put(folder_name / ".plate-mend-456" / "x", mine_);
        fs::last_write_time(folder / folder_name / ".plate-mend-456",
                            fs::file_time_type::clock::now() - std::chrono::hours(9), no_time);
    }
    fs::create_directory(folder / "reports" / ".plate-mend-789");
    fs::last_write_time(folder / "reports" / ".plate-mend-789",
                        fs::file_time_type::clock::now() - std::chrono::hours(9), no_time);
    EXPECT_EQ(run(command({"--json", in("reports/r.jsonl"), "--report", in("reports/r.html"), in("card")})),
              0);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("card")}), 0);
    for (const fs::path folder_name : {"card", "mended", "reports"}) {
        for (const char* name :
             {".plate-mend-123", ".plate-mend-backup/x", ".plate-mend-backup/lock", ".plate-mend-456/x"}) {
            EXPECT_EQ(bytes_of(folder_name / name), mine_) << folder_name / name;
        }
    }
    EXPECT_EQ(fs::exists(folder / "reports" / ".plate-mend-789"), static_cast<bool>(no_time)) << "nobody's";
}

TEST_F(ExistingFiles, FolderThatAnotherRunIsAboutToLockIsKeptAndOneThatADeadRunLeftIsRemoved) {
    put("reports/.plate-mend-12/lock", {});
    put("reports/.plate-mend-34/lock", {});
    put("reports/.plate-mend-34/growing", mine_);
    EXPECT_EQ(run(command({"--json", in("reports/r.jsonl"), in("card")})), 0);
    EXPECT_TRUE(fs::exists(folder / "reports" / ".plate-mend-12" / "lock"));
    EXPECT_FALSE(fs::exists(folder / "reports" / ".plate-mend-34"));
}

TEST_F(ExistingFiles, ReportIsNeitherResultNorInputNorSampleNorAnotherReport) {
    const std::vector<std::string> places{in("mended/a.arw"), in("mended/a.jpg"), in("mended/b.arw.jpg"),
                                          in("card/a.arw"),   in("good.arw"),     in("mended/../good.arw")};
    for (const char* kind : {"--json", "--csv", "--report"}) {
        for (const std::string& place : places) {
            for (const char* force : {"--quiet", "--force"}) {
                EXPECT_EQ(run(command({force, kind, place, in("card")})), 64) << kind << ' ' << place;
            }
        }
    }
    EXPECT_EQ(run(command({"--force", "--json", in("r"), "--csv", in("card/../r"), in("card")})), 64);
    fs::create_directory(folder / "logs");
    EXPECT_EQ(run(command({"--force", "--json", in("logs/PlateMend.log"), "--log", in("logs"), in("card")})),
              64);
    EXPECT_EQ(run(command({"--force", "--json", in("mended/.plate-mend/run/records.jsonl"), in("card")})), 64)
        << "the run's own record";
    EXPECT_THAT(files_below("mended"), IsEmpty()) << "nothing was done";
    EXPECT_EQ(bytes_of("card/a.arw"), damaged);
    EXPECT_EQ(bytes_of("good.arw"), sample.bytes);
}

TEST_F(ExistingFiles, ReportsAndLogsReplaceNothing) {
    put("logs/PlateMend.log", mine_);
    put("r", mine_);
    for (const char* kind : {"--json", "--csv", "--report"}) {
        EXPECT_EQ(run(command({kind, in("r"), in("card")})), 64) << kind;
        EXPECT_EQ(run(command({"--resume", kind, in("r"), in("card")})), 64)
            << kind << ": it is no run's own";
        EXPECT_THAT(err, HasSubstr("exists already; --force replaces it"));
    }
    EXPECT_EQ(run(command({"--log", in("logs"), in("card")})), 64);
    EXPECT_EQ(bytes_of("r"), mine_);
    EXPECT_EQ(bytes_of("logs/PlateMend.log"), mine_);
    EXPECT_THAT(files_below("mended"), IsEmpty());
    EXPECT_EQ(run(command({"--force", "--log", in("logs"), "--json", in("r"), in("card")})), 0);
    EXPECT_THAT(records("r"), SizeIs(2));
}

TEST_F(ExistingFiles, FolderOfTheContactSheetsPicturesIsNoOthers) {
    put("r_files/mine", mine_);
    for (const char* option : {"--quiet", "--resume", "--force"}) {
        EXPECT_EQ(run(command({option, "--report", in("r.html"), in("card")})), 64) << option;
    }
    EXPECT_THAT(err, HasSubstr("is no picture of a contact sheet"));
    EXPECT_EQ(run(command({"--report", in("s.html"), "--json", in("s_files"), in("card")})), 64);
    EXPECT_THAT(err, HasSubstr("is named for two reports"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("out_files"), "--force", "--report",
                   in("out.html"), in("card")}),
              64)
        << "the folder of results";
    EXPECT_THAT(err, HasSubstr("is no picture of a contact sheet"));
    EXPECT_EQ(bytes_of("r_files/mine"), mine_);
    EXPECT_THAT(files_below("mended"), IsEmpty()) << "nothing was done";

    put("t_files/6e340b9cffb37a989ca544e6bb780a2c.jpg", {0}); // The beginning of the sum.
    EXPECT_EQ(run(command({"--report", in("t.html"), in("card")})), 64);
    EXPECT_THAT(err, HasSubstr("exists already; --force replaces it"));
    EXPECT_EQ(run(command({"--force", "--report", in("t.html"), in("card")})), 0) << err;
    EXPECT_FALSE(fs::exists(folder / "t_files")) << "the new sheet has its pictures in itself";
}

TEST_F(ExistingFiles, HardLinkToAnInputIsThatInput) {
    const auto link = [&](const char* input, const char* name) {
        fs::create_directories((folder / name).parent_path());
        fs::create_hard_link(folder / input, folder / name);
    };
    link("card/a.arw", "mended/b.arw");
    link("good.arw", "r");
    EXPECT_EQ(run(command({"--force", "--json", in("records.jsonl"), in("card")})), 3);
    EXPECT_THAT(records().at("b.arw").problem, HasSubstr("the output is also an input"));
    EXPECT_TRUE(fs::equivalent(folder / "card" / "a.arw", folder / "mended" / "b.arw"));
    for (const char* kind : {"--json", "--csv", "--report"}) {
        EXPECT_EQ(run(command({"--force", kind, in("r"), in("card")})), 64) << kind;
    }
    link("good.arw", "logs/PlateMend.log");
    EXPECT_EQ(run(command({"--force", "--log", in("logs"), in("card")})), 64);
    EXPECT_EQ(bytes_of("card/a.arw"), damaged);
    EXPECT_EQ(bytes_of("good.arw"), sample.bytes);
}

TEST_F(ExistingFiles, HardLinkAtAJpegsPlaceIsThatInput) {
    put("card/a.arw", only_a_preview());
    fs::create_directories(folder / "mended");
    fs::create_hard_link(folder / "card" / "a.arw", folder / "mended" / "a.jpg");
    EXPECT_EQ(run(command({"--force", in("card/a.arw")})), 1) << out;
    EXPECT_EQ(bytes_of("card/a.arw"), only_a_preview());
    EXPECT_TRUE(jpeg_decodes(bytes_of("mended/a.arw.jpg")));
}

TEST_F(ExistingFiles, InputIsNeverTheOutput) {
    for (const char* force : {"--quiet", "--force"}) {
        EXPECT_EQ(run({"repair", force, "-s", in("good.arw"), "-o", in("card/a.arw"), in("card/a.arw")}), 64);
        EXPECT_EQ(run({"repair", force, "-s", in("good.arw"), "-o", in("good.arw"), in("card/a.arw")}), 64);
        EXPECT_EQ(run({"repair", force, "-s", in("good.arw"), "--out", in("card"), in("card/a.arw")}), 3);
    }
    EXPECT_EQ(bytes_of("card/a.arw"), damaged);
    EXPECT_EQ(bytes_of("good.arw"), sample.bytes);
}

} // namespace
} // namespace test
