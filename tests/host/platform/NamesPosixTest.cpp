#include "platform/Names.h"

#include "faults/Limits.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::platform::bytes_of;
using plate_mend::host::platform::name_key;
using plate_mend::host::platform::path_of;

TEST(NamesPosix, AreAnyBytes) {
    std::string bytes;
    for (int value = 1; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    EXPECT_EQ(bytes_of(path_of(bytes)), bytes);
    EXPECT_EQ(path_of(bytes).native(), bytes);
}

TEST(NamesPosix, KeyFollowsLinks) {
    const TempDir folder;
    fs::create_directory(folder / "a");
    write_file(folder / "a" / "file", {1});
    fs::create_directory_symlink("a", folder / "to folder");
    fs::create_symlink("a/file", folder / "to file");
    const std::string key = name_key(folder / "a" / "file");
    EXPECT_EQ(name_key(folder / "to folder" / "file"), key);
    EXPECT_EQ(name_key(folder / "to file"), key);
    EXPECT_EQ(name_key(folder / "to folder" / "missing"), name_key(folder / "a" / "missing"));
    // The folder above is the one above where the link leads.
    EXPECT_EQ(name_key(folder / "to folder" / ".." / "a" / "file"), key);
}

TEST(NamesPosix, LinkThatLeadsNowhereKeepsItsName) {
    const TempDir folder;
    fs::create_symlink(folder / "missing", folder / "broken");
    fs::create_symlink(folder / "loop", folder / "loop");
    const std::string above = name_key(folder.path());
    EXPECT_EQ(name_key(folder / "broken"), above + "/broken");
    EXPECT_EQ(name_key(folder / "loop"), above + "/loop");
    EXPECT_EQ(name_key(folder / "loop" / "x"), above + "/loop/x");
}

TEST(NamesPosix, KeysKeepTheirCaseAndAnyBytes) {
    const TempDir folder;
    EXPECT_NE(name_key(folder / "a"), name_key(folder / "A"));
    EXPECT_EQ(name_key(folder / "\xFF\xFE"), name_key(folder.path()) + "/\xFF\xFE");
    EXPECT_EQ(name_key("/"), "/");
    EXPECT_EQ(name_key("//"), "/");
}

TEST(NamesPosix, WhatCannotBeResolvedIsNoError) {
    const TempDir folder;
    fs::create_directory(folder / "closed");
    fs::permissions(folder / "closed", fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    const WithoutPrivileges without;
    EXPECT_EQ(name_key(folder / "closed" / "x" / ".." / "y"), name_key(folder.path()) + "/closed/y");
    const std::string long_name(300, 'x');
    EXPECT_EQ(name_key(folder / long_name), name_key(folder.path()) + "/" + long_name);
    EXPECT_EQ(name_key(folder.path().native() + std::string(5000, '/') + 'y'), name_key(folder / "y"));
}

} // namespace
} // namespace test
