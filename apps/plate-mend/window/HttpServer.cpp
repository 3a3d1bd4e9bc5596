#include "window/HttpServer.h"

#include "files/Failures.h"
#include "platform/Sockets.h"
#include "text/Text.h"
#include "window/ClientHead.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace plate_mend::host {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kBadRequest = 400;
constexpr int kTimeOut = 408;
constexpr int kTooLarge = 431;

/// Pairs of ports are tried as long as the other address has not the same one free.
constexpr int kMostPorts = 20;

/// A client that has been refused may still be sending; its response is lost if nobody reads that.
constexpr milliseconds kDrainTime{200};
constexpr std::size_t kDrainBytes = 1 << 20;

const httplib::Headers& common_headers() {
    static const httplib::Headers headers = {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
         "form-action 'self'; frame-ancestors 'none'; base-uri 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cache-Control", "no-store"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"X-Frame-Options", "DENY"},
    };
    return headers;
}

/// A connection, with limits on time and size.
class ClientStream : public httplib::Stream {
  public:
    ClientStream(socket_t socket, const HttpLimits& limits)
        : number_(static_cast<platform::SocketNumber>(socket)), socket_(socket), limits_(limits),
          end_(Clock::now() + limits.time) {
        platform::keep_from_children(number_);
    }
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;
    ~ClientStream() override {
        platform::finish_sending(number_);
        drain();
        platform::close_socket(number_);
    }

    /// Reads the head of the request. Returns the status of a refusal; 0 for none, -1 if nothing came.
    int read_head() {
        constexpr std::string_view kHeadEnd = "\r\n\r\n";
        std::string received;
        std::size_t end = std::string::npos;
        while ((end = received.find(kHeadEnd)) == std::string::npos) {
            if (received.size() > limits_.head) {
                return kTooLarge;
            }
            std::array<char, 4096> buffer{};
            const std::size_t count = receive(buffer);
            if (count == 0) {
                return received.empty() ? -1 : is_late_ ? kTimeOut : kBadRequest;
            }
            received.append(buffer.data(), count);
        }
        end += kHeadEnd.size();
        if (end > limits_.head) {
            return kTooLarge;
        }
        CleanHead head = clean_head(received.substr(0, end), limits_);
        waiting_ = std::move(head.text) + received.substr(end);
        return head.refusal;
    }

    void refuse(int status) {
        std::string text = "HTTP/1.1 " + std::to_string(status) + " Refused\r\n";
        for (const auto& [name, value] : common_headers()) {
            text.append(name).append(": ").append(value).append("\r\n");
        }
        text += "Content-Length: 0\r\nConnection: close\r\n\r\n";
        static_cast<void>(write(text.data(), text.size()));
    }

    [[nodiscard]] bool is_readable() const override {
        return !waiting_.empty() || platform::wait_to_read(number_, left());
    }
    [[nodiscard]] bool is_writable() const override { return platform::wait_to_write(number_, left()); }

    ssize_t read(char* ptr, size_t size) override {
        if (waiting_.empty()) {
            const std::size_t count = receive({ptr, size});
            return count == 0 ? -1 : static_cast<ssize_t>(count);
        }
        const std::size_t count = waiting_.copy(ptr, size);
        waiting_.erase(0, count);
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* ptr, size_t size) override {
        if (!is_answering_) { // The time of the handler does not count.
            is_answering_ = true;
            end_ = Clock::now() + limits_.time;
        }
        std::string_view rest(ptr, size);
        while (!rest.empty()) {
            const auto count =
                is_writable() ? platform::send_some(number_, rest) : std::optional<std::size_t>();
            if (!count) {
                return -1;
            }
            rest.remove_prefix(*count);
        }
        return static_cast<ssize_t>(size);
    }

    // Who is at the other end does not matter: it is on this machine.
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    [[nodiscard]] socket_t socket() const override { return socket_; }

  private:
    [[nodiscard]] milliseconds left() const {
        return std::max(milliseconds(0), std::chrono::duration_cast<milliseconds>(end_ - Clock::now()));
    }

    /// 0 for the end, whatever its reason.
    std::size_t receive(std::span<char> buffer) {
        is_late_ = !platform::wait_to_read(number_, left());
        return is_late_ ? 0 : platform::receive_some(number_, buffer).value_or(0);
    }

    void drain() {
        end_ = Clock::now() + kDrainTime;
        std::array<char, 4096> buffer{};
        std::size_t total = 0;
        while (total < kDrainBytes) {
            const std::size_t count = receive(buffer);
            if (count == 0) {
                return;
            }
            total += count;
        }
    }

    platform::SocketNumber number_;
    socket_t socket_;
    const HttpLimits& limits_;
    Clock::time_point end_;
    bool is_late_ = false; ///< The time was over.
    bool is_answering_ = false;
    std::string waiting_; ///< Was received, and not read yet.
};

thread_local bool is_one_too_many = false;

