#include "files/Stop.h"

#include <utility>

namespace plate_mend::host {

namespace {

// Not the token itself: with mingw-w64, what a thread owns must not need a destructor.
thread_local const StopScope* innermost = nullptr;

} // namespace

StopScope::StopScope(std::stop_token token)
    : token_(std::move(token)), previous_(std::exchange(innermost, this)) {}

StopScope::~StopScope() {
    innermost = previous_;
}

std::stop_token current_stop() {
    return innermost == nullptr ? std::stop_token() : innermost->token_;
}

} // namespace plate_mend::host
