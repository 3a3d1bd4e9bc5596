#pragma once

#include <iostream>

namespace test {

/// While it lives, nothing comes out of std::cerr, where the library reports a few things that do not go to
/// the log.
class QuietErrors {
  public:
    QuietErrors() : buffer_(std::cerr.rdbuf(nullptr)) {}
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
    ~QuietErrors() { std::cerr.rdbuf(buffer_); }

  private:
    std::streambuf* buffer_;
};

} // namespace test
