#include "host/window/WindowFixture.h"

#include "window/ClientHead.h"
#include "window/Secrets.h"

#include <gmock/gmock.h>

#include <set>
#include <stdexcept>

// Who may use the window, and what a client may cost.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class WindowGuard : public WindowFixture {
  protected:
    /// The status of a request for the state with these headers instead of the right Host.
    [[nodiscard]] int status_with_host(const std::string& host) const {
        return send("GET /state HTTP/1.1\r\nHost: " + host + "\r\nCookie: " + cookie_ + "\r\n\r\n").status;
    }
    [[nodiscard]] std::string port() const { return std::to_string(window_->server().port()); }
};

TEST_F(WindowGuard, AddressIsOnThisMachineAndHasASecret) {
    open();
    EXPECT_THAT(window_->address(), StartsWith("http://127.0.0.1:" + port() + "/?token="));
    EXPECT_EQ(key_.size(), 64U);
    const WindowServer other(settings());
    EXPECT_THAT(other.address(), Not(HasSubstr(key_)));
}

TEST_F(WindowGuard, TokenBecomesACookieAndLeavesTheAddress) {
    open();
    const Reply reply = send("GET /?token=" + key_ + " HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n");
    EXPECT_EQ(reply.status, 303);
    EXPECT_TRUE(reply.has("Location: /")) << reply.head;
    EXPECT_THAT(reply.head,
                AllOf(HasSubstr("\r\nSet-Cookie: plate-mend-" + port() + "="),
                      HasSubstr("; HttpOnly; SameSite=Strict; Path=/\r\n"), Not(HasSubstr(key_))));
    EXPECT_EQ(reply.body, "");
}

TEST_F(WindowGuard, TokenWorksOnceButForTheBrowserThatUsedIt) {
    open_and_enter();
    const std::string again = "GET /?token=" + key_ + " HTTP/1.1\r\nHost: " + host_ + "\r\n";
    EXPECT_EQ(send(again + "\r\n").status, 403);
    EXPECT_EQ(send(again + "Cookie: " + cookie_ + "\r\n\r\n").status, 303);
}

TEST_F(WindowGuard, WrongTokenIsRefusedAndCostsNothing) {
    open();
    for (const std::string& token : {std::string(64, '0'), std::string(), key_.substr(0, 63), key_ + "0"}) {
        EXPECT_EQ(send("GET /?token=" + token + " HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n").status, 403)
            << token;
    }
    enter();
    EXPECT_EQ(get("/state").status, 200);
}

TEST_F(WindowGuard, NothingIsServedWithoutTheCookie) {
    open_and_enter();
    const std::string right = cookie_;
    for (const std::string& cookie :
         {std::string(), std::string("a=b"), "x" + right, right + "0", right.substr(0, right.size() - 1),
          right.substr(0, right.find('=') + 1), "plate-mend-" + port() + "=" + key_,
          "plate-mend-" + port() + "=" + token_}) {
        cookie_ = cookie;
        for (const char* path :
             {"/", "/window.js", "/state", "/files", "/folder", "/picture?id=0&of=result", "/no"}) {
            EXPECT_EQ(get(path).status, 403) << path << " with " << cookie;
        }
        EXPECT_EQ(post("/quit").status, 403) << cookie;
    }
    cookie_ = "a=b; " + right + ";c=d";
    EXPECT_EQ(get("/state").status, 200);
}

TEST_F(WindowGuard, OtherNamesOfThisMachineAreRefused) {
    open_and_enter();
    for (const std::string& host :
         {std::string("evil.example"), "evil.example:" + port(), std::string("127.0.0.1"),
          std::string("127.0.0.1:1"), "127.0.0.1:" + port() + ".evil.example", "127.0.0.1:" + port() + "0",
          "127.0.0.2:" + port(), "0.0.0.0:" + port(), std::string()}) {
        EXPECT_EQ(status_with_host(host), 403) << host;
    }
    EXPECT_EQ(send("GET /state HTTP/1.1\r\nCookie: " + cookie_ + "\r\n\r\n").status, 403);
    EXPECT_EQ(send("GET /?token=" + key_ + " HTTP/1.1\r\nHost: evil.example:" + port() + "\r\n\r\n").status,
              403);
    for (const std::string name : {"127.0.0.1:", "localhost:", "[::1]:"}) {
        EXPECT_EQ(status_with_host(name + port()), 200) << name;
    }
}

