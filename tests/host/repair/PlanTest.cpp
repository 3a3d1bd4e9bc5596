#include "support/Bytes.h"
#include "support/TempDir.h"

#include "platform/Names.h"
#include "repair/Plan.h"

#include <gmock/gmock.h>

#include <set>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::HasSubstr;

class PlanOfPlaces : public ::testing::Test {
  protected:
    /// The places of files in a folder, for results in another one, or beside them.
    [[nodiscard]] std::vector<PlannedFile> planned(const std::vector<fs::path>& names, bool beside = false) {
        std::vector<Input> inputs;
        inputs.reserve(names.size());
        for (const fs::path& name : names) {
            inputs.push_back({folder / "card" / name, name, ""});
            inputs_.add(inputs.back().path);
        }
        return plan(inputs, {.out = beside ? fs::path() : folder / "mended", .output = {}, .sidecars = true},
                    inputs_);
    }

    /// All places that results may take, of all files that are worked on. Fails for one that two have.
    static void expect_no_place_twice(const std::vector<PlannedFile>& files) {
        std::set<std::string> taken;
        for (const PlannedFile& file : files) {
            if (!file.input.problem.empty()) {
                continue;
            }
            std::set<std::string> own;
            for (const fs::path& place : {file.outputs.raw, file.outputs.jpeg, file.outputs.other_jpeg}) {
                own.insert(platform::name_key(place));
            }
            if (!file.outputs.sidecar.empty()) {
                EXPECT_TRUE(own.insert(platform::name_key(file.outputs.sidecar)).second);
            }
            for (const std::string& place : own) {
                EXPECT_TRUE(taken.insert(place).second) << place;
            }
        }
    }

    TempDir folder;
    Protected inputs_;
};

TEST_F(PlanOfPlaces, FormatsOfOneNameHaveJpegsOfTheirOwn) {
    for (const bool beside : {false, true}) {
        const auto files = planned({"x.arw", "x.dng", "x.arw.dng", "y.arw"}, beside);
        expect_no_place_twice(files);
        const std::string middle = beside ? ".salvaged" : "";
        EXPECT_EQ(files[0].outputs.jpeg.filename(), "x.arw" + middle + ".jpg");
        EXPECT_EQ(files[1].outputs.jpeg.filename(), "x.dng" + middle + ".jpg");
        EXPECT_EQ(files[3].outputs.jpeg.filename(), "y" + middle + ".jpg");
        for (const PlannedFile& file : files) {
            EXPECT_EQ(file.input.problem, "");
        }
    }
}

TEST_F(PlanOfPlaces, JpegNeverTakesThePlaceOfAnothersResult) {
    const auto files = planned({"x.arw", "x.dng", "x.arw.jpg", "x.jpg"});
    expect_no_place_twice(files);
    EXPECT_EQ(files[0].input.path.filename(), "x.arw");
    EXPECT_THAT(files[0].input.problem, HasSubstr("x.arw.jpg would be the result of"));
    EXPECT_EQ(files[1].input.problem, "") << "the clash costs one file";
    EXPECT_EQ(files[2].input.problem, "");
    EXPECT_EQ(files[3].input.problem, "");
}

TEST_F(PlanOfPlaces, FirstOfTwoFilesWithTheSamePlaceGetsIt) {
    std::vector<Input> inputs{{folder / "one" / "x.arw", "x.arw", ""},
                              {folder / "two" / "x.arw", "x.arw", ""}};
    const auto files = plan(inputs, {folder / "mended", {}, false}, inputs_);
    EXPECT_EQ(files[0].input.problem, "");
    EXPECT_THAT(files[1].input.problem, HasSubstr("would be the result of"));
    expect_no_place_twice(files);
}

TEST_F(PlanOfPlaces, FileThatIsNotWorkedOnNeedsNoPlace) {
    std::vector<Input> inputs{{folder / "two" / "x.arw", "x.arw", "is elsewhere"},
                              {folder / "one" / "x.arw", "x.arw", ""}};
    const auto files = plan(inputs, {folder / "mended", {}, false}, inputs_);
    EXPECT_EQ(files[0].input.problem, "is elsewhere");
    EXPECT_EQ(files[1].input.problem, "");
    EXPECT_EQ(files[1].outputs.jpeg.filename(), "x.jpg");
}

