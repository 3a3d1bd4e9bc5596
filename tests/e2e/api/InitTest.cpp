#include "StandIns.h"
#include "support/ArwPhoto.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class Init : public ::testing::Test {
  protected:
    Init() {
        reset_stand_ins();
        write_file(folder / "damaged.arw", photo.bytes);
        write_file(folder / "sample.arw", photo.bytes);
    }

    std::int32_t repair() {
        return MndRawAdvanceRepair(utf8(folder / "damaged.arw").c_str(), utf8(folder / "sample.arw").c_str(),
                                   utf8(folder / "output.arw").c_str());
    }

    std::string make_directory(const fs::path& name) {
        fs::create_directory(folder / name);
        return utf8(folder / name);
    }

    TempDir folder;
    ArwPhoto photo;
};

const auto kVersion = InformationLine("MndRawInit", "lib_PlateMend_sdk version is 1, 0, 0, 134-d-f02cf55e");

TEST_F(Init, StartsTheLogInTheLogDirectoryAndLogsTheVersion) {
    EXPECT_EQ(MndRawInit("logs", "config", "work"), 0);
    ASSERT_EQ(QuillStandInInitCount(), 1U);
    EXPECT_STREQ(QuillStandInInitConfig(0), "config");
    EXPECT_STREQ(QuillStandInInitModule(0), "PlateMend");
    EXPECT_STREQ(QuillStandInInitFile(0), "logs\\PlateMend.log");
    EXPECT_THAT(
        logged_lines(),
        ElementsAre(InformationLine("util::log::initLog",
                                    "Init success, config dir: [config], log file: [logs\\PlateMend.log]"),
                    kVersion));
}

TEST_F(Init, FailingLogIsReportedAndTheWorkDirectoryIsStillStored) {
    QuillStandInSetInitResult(0);
    const std::string work = make_directory("work");
    EXPECT_EQ(MndRawInit("logs", "config", work.c_str()), -1020);
    EXPECT_THAT(logged_lines(), ElementsAre(kVersion));
    EXPECT_EQ(repair(), 0);
}

TEST_F(Init, OnlyTheResultOneOfTheLogLibraryCountsAsSuccess) {
    for (const unsigned char result : Bytes{2, 255}) {
        reset_stand_ins();
        QuillStandInSetInitResult(result);
        EXPECT_EQ(MndRawInit("logs", "config", "work"), -1020);
        EXPECT_EQ(logged_lines().size(), 2U) << "nonzero is logged as success";
    }
}

TEST_F(Init, SecondCallReplacesTheWorkDirectoryAndStartsTheLogAgain) {
    const std::string first = make_directory("first");
    const std::string second = make_directory("second");
    MndRawInit("logs", "config", first.c_str());
    MndRawInit("other logs", "config", second.c_str());
    EXPECT_EQ(QuillStandInInitCount(), 2U);
    fs::remove(first);
    EXPECT_EQ(repair(), 0);
}

TEST_F(Init, WorkDirectoryIsNotMade) {
    EXPECT_EQ(MndRawInit("logs", "config", utf8(folder / "missing").c_str()), 0);
    EXPECT_FALSE(fs::exists(folder / "missing"));
    EXPECT_EQ(repair(), -1121);
}

TEST_F(Init, WorkDirectoryMayHaveANonAsciiName) {
    const std::string work = make_directory(u8"für 写真");
    EXPECT_EQ(MndRawInit("logs", "config", work.c_str()), 0);
    EXPECT_EQ(repair(), 0);
    EXPECT_TRUE(fs::is_empty(folder / u8"für 写真"));
}

TEST_F(Init, EmptyWorkDirectoryIsTheCurrentDirectoryOfTheProcess) {
    const fs::path before = fs::current_path();
    MndRawInit("", "", "");
    fs::current_path(make_directory("current"));
    write_file("sample.arw", Bytes{1}); // A sample that fails, so that the working copy stays.
    EXPECT_EQ(MndRawAdvanceRepair(utf8(folder / "damaged.arw").c_str(), "sample.arw",
                                  utf8(folder / "output.arw").c_str()),
              -1123);
    EXPECT_TRUE(fs::exists("temp.arw"));
    fs::current_path(before);
}

TEST_F(Init, IllFormedPathsReachTheHost) {
    EXPECT_THROW(MndRawInit("\xFF", "config", "work"), std::system_error);
    EXPECT_THROW(MndRawInit("logs", "\xFF", "work"), std::system_error);
    EXPECT_EQ(QuillStandInInitCount(), 0U) << "both are decoded before the log is started";
    EXPECT_THROW(MndRawInit("logs", "config", "\xFF"), std::system_error);
    EXPECT_EQ(QuillStandInInitCount(), 1U);
}

TEST_F(Init, DestroyDoesNothingAndMayBeCalledAtAnyTime) {
    MndRawDestroy();
    MndRawInit("logs", "config", make_directory("work").c_str());
    MndRawDestroy();
    MndRawDestroy();
    EXPECT_EQ(repair(), 0) << "the work directory is kept";
}

} // namespace
} // namespace test