TEST_F(WindowGuard, OtherPagesAreRefused) {
    open_and_enter();
    for (const std::string& origin :
         {std::string("http://evil.example"), std::string("null"), std::string("http://127.0.0.1"),
          std::string("http://127.0.0.1:1"), "https://" + host_, "http://" + host_ + ".evil.example",
          "http://localhost:" + port()}) {
        EXPECT_EQ(ask("GET", "/state", "Origin: " + origin + "\r\n").status, 403) << origin;
        EXPECT_EQ(ask("POST", "/stop", "X-Plate-Mend: " + token_ + "\r\nOrigin: " + origin + "\r\n").status,
                  403)
            << origin;
    }
    for (const char* site : {"cross-site", "same-site"}) {
        EXPECT_EQ(ask("GET", "/state", std::string("Sec-Fetch-Site: ") + site + "\r\n").status, 403) << site;
    }
    EXPECT_EQ(ask("GET", "/state", "Origin: http://" + host_ + "\r\nSec-Fetch-Site: same-origin\r\n").status,
              200);
    EXPECT_EQ(ask("GET", "/state", "Sec-Fetch-Site: none\r\n").status, 200);
}

TEST_F(WindowGuard, ChangesNeedTheTokenOfThePage) {
    open_and_enter();
    const std::string body = Json::object({{"what", "damaged"}, {"path", in("card")}}).line();
    for (const std::string& header :
         {std::string(), std::string("X-Plate-Mend: \r\n"), "X-Plate-Mend: " + key_ + "\r\n",
          "X-Plate-Mend: " + cookie_.substr(cookie_.find('=') + 1) + "\r\n",
          "X-Plate-Mend: " + token_.substr(0, 63) + (token_.back() == '0' ? "1" : "0") + "\r\n",
          "X-Plate-Mend: " + token_ + "0\r\n"}) {
        EXPECT_EQ(ask("POST", "/choose", header, body).status, 403) << header;
        EXPECT_EQ(ask("POST", "/quit", header).status, 403) << header;
    }
    EXPECT_TRUE(state().member("folders").member("damaged").is_null());
    EXPECT_EQ(post("/choose", body).status, 200);
    EXPECT_FALSE(state().member("folders").member("damaged").is_null());
}