/// A thread for each connection, as long as there are not too many.
class Connections : public httplib::TaskQueue {
  public:
    explicit Connections(std::size_t most) : most_(most) {}

    void enqueue(std::function<void()> serve) override {
        const std::unique_lock lock(mutex_);
        if (count_ >= most_) {
            is_one_too_many = true;
            serve();
            is_one_too_many = false;
            return;
        }
        ++count_;
        try {
            std::thread([this, serve] {
                serve();
                const std::lock_guard done(mutex_);
                --count_;
                changed_.notify_all();
            }).detach(); // shutdown() waits for it.
        } catch (const std::system_error&) {
            --count_;
            is_one_too_many = true;
            serve();
            is_one_too_many = false;
        }
    }

    void shutdown() override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return count_ == 0; });
    }

  private:
    std::size_t most_;
    std::size_t count_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
};

/// The library's server, with connections of our own.
class Server : public httplib::Server {
  public:
    explicit Server(const HttpLimits& limits) : limits_(limits) {
        new_task_queue = [this] { return new Connections(limits_.connections); };
        set_socket_options([](socket_t socket) {
            platform::keep_port_to_itself(static_cast<platform::SocketNumber>(socket));
        });
        set_payload_max_length(limits_.body);
        set_default_headers(common_headers());
    }

  private:
    bool process_and_close_socket(socket_t sock) override {
        if (is_one_too_many) {
            platform::close_socket(static_cast<platform::SocketNumber>(sock));
            return false;
        }
        ClientStream client(sock, limits_);
        const int refusal = client.read_head();
        if (refusal > 0) {
            client.refuse(refusal);
        }
        bool is_closed = false;
        return refusal == 0 && process_request(client, true, is_closed, nullptr);
    }

    const HttpLimits& limits_;
};

HttpRequest request_from(const httplib::Request& given) {
    HttpRequest request{given.method, given.path, {}, {}, given.body};
    for (const auto& [name, value] : given.params) {
        request.parameters.emplace(name, value);
    }
    for (const auto& [name, value] : given.headers) {
        request.headers.emplace(lower(name), value);
    }
    return request;
}

void give(const HttpResponse& response, httplib::Response& given) {
    given.status = response.status;
    for (const auto& [name, value] : response.headers) {
        given.set_header(name, value);
    }
    given.set_content(response.content, response.type);
}

} // namespace

struct HttpServer::State {
    explicit State(const HttpLimits& given) : limits(given) {}

    HttpLimits limits;
    std::unique_ptr<Server> ipv4;
    std::unique_ptr<Server> ipv6; ///< Null: there is no such address.
    std::uint16_t port = 0;
    std::vector<std::thread> threads;

    /// Whether both addresses could be taken, or there is only one.
    bool bind() {
        ipv6.reset();
        ipv4 = std::make_unique<Server>(limits);
        const int any = ipv4->bind_to_any_port("127.0.0.1");
        if (any <= 0) {
            throw MachineFailure("no port of 127.0.0.1 is free");
        }
        port = static_cast<std::uint16_t>(any);
        ipv6 = std::make_unique<Server>(limits);
        if (ipv6->bind_to_port("::1", any)) {
            return true;
        }
        ipv6 = std::make_unique<Server>(limits);
        const bool has_address = ipv6->bind_to_any_port("::1") > 0;
        ipv6.reset();
        return !has_address;
    }

    void listen(Server& server, const HttpHandler& handler) {
        const auto answer = [handler](const httplib::Request& request, httplib::Response& response) {
            give(handler(request_from(request)), response);
        };
        server.Get(".*", answer);
        server.Post(".*", answer);
        server.set_exception_handler(
            [](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
                give({500, "text/plain; charset=utf-8", "an error inside the program"}, response);
            });
        threads.emplace_back([&server] { server.listen_after_bind(); });
        while (!server.is_running()) {
            std::this_thread::yield(); // Only a server that runs can be stopped.
        }
    }
};

HttpServer::HttpServer(const HttpLimits& limits) : state_(std::make_unique<State>(limits)) {
    for (int tries = 0; !state_->bind(); ++tries) {
        if (tries == kMostPorts) { // Always another program's at ::1: do without.
            state_->ipv6.reset();
            return;
        }
    }
}

HttpServer::~HttpServer() {
    for (const auto& server : {state_->ipv4.get(), state_->ipv6.get()}) {
        if (server != nullptr) {
            server->stop();
        }
    }
    for (std::thread& thread : state_->threads) {
        thread.join();
    }
}

std::uint16_t HttpServer::port() const {
    return state_->port;
}

bool HttpServer::has_ipv6() const {
    return state_->ipv6 != nullptr;
}

void HttpServer::serve(const HttpHandler& handler) {
    for (const auto& server : {state_->ipv4.get(), state_->ipv6.get()}) {
        if (server != nullptr) {
            state_->listen(*server, handler);
        }
    }
}

} // namespace plate_mend::host
