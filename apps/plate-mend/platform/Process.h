#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host::platform {

/// How a process ended.
struct Ending {
    int status = 0;      ///< What it gave, when it ended by itself.
    std::string crashed; ///< What ended it otherwise, in words; empty when it ended by itself.
};

/// A program that runs beside this one, without input, and whose output goes nowhere. A signal of the
/// terminal (Ctrl-C) reaches this program only.
class Process {
  public:
    /// Starts the program with arguments in UTF-8. Throws std::system_error when it does not start.
    Process(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    /// Kills what still runs, with what that started, and waits until it is gone.
    ~Process();

    /// Waits for the end, at most so long. Nothing when it still runs then.
    [[nodiscard]] std::optional<Ending> wait(std::chrono::milliseconds time);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The file of the running program.
[[nodiscard]] std::filesystem::path own_program();

/// From now on this process gets no more memory than that: allocations beyond it fail. 0 is no limit.
/// With sanitizers there is none: they take more address space than any limit leaves.
void limit_memory(std::uint64_t bytes);

} // namespace plate_mend::host::platform
