#include "record/RunRecord.h"

#include "report/SheetPictures.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

namespace fs = std::filesystem;

TEST(RunRecordOf, PicturesOfASheetKnowsTheirFolderByWhateverNameItHas) {
    const test::TempDir folder;
    const fs::path page = folder / "sheet.html";
    const fs::path pictures = pictures_folder_of(page);
    const Protected inputs;
    {
        RunRecord record(folder / "out", "run");
        SheetPictures made(page, inputs, false);
        record.add_growing_report(pictures, made.stamp());
        EXPECT_FALSE(record.is_own_report(pictures)) << "it is not there";
        ASSERT_FALSE(made.add("one").empty());
        made.publish();
    }
    {
        const RunRecord record(folder / "out", "run");
        EXPECT_TRUE(record.is_own_report(pictures));
        EXPECT_FALSE(record.is_own_report(folder / "out"));
    }
    fs::rename(pictures, folder / "elsewhere");
    fs::create_directory(pictures);
    EXPECT_FALSE(RunRecord(folder / "out", "run").is_own_report(pictures)) << "another folder of that name";
}

} // namespace
} // namespace plate_mend::host
