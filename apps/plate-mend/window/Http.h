#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// Requests and responses, as far as the window needs them.

namespace plate_mend::host {

/// A request that a server has read. Nothing in it can be trusted.
struct HttpRequest {
    std::string method;                            ///< "GET", "POST", or any other.
    std::string path;                              ///< Decoded, without the query: "/files".
    std::map<std::string, std::string> parameters; ///< Of the query, decoded; the first of each name.
    std::map<std::string, std::string> headers; ///< Those that HttpServer lets through, names in lower case.
    std::string body;

    /// A header, or a parameter; empty where there is none.
    [[nodiscard]] std::string header(const std::string& name) const;
    [[nodiscard]] std::string parameter(const std::string& name) const;
};

/// What the server sends back.
struct HttpResponse {
    int status = 200;
    std::string type = "text/plain; charset=utf-8"; ///< Of the content.
    std::string content{};
    std::vector<std::pair<std::string, std::string>> headers{}; ///< Besides those that all responses have.
};

/// Answers a request. May be called by several threads at once, and may wait. What it throws becomes a
/// response with the status 500.
using HttpHandler = std::function<HttpResponse(const HttpRequest& request)>;

} // namespace plate_mend::host
