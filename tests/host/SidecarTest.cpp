#include "host/BatchFixture.h"

#include "support/Exif.h"
#include "support/Jpeg.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <fstream>

// What becomes of the date and the settings that survive in a damaged file.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::CameraFact;
using plate_mend::host::Record;
using plate_mend::host::Verdict;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kDate = "2026:05:01 12:30:00";
constexpr const char* kSampleDate = "2026:08:20 09:15:00";

/// Photographs whose previews have Exif of their own. The exact engine takes the sample's directories.
class Sidecar : public BatchFixture {
  protected:
    Sidecar() {
        write_file(folder / "good.arw", photo(1, kSampleDate).bytes);
        put("card/IMG_1.arw", headless(photo(2, kDate)));
    }

    static Bytes preview(unsigned number, const std::string& date) {
        return with_exif(make_preview(Scene(number), 160, 120),
                         {.taken = date, .artist = "Her", .iso = static_cast<std::uint16_t>(100 * number)});
    }

    /// Its directories have no valid date.
    static ArwPhoto photo(unsigned number, const std::string& date) {
        return ArwPhoto({.number = number, .preview = preview(number, date), .date = "0000:00:00 00:00:00"});
    }

    static Bytes headless(const ArwPhoto& photo) { return zeroed(photo.bytes, 0, photo.strip_entries); }

    int repair(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"repair",     "-s",     in("good.arw"),      "--out",
                                           in("mended"), "--json", in("records.jsonl"), in("card")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }

    Record repair_one(const std::vector<std::string>& more = {}) {
        EXPECT_LE(repair(more), 1) << out << err;
        return records().at("IMG_1.arw");
    }

    [[nodiscard]] std::string sidecar(const char* name = "mended/IMG_1.xmp") const {
        const Bytes bytes = bytes_of(name);
        return {bytes.begin(), bytes.end()};
    }

    const Bytes mine_{'m', 'i', 'n', 'e'};
};

TEST_F(Sidecar, HasTheDateAndTheSettingsThatSurvive) {
    const Record record = repair_one();
    EXPECT_EQ(record.verdict, Verdict::kWhole);
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw", "IMG_1.xmp"));
    const std::string text = sidecar();
    EXPECT_THAT(text, HasSubstr("exif:DateTimeOriginal=\"2026-05-01T12:30:00\""));
    EXPECT_THAT(text, HasSubstr("<rdf:li>200</rdf:li>"));
    EXPECT_THAT(text, HasSubstr("<rdf:li>Her</rdf:li>"));
    EXPECT_THAT(text, HasSubstr("Repaired with the sample good.arw"));
    EXPECT_THAT(text, Not(HasSubstr("2026-08-20"))) << "the sample's";
    ASSERT_TRUE(record.sidecar);
    EXPECT_EQ(record.sidecar->path, in(fs::path("mended") / "IMG_1.xmp"));
    EXPECT_EQ(record.sidecar->size, text.size());
    EXPECT_EQ(record.sidecar->sha256.size(), 64U);
    ASSERT_TRUE(record.metadata);
    EXPECT_EQ(record.metadata->source, "preview");
    EXPECT_FALSE(record.metadata->in_result);
    EXPECT_THAT(record.metadata->facts, Contains(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00")));
    EXPECT_THAT(out, HasSubstr("own date and settings written to " + in(fs::path("mended") / "IMG_1.xmp")));
}

TEST_F(Sidecar, IsNotWrittenWhereTheResultHasThemItself) {
    const ArwPhoto photo({.number = 2, .date = kDate});
    put("card/IMG_1.arw", headless(photo));
    write_file(folder / "good.arw", ArwPhoto({.number = 1, .date = kDate}).bytes);
    const Record record = repair_one();
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw"));
    EXPECT_FALSE(record.sidecar);
    ASSERT_TRUE(record.metadata);
    EXPECT_TRUE(record.metadata->in_result);
}

TEST_F(Sidecar, IsNotWrittenWhereNothingSurvives) {
    const ArwPhoto whole = photo(2, kDate);
    Bytes bare = zeroed(headless(whole), whole.preview_offsets[0], whole.preview_offsets[0] + 600);
    put("card/IMG_1.arw", bare);
    const Record record = repair_one();
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw"));
    EXPECT_FALSE(record.metadata && record.metadata->facts.contains(CameraFact::kTaken));
}

/// The preview as libjpeg does not decode it.
Bytes without_end(const Bytes& preview) {
    return zeroed(preview, preview.size() / 2, preview.size());
}

TEST_F(Sidecar, HasNothingOfAnotherPhotograph) {
    auto upside_down = Scene(2).rgb8(160, 120);
    std::reverse(upside_down.begin(), upside_down.end());
    const Bytes strange = with_exif(make_jpeg(upside_down, 160, 120), {.taken = kSampleDate});
    const ArwPhoto other({.number = 2, .preview = strange, .date = "0000:00:00 00:00:00"});
    put("card/IMG_1.arw", headless(other));
    const Record record = repair_one();
    EXPECT_FALSE(record.sidecar) << "its preview shows another photograph";
    EXPECT_FALSE(record.metadata && record.metadata->facts.contains(CameraFact::kTaken));
}

TEST_F(Sidecar, HasTheDateOfThePreviewThatShowsThePhotograph) {
    const ArwPhoto whole = photo(2, kDate);
    put("card/IMG_1.arw", joined(headless(whole), without_end(preview(5, kSampleDate))));
    const Record record = repair_one({"--no-fallback"});
    ASSERT_TRUE(record.metadata);
    EXPECT_THAT(record.metadata->facts, Contains(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00")));
}

TEST_F(Sidecar, HasNoneOfTwoDatesIfNoPreviewDecides) {
    const ArwPhoto own(
        {.number = 2, .preview = without_end(preview(2, kDate)), .date = "0000:00:00 00:00:00"});
    put("card/IMG_1.arw", headless(own));
    EXPECT_TRUE(repair_one({"--force"}).sidecar) << "one date";
    put("card/IMG_1.arw", joined(headless(own), without_end(preview(5, kSampleDate))));
    const Record record = repair_one({"--force"});
    ASSERT_TRUE(record.raw);
    EXPECT_FALSE(record.sidecar);
    EXPECT_FALSE(record.metadata);
}

TEST_F(Sidecar, IsLeftOutOnRequest) {
    const Record record = repair_one({"--no-sidecar"});
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw"));
    EXPECT_FALSE(record.sidecar);
    EXPECT_TRUE(record.metadata) << "the record says what survives";
}

TEST_F(Sidecar, NeverReplacesAnother) {
    put("mended/IMG_1.xmp", mine_);
    const Record record = repair_one();
    EXPECT_EQ(record.verdict, Verdict::kWhole) << "it costs only the sidecar";
    EXPECT_TRUE(record.raw);
    EXPECT_FALSE(record.sidecar);
    EXPECT_THAT(record.problem, HasSubstr("there is no sidecar: "));
    EXPECT_EQ(bytes_of("mended/IMG_1.xmp"), mine_);
    EXPECT_TRUE(repair_one({"--force"}).sidecar);
    EXPECT_THAT(sidecar(), HasSubstr("2026-05-01"));
}

TEST_F(Sidecar, HasALongNameWhereResultsShareOne) {
    put("card/IMG_1.nef", lost_);
    EXPECT_EQ(repair({"--ext", "arw,nef"}), 2) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw", "IMG_1.arw.xmp"));
}

TEST_F(Sidecar, IsMadeAgainWhereItIsGone) {
    ASSERT_EQ(repair(), 0) << out << err;
    const auto made = fs::last_write_time(folder / "mended" / "IMG_1.xmp");
    ASSERT_EQ(repair({"--resume"}), 0) << out << err;
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "IMG_1.xmp"), made) << "nothing was left to do";
    const std::string first = sidecar();
    fs::remove(folder / "mended" / "IMG_1.xmp");
    ASSERT_EQ(repair({"--resume"}), 0) << out << err;
    EXPECT_EQ(sidecar(), first);
    EXPECT_TRUE(records().at("IMG_1.arw").sidecar);
}

TEST_F(Sidecar, MayBeWrittenToByOthers) {
    ASSERT_EQ(repair(), 0) << out << err;
    put("mended/IMG_1.xmp", mine_);
    const auto result = fs::last_write_time(folder / "mended" / "IMG_1.arw");
    ASSERT_EQ(repair({"--resume"}), 0) << out << err;
    EXPECT_EQ(bytes_of("mended/IMG_1.xmp"), mine_);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "IMG_1.arw"), result);
    EXPECT_EQ(records().at("IMG_1.arw").problem, "") << "there was nothing to do";
}

