#include "host/HostFixture.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include "unit/still_mend/Laboratory.h"

#include "cli/RepairCommand.h"

#include <gmock/gmock.h>

#include <sstream>

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using Host = HostFixture;

TEST_F(Host, RepairsBesideTheDamagedFileAndLeavesNothingElse) {
    EXPECT_EQ(run({"repair", "--sample", in("good.arw"), in("broken.arw")}), 0);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "broken.repaired.arw", "good.arw"));
    EXPECT_EQ(decode_raw(folder / "broken.repaired.arw"), decode_raw(original.bytes));
    EXPECT_EQ(read_file(folder / "broken.arw"), damaged);
    EXPECT_EQ(read_file(folder / "good.arw"), sample.bytes);
    EXPECT_THAT(out, StartsWith(in("broken.arw") + ": whole"));
    EXPECT_THAT(out, HasSubstr(in("broken.repaired.arw")));
    EXPECT_EQ(err, "plate-mend: results are written beside the damaged files; --out FOLDER keeps them off a "
                   "failing disk\n");
}

TEST_F(Host, RepairsToANamedOutput) {
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended.arw"), in("broken.arw")}), 0);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw", "mended.arw"));
}

TEST_F(Host, NamesMayBeNonAscii) {
    fs::rename(folder / "broken.arw", folder / u8"für 写真.arw");
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in(u8"写真 ganz.arw"), in(u8"für 写真.arw")}), 0);
    EXPECT_EQ(decode_raw(folder / u8"写真 ganz.arw"), decode_raw(original.bytes));
}

TEST_F(Host, ExistingOutputIsRefusedWithoutForce) {
    write_file(folder / "mended.arw", {1});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended.arw"), in("broken.arw")}), 3);
    EXPECT_THAT(out, HasSubstr("not done"));
    EXPECT_THAT(out, HasSubstr("--force"));
    EXPECT_EQ(read_file(folder / "mended.arw"), Bytes{1});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended.arw"), "--force", in("broken.arw")}), 0);
    EXPECT_EQ(decode_raw(folder / "mended.arw"), decode_raw(original.bytes));
}

TEST_F(Host, FailedRepairLeavesAnExistingOutputAloneEvenWithForce) {
    write_file(folder / "mended.arw", {1});
    write_file(folder / "broken.arw", Bytes(1000));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended.arw"), "--force", in("broken.arw")}), 2);
    EXPECT_THAT(out, HasSubstr("(code -1124)"));
    EXPECT_EQ(read_file(folder / "mended.arw"), Bytes{1});
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw", "mended.arw"));
}

TEST_F(Host, OutputThatIsAFolderIsAlwaysRefused) {
    fs::create_directory(folder / "keep");
    write_file(folder / "keep" / "file", {1});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("keep"), "--force", in("broken.arw")}), 3);
    EXPECT_EQ(read_file(folder / "keep" / "file"), Bytes{1});
    EXPECT_THAT(out, HasSubstr("folder"));
}

TEST_F(Host, OutputThatIsAnInputIsAlwaysRefused) {
    for (const char* output : {"good.arw", "broken.arw"}) {
        EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in(output), "--force", in("broken.arw")}), 64);
        EXPECT_THAT(err, HasSubstr("also an input"));
    }
    fs::create_directory(folder / "below");
    EXPECT_EQ(
        run({"repair", "-s", in("good.arw"), "-o", in("below/../good.arw"), "--force", in("broken.arw")}),
        64);
    EXPECT_THAT(err, HasSubstr("also an input"));
    EXPECT_EQ(run({"salvage", "-o", in("broken.arw"), "--force", in("broken.arw")}), 64);
    EXPECT_EQ(read_file(folder / "good.arw"), sample.bytes);
    EXPECT_EQ(read_file(folder / "broken.arw"), damaged);
}

TEST_F(Host, MissingInputsAreReportedByName) {
    EXPECT_EQ(run({"repair", "-s", in("missing.arw"), in("broken.arw")}), 64);
    EXPECT_THAT(err, HasSubstr(in("missing.arw") + ": no such file"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("missing.arw")}), 3);
    EXPECT_THAT(out, HasSubstr(in("missing.arw") + ": not done, no such file"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(Host, FoldersOfAnOutputAreCreated) {
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("new/folder/out.arw"), in("broken.arw")}), 0);
    EXPECT_EQ(decode_raw(folder / "new" / "folder" / "out.arw"), decode_raw(original.bytes));
}

