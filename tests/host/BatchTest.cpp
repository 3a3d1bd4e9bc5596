#include "host/BatchFixture.h"
#include "host/Pairs.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include "record/RecordJson.h"

#include <gmock/gmock.h>

#include <fstream>
#include <set>

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::from_json_line;
using plate_mend::host::Record;
using plate_mend::host::Verdict;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Batch : public BatchFixture {};

TEST_F(Batch, FolderOfFilesIsRepairedIntoAnotherOfTheSameShape) {
    put("card/a.arw", damaged);
    put("card/day 1/B.ARW", damaged);
    put("card/notes.txt", {1});
    put("card/day 1/c.nef", lost_);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              2);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "day 1/B.ARW"));
    EXPECT_EQ(decode_raw(folder / "mended" / "day 1" / "B.ARW"), decode_raw(original.bytes));
    const auto found = records();
    ASSERT_THAT(found, SizeIs(3));
    EXPECT_EQ(found.at("a.arw").verdict, Verdict::kWhole);
    EXPECT_EQ(found.at("B.ARW").verdict, Verdict::kWhole);
    EXPECT_EQ(found.at("c.nef").verdict, Verdict::kNotRepaired);
    ASSERT_THAT(found.at("c.nef").attempts, SizeIs(1));
    EXPECT_EQ(found.at("c.nef").attempts[0].engine, "raw") << "the exact engine has no sample of this format";
}

TEST_F(Batch, PhotographsOfOtherCamerasAreTakenFromFoldersAndRepairedByTheirContent) {
    put("card/a.NRW", joined(noise(1000, 5), original.bytes));
    put("card/b.pef", joined(noise(512, 6), original.bytes));
    put("card/c.txt", original.bytes);
    put("good/other.srw", sample.bytes);
    EXPECT_EQ(run({"repair", "--samples", in("good"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              0)
        << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("a.NRW", "b.pef"));
    EXPECT_EQ(decode_raw(folder / "mended/a.NRW"), decode_raw(original.bytes));
    EXPECT_EQ(records().at("a.NRW").taken()->engine, "raw");
}

TEST_F(Batch, SamplesAreCountedNotTheEnginesThatTryThem) {
    put("card/a.arw", lost_);
    for (const unsigned number : {3U, 4U, 5U}) {
        put("good/" + std::to_string(number) + ".arw", ArwPhoto(ArwPhoto::Options{.number = number}).bytes);
    }
    EXPECT_EQ(run({"repair", "--no-fallback", "--max-samples", "2", "--samples", in("good"), "--json",
                   in("records.jsonl"), in("card")}),
              2);
    std::set<std::string> tried;
    const Record record = records().at("a.arw");
    for (const auto& attempt : record.attempts) {
        tried.insert(attempt.sample + attempt.engine);
    }
    EXPECT_THAT(tried, SizeIs(4)) << "two samples, by both engines";
}

TEST_F(Batch, OnlyRequestedExtensionsAreTakenFromFolders) {
    put("card/a.arw", damaged);
    put("card/b.raw", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--ext", "RAW", "--out", in("mended"), in("card")}), 0);
    EXPECT_THAT(files_below("mended"), ElementsAre("b.raw"));
}

TEST_F(Batch, PhotographsInFoldersAreKnownByTheirContent) {
    const ArwPhoto large_sample({.number = 1, .width = 480, .height = 360});
    const ArwPhoto large({.number = 2, .width = 480, .height = 360});
    const Bytes headless =
        zeroed(large.bytes, 0, large.strip_entries); // A directory with the maker survives.
    put("good/large.arw", large_sample.bytes);
    put("good/small.arw", sample.bytes);
    put("card/f1.tif", headless);
    put("card/f2", headless);
    put("card/IMG_3.ARW.locked", damaged);
    put("card/IMG_3.xmp", {'<'});
    put("card/._f1.arw", {0, 5, 22, 7});
    put("card/notes.txt", {'a'});
    put("card/f4", lost_);
    EXPECT_EQ(run({"repair", "--samples", in("good"), "--out", in("mended"), in("card")}), 0) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_3.ARW", "f1.arw", "f2.arw"));
    EXPECT_EQ(decode_raw(folder / "mended" / "IMG_3.ARW"), decode_raw(original.bytes));
    EXPECT_EQ(decode_raw(folder / "mended" / "f1.arw"), decode_raw(large.bytes));
    EXPECT_EQ(decode_raw(folder / "mended" / "f2.arw"), decode_raw(large.bytes));
    EXPECT_THAT(err, HasSubstr("4 files without a sign of a RAW photograph are left out: 1 .txt, "
                               "2 companions of photographs, 1 without extension (name them"));
}

TEST_F(Batch, ResultsWithNewExtensionsDoNotMeet) {
    put("card/x.arw", damaged);
    put("card/x.arw.locked", damaged);
    put("card/x.ARW.locked2", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("card")}), 0) << out << err;
    EXPECT_THAT(files_below("mended"), SizeIs(3));
    EXPECT_TRUE(fs::exists(folder / "mended" / "x.arw"));
    EXPECT_TRUE(fs::exists(folder / "mended" / "x.arw.locked.arw"));
}

TEST_F(Batch, FolderWithoutPhotographsIsAnError) {
    put("card/notes.txt", {'a'});
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("card")}), 64);
    EXPECT_THAT(err,
                HasSubstr("no damaged photograph was found; 1 file without a sign of a RAW photograph is "
                          "left out: 1 .txt"));
}

