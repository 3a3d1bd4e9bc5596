#include "report/Html.h"

#include "report/Card.h"

#include "host/report/Records.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <stdexcept>

namespace plate_mend::host {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class Html : public ::testing::Test {
  protected:
    [[nodiscard]] std::string page() const {
        const test::Bytes bytes = test::read_file(file);
        return {bytes.begin(), bytes.end()};
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            found.push_back(test::utf8(entry.path().filename()));
        }
        return found;
    }

    [[nodiscard]] HtmlReport start(const std::string& made = "") const {
        return {OutputFile(file, true), SheetPictures(file, inputs, true), made};
    }

    /// The entry of a record without pictures.
    [[nodiscard]] std::string card(const Record& record, const CardPictures& pictures = {}) const {
        const Card made = card_of(record, 0, Links(folder.path()), pictures);
        return made.tag + made.content;
    }

    /// A picture that is no JPEG: nothing looks into it here.
    [[nodiscard]] static std::string picture(std::size_t size, char letter) {
        return std::string(size, letter);
    }

    [[nodiscard]] std::vector<std::string> pictures_beside() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder / u8"Blatt 写真_files")) {
            const test::Bytes bytes = test::read_file(entry.path());
            found.emplace_back(bytes.begin(), bytes.end());
        }
        return found;
    }

    /// A report of pictures that take more than a page may.
    void write_large(char letter) const {
        HtmlReport report = start();
        for (std::size_t count = 0; count < 3; ++count) {
            Record record = test::small_record("a.arw", Verdict::kWhole);
            record.picture = picture(HtmlReport::kLargestPage / 4 + count, letter);
            report.add(record);
        }
        report.close();
    }

    test::TempDir folder;
    std::filesystem::path file = folder / u8"Blatt 写真.html";
    Protected inputs;
};

TEST_F(Html, PageAppearsOnlyWhenItIsClosed) {
    HtmlReport report = start("made here");
    report.add(test::full_record());
    EXPECT_FALSE(std::filesystem::exists(file));
    report.close();
    EXPECT_THAT(names(), ElementsAre("Blatt 写真.html"));
    EXPECT_THAT(page(), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page(), HasSubstr("made here"));
    EXPECT_THAT(page(), EndsWith("</html>\n"));
}

TEST_F(Html, PageThatIsNotClosedLeavesNothingAndTheOldOneAlone) {
    test::write_file(file, {'o', 'l', 'd'});
    {
        HtmlReport report = start();
        report.add(test::full_record());
    }
    EXPECT_THAT(names(), ElementsAre("Blatt 写真.html"));
    EXPECT_EQ(page(), "old");
}

TEST_F(Html, MissingFolderThrows) {
    const std::filesystem::path missing = folder / "missing" / "page.html";
    EXPECT_THROW(OutputFile(missing, true), std::runtime_error);
    EXPECT_THROW(SheetPictures(missing, inputs, true), std::runtime_error);
}

TEST_F(Html, SummaryComesBeforeTheFiles) {
    HtmlReport report = start();
    for (int count = 0; count < 3; ++count) {
        report.add(test::small_record("a.arw", Verdict::kWhole));
    }
    report.add(test::small_record("b.arw", Verdict::kNotRepaired));
    report.close();
    const std::string text = page();
    const std::size_t summary = text.find("4 files: 3 whole, 1 lost");
    ASSERT_NE(summary, std::string::npos);
    EXPECT_LT(summary, text.find("<li class=\"card"));
    EXPECT_THAT(text, Not(HasSubstr("interrupted")));
}

TEST_F(Html, InterruptedRunSaysSo) {
    HtmlReport report = start();
    report.close(true);
    EXPECT_THAT(page(), HasSubstr("0 files: no files"));
    EXPECT_THAT(page(), HasSubstr("The run was interrupted"));
}

TEST_F(Html, CardShowsWhereEverythingComesFrom) {
    const std::string html = card(test::full_record());
    EXPECT_THAT(html, HasSubstr("<dt>Image data</dt><dd>from the damaged file <b>IMG_0042.arw</b></dd>"));
    EXPECT_THAT(html, HasSubstr("<dt>Everything else: date, exposure, white balance, lens, GPS, serial "
                                "number</dt><dd>from the sample <b>good.arw</b>, so the file is dated "
                                "2026-05-01 12:30:00</dd>"));
    EXPECT_THAT(html, HasSubstr("<dt>JPEG</dt><dd>from inside the damaged file <b>IMG_0042.arw</b>"));
}

TEST_F(Html, CardShowsEverythingInTheRecord) {
    const std::string html = card(test::full_record());
    for (const char* told :
         {"partly there", "broken/IMG_0042.arw", "9571748 bytes", "out/IMG_0042.repaired.arw",
          "out/IMG_0042.salvaged.jpg", "3872 × 2592 pixels", "74.5 % of the pixels are the photograph's own",
          "out/IMG_0042.mask.png", "2 put together anew", "Sony DSLR-A330", "the lower 648 rows are black",
          "samples/good.arw</a><br>Why: same camera, size nearest", "samples/other.arw: ", "(code -1126)",
          "[same camera, date nearest]", "samples/third.arw: crashed", "79 of 80 blocks",
          "only a thumbnail"}) {
        EXPECT_THAT(html, HasSubstr(told));
    }
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        EXPECT_THAT(html, HasSubstr(std::string(64, letter)));
    }
}

