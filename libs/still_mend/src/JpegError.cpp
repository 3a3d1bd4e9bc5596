#include "JpegError.h"

#include <jerror.h>

#include <new>

namespace still_mend {

namespace {

[[noreturn]] void throw_error(j_common_ptr info) {
    if (info->err->msg_code == JERR_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    throw JpegError{};
}

void count_message(j_common_ptr info, int level) {
    if (level < 0) {
        ++info->err->num_warnings;
    }
}

void ignore_message(j_common_ptr /*info*/) {}

} // namespace

jpeg_error_mgr* quiet_errors(jpeg_error_mgr& errors) {
    jpeg_std_error(&errors);
    errors.error_exit = throw_error;
    errors.emit_message = count_message;
    errors.output_message = ignore_message;
    return &errors;
}

} // namespace still_mend
