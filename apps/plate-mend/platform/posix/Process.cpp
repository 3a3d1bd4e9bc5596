#include "platform/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace plate_mend::host::platform {

namespace {

[[noreturn]] void fail(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// A file descriptor that is closed in the end.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    [[nodiscard]] int number() const { return number_; }

  private:
    int number_;
};

/// What the started process gets in place of our streams.
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

/// A process group of its own, so that the terminal's signals do not reach it, and none of our handlers.
class Attributes {
  public:
    Attributes() {
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP);
        ::posix_spawnattr_setpgroup(&attributes_, 0);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

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
        ::waitpid(state_->id, nullptr, 0);
    }
}

std::optional<Ending> Process::wait(std::chrono::milliseconds time) {
    pollfd lifeline{state_->lifeline.number(), POLLIN, 0};
    if (::poll(&lifeline, 1, static_cast<int>(time.count())) <= 0) {
        return std::nullopt; // Still there, or a signal came.
    }
    int status = 0;
    while (::waitpid(state_->id, &status, 0) < 0 && errno == EINTR) {
    }
    state_->ended = true;
    if (WIFSIGNALED(status)) {
        const char* name = ::strsignal(WTERMSIG(status));
        return Ending{0, name == nullptr ? "a signal" : name};
    }
    return Ending{WEXITSTATUS(status), ""};
}

std::filesystem::path own_program() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

void limit_memory(std::uint64_t bytes) {
#if defined(PLATE_MEND_LEAK_DETECTION)
    bytes = 0;
#endif
    if (bytes != 0) {
        const rlimit limit{bytes, bytes};
        ::setrlimit(RLIMIT_AS, &limit);
    }
}

} // namespace plate_mend::host::platform
