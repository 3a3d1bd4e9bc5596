#include "e2e/RepairFixture.h"

#include "StandIns.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>

#include <system_error>

// How an extension finds its repairer, and the general repair, which is the same for all of them.

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A format as its general repair shows itself in the log.
struct Format {
    const char* extension;
    const char* function;
    const char* word; ///< The first word of its lines.
};

std::ostream& operator<<(std::ostream& stream, const Format& format) {
    return stream << format.extension;
}

class GeneralRepair : public RepairFixture, public ::testing::WithParamInterface<Format> {
  protected:
    [[nodiscard]] std::string damaged() const { return std::string("photo.") + GetParam().extension; }
    [[nodiscard]] static auto line(const std::string& end) {
        return InformationLine(GetParam().function, std::string(GetParam().word) + end);
    }
};

TEST_P(GeneralRepair, HandsOnBothPathsAndLogsSuccess) {
    EXPECT_EQ(MndRawGeneralRepair(damaged().c_str(), "out.jpg"), 0);
    ASSERT_EQ(StillMendStandInCallCount(), 1U);
    EXPECT_EQ(StillMendStandInDamaged(0), damaged());
    EXPECT_STREQ(StillMendStandInOutput(0), "out.jpg");
    EXPECT_THAT(lines(), ElementsAre(line(" general repair success!")));
}

TEST_P(GeneralRepair, HandsOnAnyCodeAndLogsFailureAsInformation) {
    // One of them falls into the block of another format.
    for (const std::int32_t code : {1, -7, -1021, 2147483647}) {
        reset_stand_ins();
        StillMendStandInSetResult(code);
        EXPECT_EQ(MndRawGeneralRepair(damaged().c_str(), "out.jpg"), code);
        if (std::string(GetParam().extension) == "cr3") {
            EXPECT_THAT(lines(), IsEmpty()) << "this one logs no failure";
        } else {
            EXPECT_THAT(lines(), ElementsAre(line(" general repair fail!")));
        }
    }
}

TEST_P(GeneralRepair, IllFormedPathsReachTheHostAsASystemError) {
    EXPECT_THROW(MndRawGeneralRepair(("\xFF" + damaged()).c_str(), "out.jpg"), std::system_error);
    EXPECT_THROW(MndRawGeneralRepair(damaged().c_str(), "\xFF"), std::system_error);
    EXPECT_EQ(StillMendStandInCallCount(), 0U);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_P(GeneralRepair, NonAsciiPathsArriveByteForByte) {
    const std::string path = "f\xC3\xBCr \xE5\x86\x99." + std::string(GetParam().extension);
    EXPECT_EQ(MndRawGeneralRepair(path.c_str(), "\xE7\x9C\x9F.jpg"), 0);
    ASSERT_EQ(StillMendStandInCallCount(), 1U);
    EXPECT_EQ(StillMendStandInDamaged(0), path);
    EXPECT_STREQ(StillMendStandInOutput(0), "\xE7\x9C\x9F.jpg");
}

INSTANTIATE_TEST_SUITE_P(EveryKey, GeneralRepair,
                         ::testing::Values(Format{"arw", "ArwRepair::GeneralRepair", "arw"},
                                           Format{"raw", "ArwRepair::GeneralRepair", "arw"},
                                           Format{"sr2", "Sr2Repair::GeneralRepair", "sr2"},
                                           Format{"raf", "RafRepair::GeneralRepair", "raf"},
                                           Format{"dng", "DngRepair::GeneralRepair", "dng"},
                                           Format{"cr2", "Cr2Repair::GeneralRepair", "cr2"},
                                           Format{"nef", "NefRepair::GeneralRepair", "nef"},
                                           Format{"orf", "OrfRepair::GeneralRepair", "orf"},
                                           Format{"cr3", "Cr3Repair::GeneralRepair", "cr3"}),
                         [](const auto& format) { return format.param.extension; });

using Dispatch = RepairFixture;

TEST_F(Dispatch, ExtensionInAnyCaseReachesItsRepairer) {
    for (const char* name : {"Photo.ARW", "Photo.Arw", "photo.arw", "photo.RAW"}) {
        reset_stand_ins();
        EXPECT_EQ(MndRawGeneralRepair(name, "out.jpg"), 0);
        EXPECT_THAT(lines(),
                    ElementsAre(InformationLine("ArwRepair::GeneralRepair", "arw general repair success!")));
    }
}

TEST_F(Dispatch, UnknownExtensionsAreRefusedSilentlyAndNothingIsTouched) {
    write_file(folder / "output", {1});
    const std::string output = utf8(folder / "output");
    for (const char* name : {"photo", "photo.", "", "photo.jpg", "C:\\a.b\\photo", "a.arw/photo",
                             "photo.arw ", "photo.\xC3\xA4rw", "photo.tif"}) {
        EXPECT_EQ(MndRawGeneralRepair(name, output.c_str()), -1) << name;
        EXPECT_EQ(MndRawAdvanceRepair(name, name, output.c_str()), -1) << name;
    }
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(StillMendStandInCallCount(), 0U);
    EXPECT_EQ(read_file(folder / "output"), Bytes{1});
}

TEST_F(Dispatch, FirstPathAloneChooses) {
    EXPECT_EQ(MndRawGeneralRepair("photo.jpg", "out.arw"), -1);
    EXPECT_EQ(MndRawAdvanceRepair("photo.jpg", "sample.arw", "out.arw"), -1);
}

} // namespace
} // namespace test