TEST_F(Host, NothingIsWrittenToARemovableMediumByDefault) {
    plate_mend::host::RepairOptions options;
    options.paths = {in("broken.arw")};
    options.samples = {in("good.arw")};
    const auto on_a_card = [&] {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const int status = plate_mend::host::run_repair(options, program_file(), [this](const auto& place) {
            return fs::equivalent(place, folder.path()); // The card, and no other disk.
        });
        out = ::testing::internal::GetCapturedStdout();
        err = ::testing::internal::GetCapturedStderr();
        return status;
    };
    EXPECT_EQ(on_a_card(), 64);
    EXPECT_THAT(err, HasSubstr(in("broken.arw") + ": is on a removable medium"));
    EXPECT_THAT(err, HasSubstr("--out"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
    options.out = in("mended");
    EXPECT_EQ(on_a_card(), 0);
    options.out.clear();
    options.force = true;
    EXPECT_EQ(on_a_card(), 0);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "broken.repaired.arw", "good.arw", "mended"));
}

TEST_F(Host, FileOfAnotherExtensionIsRepairedByItsContent) {
    write_file(folder / "broken.tif", joined(noise(1000, 5), original.bytes));
    EXPECT_EQ(run({"repair", "--no-fallback", "-s", in("good.arw"), in("broken.tif")}), 0) << out << err;
    EXPECT_EQ(decode_raw(folder / "broken.repaired.tif"), decode_raw(original.bytes));
    EXPECT_THAT(out, HasSubstr("image found by the damaged file's own tables, 1 piece, proved"));
}

TEST_F(Host, SampleThatLibRawDoesNotOpenIsSetAside) {
    // A sample whose picture height is gone: the library would join the files all the same.
    Bytes blind = sample.bytes;
    put_u16(blind, sample.sub_ifd.entry(257), 0xFFFF, ByteOrder::kLittle);
    put_u16(blind, sample.sub_ifd.entry(256), 0xFFFF, ByteOrder::kLittle);
    write_file(folder / "good.arw", blind);
    EXPECT_EQ(run({"repair", "--no-fallback", "-s", in("good.arw"), in("broken.arw")}), 2);
    EXPECT_THAT(out, HasSubstr("the sample itself does not decode"));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
}

TEST_F(Host, NamesOnTheTerminalAreHarmless) {
    EXPECT_EQ(run({"check", "broken\x1B[2J\xFF.arw"}), 1);
    EXPECT_EQ(out, "broken?[2J\xEF\xBF\xBD.arw: does not open (no such file)\n");
    EXPECT_NE(run({"salvage", "broken\x1B[2J.arw"}), 0);
    EXPECT_THAT(err, StartsWith("plate-mend: broken?[2J.arw: "));
    EXPECT_EQ(run({"repair", "-s", "good\x1B[2J.arw", in("broken.arw")}), 64);
    EXPECT_THAT(err, StartsWith("plate-mend: good?[2J.arw: "));
}

TEST_F(Host, LogIsWrittenToTheGivenFolder) {
    fs::create_directory(folder / "logs");
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--log", in("logs"), in("broken.arw")}), 0);
    const Bytes log = read_file(folder / "logs" / "PlateMend.log");
    EXPECT_THAT(std::string(log.begin(), log.end()), HasSubstr("arw advanced repair success!"));
    EXPECT_EQ(
        run({"repair", "-s", in("good.arw"), "--log", in("missing"), "-o", in("x.arw"), in("broken.arw")}),
        64);
    EXPECT_THAT(err, HasSubstr("no log can be written there"));
}

TEST_F(Host, SalvagesAPreviewAndReportsHowMuchOfItSurvives) {
    const ArwPhoto large(ArwPhoto::Options{.width = 640, .height = 480});
    write_file(folder / "broken.arw", zeroed(large.bytes, 0, large.strip_entries + 36));
    EXPECT_EQ(run({"salvage", in("broken.arw")}), 0) << err;
    EXPECT_THAT(names(), ElementsAre("broken.arw", "broken.salvaged.jpg", "good.arw"));
    EXPECT_TRUE(jpeg_decodes(read_file(folder / "broken.salvaged.jpg")));
    EXPECT_THAT(out, StartsWith(in("broken.arw") + ": picture saved to " + in("broken.salvaged.jpg") +
                                " (640 x 480 pixels, 1200 of 1200 blocks are the photographer's own"));
}

