#pragma once

#include "host/ProgramFile.h"
#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include "cli/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

namespace test {

/// Runs the host in a folder of its own that holds a damaged photograph and a sample.
class HostFixture : public ::testing::Test {
  protected:
    HostFixture() {
        write_file(folder / "good.arw", sample.bytes);
        write_file(folder / "broken.arw", damaged);
    }

    /// A failed test shows what the program wrote in each of its runs.
    void TearDown() override {
        if (HasFailure()) {
            std::cout << runs_;
        }
    }

    /// Runs the program and keeps what it wrote.
    int run(const std::vector<std::string>& arguments) { return run_as(program_file(), arguments); }

    /// The same, but starts the workers from another program file.
    int run_as(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const int status = plate_mend::host::run(arguments, program);
        out = ::testing::internal::GetCapturedStdout();
        err = ::testing::internal::GetCapturedStderr();
        runs_ += "run with status " + std::to_string(status) + ":\n" + out + err;
        return status;
    }

    /// A path in the folder as an argument.
    [[nodiscard]] std::string in(const std::filesystem::path& name) const { return utf8(folder / name); }

    /// All names in the folder, sorted: what a run left behind.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            found.push_back(utf8(entry.path().filename()));
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    TempDir folder;
    ArwPhoto sample{ArwPhoto::Options{.number = 1}};
    ArwPhoto original{ArwPhoto::Options{.number = 2}};
    Bytes damaged = zeroed(original.bytes, 0, original.strip_entries);
    std::string out;
    std::string err;

  private:
    std::string runs_; ///< What all runs wrote.
};

} // namespace test
