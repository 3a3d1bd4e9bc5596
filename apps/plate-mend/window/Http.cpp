#include "window/Http.h"

namespace plate_mend::host {

namespace {

std::string value_in(const std::map<std::string, std::string>& values, const std::string& name) {
    const auto found = values.find(name);
    return found == values.end() ? "" : found->second;
}

} // namespace

std::string HttpRequest::header(const std::string& name) const {
    return value_in(headers, name);
}

std::string HttpRequest::parameter(const std::string& name) const {
    return value_in(parameters, name);
}

} // namespace plate_mend::host
