#include "platform/Files.h"

#include "host/platform/Errors.h"
#include "host/platform/FilesFixture.h"

#include <system_path/system_path.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::NewFile;
using platform::SourceFile;

class Files : public FilesFixture {
  protected:
    void append(NewFile& target, const Bytes& bytes) { target.write(bytes.data(), bytes.size()); }

    Bytes read(const SourceFile& source, std::uint64_t offset, std::size_t count) {
        Bytes bytes(count);
        bytes.resize(source.read(offset, bytes.data(), count));
        return bytes;
    }
};

TEST_F(Files, TimeCanBeSet) {
    write_file(file, content);
    // 2020, on a whole even second, which every file system knows; and a time before 1970.
    for (const std::int64_t time :
         {std::int64_t{1'600'000'000'000'000'000}, std::int64_t{-86'400'000'000'000}}) {
        platform::set_modified(file, time);
        EXPECT_EQ(platform::stamp_of(file)->modified, time);
        EXPECT_EQ(read_file(file), content);
    }
    EXPECT_THROW(platform::set_modified(folder / "missing", 0), std::system_error);
}

TEST_F(Files, StampIdentifiesAFile) {
    write_file(file, content);
    fs::create_hard_link(file, folder / "second name");
    write_file(folder / "other", content);
    const auto stamp = platform::stamp_of(file);
    const auto second = platform::stamp_of(folder / "second name");
    const auto other = platform::stamp_of(folder / "other");
    ASSERT_TRUE(stamp && second && other);
    EXPECT_EQ(stamp->volume, second->volume);
    EXPECT_EQ(stamp->index, second->index);
    EXPECT_EQ(stamp->volume, other->volume);
    EXPECT_NE(stamp->index, other->index);
    EXPECT_EQ(stamp->links, 2U);
    EXPECT_EQ(other->links, 1U);
    EXPECT_EQ(stamp->size, content.size());
    EXPECT_TRUE(stamp->regular);
    EXPECT_FALSE(stamp->folder);
}

TEST_F(Files, StampOfAnOpenFileIsThatOfItsName) {
    write_file(file, content);
    const auto named = platform::stamp_of(file);
    const auto opened = SourceFile(file).stamp();
    ASSERT_TRUE(named);
    EXPECT_EQ(opened.volume, named->volume);
    EXPECT_EQ(opened.index, named->index);
    EXPECT_EQ(opened.size, named->size);
    EXPECT_EQ(opened.modified, named->modified);
    EXPECT_EQ(opened.changed, named->changed);
    EXPECT_TRUE(opened.regular);
}

TEST_F(Files, StampOfAFolderSaysSo) {
    const auto stamp = platform::stamp_of(folder.path());
    ASSERT_TRUE(stamp);
    EXPECT_TRUE(stamp->folder);
    EXPECT_FALSE(stamp->regular);
}

TEST_F(Files, StampHasTheTimesOfNow) {
    using namespace std::chrono;
    const auto now = [] {
        return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
    };
    constexpr std::int64_t kCoarse = 2'000'000'000; // The clock of a file system may be that coarse.
    const std::int64_t before = now() - kCoarse;
    write_file(file, content);
    const auto stamp = platform::stamp_of(file);
    ASSERT_TRUE(stamp);
    EXPECT_GE(stamp->modified, before);
    EXPECT_LE(stamp->modified, now() + kCoarse);
    EXPECT_GE(stamp->changed, before);
    EXPECT_LE(stamp->changed, now() + kCoarse);
}

TEST_F(Files, MissingFileHasNoStamp) {
    write_file(file, content);
    for (const fs::path& path : {folder / "missing", folder / "missing" / "file", file / "below a file"}) {
        EXPECT_FALSE(platform::stamp_of(path)) << path;
        EXPECT_FALSE(platform::is_taken(path)) << path;
    }
    EXPECT_TRUE(platform::is_taken(file));
    EXPECT_TRUE(platform::is_taken(folder.path()));
}

