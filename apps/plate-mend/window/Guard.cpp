#include "window/Guard.h"

#include "window/Secrets.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace plate_mend::host {

namespace {

constexpr const char* kPlace = "127.0.0.1";

HttpResponse refusal(const std::string& why) {
    return {403, "text/plain; charset=utf-8",
            why + "\n\nOpen the address that plate-mend printed, or start it again: plate-mend open\n"};
}

/// The value of a cookie; empty if it was not sent.
std::string_view cookie_in(std::string_view cookies, std::string_view name) {
    while (!cookies.empty()) {
        const std::size_t end = std::min(cookies.find(';'), cookies.size());
        std::string_view one = cookies.substr(0, end);
        cookies.remove_prefix(std::min(end + 1, cookies.size()));
        one.remove_prefix(std::min(one.find_first_not_of(' '), one.size()));
        if (one.size() > name.size() && one.starts_with(name) && one[name.size()] == '=') {
            return one.substr(name.size() + 1);
        }
    }
    return {};
}

} // namespace

Guard::Guard(std::uint16_t port)
    : port_(std::to_string(port)), key_(new_secret()), cookie_(new_secret()), page_token_(new_secret()) {}

std::string Guard::address() const {
    std::string address = "http://";
    address += kPlace;
    return address + ':' + port_ + "/?token=" + key_;
}

bool Guard::is_for_us(const HttpRequest& request) const {
    const std::array names{kPlace, "localhost", "[::1]"};
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return request.header("host") == name + (':' + port_); });
}

bool Guard::is_from_us(const HttpRequest& request) const {
    const std::string origin = request.header("origin");
    const std::string site = request.header("sec-fetch-site");
    return (origin.empty() || origin == "http://" + request.header("host")) &&
           (site.empty() || site == "same-origin" || site == "none");
}

bool Guard::has_cookie(const HttpRequest& request) const {
    return is_secret(cookie_in(request.header("cookie"), "plate-mend-" + port_), cookie_);
}

HttpResponse Guard::enter(const HttpRequest& request) {
    const bool is_right = is_secret(request.parameter("token"), key_);
    if (!is_right || (is_key_used_.exchange(true) && !has_cookie(request))) {
        return refusal("This address is not valid, or has been used already.");
    }
    // No age: the browser forgets it when it ends.
    return {303,
            "text/plain; charset=utf-8",
            "",
            {{"Location", "/"},
             {"Set-Cookie", "plate-mend-" + port_ + '=' + cookie_ + "; HttpOnly; SameSite=Strict; Path=/"}}};
}

std::optional<HttpResponse> Guard::stop(const HttpRequest& request) {
    if (!is_for_us(request)) {
        return refusal("This is not the name of this page.");
    }
    if (!is_from_us(request)) {
        return refusal("Another page asked for this.");
    }
    if (request.method == "GET" && request.path == "/" && request.parameters.contains("token")) {
        return enter(request);
    }
    if (!has_cookie(request)) {
        return refusal("This page belongs to another browser.");
    }
    if (request.method == "POST" && !is_secret(request.header("x-plate-mend"), page_token_)) {
        return refusal("The page is not from this program, or it is from an earlier start.");
    }
    return std::nullopt;
}

} // namespace plate_mend::host