TEST_F(Html, CardDrawsLostPixelsOverThePicture) {
    Record record = test::full_record();
    EXPECT_THAT(card(record), Not(HasSubstr("<svg viewBox"))) << "there is no picture";
    const CardPictures pictures{"a.jpg", ""};
    EXPECT_THAT(card(record, pictures), HasSubstr("<svg viewBox=\"0 0 3872 2592\""));
    EXPECT_THAT(card(record, pictures), HasSubstr("<rect class=\"lost\" x=\"0\" y=\"100\" width=\"3872\""));
    EXPECT_THAT(card(record, pictures), HasSubstr("class=\"legend\""));
    record.attempts[1].taken = false;
    EXPECT_THAT(card(record, pictures), Not(HasSubstr("<svg")));
}

TEST_F(Html, CardShowsTheShareOfRowsWherePixelsAreNotCounted) {
    Record record = test::full_record();
    record.attempts[1].judgement.pixels_good.reset();
    EXPECT_THAT(card(record), HasSubstr("75.0 % of the rows without damage"));
}

TEST_F(Html, LostFileHasNoOrigin) {
    Record record = test::small_record("lost.arw", Verdict::kNotRepaired);
    record.attempts.resize(1);
    record.attempts[0].code = -1124;
    const std::string html = card(record);
    EXPECT_THAT(html, HasSubstr("No picture was recovered"));
    EXPECT_THAT(html, HasSubstr("(code -1124)"));
    EXPECT_THAT(html, Not(HasSubstr("class=\"origin\"")));
}

TEST_F(Html, NothingInARecordBecomesMarkup) {
    const std::string evil = "<img src=x onerror=alert(1)>\"'&\x1B\xFF.arw";
    Record record = test::full_record();
    for (std::string* text :
         {&record.damaged.path, &record.damaged.sha256, &record.problem, &record.attempts[0].sample,
          &record.attempts[0].why, &record.attempts[1].sample, &record.attempts[1].why,
          &record.attempts[1].judgement.camera, &record.attempts[1].judgement.taken,
          &record.attempts[1].judgement.findings[0], &record.attempts[2].problem, &record.salvage.problem,
          &record.raw->path, &record.raw->sha256, &record.jpeg->path, &record.jpeg->sha256}) {
        *text = evil;
    }
    const std::string html = card(record);
    EXPECT_THAT(html, HasSubstr("&lt;img src=x onerror=alert(1)&gt;&quot;&#39;&amp;?\xEF\xBF\xBD.arw"));
    EXPECT_THAT(html, Not(HasSubstr("<img")));
    EXPECT_THAT(html, Not(HasSubstr("\"'&")));
}

TEST_F(Html, PictureIsInsideThePage) {
    for (const auto& [bytes, text] : {std::pair<std::string, std::string>{"\xFF\xD8\xFF", "/9j/"},
                                      {"\xFF\xD8", "/9g="},
                                      {"\xFF", "/w=="},
                                      {std::string("\0\0\0M", 4), "AAAATQ=="}}) {
        Record record = test::full_record();
        record.picture = bytes;
        HtmlReport report = start();
        report.add(record);
        report.close();
        EXPECT_THAT(page(), HasSubstr("src=\"data:image/jpeg;base64," + text + "\""));
        EXPECT_THAT(names(), ElementsAre("Blatt 写真.html"));
    }
}

TEST_F(Html, PicturesOfALargePageAreBesideIt) {
    write_large('a');
    EXPECT_THAT(names(), UnorderedElementsAre("Blatt 写真.html", "Blatt 写真_files"));
    EXPECT_THAT(pictures_beside(), UnorderedElementsAre(picture(HtmlReport::kLargestPage / 4, 'a'),
                                                        picture(HtmlReport::kLargestPage / 4 + 1, 'a'),
                                                        picture(HtmlReport::kLargestPage / 4 + 2, 'a')));
    EXPECT_LT(page().size(), 100'000U);
    EXPECT_THAT(page(), Not(HasSubstr("src=\"data:")));
    EXPECT_THAT(page(), HasSubstr("src=\"Blatt%20%E5%86%99%E7%9C%9F_files/"));
}

TEST_F(Html, PicturesOfANewPageReplaceThoseOfTheOldOne) {
    write_large('a');
    write_large('b');
    EXPECT_THAT(names(), UnorderedElementsAre("Blatt 写真.html", "Blatt 写真_files"));
    EXPECT_THAT(pictures_beside(), Each(StartsWith("bbb")));
    HtmlReport report = start();
    report.add(test::full_record());
    report.close();
    EXPECT_THAT(names(), ElementsAre("Blatt 写真.html")) << "a small page has no folder";
}

TEST_F(Html, PageThatCannotBePublishedChangesNoPictures) {
    write_large('a');
    const std::string old = page();
    HtmlReport report(OutputFile(file, false), SheetPictures(file, inputs, true), "");
    Record record = test::small_record("b.arw", Verdict::kWhole);
    record.picture = picture(HtmlReport::kLargestPage, 'b');
    report.add(record);
    EXPECT_THROW(report.close(), std::runtime_error);
    EXPECT_EQ(page(), old);
    EXPECT_THAT(pictures_beside(), AllOf(SizeIs(3), Each(StartsWith("aaa"))));
}

TEST_F(Html, SamplesPictureIsInThePageOnce) {
    HtmlReport report = start();
    for (int count = 0; count < 3; ++count) {
        Record record = test::full_record();
        record.sample_picture = "\xFF\xD8\xFF";
        report.add(record);
    }
    report.close();
    const std::string text = page();
    const std::size_t first = text.find("src=\"data:image/jpeg;base64,/9j/\"");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.find("base64,/9j/", first + 30), std::string::npos);
}

