#include "report/Html.h"

#include "host/report/Records.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace plate_mend::host {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

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

    test::TempDir folder;
    std::filesystem::path file = folder / u8"Blatt 写真.html";
};

TEST_F(Html, PageAppearsOnlyWhenItIsClosed) {
    HtmlReport report(OutputFile(file, true), "made here");
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
        HtmlReport report(OutputFile(file, true), "");
        report.add(test::full_record());
    }
    EXPECT_THAT(names(), ElementsAre("Blatt 写真.html"));
    EXPECT_EQ(page(), "old");
}

TEST_F(Html, MissingFolderThrows) {
    EXPECT_THROW(HtmlReport(OutputFile(folder / "missing" / "page.html", true), ""), std::runtime_error);
}

TEST_F(Html, SummaryComesBeforeTheFiles) {
    HtmlReport report(OutputFile(file, true), "");
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
    HtmlReport report(OutputFile(file, true), "");
    report.close(true);
    EXPECT_THAT(page(), HasSubstr("0 files: no files"));
    EXPECT_THAT(page(), HasSubstr("The run was interrupted"));
}

TEST_F(Html, CardShowsWhereEverythingComesFrom) {
    const std::string card = html_card(test::full_record(), 0);
    EXPECT_THAT(card, HasSubstr("<dt>Image data</dt><dd>from the damaged file <b>IMG_0042.arw</b></dd>"));
    EXPECT_THAT(card, HasSubstr("<dt>Everything else: date, exposure, white balance, lens, GPS, serial "
                                "number</dt><dd>from the sample <b>good.arw</b>, so the file is dated "
                                "2026-05-01 12:30:00</dd>"));
    EXPECT_THAT(card, HasSubstr("<dt>JPEG</dt><dd>from inside the damaged file <b>IMG_0042.arw</b>"));
}

TEST_F(Html, CardShowsEverythingInTheRecord) {
    const std::string card = html_card(test::full_record(), 0);
    for (const char* told :
         {"partly there", "broken/IMG_0042.arw", "9571748 bytes", "out/IMG_0042.repaired.arw",
          "out/IMG_0042.salvaged.jpg", "3872 × 2592 pixels", "74.5 % of the pixels are the photograph's own",
          "out/IMG_0042.mask.png", "2 put together anew", "Sony DSLR-A330", "the lower 648 rows are black",
          "samples/good.arw<br>Why: same camera, size nearest", "samples/other.arw: ", "(code -1126)",
          "[same camera, date nearest]", "samples/third.arw: crashed", "79 of 80 blocks",
          "only a thumbnail"}) {
        EXPECT_THAT(card, HasSubstr(told));
    }
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        EXPECT_THAT(card, HasSubstr(std::string(64, letter)));
    }
}

TEST_F(Html, CardDrawsLostPixelsOverThePicture) {
    Record record = test::full_record();
    EXPECT_THAT(html_card(record, 0), Not(HasSubstr("<svg"))) << "there is no picture";
    record.picture = "jpeg";
    EXPECT_THAT(html_card(record, 0), HasSubstr("<svg viewBox=\"0 0 3872 2592\""));
    EXPECT_THAT(html_card(record, 0), HasSubstr("<rect class=\"lost\" x=\"0\" y=\"100\" width=\"3872\""));
    EXPECT_THAT(html_card(record, 0), HasSubstr("class=\"legend\""));
    record.attempts[1].taken = false;
    EXPECT_THAT(html_card(record, 0), Not(HasSubstr("<svg")));
}

TEST_F(Html, CardShowsTheShareOfRowsWherePixelsAreNotCounted) {
    Record record = test::full_record();
    record.attempts[1].judgement.pixels_good.reset();
    EXPECT_THAT(html_card(record, 0), HasSubstr("75.0 % of the rows without damage"));
}

TEST_F(Html, LostFileHasNoOrigin) {
    Record record = test::small_record("lost.arw", Verdict::kNotRepaired);
    record.attempts.resize(1);
    record.attempts[0].code = -1124;
    const std::string card = html_card(record, 0);
    EXPECT_THAT(card, HasSubstr("No picture was recovered"));
    EXPECT_THAT(card, HasSubstr("(code -1124)"));
    EXPECT_THAT(card, Not(HasSubstr("class=\"origin\"")));
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
    const std::string card = html_card(record, 0);
    EXPECT_THAT(card, HasSubstr("&lt;img src=x onerror=alert(1)&gt;&quot;&#39;&amp;?\xEF\xBF\xBD.arw"));
    EXPECT_THAT(card, Not(HasSubstr("<img")));
    EXPECT_THAT(card, Not(HasSubstr("\"'&")));
}

TEST_F(Html, PictureIsInsideThePage) {
    Record record = test::full_record();
    for (const auto& [bytes, text] : {std::pair<std::string, std::string>{"\xFF\xD8\xFF", "/9j/"},
                                      {"\xFF\xD8", "/9g="},
                                      {"\xFF", "/w=="},
                                      {std::string("\0\0\0M", 4), "AAAATQ=="}}) {
        record.picture = bytes;
        EXPECT_THAT(html_card(record, 0), HasSubstr("src=\"data:image/jpeg;base64," + text + "\""));
    }
}

TEST_F(Html, PageNamesNothingOutsideItself) {
    HtmlReport report(OutputFile(file, true), "");
    report.add(test::full_record());
    report.close();
    const std::string text = page();
    EXPECT_THAT(text, Not(HasSubstr("://")));
    EXPECT_THAT(text, Not(HasSubstr("@import")));
    EXPECT_THAT(text, Not(HasSubstr("url(")));
    EXPECT_THAT(text, HasSubstr("default-src 'none'"));
}

TEST(HtmlCard, FileOfOneByteHasOneByte) {
    Record record;
    record.damaged.size = 1;
    EXPECT_THAT(html_card(record, 0), HasSubstr("1 byte (1 byte)"));
}

} // namespace
} // namespace plate_mend::host
