#pragma once

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace test {

/// For tests of the platform's files.
class FilesFixture : public ::testing::Test {
  protected:
    TempDir folder;
    std::filesystem::path file = folder / "file"; ///< Does not exist at first.
    Bytes content = noise(100'000, 1);
};

} // namespace test
