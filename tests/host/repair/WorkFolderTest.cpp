#include "repair/WorkFolder.h"

#include "record/Json.h"
#include "repair/WorkerFiles.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <set>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

std::set<std::string> names_in(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

TEST(WorkFolder, IsTheSameForOneFileAfterAnother) {
    const TempDir parent;
    WorkFolder work;
    const fs::path first = work.in(parent.path());
    const auto empty = names_in(first);
    write_json(first / kTaskFile, Json::object({{"task", "none"}}));
    write_json(first / kAnswerFile, Json::object({{"answer", 1}}));
    write_file(first / "damaged.arw", Bytes(100));
    fs::create_directories(first / "log" / "deep");
    write_file(first / "log" / "deep" / "file", Bytes(1));
    work.clear();
    auto left = empty;
    left.insert({kTaskFile, kAnswerFile});
    EXPECT_EQ(names_in(first), left);
    EXPECT_EQ(work.in(parent.path()), first);
}

TEST(WorkFolder, IsAnotherInAnotherParentAndGoesInTheEnd) {
    const TempDir one;
    const TempDir other;
    {
        WorkFolder work;
        write_file(work.in(one.path()) / "file", Bytes(1));
        const fs::path second = work.in(other.path());
        EXPECT_EQ(second.parent_path(), other.path());
        EXPECT_THAT(names_in(one.path()), IsEmpty());
        write_file(second / "file", Bytes(1));
    }
    EXPECT_THAT(names_in(other.path()), IsEmpty());
}

TEST(WorkFolder, ThatHasVanishedIsReplaced) {
    const TempDir parent;
    WorkFolder work;
    const fs::path first = work.in(parent.path());
    fs::rename(first, parent / "moved");
    work.clear();
    const fs::path second = work.in(parent.path());
    EXPECT_TRUE(fs::is_directory(second));
    write_file(parent / "moved" / "mine", Bytes(1));
    EXPECT_THAT(names_in(parent / "moved"), Contains("mine"));
}

TEST(WorkerFiles, AreOverwrittenByShorterAndLongerOnes) {
    const TempDir folder;
    const fs::path file = folder / kAnswerFile;
    for (const std::size_t length : {1000U, 3U, 0U, 5000U}) {
        const Json text = Json::object({{"text", std::string(length, 'x')}});
        write_json(file, text);
        EXPECT_EQ(read_json(file).required_text("text").size(), length);
        EXPECT_EQ(fs::file_size(file), text.line().size());
    }
}

TEST(WorkerFiles, ThatAreForgottenHaveNothing) {
    const TempDir folder;
    forget_json(folder / kAnswerFile);
    EXPECT_THAT(names_in(folder.path()), Not(Contains(kAnswerFile)));
    write_json(folder / kAnswerFile, Json::object({{"answer", 1}}));
    forget_json(folder / kAnswerFile);
    EXPECT_THROW(static_cast<void>(read_json(folder / kAnswerFile)), JsonError);
}

} // namespace
} // namespace test