TEST_F(Html, FilesAreGroupedByFolderWithTheirCounts) {
    HtmlReport report = start();
    for (const char* name : {"b/1.arw", "a & c/1.arw", "b/2.arw", "1.arw"}) {
        report.add(test::small_record(name, name[2] == '2' ? Verdict::kNotRepaired : Verdict::kWhole));
    }
    report.close();
    const std::string text = page();
    const std::size_t b = text.find("<h2>b</h2><span class=\"counts\"><span class=\"whole\">1 whole</span> "
                                    "<span class=\"not-repaired\">1 lost</span> </span>");
    ASSERT_NE(b, std::string::npos);
    EXPECT_LT(text.find("<h2>.</h2>"), text.find("<h2>a &amp; c</h2>"));
    EXPECT_LT(text.find("<h2>a &amp; c</h2>"), b);
    EXPECT_LT(text.find("data-order=\"0\""), text.find("data-order=\"2\""));
    EXPECT_GT(text.find("data-order=\"0\""), b);
}

TEST_F(Html, EntriesOfManyFilesAreOneTextInTheOrderOfThePage) {
    HtmlReport report = start();
    for (std::uint64_t number = 0; number <= HtmlReport::kMostInFull; ++number) {
        report.add(test::small_record((number % 2 == 0 ? "b/" : "a/") + std::to_string(number) + ".arw",
                                      Verdict::kWhole));
    }
    report.close();
    const std::string text = page();
    const std::size_t begin = text.find(R"(<script type="text/plain" id="contents">)");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(text.substr(0, begin).find("class=\"mount\""), std::string::npos);
    std::size_t at = begin;
    for (const int number : {1, 3, 5}) {
        at = text.find("aria-label=\"Show " + std::to_string(number) + ".arw, whole, large\"", at);
        ASSERT_NE(at, std::string::npos) << number;
    }
    EXPECT_EQ(static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\x1E')),
              HtmlReport::kMostInFull + 1);
}

TEST_F(Html, FilesAreLinkedRelativeToThePage) {
    Record record = test::full_record();
    record.damaged.path = test::utf8(folder / "broken" / "a#b?c%41 d.arw");
    record.raw->path = test::utf8(folder / u8"ä.arw");
    record.jpeg->path = test::utf8(folder.path().parent_path() / "out.jpg");
    const std::string html = card(record);
    EXPECT_THAT(html, HasSubstr("<a href=\"broken/a%23b%3Fc%2541%20d.arw\">Damaged file</a>"));
    EXPECT_THAT(html, HasSubstr("<a href=\"%C3%A4.arw\">Repaired RAW</a>"));
    EXPECT_THAT(html, HasSubstr("<a class=\"jpeg\" href=\"../out.jpg\">JPEG</a>"));
}

TEST_F(Html, PageNamesNothingOutsideItself) {
    HtmlReport report = start();
    report.add(test::full_record());
    report.close();
    const std::string text = page();
    const std::regex link_to_another_drive("href=\"file:///[A-Z]:/");
    EXPECT_THAT(std::regex_replace(text, link_to_another_drive, ""), Not(HasSubstr("://")));
    EXPECT_THAT(text, Not(HasSubstr("@import")));
    EXPECT_THAT(text, Not(HasSubstr("url(")));
    EXPECT_THAT(text, HasSubstr("default-src 'none'"));
    EXPECT_THAT(text, Not(HasSubstr("unsafe-inline")));
    const std::regex code(" (on[a-z]*|style)=");
    for (std::size_t tag = text.find('<'); tag != text.npos; tag = text.find('<', tag + 1)) {
        const std::string inside = text.substr(tag, text.find('>', tag) - tag);
        EXPECT_FALSE(std::regex_search(inside, code)) << inside;
    }
}

TEST_F(Html, FileOfOneByteHasOneByte) {
    Record record;
    record.damaged.size = 1;
    EXPECT_THAT(card(record), HasSubstr("1 byte (1 byte)"));
}

} // namespace
} // namespace plate_mend::host
