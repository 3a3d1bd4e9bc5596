#include "jpeg/JpegError.h"

#include <jerror.h>

namespace still_mend {

namespace {

JpegErrors& errors_of(j_common_ptr codec) {
    return *static_cast<JpegErrors*>(codec->err);
}

[[noreturn]] void jump(j_common_ptr codec) {
    std::longjmp(errors_of(codec).out, 1);
}

void count_message(j_common_ptr codec, int level) {
    if (level >= 0) {
        return;
    }
    ++codec->err->num_warnings;
    if (errors_of(codec).strict) {
        jump(codec);
    }
}

void ignore_message(j_common_ptr /*codec*/) {}

} // namespace

JpegErrors::JpegErrors() : jpeg_error_mgr{} {
    jpeg_std_error(this);
    error_exit = jump;
    emit_message = count_message;
    output_message = ignore_message;
}

bool JpegErrors::out_of_memory() const {
    return msg_code == JERR_OUT_OF_MEMORY;
}

} // namespace still_mend
