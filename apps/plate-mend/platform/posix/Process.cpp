#include "platform/Process.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/Errors.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
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

/// What the started process gets instead of our streams.
class FileActions {
  public:
    FileActions() { ::posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    void nothing(int descriptor, int flags) {
        ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", flags, 0);
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
/// limit.
struct Process::State {
    State(Descriptor end, pid_t process) : lifeline(std::move(end)), id(process) {}
    Descriptor lifeline;
    pid_t id;
    bool ended = false;
};

Process::Process(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    restore_child_signal();
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail(errno, "pipe");
    }
    Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    FileActions actions;
    actions.nothing(STDIN_FILENO, O_RDONLY);
    actions.nothing(STDOUT_FILENO, O_WRONLY);
    actions.nothing(STDERR_FILENO, O_WRONLY);
    constexpr int kLifeline = 3;
    actions.take(writing.number(), kLifeline);
    const Attributes attributes;
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t id = 0;
    const int error =
        ::posix_spawn(&id, program.c_str(), actions.get(), attributes.get(), argv.data(), environ);
    if (error != 0) {
        fail(error, program.string());
    }
    state_ = std::make_unique<State>(std::move(reading), id);
}

Process::~Process() {
    if (!state_->ended) {
        ::kill(-state_->id, SIGKILL); // Its whole group: what it started, too.
        ::kill(state_->id, SIGKILL);  // Itself, should it have left the group.
        (void)status_of(state_->id);
    }
}

std::optional<Ending> Process::wait(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds::rep kLongest = std::numeric_limits<int>::max();
    const auto at_most =
        static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, kLongest));
    pollfd lifeline{state_->lifeline.number(), POLLIN, 0};
    if (::poll(&lifeline, 1, at_most) <= 0) {
        return std::nullopt; // Still there, or a signal came.
    }
    state_->ended = true;
    return ending_from(status_of(state_->id));
}

} // namespace plate_mend::host::platform
