#include "util/Log.h"

#include "StandIns.h"
#include "support/LogRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Log : public ::testing::Test {
  protected:
    Log() { test::reset_stand_ins(); }
};

TEST_F(Log, FileNameIsTheDirectoryABackslashAndTheModule) {
    EXPECT_EQ(util::log::initLog("config", "logs"), 1);
    ASSERT_EQ(QuillStandInInitCount(), 1U);
    EXPECT_STREQ(QuillStandInInitConfig(0), "config");
    EXPECT_STREQ(QuillStandInInitModule(0), "PlateMend");
    EXPECT_STREQ(QuillStandInInitFile(0), "logs\\PlateMend.log");
    EXPECT_THAT(
        test::logged_lines(),
        ElementsAre(test::InformationLine(
            "util::log::initLog", "Init success, config dir: [config], log file: [logs\\PlateMend.log]")));
}

TEST_F(Log, TrailingSeparatorIsNotNormalised) {
    util::log::initLog("", "logs\\");
    EXPECT_STREQ(QuillStandInInitFile(0), "logs\\\\PlateMend.log");
}

TEST_F(Log, NonAsciiDirectoriesArriveByteForByte) {
    util::log::initLog(u8"köln", u8"写真");
    EXPECT_STREQ(QuillStandInInitConfig(0), "k\xC3\xB6ln");
    EXPECT_STREQ(QuillStandInInitFile(0), "\xE5\x86\x99\xE7\x9C\x9F\\PlateMend.log");
}

TEST_F(Log, FailureIsReturnedAndNotLogged) {
    QuillStandInSetInitResult(0);
    EXPECT_EQ(util::log::initLog("config", "logs"), 0);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(Log, AnyOtherResultIsReturnedAndLogged) {
    QuillStandInSetInitResult(2);
    EXPECT_EQ(util::log::initLog("config", "logs"), 2);
    EXPECT_EQ(test::logged_lines().size(), 1U);
}

} // namespace
} // namespace plate_mend