TEST_F(PlanOfPlaces, NamesAreComparedAsTheSystemComparesThem) {
    const bool is_one_name = platform::name_key(folder / "x.arw") == platform::name_key(folder / "X.ARW");
    const auto files = planned({"x.arw", "X.ARW"});
    EXPECT_EQ(files[0].input.problem, "");
    EXPECT_EQ(files[1].input.problem.empty(), !is_one_name);
    expect_no_place_twice(files);
}

TEST_F(PlanOfPlaces, ResultBesideItsInputIsNoOtherInput) {
    const auto files = planned({"x.arw", "x.repaired.arw", "x.salvaged.jpg"}, true);
    EXPECT_THAT(files[0].input.problem, HasSubstr("the output is also an input"));
    EXPECT_EQ(files[1].input.problem, "");
    EXPECT_EQ(files[2].input.problem, "");
}

TEST_F(PlanOfPlaces, SidecarsOfOneNameHaveLongNames) {
    for (const bool beside : {false, true}) {
        const auto files = planned({"x.arw", "x.dng", "x.arw.dng", "y.arw"}, beside);
        expect_no_place_twice(files);
        const std::string middle = beside ? ".repaired" : "";
        EXPECT_EQ(files[0].outputs.sidecar.filename(), "x" + middle + ".arw.xmp");
        EXPECT_EQ(files[1].outputs.sidecar.filename(), "x" + middle + ".dng.xmp");
        EXPECT_EQ(files[3].outputs.sidecar.filename(), "y" + middle + ".xmp");
        // The name of the first one's sidecar is what the third one wants.
        EXPECT_EQ(files[2].outputs.sidecar.empty(), !beside);
        EXPECT_TRUE(files[2].input.problem.empty());
    }
}

TEST_F(PlanOfPlaces, MasksOfOneNameHaveNamesOfTheirOwn) {
    const auto masked = [&](const std::vector<fs::path>& names, const std::string& mask) {
        std::vector<Input> inputs;
        inputs.reserve(names.size());
        for (const fs::path& name : names) {
            inputs.push_back({folder / "card" / name, name, ""});
        }
        return plan(inputs, {folder / "mended", {}, false, mask}, inputs_);
    };
    const auto files = masked({"x.arw", "x.dng", "y.arw"}, ".mask.png");
    EXPECT_EQ(files[0].outputs.mask, folder / "mended" / "x.arw.mask.png");
    EXPECT_EQ(files[1].outputs.mask, folder / "mended" / "x.dng.mask.png");
    EXPECT_EQ(files[2].outputs.mask, folder / "mended" / "y.mask.png");
    for (const PlannedFile& file : files) {
        EXPECT_EQ(file.input.problem, "");
    }
    EXPECT_EQ(masked({"x.arw"}, "")[0].outputs.mask, fs::path());
    EXPECT_EQ(masked({"x.arw"}, "./here.png")[0].outputs.mask, fs::path("./here.png"));
    EXPECT_THAT(masked({"x.arw"}, ".jpg")[0].input.problem, HasSubstr("the place of another file"));
    EXPECT_EQ(masked({"x.arw"}, ".arw")[0].outputs.mask.filename(), "x.arw.arw");
    EXPECT_EQ(masked({"x.arw", "x.mask.dng"}, ".mask.dng")[0].outputs.mask.filename(), "x.arw.mask.dng");
    const auto own = masked({"x.arw"}, "card/x.arw");
    EXPECT_EQ(own[0].input.problem, "") << "a path from here";
    inputs_.add(folder / "mended" / "x.mask");
    EXPECT_THAT(masked({"x.arw"}, ".mask")[0].input.problem, HasSubstr("the place of another file"));
}

} // namespace
} // namespace test
