#pragma once

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace plate_mend::host {

/// libjpeg's error manager: an error leaves libjpeg by a jump back into runs().
struct JumpingErrors : jpeg_error_mgr {
    JumpingErrors() : jpeg_error_mgr{} {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr codec) {
            std::longjmp(static_cast<JumpingErrors*>(codec->err)->out, 1);
        };
        emit_message = [](j_common_ptr codec, int level) { codec->err->num_warnings += level < 0 ? 1 : 0; };
        output_message = [](j_common_ptr) {};
    }
    std::jmp_buf out{};
};

/// Calls what calls libjpeg with this error manager; false when libjpeg cannot go on. While libjpeg runs, the
/// calls must not hold anything with a destructor: a jump skips it.
template <typename Calls>
bool runs(JumpingErrors& errors, const Calls& calls) {
    // NOLINTNEXTLINE(cert-err52-cpp): libjpeg has no other way out.
    if (setjmp(errors.out) != 0) {
        return false;
    }
    calls();
    return true;
}

} // namespace plate_mend::host
