#include "run/RoomNeed.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class RoomNeeds : public ::testing::Test {
  protected:
    RoomNeeds() { planned_.outputs.raw = folder_ / "mended" / "day 1" / "a.arw"; }

    /// Adds a damaged file of this size, and a sample of that size.
    void add(std::uint64_t damaged, std::uint64_t sample) {
        write_file(folder_ / "sample", Bytes(sample));
        Forecast forecast;
        forecast.size = damaged;
        forecast.sample = RankedSample{folder_ / "sample", ""};
        need_.add(planned_, forecast);
    }

    TempDir folder_;
    PlannedFile planned_;
    RoomNeed need_;
};

TEST_F(RoomNeeds, AreResultsAndWorkingFilesOfTheLargest) {
    add(40'000, 50'000);
    add(20'000, 10'000);
    const auto disks = need_.disks(1);
    ASSERT_EQ(disks.size(), 1U);
    EXPECT_THAT(disks[0].text, StartsWith("About 220.0 kB needed, at most, on the disk of "))
        << "70 + 3 * 50";
    EXPECT_THAT(disks[0].text, HasSubstr(folder_.path().filename().string() + ", working files included; "))
        << "the folder that exists";
    EXPECT_FALSE(disks[0].has_too_little);
}

TEST_F(RoomNeeds, CountNoMoreJobsThanFiles) {
    add(50'000, 0);
    add(50'000, 0);
    EXPECT_THAT(need_.disks(2).at(0).text, StartsWith("About 400.0 kB needed"));
    EXPECT_THAT(need_.disks(16).at(0).text, StartsWith("About 400.0 kB needed"));
}

TEST_F(RoomNeeds, LeaveOutFilesThatARunWouldLeaveAlone) {
    Forecast finished;
    finished.finished = true;
    need_.add(planned_, finished);
    Forecast refused;
    refused.size = 1000;
    refused.problem = "exists already";
    need_.add(planned_, refused);
    EXPECT_THAT(need_.disks(2), IsEmpty());
    Forecast alone; // Without a sample.
    alone.size = 1000;
    need_.add(planned_, alone);
    EXPECT_THAT(need_.disks(2).at(0).text, StartsWith("About 4.0 kB needed"));
}

TEST_F(RoomNeeds, BeyondWhatIsFreeAreTooMuch) {
    Forecast forecast;
    forecast.size = std::uint64_t{1} << 60U;
    need_.add(planned_, forecast);
    const RoomNeed::Disk disk = need_.disks(1).at(0);
    EXPECT_TRUE(disk.has_too_little);
    EXPECT_THAT(disk.text, HasSubstr(" free, which is too little"));
}

} // namespace
} // namespace test
