#pragma once

#include "host/BatchFixture.h"
#include "host/window/Connection.h"

#include "record/Json.h"
#include "text/Paths.h"
#include "window/WindowServer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A response as it came over the wire.
struct Reply {
    int status = 0; ///< 0: none came.
    std::string head;
    std::string body;

    [[nodiscard]] bool has(const std::string& header) const {
        return head.find("\r\n" + header + "\r\n") != std::string::npos;
    }
};

inline Reply reply_from(const std::string& text) {
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos || text.size() < 12) {
        return {};
    }
    return {std::stoi(text.substr(9, 3)), text.substr(0, end + 2), text.substr(end + 4)};
}

/// The window of a folder "card", and requests to it that are written by hand.
class WindowFixture : public BatchFixture {
  protected:
    /// Opens the window, and gets its cookie and its token as a browser does.
    void open(plate_mend::host::WindowSettings settings, const plate_mend::host::HttpLimits& limits = {}) {
        window_ = std::make_unique<plate_mend::host::WindowServer>(std::move(settings), limits);
        const std::string address = window_->address();
        key_ = address.substr(address.find("token=") + 6);
        host_ = "127.0.0.1:" + std::to_string(window_->server().port());
    }
    void open() { open(settings()); }
    void enter() {
        const Reply entered = send("GET /?token=" + key_ + " HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n");
        ASSERT_EQ(entered.status, 303);
        const std::size_t begin = entered.head.find("Set-Cookie: ") + 12;
        cookie_ = entered.head.substr(begin, entered.head.find(';', begin) - begin);
        const std::string page = get("/").body;
        const std::size_t token = page.find("content=\"", page.find("name=\"plate-mend\"")) + 9;
        token_ = page.substr(token, 64);
    }
    void open_and_enter() {
        open();
        enter();
    }

    [[nodiscard]] plate_mend::host::WindowSettings settings() {
        return {.program = program_file(),
                .damaged = {},
                .open_path =
                    [this](const std::filesystem::path& path) {
                        opened_.push_back(path);
                        return true;
                    },
                .longest_wait = std::chrono::milliseconds(2000)};
    }

    [[nodiscard]] Reply send(const std::string& request) const {
        Connection connection(window_->server().port());
        connection.send(request);
        return reply_from(connection.read_to_end());
    }

    /// A request with the cookie. More headers each end in a line break.
    [[nodiscard]] Reply ask(const std::string& method, const std::string& target,
                            const std::string& headers = "", const std::string& body = "") const {
        return send(method + " " + target + " HTTP/1.1\r\nHost: " + host_ + "\r\nCookie: " + cookie_ +
                    "\r\n" + headers +
                    (method == "POST" ? "Content-Length: " + std::to_string(body.size()) + "\r\n" : "") +
                    "\r\n" + body);
    }
    [[nodiscard]] Reply get(const std::string& target) const { return ask("GET", target); }
    [[nodiscard]] Reply post(const std::string& target, const std::string& body = "") const {
        return ask("POST", target, "X-Plate-Mend: " + token_ + "\r\n", body);
    }

    [[nodiscard]] plate_mend::host::Json state() const {
        return plate_mend::host::Json::parse(get("/state").body);
    }

    /// The first state of which something is true.
    plate_mend::host::Json
    state_when(const std::function<bool(const plate_mend::host::Json& state)>& condition) const {
        plate_mend::host::Json now = state();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (!condition(now) && std::chrono::steady_clock::now() < end) {
            now = plate_mend::host::Json::parse(
                get("/state?after=" + std::to_string(now.required_integer<std::uint64_t>("version"))).body);
        }
        EXPECT_TRUE(condition(now)) << now.line();
        return now;
    }
    plate_mend::host::Json state_at_rest() const {
        return state_when([](const auto& now) { return now.text("activity") == "none"; });
    }

    [[nodiscard]] Reply choose(const std::string& what, const std::filesystem::path& path) const {
        return post(
            "/choose",
            plate_mend::host::Json::object(
                {{"what", what}, {"path", plate_mend::host::escaped_name(plate_mend::host::utf8_from(path))}})
                .line());
    }
    /// "card", the folder of the sample, and "mended".
    void choose_all() {
        std::filesystem::create_directories(folder / "good");
        write_file(folder / "good" / "good.arw", sample.bytes);
        EXPECT_EQ(choose("damaged", folder / "card").status, 200);
        EXPECT_EQ(choose("samples", folder / "good").status, 200);
        EXPECT_EQ(choose("out", folder / "mended").status, 200);
    }

    [[nodiscard]] std::vector<plate_mend::host::Json> files(const std::string& query = "") const {
        return plate_mend::host::Json::parse(get("/files" + query).body).member("files").elements();
    }

    std::unique_ptr<plate_mend::host::WindowServer> window_;
    std::string host_;
    std::string key_;
    std::string cookie_;
    std::string token_;
    std::vector<std::filesystem::path> opened_; ///< What was shown to the user.
};

} // namespace test
