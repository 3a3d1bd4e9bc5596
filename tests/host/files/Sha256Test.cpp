#include "files/Sha256.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace plate_mend::host {
namespace {

std::string sum_of(const test::Bytes& bytes) {
    const test::TempDir folder;
    test::write_file(folder / u8"写真.arw", bytes);
    return sha256_of(folder / u8"写真.arw");
}

// The expected sums are those of the standard's own examples.
TEST(Sha256, EmptyFileAndShortTexts) {
    EXPECT_EQ(sum_of({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sum_of({'a', 'b', 'c'}), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, FileOfAMillionLetters) {
    EXPECT_EQ(sum_of(test::Bytes(1'000'000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, PiecesAreJoinedWhereverTheFileEnds) {
    // Sums of as many letters, made with another program.
    EXPECT_EQ(sum_of(test::Bytes(262144, 'a')),
              "dd3dde87623d9a6b354c68c943d189c89c63652d945e7bbdf0986cae91a49521");
    EXPECT_EQ(sum_of(test::Bytes(262145, 'a')),
              "c592f4a6b099700b5050ce8bc67367f0c8f44810203124e86405c3e7b6f1a2ba");
}

TEST(Sha256, UnreadableFileThrowsWithItsName) {
    const test::TempDir folder;
    EXPECT_THROW(static_cast<void>(sha256_of(folder / "missing.arw")), std::runtime_error);
    EXPECT_THROW(static_cast<void>(sha256_of(folder.path())), std::runtime_error) << "a folder";
}

} // namespace
} // namespace plate_mend::host