TEST_F(Batch, SamplesAreKnownByTheirContent) {
    put("card/a.arw", damaged);
    put("good/f1.dat", sample.bytes);
    put("good/notes.txt", {'a'});
    EXPECT_EQ(run({"repair", "--samples", in("good"), "--out", in("mended"), in("card")}), 0) << out << err;
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
}

TEST_F(Batch, SamplesOfAFolderAreItsPhotographs) {
    put("card/a.arw", damaged);
    put("good/day 1/f1.dat", sample.bytes);
    put("good/day 1/f1.xmp", {'<'});
    put("good/old.repaired.arw", original.bytes);
    put("good/notes.txt", {'a'});
    for (const char* option : {"--sample", "--samples"}) {
        EXPECT_EQ(run({"repair", "--force", option, in("good"), "--out", in("mended"), in("card")}), 0)
            << err;
        EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
        EXPECT_THAT(err, HasSubstr("good: 3 files of no use as a sample are left out: 1 .txt, 1 companions "
                                   "of photographs, 1 results of plate-mend"))
            << option;
    }
}

TEST_F(Batch, FolderOfSamplesWithoutAPhotographIsAnError) {
    put("card/a.arw", damaged);
    put("good/notes.txt", {'a'});
    fs::create_directory(folder / "empty");
    for (const char* option : {"--sample", "--samples"}) {
        EXPECT_EQ(run({"repair", "-s", in("good.arw"), option, in("good"), in("card")}), 64);
        EXPECT_THAT(err, HasSubstr("good: no photograph in this folder could be a sample; 1 file of no use "
                                   "as a sample is left out: 1 .txt"));
        EXPECT_EQ(run({"repair", option, in("empty"), in("card")}), 64);
        EXPECT_THAT(err, HasSubstr("empty: no photograph in this folder could be a sample"));
        EXPECT_EQ(run({"repair", option, in("nowhere"), in("card")}), 64);
        EXPECT_THAT(err, HasSubstr("nowhere: no such file"));
    }
    EXPECT_THAT(files_below("card"), ElementsAre("a.arw"));
}

TEST_F(Batch, RememberedSamplesAreInTheFolderOfResultsAlone) {
    put("card/a.arw", damaged);
    put("good/b.arw", sample.bytes);
    put("good/c.arw", ArwPhoto(ArwPhoto::Options{.number = 5}).bytes);
    EXPECT_EQ(run({"repair", "-s", in("good"), in("card")}), 0) << err;
    EXPECT_THAT(names(), ElementsAre("card", "good", "good.arw"));
    EXPECT_THAT(files_below("good"), ElementsAre("b.arw", "c.arw"));
    EXPECT_EQ(run({"repair", "-s", in("good"), "--out", in("mended"), in("card")}), 0) << err;
    const fs::path lines = folder / "mended" / ".plate-mend" / "run" / "samples.jsonl";
    ASSERT_TRUE(fs::exists(lines));
    const auto written = fs::last_write_time(lines);
    EXPECT_EQ(run({"repair", "--resume", "-s", in("good"), "--out", in("mended"), in("card")}), 0) << err;
    EXPECT_EQ(run({"repair", "--force", "--task", "2", "-s", in("good"), "--out", in("mended"), in("card")}),
              0)
        << err;
    EXPECT_EQ(fs::last_write_time(lines), written);
    EXPECT_FALSE(fs::exists(folder / "mended" / ".plate-mend" / "2" / "samples.jsonl")) << "nothing is new";
}

TEST_F(Batch, SecondRunOverAFolderLeavesResultsOfTheFirstAlone) {
    put("card/a.arw", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("card")}), 0);
    EXPECT_THAT(files_below("card"), ElementsAre("a.arw", "a.repaired.arw"));
    EXPECT_EQ(run({"repair", "--force", "-s", in("good.arw"), "--json", in("records.jsonl"), in("card")}), 0);
    EXPECT_THAT(records(), SizeIs(1)) << "the result is no damaged file";
}

