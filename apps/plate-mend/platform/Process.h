#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host::platform {

/// How a process ended.
struct Ending {
    int status = 0;      ///< Its exit status, if it ended by itself.
    std::string crashed; ///< What ended it otherwise; empty if it ended by itself.
    /// It was ended the way systems end processes when memory runs out.
    bool by_system = false;
};

/// What a process did: it sent a byte to the one that started it, or ended.
struct Event {
    unsigned char reply = 0;
    std::optional<Ending> ending; ///< Nothing for a reply.
};

/// A program that runs beside this one, with a channel to it: texts go there, bytes come back (receive and
/// reply are its side of that). It has no other input, and its output goes nowhere. A signal of the terminal
/// (Ctrl-C) reaches this program only. No signal is blocked in it, and a broken pipe or a file beyond the
/// limit on sizes ends it, whatever this program does about them.
class Process {
  public:
    /// Starts the program with arguments in the form that bytes_of returns for paths. Throws
    /// std::system_error when it does not start.
    Process(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    /// Kills the process, if it still runs, and what it started, and waits until it has ended.
    ~Process();

    /// Sends a text without NUL, which the process must be waiting for. Returns whether that was possible:
    /// not if it has ended, or receives nothing any more.
    [[nodiscard]] bool send(const std::string& text);

    /// Waits for the process to reply or to end, at most this long. Nothing if neither happened. Must not be
    /// called again after it has ended.
    [[nodiscard]] std::optional<Event> wait(std::chrono::milliseconds time);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The file of the running program.
[[nodiscard]] std::filesystem::path own_program();

/// From now on a write beyond the limit on the sizes of files fails in this process, and does not end it.
void survive_long_files();

/// The number of this process, which it hands to the workers it starts.
[[nodiscard]] std::uint64_t own_id();

// For a worker.

/// Waits for the next text from the process that started this one. Nothing if there is none: that process is
/// gone, or has closed the channel.
[[nodiscard]] std::optional<std::string> receive();

/// Sends a byte to the process that started this one. Nothing happens if that is gone.
void reply(unsigned char byte);

/// From now on this process ends when the one that started it does, however that ends. If the process that
/// started it, `parent` (its own_id), is gone already, it ends at once. Linux ends it as soon as the thread
/// that started it is gone, so that thread has to wait for it. On Windows a job of the starting process takes
/// care of all this, and this function does nothing.
void end_with(std::uint64_t parent);

/// This process ends after this many seconds at the latest, as if it had crashed, whatever it is doing; 0 is
/// no limit. The last call counts.
void end_after(unsigned seconds);

/// From now on this process gets no more memory than this: allocations beyond it fail. 0 is no limit. Returns
/// whether the limit holds. With sanitizers there is none, and that is no failure: they take more address
/// space than any limit leaves. Must be called only once.
[[nodiscard]] bool limit_memory(std::uint64_t bytes);

/// How much memory this process has from the system, in bytes. 0 is unknown.
struct OwnMemory {
    std::uint64_t used = 0;    ///< What the system has had to find for it.
    std::uint64_t counted = 0; ///< What counts for limit_memory; on Linux also addresses that are not used.
};
[[nodiscard]] OwnMemory own_memory();

/// Makes a folder the place where files are worked on, and returns what goes before their names: nothing
/// where the process could go there, so that names are short and ASCII whatever the folder's path is; else
/// (Windows) the folder. Throws std::system_error.
[[nodiscard]] std::filesystem::path enter(const std::filesystem::path& folder);

/// The process is in no folder any more that somebody may want to remove.
void leave() noexcept;

} // namespace plate_mend::host::platform