TEST_F(Sidecar, IsAddedByALaterRun) {
    ASSERT_EQ(repair({"--no-sidecar"}), 0) << out << err;
    ASSERT_EQ(repair({"--resume"}), 0) << out << err;
    EXPECT_THAT(sidecar(), HasSubstr("2026-05-01"));
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.arw", "IMG_1.xmp"));
}

class FileTimes : public Sidecar {
  protected:
    /// Years ago, on a whole even second: some file systems know no other times.
    static fs::file_time_type years_ago() {
        const auto time = fs::file_time_type::clock::now() - std::chrono::hours(24 * 2000);
        return time - time.time_since_epoch() % std::chrono::seconds(2);
    }

    const fs::file_time_type time_ = years_ago();
};

TEST_F(FileTimes, OfResultsAreThoseOfTheDamagedFile) {
    put("card/IMG_1.arw",
        part(headless(photo(2, kDate)), 0, photo(2, kDate).bytes.size() - std::size_t{320} * 30));
    fs::last_write_time(folder / "card" / "IMG_1.arw", time_);
    const auto now = fs::file_time_type::clock::now() - std::chrono::hours(1);
    const Record record = repair_one();
    ASSERT_TRUE(record.raw);
    ASSERT_TRUE(record.jpeg);
    ASSERT_TRUE(record.metadata);
    ASSERT_TRUE(record.sidecar);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "IMG_1.arw"), time_);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "IMG_1.jpg"), time_);
    EXPECT_GT(fs::last_write_time(folder / "mended" / "IMG_1.xmp"), now) << "it is new";
}

TEST_F(FileTimes, DoNotMakeAnotherFileTheResult) {
    fs::last_write_time(folder / "card" / "IMG_1.arw", time_);
    ASSERT_EQ(repair(), 0) << out << err;
    ASSERT_EQ(repair({"--resume"}), 0) << out << err;
    const Bytes result = bytes_of("mended/IMG_1.arw");
    Bytes other = result;
    other[result.size() / 2] ^= 1U;
    put("mended/IMG_1.arw", other);
    fs::last_write_time(folder / "mended" / "IMG_1.arw", time_); // Of the same size, too.
    EXPECT_EQ(repair({"--resume"}), 3) << "it blocks its own place" << out << err;
    EXPECT_EQ(bytes_of("mended/IMG_1.arw"), other);
}

} // namespace
} // namespace test