TEST_F(Batch, InputsAndSamplesAreLeftAsTheyAre) {
    put("card/a.arw", damaged);
    const auto changed = fs::last_write_time(folder / "card" / "a.arw");
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("card")}), 0);
    EXPECT_EQ(read_file(folder / "card" / "a.arw"), damaged);
    EXPECT_EQ(fs::last_write_time(folder / "card" / "a.arw"), changed);
    EXPECT_EQ(read_file(folder / "good.arw"), sample.bytes);
    EXPECT_THAT(names(), ElementsAre("card", "good.arw", "mended"));
}

TEST_F(Batch, FittingSampleIsTakenAndTheOthersAreListed) {
    fs::create_directory(folder / "good");
    const ArwPhoto other_order(ArwPhoto::Options{.order = ByteOrder::kBig, .number = 3});
    const ArwPhoto other_size(ArwPhoto::Options{.number = 3, .width = 120, .height = 160});
    put("good/a other order.arw", other_order.bytes);
    put("good/b other size.arw", other_size.bytes);
    put("good/c right.arw", sample.bytes);
    put("good/d.nef", {1});
    // Besides what a repair needs, only the directory of the preview survives in the damaged file.
    put("card/a.arw", zeroed(original.bytes, 0, 8));
    EXPECT_EQ(run({"repair", "--samples", in("good"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              0)
        << out << err;
    const Record record = records().at("a.arw");
    ASSERT_NE(record.taken(), nullptr);
    EXPECT_EQ(fs::path(record.taken()->sample).filename(), "c right.arw");
    EXPECT_THAT(record.taken()->why, HasSubstr("same picture sizes"));
    EXPECT_THAT(record.taken()->why, HasSubstr("same byte order"));
    EXPECT_THAT(record.attempts, SizeIs(1)) << "a whole result ends the search";
}

TEST_F(Batch, NextSampleIsTriedIfTheFirstFails) {
    fs::create_directory(folder / "good");
    Bytes undecodable = sample.bytes; // Nearest by its name, and of a compression that nothing decodes.
    put_u16(undecodable, sample.sub_ifd.value(259), 5, ByteOrder::kLittle);
    put("good/broken_0001.arw", undecodable);
    put("good/other_0009.arw", sample.bytes);
    put("card/broken_0002.arw", damaged);
    EXPECT_EQ(run({"repair", "--samples", in("good"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              0);
    const Record record = records().at("broken_0002.arw");
    ASSERT_THAT(record.attempts, SizeIs(2));
    EXPECT_FALSE(record.attempts[0].code.has_value());
    EXPECT_THAT(record.attempts[0].problem, HasSubstr("the sample itself does not decode"));
    EXPECT_FALSE(record.attempts[0].taken);
    EXPECT_TRUE(record.attempts[1].taken);
    EXPECT_EQ(run({"repair", "--max-samples", "1", "--samples", in("good"), "--out", in("few"), in("card")}),
              0)
        << "a sample that does not decode is no trial";
}

TEST_F(Batch, JpegIsSalvagedWhereThePhotographIsNotWhole) {
    const ArwPhoto large(ArwPhoto::Options{.number = 2, .width = 640, .height = 480});
    put("card/a.arw", zeroed(large.bytes, 0, large.strip_entries + 36));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              1);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.jpg"));
    EXPECT_TRUE(jpeg_decodes(read_file(folder / "mended" / "a.jpg")));
    const Record record = records().at("a.arw");
    EXPECT_EQ(record.verdict, Verdict::kPreviewOnly);
    EXPECT_EQ(record.salvage.width, 640U);
    ASSERT_TRUE(record.jpeg.has_value());
    EXPECT_EQ(record.jpeg->path, utf8(folder / "mended" / "a.jpg"));
    EXPECT_EQ(run({"repair", "--no-fallback", "-s", in("good.arw"), "--out", in("none"), in("card")}), 2);
    EXPECT_THAT(files_below("none"), IsEmpty());
}

TEST_F(Batch, TruncatedPhotographKeepsItsRows) {
    put("card/a.arw", truncated_);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--json", in("records.jsonl"),
                   in("card")}),
              1);
    const Record record = records().at("a.arw");
    EXPECT_EQ(record.verdict, Verdict::kPartial);
    ASSERT_NE(record.taken(), nullptr);
    EXPECT_NEAR(record.taken()->judgement.rows_good.value_or(-1), 0.75, 0.001);
    EXPECT_THAT(record.taken()->judgement.findings, ::testing::Contains(HasSubstr("9600 bytes are lost")));
    const auto picture = decode_raw(folder / "mended" / "a.arw").value();
    const auto whole = decode_raw(original.bytes).value();
    EXPECT_TRUE(std::equal(picture.samples.begin(), picture.samples.begin() + std::ptrdiff_t{160} * 90,
                           whole.samples.begin()));
}

TEST_F(Batch, ResumedRunDoesOnlyWhatIsLeft) {
    put("card/a.arw", damaged);
    const std::vector<std::string> command{"repair",     "-s",     in("good.arw"),      "--out",
                                           in("mended"), "--json", in("records.jsonl"), in("card")};
    EXPECT_EQ(run(command), 0);
    const auto made = fs::last_write_time(folder / "mended" / "a.arw");
    put("card/b.arw", damaged);
    EXPECT_EQ(run(command), 64) << "the report exists";
    auto resumed = command;
    resumed.insert(resumed.begin() + 1, "--resume");
    EXPECT_EQ(run(resumed), 0);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "a.arw"), made);
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "b.arw"));
    EXPECT_THAT(records(), SizeIs(2));
    // A removed result is restored.
    fs::remove(folder / "mended" / "a.arw");
    EXPECT_EQ(run(resumed), 0);
    EXPECT_TRUE(fs::exists(folder / "mended" / "a.arw"));
    EXPECT_EQ(run({"repair", "--resume", "-s", in("good.arw"), in("card")}), 64) << "the record is in --out";
}