TEST_F(Files, SourceIsReadAtAnyOffset) {
    write_file(file, content);
    const SourceFile source(file);
    EXPECT_EQ(read(source, 0, content.size()), content);
    EXPECT_EQ(read(source, 70'001, 9), part(content, 70'001, 70'010));
    EXPECT_EQ(read(source, 5, 0), Bytes{});
}

TEST_F(Files, SourceEndsWhereTheFileDoes) {
    write_file(file, content);
    const SourceFile source(file);
    EXPECT_EQ(read(source, content.size() - 3, 10), part(content, content.size() - 3, content.size()));
    EXPECT_EQ(read(source, content.size(), 10), Bytes{});
    EXPECT_EQ(read(source, std::uint64_t{1} << 40U, 10), Bytes{});
    EXPECT_EQ(read(source, ~std::uint64_t{0}, 10), Bytes{});
    EXPECT_EQ(read(source, ~std::uint64_t{0} >> 1U, 10), Bytes{});
    EXPECT_EQ(read(source, (~std::uint64_t{0} >> 1U) - 4, 10), Bytes{});
}

TEST_F(Files, OthersMayChangeASourceMeanwhile) {
    write_file(file, content);
    const SourceFile source(file);
    write_file(file, {1, 2, 3});
    EXPECT_EQ(read(source, 0, 10), (Bytes{1, 2, 3}));
    platform::move_new(file, folder / "renamed");
    EXPECT_TRUE(fs::remove(folder / "renamed"));
    EXPECT_EQ(read(source, 0, 10), (Bytes{1, 2, 3}));
}

TEST_F(Files, MissingFilesAndFoldersAreNotSources) {
    EXPECT_EQ(error_of([&] { SourceFile(folder / "missing"); }), std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { SourceFile(folder.path()); }), std::errc::is_a_directory);
}

TEST_F(Files, NewFileHoldsWhatWasWritten) {
    {
        NewFile made(file);
        append(made, part(content, 0, 50'000));
        append(made, {});
        append(made, part(content, 50'000, content.size()));
        made.sync();
        EXPECT_EQ(made.stamp().size, content.size());
        EXPECT_TRUE(made.stamp().regular);
    }
    EXPECT_EQ(read_file(file), content);
}

TEST_F(Files, OverwritingDoesNotMoveTheEnd) {
    {
        NewFile made(file);
        append(made, {1, 2, 3, 4});
        const Bytes other{8, 9};
        made.write_at(1, other.data(), other.size());
        append(made, {5});
    }
    EXPECT_EQ(read_file(file), (Bytes{1, 8, 9, 4, 5}));
}

TEST_F(Files, FilesGrowWithZerosAndShrink) {
    {
        NewFile made(file);
        append(made, {1, 2, 3});
        made.resize(5);
        append(made, {4});
    }
    EXPECT_EQ(read_file(file), (Bytes{1, 2, 3, 0, 0, 4}));
    {
        NewFile opened = platform::open_to_append(file);
        opened.resize(2);
        append(opened, {7});
    }
    EXPECT_EQ(read_file(file), (Bytes{1, 2, 7}));
}

TEST_F(Files, ImpossibleSizesAreRefused) {
    NewFile made(file);
    const Bytes one{1};
    EXPECT_TRUE(platform::means_no_room(error_of([&] { made.resize(~std::uint64_t{0}); })));
    EXPECT_TRUE(platform::means_no_room(error_of([&] { made.write_at(~std::uint64_t{0}, one.data(), 1); })));
    EXPECT_EQ(made.stamp().size, 0U);
}

TEST_F(Files, NewFileReplacesNothing) {
    write_file(file, content);
    fs::create_directory(folder / "folder");
    EXPECT_EQ(error_of([&] { NewFile{file}; }), std::errc::file_exists);
    EXPECT_EQ(error_of([&] { NewFile{folder / "folder"}; }), std::errc::file_exists);
    EXPECT_EQ(read_file(file), content);
    EXPECT_EQ(error_of([&] { NewFile{folder / "missing" / "file"}; }), std::errc::no_such_file_or_directory);
}

TEST_F(Files, NewFileMayBeReadAndMovedWhileItIsOpen) {
    NewFile made(file);
    append(made, {1, 2});
    const SourceFile source(file);
    EXPECT_EQ(read(source, 0, 10), (Bytes{1, 2}));
    platform::move_new(file, folder / "renamed");
    append(made, {3});
    EXPECT_EQ(read(source, 0, 10), (Bytes{1, 2, 3}));
}

TEST_F(Files, MovedObjectContinuesToWrite) {
    {
        NewFile made(file);
        append(made, {1});
        NewFile taken(std::move(made));
        append(taken, {2});
    }
    EXPECT_EQ(read_file(file), (Bytes{1, 2}));
}

TEST_F(Files, AppendingContinuesAtTheEnd) {
    write_file(file, {1, 2});
    {
        NewFile opened = platform::open_to_append(file);
        append(opened, {3});
        append(opened, {4});
        const Bytes other{9};
        opened.write_at(0, other.data(), other.size());
        opened.sync();
    }
    EXPECT_EQ(read_file(file), (Bytes{9, 2, 3, 4}));
}

TEST_F(Files, OnlyOrdinaryFilesAreAppendedTo) {
    EXPECT_EQ(error_of([&] { (void)platform::open_to_append(folder / "missing"); }),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { (void)platform::open_to_append(folder.path()); }), std::errc::is_a_directory);
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST_F(Files, FilesAndFoldersAreSynced) {
    write_file(file, content);
    platform::sync_file(file);
    platform::sync_folder(folder.path());
    EXPECT_EQ(error_of([&] { platform::sync_file(folder / "missing"); }),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { platform::sync_folder(folder / "missing"); }),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(error_of([&] { platform::sync_folder(file); }), std::errc::not_a_directory);
    EXPECT_EQ(read_file(file), content);
}

TEST_F(Files, PathsMayBeLong) {
    fs::path place = folder.path();
    for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) {
        place /= std::string(60, letter);
        fs::create_directory(system_path::reachable(place));
    }
    const fs::path here = place / "here";
    const fs::path there = place / "there";
    {
        NewFile made(here);
        append(made, {1});
    }
    platform::move_new(here, there);
    append(*std::make_unique<NewFile>(platform::open_to_append(there)), {2});
    { NewFile made(here); }
    platform::move_over(there, here);
    EXPECT_EQ(read(SourceFile(here), 0, 10), (Bytes{1, 2}));
    EXPECT_TRUE(platform::is_taken(here));
    EXPECT_FALSE(platform::is_taken(there));
    EXPECT_EQ(platform::stamp_of(here)->size, 2U);
    EXPECT_TRUE(platform::Lock::take(place / "lock"));
    EXPECT_FALSE(platform::room_for(place, 10));
    platform::sync_file(here);
    platform::sync_folder(place);
    (void)platform::is_removable(here);
    std::error_code ignored;
    system_path::remove_all(folder / std::string(60, 'a'), ignored);
}

} // namespace
} // namespace test
