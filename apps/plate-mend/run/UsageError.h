#pragma once

#include <stdexcept>

namespace plate_mend::host {

/// The command line asks for something impossible. what() says what, for the user. Nothing has been done.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace plate_mend::host
