#include "platform/Process.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/Errors.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>
#include <utility>

namespace plate_mend::host::platform {

namespace {

// Descriptors of the process that is started.
constexpr int kTexts = STDIN_FILENO;
constexpr int kReplies = 3;

/// Two ends of a channel. The other process gets a copy of its own.
struct Ends {
    Descriptor ours;
    Descriptor theirs;
};

/// The same file, with a number that stays free of what processes are given. Throws std::system_error.
Descriptor out_of_the_way(Descriptor descriptor) {
    const int number = ::fcntl(descriptor.number(), F_DUPFD_CLOEXEC, kReplies + 1);
    if (number < 0) {
        fail(errno, "fcntl");
    }
    return Descriptor(number);
}

Ends make_socket() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        fail(errno, "socketpair");
    }
    Descriptor ours(ends[0]);
    return {std::move(ours), out_of_the_way(Descriptor(ends[1]))};
}

Ends make_pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail(errno, "pipe");
    }
    Descriptor ours(ends[0]);
    return {std::move(ours), out_of_the_way(Descriptor(ends[1]))};
}

/// What the started process gets instead of our streams.
class FileActions {
  public:
    FileActions() { ::posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    void nothing(int descriptor) {
        ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_WRONLY, 0);
    }
    void take(int from, int to) { ::posix_spawn_file_actions_adddup2(&actions_, from, to); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

/// A separate process group, so that the terminal's signals do not reach it, and no blocked signals; signals
/// that we ignore or handle have their default effect.
class Attributes {
  public:
    Attributes() {
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setflags(&attributes_,
                                   POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        ::posix_spawnattr_setpgroup(&attributes_, 0);
        sigset_t signals{};
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        for (const int signal : {SIGXFSZ, SIGPIPE, SIGALRM, SIGCHLD, SIGTERM}) {
            sigaddset(&signals, signal);
        }
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

/// A program that was started with SIGCHLD ignored never learns how its own processes ended.
void restore_child_signal() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 &&
        (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0)) {
        action = {};
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

/// Waits for the end of a process. Returns its status as waitpid reports it; nothing where there is none.
std::optional<int> status_of(pid_t id) {
    int status = 0;
    while (::waitpid(id, &status, 0) < 0) {
        if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return status;
}

Ending ending_from(std::optional<int> status) {
    if (!status) {
        return {0, "how it ended is unknown"};
    }
    if (WIFSIGNALED(*status)) {
        const char* name = ::strsignal(WTERMSIG(*status));
        return {0, name == nullptr ? "a signal" : name, WTERMSIG(*status) == SIGKILL};
    }
    return {WEXITSTATUS(*status), ""};
}

} // namespace

/// The process holds the writing end of a pipe until it ends, however it ends: that can be waited for with a
/// limit. Its replies come the same way. Texts go through a socket: writing to one whose other end is gone
/// raises no signal.
struct Process::State {
    State(Descriptor texts_end, Descriptor replies_end)
        : texts(std::move(texts_end)), replies(std::move(replies_end)) {}
    Descriptor texts;
    Descriptor replies;
    pid_t id = 0;
    bool ended = false;
};

Process::Process(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    restore_child_signal();
    Ends texts = make_socket();
    Ends replies = make_pipe();
    FileActions actions;
    actions.take(texts.theirs.number(), kTexts);
    actions.nothing(STDOUT_FILENO);
    actions.nothing(STDERR_FILENO);
    actions.take(replies.theirs.number(), kReplies);
    const Attributes attributes;
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    auto state = std::make_unique<State>(std::move(texts.ours), std::move(replies.ours));
    const int error =
        ::posix_spawn(&state->id, program.c_str(), actions.get(), attributes.get(), argv.data(), environ);
    if (error != 0) {
        fail(error, program.string());
    }
    state_ = std::move(state);
}

Process::~Process() {
    if (!state_->ended) {
        ::kill(-state_->id, SIGKILL); // Its whole group: what it started, too.
        ::kill(state_->id, SIGKILL);  // Itself, should it have left the group.
        (void)status_of(state_->id);
    }
}

bool Process::send(const std::string& text) {
    // With its NUL. The buffer of a socket has room for any path.
    const std::size_t count = text.size() + 1;
    return ::send(state_->texts.number(), text.c_str(), count, MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(count);
}

std::optional<Event> Process::wait(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds::rep kLongest = std::numeric_limits<int>::max();
    const auto at_most =
        static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, kLongest));
    pollfd replies{state_->replies.number(), POLLIN, 0};
    if (::poll(&replies, 1, at_most) <= 0) {
        return std::nullopt; // Still there, or a signal came.
    }
    Event event;
    if (::read(replies.fd, &event.reply, 1) == 1) {
        return event;
    }
    state_->ended = true;
    event.ending = ending_from(status_of(state_->id));
    return event;
}

std::optional<std::string> receive() {
    constexpr std::size_t kPiece = 4096;
    std::string text;
    while (text.empty() || text.back() != '\0') {
        const std::size_t before = text.size();
        text.resize(before + kPiece);
        const ssize_t count = ::read(kTexts, text.data() + before, kPiece);
        text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(0, count)));
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return std::nullopt;
        }
    }
    text.pop_back();
    return text;
}

void reply(unsigned char byte) {
    static_cast<void>(!::write(kReplies, &byte, 1)); // The next text does not come if nobody is there.
}

} // namespace plate_mend::host::platform
