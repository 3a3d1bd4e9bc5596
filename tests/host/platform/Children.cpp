#include "host/platform/Children.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace test {

using namespace std::chrono_literals;

std::filesystem::path child_program() {
    return plate_mend::host::platform::own_program().parent_path() / PLATE_MEND_CHILD_NAME;
}

bool comes_true(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

plate_mend::host::platform::Ending ending_of(plate_mend::host::platform::Process& process) {
    std::optional<plate_mend::host::platform::Event> event;
    EXPECT_TRUE(comes_true([&] { return (event = process.wait(1s)).has_value() && event->ending; }));
    return event ? event->ending.value_or(plate_mend::host::platform::Ending{-1, "it replied"})
                 : plate_mend::host::platform::Ending{-1, "it did not end"};
}

} // namespace test
