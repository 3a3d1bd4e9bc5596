#pragma once

#include <filesystem>
#include <string>

namespace test {

/// The name of the operation whose std::filesystem::filesystem_error the body threw; "none" when it threw
/// none.
template <typename Body>
std::string failed_operation(Body body) {
    try {
        body();
    } catch (const std::filesystem::filesystem_error& e) {
        std::string text = e.what();
        for (const char* operation : {"remove_all", "remove", "status"}) {
            if (text.find(std::string(operation) + ":") != std::string::npos) {
                return operation;
            }
        }
        return text;
    }
    return "none";
}

} // namespace test