TEST_F(Host, SalvagedThumbnailIsKeptButIsNotASuccess) {
    write_file(folder / "broken.arw", zeroed(original.bytes, 0, original.strip_entries + 36));
    EXPECT_EQ(run({"salvage", in("broken.arw")}), 1);
    EXPECT_TRUE(jpeg_decodes(read_file(folder / "broken.salvaged.jpg")));
    EXPECT_THAT(err, HasSubstr("only a thumbnail"));
}

TEST_F(Host, SalvagesADamagedJpegToo) {
    const Bytes jpeg = make_preview(Scene(3), 640, 480);
    write_file(folder / "broken.jpg", part(jpeg, 0, jpeg.size() - 2)); // The end of the picture is lost.
    EXPECT_EQ(run({"salvage", in("broken.jpg")}), 0) << err;
    EXPECT_TRUE(jpeg_decodes(read_file(folder / "broken.salvaged.jpg")));
}

TEST_F(Host, SalvageWithoutAPictureFailsAndLeavesNothing) {
    write_file(folder / "broken.arw", Bytes(5000));
    EXPECT_EQ(run({"salvage", in("broken.arw")}), 2);
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw"));
    EXPECT_THAT(err, HasSubstr("no picture is left"));
}

TEST_F(Host, SalvagesAJpegWithoutItsHeadWithTheHeaderOfASample) {
    const Bytes jpeg = make_coded(coding_named("baseline 4:2:2, optimised"), 3, 640, 480);
    write_file(folder / "broken.jpg", zeroed(jpeg, 0, jpeg.size() / 4));
    write_file(folder / "sample.jpg", jpeg);
    EXPECT_EQ(run({"salvage", in("broken.jpg")}), 2);
    EXPECT_EQ(run({"salvage", "--sample", in("sample.jpg"), in("broken.jpg")}), 1) << err;
    EXPECT_THAT(out, AllOf(HasSubstr("640 x 480"), HasSubstr("0 of 2400 blocks")));
    EXPECT_TRUE(jpeg_decodes(read_file(folder / "broken.salvaged.jpg")));
    EXPECT_EQ(run({"salvage", "--force", "--sample", in("broken.jpg"), in("broken.jpg")}), 3);
    EXPECT_THAT(err, HasSubstr("the sample cannot be read"));
    EXPECT_EQ(run({"salvage", "--force", "-o", in("sample.jpg"), "-s", in("sample.jpg"), in("broken.jpg")}),
              64);
    EXPECT_EQ(read_file(folder / "sample.jpg"), jpeg) << "a sample is never replaced";
}

TEST_F(Host, ChecksFiles) {
    EXPECT_EQ(run({"check", in("good.arw")}), 0);
    EXPECT_EQ(out, in("good.arw") + ": opens\n");
    EXPECT_EQ(run({"check", in("broken.arw"), in("good.arw")}), 1) << "one of them does not";
    EXPECT_EQ(out, in("broken.arw") + ": does not open\n" + in("good.arw") + ": opens\n");
}

TEST_F(Host, HelpShowsAnExampleAndWrongCommandLinesAreUsageErrors) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_THAT(out, HasSubstr("plate-mend repair --sample IMG_0007.ARW --out mended IMG_0042.ARW"));
    EXPECT_EQ(run({"repair", "--help"}), 0);
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_THAT(out, StartsWith("plate-mend "));
    EXPECT_EQ(run({}), 64);
    EXPECT_EQ(run({"frob"}), 64);
    EXPECT_EQ(run({"repair", in("broken.arw")}), 64) << "no sample";
    EXPECT_EQ(run({"repair", "-s", in("good.arw")}), 64) << "no damaged file";
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--ext", ".", in("broken.arw")}), 64);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--ext", "", in("broken.arw")}), 64);
    EXPECT_EQ(run({"check"}), 64);
}

