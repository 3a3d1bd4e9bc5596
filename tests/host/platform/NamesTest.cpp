#include "platform/Names.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::platform::bytes_of;
using plate_mend::host::platform::name_key;
using plate_mend::host::platform::path_of;

/// Another current folder while it exists.
class CurrentFolder {
  public:
    explicit CurrentFolder(const fs::path& folder) { fs::current_path(folder); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { fs::current_path(old_); }

  private:
    fs::path old_ = fs::current_path();
};

TEST(Names, AreUtf8AndSurviveARoundTrip) {
    const fs::path path = u8"Grün/写真/😀.arw";
    const std::u8string text = path.u8string();
    EXPECT_EQ(bytes_of(path), std::string(text.begin(), text.end()));
    EXPECT_EQ(path_of(bytes_of(path)), path);
    EXPECT_EQ(bytes_of(fs::path()), "");
    EXPECT_EQ(path_of(""), fs::path());
}

TEST(Names, KeyIsTheSameForEveryPath) {
    const TempDir folder;
    fs::create_directory(folder / "a");
    write_file(folder / "a" / "file", {1});
    const CurrentFolder here(folder.path());
    const std::string key = name_key(folder / "a" / "file");
    for (const fs::path& path : {folder / "a" / "." / "file", folder / "a" / ".." / "a" / "file",
                                 fs::path("a/file"), fs::path("./a//file")}) {
        EXPECT_EQ(name_key(path), key) << path;
    }
    EXPECT_NE(name_key(folder / "a"), key);
}

TEST(Names, KeyNeedsNoFile) {
    const TempDir folder;
    const CurrentFolder here(folder.path());
    const std::string key = name_key(folder / "missing" / "file");
    for (const fs::path& path : {fs::path("missing/file"), fs::path("./missing/./file"),
                                 fs::path("missing/other/../file"), fs::path("other/../missing/file")}) {
        EXPECT_EQ(name_key(path), key) << path;
    }
    EXPECT_NE(name_key("missing/other"), key);
}

TEST(Names, KeyOfAFolderHasNoSlashAtItsEnd) {
    const TempDir folder;
    fs::create_directory(folder / "a");
    EXPECT_EQ(name_key(folder / "a" / ""), name_key(folder / "a"));
    EXPECT_EQ(name_key(folder / "missing" / ""), name_key(folder / "missing"));
    EXPECT_EQ(name_key(folder / "a" / "."), name_key(folder / "a"));
    EXPECT_EQ(name_key(folder / "a" / ".."), name_key(folder.path()));
    EXPECT_NE(name_key(fs::current_path().root_path()), "");
}

TEST(Names, KeyOfNothingIsNoError) {
    EXPECT_EQ(name_key(""), "");
}

TEST(Names, KeyOfAFileIsTheOneThatItsNameHadBefore) {
    const TempDir folder;
    const std::string key = name_key(folder / "a" / "file");
    fs::create_directory(folder / "a");
    EXPECT_EQ(name_key(folder / "a" / "file"), key);
    write_file(folder / "a" / "file", {1});
    EXPECT_EQ(name_key(folder / "a" / "file"), key);
}

} // namespace
} // namespace test
