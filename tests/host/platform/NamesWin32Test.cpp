#include "platform/Names.h"

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

TEST(NamesWin32, EveryUnitSurvivesARoundTrip) {
    for (unsigned unit = 1; unit < 0x10000; ++unit) {
        const std::wstring name{L'a', static_cast<wchar_t>(unit), L'b'};
        ASSERT_EQ(path_of(bytes_of(name)).native(), name) << unit;
    }
}

TEST(NamesWin32, SurrogatesAreThreeBytesWithoutAPartnerAndFourWithOne) {
    const std::wstring high(1, wchar_t{0xD83D});
    const std::wstring low(1, wchar_t{0xDE00});
    EXPECT_EQ(bytes_of(high), "\xED\xA0\xBD");
    EXPECT_EQ(bytes_of(low), "\xED\xB8\x80");
    EXPECT_EQ(bytes_of(low + high), "\xED\xB8\x80\xED\xA0\xBD");
    EXPECT_EQ(bytes_of(high + low), "\xF0\x9F\x98\x80");
    EXPECT_EQ(bytes_of(high + high + low), "\xED\xA0\xBD\xF0\x9F\x98\x80");
    EXPECT_EQ(path_of("\xF0\x9F\x98\x80").native(), high + low);
    EXPECT_EQ(path_of("\xED\xA0\xBD").native(), high);
    EXPECT_EQ(path_of("\xF4\x8F\xBF\xBF").native(), (std::wstring{wchar_t{0xDBFF}, wchar_t{0xDFFF}}));
}

TEST(NamesWin32, BytesThatNoNameHasAreReplaced) {
    const std::wstring one(1, wchar_t{0xFFFD});
    EXPECT_EQ(path_of("\xFF").native(), one);
    EXPECT_EQ(path_of("a\xC3").native(), L"a" + one);
    EXPECT_EQ(path_of("\xC3(").native(), one + L"(");
    EXPECT_EQ(path_of("\xC0\xAF").native(), one + one);           // A slash in two bytes.
    EXPECT_EQ(path_of("\xE0\x80\xAF").native(), one + one + one); // In three.
    EXPECT_EQ(path_of("\xF4\x90\x80\x80").native(), one + one + one + one);
}

TEST(NamesWin32, KeysHaveOneCase) {
    const TempDir folder;
    const fs::path file = folder / fs::path(u8"Grün.ARW");
    const fs::path other = folder / fs::path(u8"gRÜN.arw");
    EXPECT_EQ(name_key(file), name_key(other));
    write_file(file, {1});
    EXPECT_EQ(name_key(file), name_key(other));
    EXPECT_NE(name_key(file), name_key(folder / "grun.arw"));
}

TEST(NamesWin32, KeysHaveOneKindOfSlashAndNoPrefix) {
    const TempDir folder;
    write_file(folder / "file", {1});
    for (const char* name : {"file", "missing"}) {
        const std::wstring path = (folder / name).make_preferred().native();
        std::wstring slashes = path;
        for (wchar_t& letter : slashes) {
            letter = letter == L'\\' ? L'/' : letter;
        }
        EXPECT_EQ(name_key(slashes), name_key(path));
        EXPECT_EQ(name_key(LR"(\\?\)" + path), name_key(path));
    }
}

TEST(NamesWin32, InvalidPathsAreNotAnError) {
    EXPECT_NE(name_key(LR"(Q:\missing\file)"), "");
    EXPECT_NE(name_key(L"a*?|.arw"), "");
    EXPECT_NE(name_key(L"NUL"), "");
    EXPECT_NE(name_key(std::wstring(2000, L'x')), "");
}

} // namespace
} // namespace test
