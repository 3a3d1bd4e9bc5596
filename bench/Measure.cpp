#include "bench/Measure.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace bench {

double milliseconds(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double processor_milliseconds() {
    const auto of = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    double sum = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        ::getrusage(who, &usage);
        sum += of(usage.ru_utime) + of(usage.ru_stime);
    }
    return sum;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::uint64_t anonymous_memory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "RssAnon:") {
            std::uint64_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    }
    throw std::runtime_error("the system does not tell RssAnon");
}

std::uint64_t peak_of_anonymous_memory(const std::function<void()>& action) {
    std::atomic<bool> running = true;
    std::atomic<std::uint64_t> peak = 0;
    std::thread watcher([&] {
        while (running) {
            peak = std::max<std::uint64_t>(peak, anonymous_memory());
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    while (peak == 0) { // Until the watcher has allocated its own memory.
        std::this_thread::yield();
    }
    const std::uint64_t before = anonymous_memory();
    peak = before;
    action();
    running = false;
    watcher.join();
    return peak - before;
}

int run(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str())); // The C interface wants it.
    }
    arguments.push_back(nullptr);
    ::posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    ::pid_t child = 0;
    const int failed = ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (failed != 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        throw std::runtime_error("cannot run " + command[0]);
    }
    return WEXITSTATUS(status);
}

Folder::Folder(const std::filesystem::path& parent)
    : path_(parent / ("plate-mend-bench-" + std::to_string(::getpid()))) {
    std::filesystem::create_directory(path_);
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace bench
