#pragma once

#include <gtest/gtest.h>

#include <system_error>

namespace test {

/// The code of the std::system_error that a function throws; none, and a failed test, when it throws none.
template <typename Function>
[[nodiscard]] std::error_code error_of(Function function) {
    try {
        function();
    } catch (const std::system_error& e) {
        return e.code();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

} // namespace test