TEST_F(Host, MistypedCommandsAndOptionsAreSuggested) {
    EXPECT_EQ(run({"repiar", "-s", in("good.arw"), in("broken.arw")}), 64);
    EXPECT_THAT(err, HasSubstr("Did you mean repair?\n"));
    EXPECT_EQ(run({"repair", "--smaple=" + in("good.arw"), in("broken.arw")}), 64);
    EXPECT_THAT(err, HasSubstr("Did you mean --sample?\n"));
    EXPECT_EQ(run({"--verison"}), 64);
    EXPECT_THAT(err, HasSubstr("Did you mean --version?\n"));
    EXPECT_EQ(run({"mend"}), 64);
    EXPECT_EQ(run({"repair", in("broken.arw")}), 64);
    EXPECT_THAT(err, Not(HasSubstr("Did you mean"))) << "all names are right, and one is missing";
}

TEST_F(Host, ManualPageNamesTheDefaultOfEveryValue) {
    EXPECT_EQ(run({"man"}), 0);
    std::istringstream page(out);
    int values = 0;
    std::string description;
    for (std::string line; std::getline(page, line);) {
        if (line.find(R"(\fB\-\-)") == std::string::npos || line.find(R"(\fI)") == std::string::npos ||
            line.find(R"([\fI)") != std::string::npos) {
            continue; // No option that takes a value.
        }
        ++values;
        ASSERT_TRUE(std::getline(page, description));
        EXPECT_THAT(description, AnyOf(HasSubstr("(default: "), HasSubstr("(required)"))) << line;
    }
    EXPECT_GE(values, 20);
}

TEST_F(Host, RunEndsWithASummary) {
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("mended.arw"), in("broken.arw")}), 0);
    EXPECT_THAT(out, HasSubstr("\n1 file: 1 whole\nResults: " + in("mended.arw") + "\n"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("out"), in("broken.arw"), in("none.arw")}), 3);
    EXPECT_THAT(out, HasSubstr("\n2 files: 1 whole, 1 not done\nReasons:\n  1 file, " + in("none.arw") +
                               ": no such file\nResults: " + in("out") +
                               "\nTo try those again that are lost or not done: the same command with "
                               "--resume\n"));
    EXPECT_EQ(run({"repair", "-q", "-s", in("good.arw"), "--out", in("quiet"), in("broken.arw")}), 0);
    EXPECT_EQ(out, "") << "no terminal reads it";
    EXPECT_EQ(run({"repair", "--csv", "-", "-s", in("good.arw"), "--out", in("csv"), in("broken.arw")}), 0);
    EXPECT_THAT(out + err, Not(HasSubstr("1 file: 1 whole"))) << "the table has the standard output";
}

TEST_F(Host, ContactSheetIsPrintedWithItsPictures) {
    EXPECT_EQ(run({"repair", "--report", "-", "-s", in("good.arw"), "--out", in("out"), in("broken.arw")}),
              0);
    EXPECT_THAT(out, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(out, AllOf(HasSubstr("src=\"data:image/jpeg;base64,"), EndsWith("</html>\n")));
    EXPECT_THAT(names(), ElementsAre("broken.arw", "good.arw", "out"));
    EXPECT_EQ(run({"repair", "--report", "-", "--json", "-", "-s", in("good.arw"), "--out", in("again"),
                   in("broken.arw")}),
              64);
    EXPECT_THAT(err, HasSubstr("only one report"));
}

TEST_F(Host, OnlyPhotographsAreCalledLost) {
    write_file(folder / "notes.txt", Bytes(3000, 'a'));
    write_file(folder / "photo.arw", Bytes(3000, 'a'));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("out"), in("notes.txt")}), 3);
    EXPECT_THAT(out,
                StartsWith(in("notes.txt") + ": not done, nothing shows that this is, or was, a photograph"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("out"), in("photo.arw")}), 2);
    EXPECT_THAT(out, StartsWith(in("photo.arw") + ": lost"));
}

TEST_F(Host, SalvageReportsFilesInTheWayAsRepairDoes) {
    write_file(folder / "broken.salvaged.jpg", {1});
    EXPECT_EQ(run({"salvage", in("broken.arw")}), 3);
    EXPECT_EQ(run({"salvage", in("none.arw")}), 3);
    EXPECT_EQ(read_file(folder / "broken.salvaged.jpg"), Bytes{1});
}

} // namespace
} // namespace test
