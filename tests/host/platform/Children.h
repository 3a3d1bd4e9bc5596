#pragma once

#include "platform/Process.h"

#include <filesystem>
#include <functional>

namespace test {

/// The program that tests start as a separate process.
[[nodiscard]] std::filesystem::path child_program();

/// Waits until a condition holds, at most half a minute. Returns whether it does.
[[nodiscard]] bool comes_true(const std::function<bool()>& condition);

/// Waits for the end of a process, at most half a minute, and returns it; fails the test without one.
[[nodiscard]] plate_mend::host::platform::Ending ending_of(plate_mend::host::platform::Process& process);

} // namespace test
