#include "platform/Desktop.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <system_error>

extern char** environ; // NOLINT(readability-redundant-declaration): not every system declares it.

namespace plate_mend::host::platform {

namespace {

namespace fs = std::filesystem;

/// Starts xdg-open, in a group of its own, so that Ctrl-C ends neither it nor the browser. It returns when
/// the desktop has taken over.
bool open_with_desktop(std::string what) {
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes{};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    ::posix_spawnattr_setpgroup(&attributes, 0);
    // The shell leaves at once, so that a browser that stays in the foreground does not keep us waiting.
    std::array<char, 3> option{"-c"};
    std::array<char, 3> shell{"sh"};
    std::string script = R"(command -v xdg-open >/dev/null || exit 1; xdg-open "$1" & exit 0)";
    std::array<char*, 6> arguments{shell.data(), option.data(), script.data(),
                                   shell.data(), what.data(),   nullptr};
    pid_t child = 0;
    const int failed = ::posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    if (failed != 0) {
        return false;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool is_set(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here changes it.
    return value != nullptr && *value != '\0';
}

/// Whether there is a terminal behind the process, even if its streams lead elsewhere: then it is in a
/// script.
bool has_terminal() {
    const int terminal = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal >= 0) {
        ::close(terminal);
    }
    return terminal >= 0;
}

void add_folders_of(const fs::path& parent, std::vector<fs::path>& found) {
    std::error_code none;
    for (fs::directory_iterator entry(parent, none), end; !none && entry != end; entry.increment(none)) {
        std::error_code unknown;
        if (entry->is_directory(unknown) && !unknown) {
            found.push_back(entry->path());
        }
    }
}

std::string user_name() {
    std::array<char, 4096> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found == nullptr ? "" : found->pw_name;
}

} // namespace

bool open_address(const std::string& address) {
    return open_with_desktop(address);
}

bool open_path(const fs::path& path) {
    return open_with_desktop(fs::absolute(path).string());
}

bool is_started_from_desktop() {
    const std::initializer_list<int> streams{STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    return (is_set("DISPLAY") || is_set("WAYLAND_DISPLAY")) &&
           std::none_of(streams.begin(), streams.end(), [](int stream) { return ::isatty(stream) != 0; }) &&
           !has_terminal();
}

fs::path home_folder() {
    const char* home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): nothing here changes it.
    return home == nullptr ? "" : home;
}

std::vector<fs::path> volumes() {
    std::vector<fs::path> found{"/"};
    const std::string user = user_name();
    for (const fs::path media : {"/media", "/run/media"}) {
        if (!user.empty()) {
            add_folders_of(media / user, found);
        }
    }
    add_folders_of("/mnt", found);
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace plate_mend::host::platform