TEST_F(WindowGuard, ChangesAreMadeByPostAlone) {
    open_and_enter();
    for (const char* path : {"/choose", "/find", "/start", "/stop", "/sheet", "/open", "/quit"}) {
        EXPECT_EQ(ask("GET", path, "X-Plate-Mend: " + token_ + "\r\n").status, 405) << path;
    }
    for (const char* path : {"/", "/state", "/files", "/window.js"}) {
        EXPECT_EQ(post(path).status, 405) << path;
    }
    for (const char* method : {"PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "FOO"}) {
        const int status = ask(method, "/quit", "X-Plate-Mend: " + token_ + "\r\n").status;
        EXPECT_TRUE(status >= 400 && status < 500) << method << ": " << status;
    }
    EXPECT_EQ(get("/state").status, 200) << "it still runs";
}

TEST_F(WindowGuard, EveryResponseForbidsWhatIsNotFromHere) {
    open_and_enter();
    const std::vector<Reply> replies{get("/"),
                                     get("/window.js"),
                                     get("/state"),
                                     get("/no"),
                                     get("/quit"),
                                     post("/start"),
                                     send("GET /state HTTP/1.1\r\nHost: evil\r\n\r\n"),
                                     post("/choose", "{"),
                                     post("/choose", std::string(300'000, ' ')),
                                     get("/" + std::string(20'000, 'x')),
                                     send("GET / HTTP/1.1\r\nno colon\r\n\r\n"),
                                     send("PUT / HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n")};
    EXPECT_EQ(replies[3].status, 404);
    EXPECT_EQ(replies[5].status, 409);
    EXPECT_EQ(replies[7].status, 400);
    EXPECT_EQ(replies[8].status, 413);
    EXPECT_EQ(replies[9].status, 431);
    EXPECT_EQ(replies[10].status, 400);
    EXPECT_NE(replies[11].status, 200);
    for (const Reply& reply : replies) {
        EXPECT_TRUE(
            reply.has("Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
                      "img-src 'self' blob:; connect-src 'self'; form-action 'self'; frame-ancestors "
                      "'none'; base-uri 'none'"))
            << reply.head;
        EXPECT_TRUE(reply.has("X-Content-Type-Options: nosniff")) << reply.head;
        EXPECT_TRUE(reply.has("Referrer-Policy: no-referrer")) << reply.head;
        EXPECT_TRUE(reply.has("Cache-Control: no-store")) << reply.head;
        EXPECT_TRUE(reply.has("Cross-Origin-Resource-Policy: same-origin")) << reply.head;
        EXPECT_TRUE(reply.has("Cross-Origin-Opener-Policy: same-origin")) << reply.head;
        EXPECT_TRUE(reply.has("X-Frame-Options: DENY")) << reply.head;
        EXPECT_THAT(reply.head, Not(HasSubstr("Access-Control-Allow")));
    }
    EXPECT_TRUE(replies[0].has("Content-Type: text/html; charset=utf-8"));
    EXPECT_TRUE(replies[2].has("Content-Type: application/json"));
    EXPECT_TRUE(replies[3].has("Content-Type: text/plain; charset=utf-8"));
}

TEST(WindowHttp, ErrorInsideTheProgramSaysNothingAboutIt) {
    HttpServer server;
    server.serve(
        [](const HttpRequest& /*request*/) -> HttpResponse { throw std::runtime_error("/home/ann/secret"); });
    Connection connection(server.port());
    connection.send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    const std::string text = connection.read_to_end();
    EXPECT_EQ(reply_from(text).status, 500) << text;
    EXPECT_THAT(text, AllOf(HasSubstr("\r\nContent-Security-Policy: default-src 'none';"),
                            HasSubstr("an error inside the program"), Not(HasSubstr("secret"))));
}

TEST_F(WindowGuard, PageHasNoScriptAndNoStyleInIt) {
    open_and_enter();
    const std::string page = get("/").body;
    EXPECT_THAT(page, AllOf(HasSubstr(token_), Not(HasSubstr("<style")), Not(HasSubstr("style=")),
                            Not(HasSubstr("onclick")), Not(HasSubstr("://"))));
    for (std::size_t at = page.find("<script"); at != std::string::npos; at = page.find("<script", at + 1)) {
        EXPECT_THAT(page.substr(at, page.find("</script>", at) - at), HasSubstr("src=\"/"));
    }
}

TEST_F(WindowGuard, NoPathLeadsToAFile) {
    const std::string text = "the user's own text";
    put("card/secret.html", Bytes(text.begin(), text.end()));
    open_and_enter();
    ASSERT_EQ(choose("damaged", folder / "card").status, 200);
    const std::string path = in("card/secret.html");
    for (const std::string& target :
         {std::string("/secret.html"), "/" + path, path, "//" + path, "/../" + path, "/%2e%2e/%2e%2e" + path,
          "/..%2f..%2f" + path, std::string("/window.js/../secret.html"), std::string("/window.js%00"),
          "/picture?id=" + path + "&of=result", std::string("/picture?id=0&of=../secret.html"),
          std::string("/picture?id=-1&of=result"), std::string("/picture?id=99999999999999999999&of=result"),
          std::string("/file?id=1e3"), std::string("/..\\secret.html"), std::string("/index.html%00.js")}) {
        const Reply reply = get(target);
        EXPECT_TRUE(reply.status == 404 || reply.status == 400) << target << ": " << reply.status;
        EXPECT_THAT(reply.body, Not(HasSubstr(text))) << target;
    }
    const Reply listed =
        get("/folder?path=" + path.substr(0, path.rfind(path.find('\\') < path.size() ? '\\' : '/')));
    EXPECT_EQ(listed.status, 200);
    EXPECT_THAT(listed.body, Not(HasSubstr("secret"))) << "only folders are listed";
    EXPECT_EQ(get("/folder?path=card").status, 400);
    EXPECT_EQ(get("/folder?path=" + in("card") + "%00").status, 400);
}

TEST_F(WindowGuard, ClientsThatSendTooMuchAreRefused) {
    open_and_enter();
    EXPECT_EQ(get("/" + std::string(20'000, 'x')).status, 431);
    EXPECT_EQ(ask("GET", "/state", "Long: " + std::string(20'000, 'x') + "\r\n").status, 431);
    std::string many;
    for (int number = 0; number < 100; ++number) {
        many += "H" + std::to_string(number) + ": x\r\n";
    }
    EXPECT_EQ(ask("GET", "/state", many).status, 431);
    EXPECT_EQ(post("/choose", std::string(300'000, ' ')).status, 413);
    const Reply unread =
        ask("POST", "/choose", "X-Plate-Mend: " + token_ + "\r\nTransfer-Encoding: chunked\r\n", "");
    EXPECT_EQ(unread.status, 400) << unread.head;
    EXPECT_EQ(get("/state").status, 200);
}

TEST_F(WindowGuard, HeadThatNeverEndsIsRefusedBeforeItsTimeIsOver) {
    open(settings(), {.time = std::chrono::minutes(5)});
    Connection endless(window_->server().port());
    endless.send("GET /state HTTP/1.1\r\nA: " + std::string(40'000, 'x'));
    EXPECT_EQ(reply_from(endless.read_to_end()).status, 431);
}

TEST_F(WindowGuard, BadHeadsAreRefused) {
    open_and_enter();
    const std::string names = "Host: " + host_ + "\r\nCookie: " + cookie_ + "\r\n";
    const std::string line = "GET /state HTTP/1.1\r\n";
    for (const std::string& more :
         {"Host: " + host_ + "\r\n", std::string("Host: evil.example\r\n"), std::string("no colon\r\n"),
          std::string(" folded: line\r\n"), std::string("A: \0\r\n", 6), std::string("A: \x7F\r\n"),
          std::string("A: b\nHost: evil\r\n")}) {
        std::string request = line;
        request.append(names).append(more).append("\r\n");
        EXPECT_EQ(send(request).status, 400) << request;
    }
    EXPECT_EQ(send("GET\r\n" + names + "\r\n").status, 400);
    std::string right = line;
    right.append(names).append("\r\n");
    EXPECT_EQ(send(right).status, 200);
}

TEST_F(WindowGuard, SlowClientKeepsNobodyWaiting) {
    open(settings(), {.time = std::chrono::milliseconds(1500)});
    enter();
    std::vector<std::unique_ptr<Connection>> slow;
    for (int number = 0; number < 20; ++number) {
        slow.push_back(std::make_unique<Connection>(window_->server().port()));
        slow.back()->send("GET /sta");
    }
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(get("/state").status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(1500));
    for (const auto& connection : slow) {
        EXPECT_EQ(reply_from(connection->read_to_end()).status, 408);
    }
}

TEST_F(WindowGuard, BodyThatNeverComesKeepsNobodyWaiting) {
    open(settings(), {.time = std::chrono::milliseconds(500)});
    enter();
    Connection slow(window_->server().port());
    slow.send("POST /choose HTTP/1.1\r\nHost: " + host_ + "\r\nCookie: " + cookie_ +
              "\r\nX-Plate-Mend: " + token_ + "\r\nContent-Length: 100\r\n\r\n{");
    EXPECT_EQ(get("/state").status, 200);
    EXPECT_NE(reply_from(slow.read_to_end()).status, 200);
}

TEST_F(WindowGuard, TooManyConnectionsAreClosedAndOthersServedLater) {
    open(settings(), {.connections = 3, .time = std::chrono::milliseconds(30'000)});
    enter();
    {
        std::vector<std::unique_ptr<Connection>> idle;
        int status = 200;
        for (int number = 0; number < 20 && status != 0; ++number) { // Earlier ones may not be gone yet.
            idle.push_back(std::make_unique<Connection>(window_->server().port()));
            idle.back()->send("GET /");
            status = get("/state").status;
        }
        EXPECT_EQ(status, 0) << "it was closed";
    }
    int status = 0;
    for (int tries = 0; tries < 1000 && status != 200; ++tries) { // The three are noticed to be gone.
        status = get("/state").status;
    }
    EXPECT_EQ(status, 200);
}

TEST_F(WindowGuard, IsReachedAtBothAddressesOfThisMachine) {
    open_and_enter();
    if (!has_ipv6()) {
        EXPECT_FALSE(window_->server().has_ipv6());
        GTEST_SKIP() << "::1 is missing here";
    }
    ASSERT_TRUE(window_->server().has_ipv6());
    Connection connection(window_->server().port(), true);
    connection.send("GET /state HTTP/1.1\r\nHost: [::1]:" + port() + "\r\nCookie: " + cookie_ + "\r\n\r\n");
    EXPECT_EQ(reply_from(connection.read_to_end()).status, 200);
}

TEST(WindowSecrets, AreLongAndNeverTheSame) {
    std::set<std::string> secrets;
    for (int number = 0; number < 100; ++number) {
        secrets.insert(new_secret());
    }
    EXPECT_EQ(secrets.size(), 100U);
    for (const std::string& secret : secrets) {
        EXPECT_EQ(secret.size(), 64U);
        EXPECT_EQ(secret.find_first_not_of("0123456789abcdef"), std::string::npos);
    }
}

TEST(WindowSecrets, AreComparedAsAWhole) {
    EXPECT_TRUE(is_secret("abc", "abc"));
    for (const char* text : {"", "ab", "abcd", "abd", "xbc", "axc", "ABC"}) {
        EXPECT_FALSE(is_secret(text, "abc")) << text;
    }
    EXPECT_FALSE(is_secret("", "")) << "no secret is no permission";
}

TEST(WindowHead, LeavesOutWhatTheWindowDoesNotUse) {
    const CleanHead head =
        clean_head("GET / HTTP/1.1\r\nHost: a\r\nRange: bytes=0-1\r\nAccept-Encoding: br\r\n"
                   "COOKIE: b\r\nTransfer-Encoding: chunked\r\nContent-Type: x\r\n\r\n",
                   {});
    EXPECT_EQ(head.refusal, 0);
    EXPECT_EQ(head.text, "GET / HTTP/1.1\r\nHost: a\r\nCOOKIE: b\r\nContent-Length: 0\r\n\r\n");
}

} // namespace
} // namespace test
