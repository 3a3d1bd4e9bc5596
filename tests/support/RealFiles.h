#pragma once

#include "support/Bytes.h"

#include <filesystem>
#include <optional>
#include <string>

namespace test {

/// The folder of real camera files, where it is given.
[[nodiscard]] std::optional<std::filesystem::path> real_folder();

/// A real camera file by its name below the folder of such files ("arw/sony-a330-head.arw"); nothing when
/// the folder is not given. Throws std::runtime_error when it is given and the file is not there.
[[nodiscard]] std::optional<Bytes> real_file(const std::string& name);

} // namespace test

// NOLINTBEGIN(bugprone-macro-parentheses): the argument is a name.
/// Skips the test where the folder of real camera files is not given; else declares the file's bytes.
#define REAL_FILE_OR_SKIP(variable, name)                                                                    \
    const auto variable##_optional = ::test::real_file(name);                                                \
    if (!variable##_optional) {                                                                              \
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";                    \
    }                                                                                                        \
    const ::test::Bytes& variable = *variable##_optional
// NOLINTEND(bugprone-macro-parentheses)
