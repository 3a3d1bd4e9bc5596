#pragma once

#include "host/HostFixture.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace test {

/// Starts the program as a shell does, in a separate process.
class ShellFixture : public HostFixture {
  protected:
    /// Runs a command in the folder and keeps what it wrote. "$P" is the program in it.
    int shell(const std::string& command) {
        const std::string line = "P='" + utf8(program_file()) + "'; cd '" + utf8(folder.path()) + "' && { " +
                                 command + "\n} >'" + utf8(desk_ / "out") + "' 2>'" + utf8(desk_ / "err") +
                                 "'";
        const int status = std::system(line.c_str());
        out = text_of(desk_ / "out");
        err = text_of(desk_ / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    /// A script that runs instead of the program in workers, for each task, as a WorkerScript. "$program" is
    /// the program in it.
    [[nodiscard]] std::filesystem::path script(const std::string& text) const {
        std::filesystem::path file = desk_ / "worker.sh";
        std::ofstream(file) << "#!/bin/sh\nexec </dev/null\nprogram='" << utf8(program_file()) << "'\n"
                            << text << '\n';
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file;
    }

    /// Runs the program in this process with workers that are started by a script.
    int run_with(const std::string& text, const std::vector<std::string>& arguments) {
        const auto file = script(text);
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const int status = plate_mend::host::run(arguments, file);
        out = ::testing::internal::GetCapturedStdout();
        err = ::testing::internal::GetCapturedStderr();
        return status;
    }

    static std::string text_of(const std::filesystem::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TempDir desk_; ///< For files that are not part of a run.
};

} // namespace test
