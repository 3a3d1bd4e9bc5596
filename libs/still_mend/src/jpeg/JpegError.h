#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <new>

#include <jpeglib.h>

namespace still_mend {

/// A fatal error of libjpeg, except a lack of memory, which is std::bad_alloc. Thrown by callers of libjpeg,
/// never through it.
struct JpegError {};

/// libjpeg's error manager. Errors leave libjpeg by a jump back into run_jpeg; nothing is printed; warnings
/// are counted. A codec points to it, so it must not move.
struct JpegErrors : jpeg_error_mgr {
    JpegErrors();
    JpegErrors(const JpegErrors&) = delete;
    JpegErrors& operator=(const JpegErrors&) = delete;
    ~JpegErrors() = default;

    /// Whether the last error was a lack of memory.
    [[nodiscard]] bool out_of_memory() const;

    /// Whether the first warning ends the work as an error does.
    bool strict = false;
    std::jmp_buf out{};
};

/// Runs calls of libjpeg with this error manager. False when libjpeg gave up. Throws std::bad_alloc when it
/// had no memory, and what the calls themselves throw outside of libjpeg. While libjpeg runs, the calls must
/// not hold anything with a destructor: a jump skips it.
template <typename Calls>
[[nodiscard]] bool run_jpeg(JpegErrors& errors, const Calls& calls) {
    // NOLINTNEXTLINE(cert-err52-cpp): libjpeg has no other way out.
    if (setjmp(errors.out) != 0) {
        if (errors.out_of_memory()) {
            throw std::bad_alloc();
        }
        return false;
    }
    calls();
    return true;
}

} // namespace still_mend