TEST_F(Batch, ListsOfFilesAreTaken) {
    put("card/a.arw", damaged);
    put("card/day 1/b.arw", damaged);
    {
        std::ofstream list(folder / "list.txt", std::ios::binary);
        list << in("card/a.arw") << "\r\n\n"
             << R"({"path": ")" << (folder / "card" / "day 1" / "b.arw").generic_string() << "\"}\n";
    }
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--files-from", in("list.txt")}), 0)
        << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "day 1/b.arw"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--files-from", in("no list")}), 64);
}

TEST_F(Batch, ListsMayEndPathsWithNull) {
    put("card/{a}.arw", damaged);
    put("card/b.arw", damaged);
    {
        std::ofstream list(folder / "list", std::ios::binary);
        list << in("card/{a}.arw") << '\0' << '\0' << in("card/b.arw");
    }
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), "-0", "--files-from", in("list")}),
              0)
        << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("b.arw", "{a}.arw"));
}

TEST_F(Batch, OneNameForTwoFilesIsRefused) {
    put("card/a.arw", damaged);
    put("card/b.arw", damaged);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "-o", in("one.arw"), in("card")}), 64);
    EXPECT_FALSE(fs::exists(folder / "one.arw"));
}

TEST_F(Batch, DamagedFileThatMayNotBeWrittenToIsCopied) {
    put("card/a.arw", damaged);
    fs::permissions(folder / "card" / "a.arw", fs::perms::owner_read);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--out", in("mended"), in("card")}), 0) << out;
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
    fs::permissions(folder / "card" / "a.arw", fs::perms::owner_all);
}

TEST_F(Batch, ParallelJobsGiveTheSameResultsAsOne) {
    for (unsigned number = 0; number < 12; ++number) {
        put("card/" + std::to_string(number) + ".arw", damaged);
    }
    EXPECT_EQ(run({"repair", "-j", "6", "-s", in("good.arw"), "--out", in("mended"), in("card")}), 0);
    EXPECT_THAT(files_below("mended"), SizeIs(12));
    for (unsigned number = 0; number < 12; ++number) {
        EXPECT_EQ(read_file(folder / "mended" / (std::to_string(number) + ".arw")),
                  read_file(folder / "mended" / "0.arw"));
    }
}

TEST_F(Batch, AllReportsOfARun) {
    put("card/a.arw", damaged);
    put("card/b.arw", lost_);
    EXPECT_EQ(run({"repair", "--quiet", "-s", in("good.arw"), "--out", in("mended"), "--json", in("r.jsonl"),
                   "--csv", in("r.csv"), "--report", in("r.html"), in("card")}),
              2);
    EXPECT_EQ(out, "");
    EXPECT_THAT(records("r.jsonl"), SizeIs(2));
    const Record whole = records("r.jsonl").at("a.arw");
    EXPECT_THAT(whole.damaged.sha256, SizeIs(64));
    EXPECT_THAT(whole.raw->sha256, SizeIs(64));
    const Bytes csv = read_file(folder / "r.csv");
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 3);
    const Bytes page = read_file(folder / "r.html");
    const std::string text(page.begin(), page.end());
    EXPECT_THAT(text, HasSubstr("data:image/jpeg;base64,"));
    EXPECT_THAT(text, HasSubstr("1 whole, 1 lost"));
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), "--force", "--json", "-", "--out", in("mended"),
                   in("card/a.arw")}),
              0);
    EXPECT_TRUE(from_json_line(out.substr(0, out.find('\n'))).has_value()) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << "nothing else stands between the lines";
}

} // namespace
} // namespace test
