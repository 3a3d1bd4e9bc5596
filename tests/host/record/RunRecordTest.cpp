#include "record/RunRecord.h"

#include "host/report/Records.h"
#include "report/SheetPictures.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

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

/// On Windows two threads that replaced one file at the same moment would refuse each other.
TEST(RunRecordOf, ASampleItHasThePictureOnce) {
    const test::TempDir folder;
    RunRecord run(folder / "out", "run");
    Record record = test::full_record();
    record.sample_picture = "a picture";
    run.add(record);
    const fs::path pictures = run.folder() / "pictures";
    fs::path made;
    for (const auto& entry : fs::directory_iterator(pictures)) {
        const test::Bytes bytes = test::read_file(entry.path());
        made = std::string(bytes.begin(), bytes.end()) == record.sample_picture ? entry.path() : made;
    }
    ASSERT_FALSE(made.empty());
    test::write_file(made, {1});
    record.damaged.path += "2";
    run.add(record);
    EXPECT_EQ(test::read_file(made), test::Bytes{1});
}

TEST(RunRecordOf, FilesWithOneSampleAreRecordedByManyThreads) {
    const test::TempDir folder;
    constexpr int kThreads = 8;
    constexpr int kFiles = 25;
    std::atomic<int> failures = 0;
    {
        RunRecord record(folder / "out", "run");
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                for (int number = 0; number < kFiles; ++number) {
                    Record one = test::small_record(
                        test::utf8(folder / (std::to_string(thread) + "-" + std::to_string(number) + ".arw")),
                        Verdict::kIntact);
                    one.sample_picture = "the picture of the sample that all of them have";
                    try {
                        record.add(one);
                    } catch (const std::exception&) {
                        ++failures;
                    }
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(failures, 0);
    int pictures = 0;
    for (const auto& entry : fs::directory_iterator(folder / "out" / ".plate-mend" / "run" / "pictures")) {
        pictures += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(pictures, 1);
}

} // namespace
} // namespace plate_mend::host
