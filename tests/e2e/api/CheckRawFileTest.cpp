#include "support/ArwPhoto.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace test {
namespace {

using ::testing::IsEmpty;

class CheckRaw : public ::testing::Test {
  protected:
    CheckRaw() { reset_stand_ins(); }

    TempDir folder;
};

TEST_F(CheckRaw, OpensAPhotographSilently) {
    const auto path = folder / u8"für 写真.arw";
    write_file(path, ArwPhoto().bytes);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(CheckRawFile(utf8(path).c_str()), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(CheckRaw, ReportsOnStandardErrorAloneWhatItCannotOpen) {
    write_file(folder / "photo.arw", noise(1000, 1));
    for (const char* name : {"photo.arw", "missing.arw", "f\xC3\xBCr.arw"}) {
        const std::string path = utf8(folder.path()) + "/" + name;
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(CheckRawFile(path.c_str()), -1);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Could not open file " + path + "\n");
    }
    EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(CheckRaw, IllFormedPathReachesTheHost) {
    EXPECT_THROW(CheckRawFile("\xFF"), std::system_error);
}

} // namespace
} // namespace test
