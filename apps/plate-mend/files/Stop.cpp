#include "files/Stop.h"

#include <utility>

namespace plate_mend::host {

namespace {

std::stop_token& own_token() {
    thread_local std::stop_token token;
    return token;
}

} // namespace

StopScope::StopScope(std::stop_token token) : previous_(std::exchange(own_token(), std::move(token))) {}

StopScope::~StopScope() {
    own_token() = std::move(previous_);
}

std::stop_token current_stop() {
    return own_token();
}

} // namespace plate_mend::host
