#pragma once

#include "files/Protected.h"
#include "platform/Files.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// One rule for everything that the program writes: it is made under a private name that nobody else has, and
// takes its own name in one step. An input or a sample is never replaced, whatever the way to it, and an
// existing file only when the user allows it.
//
// The library removes whatever is at its output path, even a folder, before it looks at its inputs. So it
// works in a private folder as well.

namespace plate_mend::host {

/// Why an output must not be written, in words for the user; nothing when it may. What is protected and what
/// is no ordinary file are refused always, an existing file unless forced. Throws MachineFailure when the
/// place cannot be looked at.
[[nodiscard]] std::optional<std::string> refuse_output(const std::filesystem::path& output,
                                                       const Protected& inputs, bool force);

/// A folder of a random name in another one, removed with all its contents. Nobody else uses it, and other
/// runs leave it alone as long as this process lives.
class PrivateFolder {
  public:
    /// Makes it. Throws MachineFailure when it cannot be made.
    explicit PrivateFolder(const std::filesystem::path& parent);
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
    std::optional<platform::Lock> lock_;
};

/// The folder in which a file is: absolute, also for a name alone.
[[nodiscard]] std::filesystem::path folder_of(const std::filesystem::path& file);

/// Removes private folders, and private files of more than a day ago, that runs which are gone left in a
/// folder, and nothing else, however it is named. Never throws: what cannot be removed stays.
void clear_stale_folders(const std::filesystem::path& parent);

/// Makes folders as far as they are missing. Throws MachineFailure.
void make_folders(const std::filesystem::path& folder);

/// Moves a finished file to its place in one step, after its bytes have reached the disk; copies it where
/// that place is on another file system. Throws MachineFailure, also when something is there by now and may
/// not be replaced: that stays.
void deliver(const std::filesystem::path& made, const std::filesystem::path& output, const Protected& inputs,
             bool force);

/// A path that a worker can open: the file's own where that is UTF-8, as the library wants it; else a link to
/// it in a private folder, or a copy where the file system has no links. Throws std::system_error.
[[nodiscard]] std::filesystem::path reachable_name(const std::filesystem::path& file,
                                                   const std::filesystem::path& folder,
                                                   const std::string& name);

/// A file that grows in view of others, such as a report, or that appears when it is complete.
class OutputFile {
  public:
    /// Begins a file in a private folder beside its own place. `replace` says whether publish() may replace
    /// an existing file. Throws MachineFailure.
    OutputFile(std::filesystem::path path, bool replace);
    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    /// Removes a file that was not published.
    ~OutputFile();

    /// Appends. Throws MachineFailure.
    void write(std::string_view text);
    /// Overwrites what was written before. Throws MachineFailure.
    void write_at(std::uint64_t offset, std::string_view text);
    /// Gives the file its own name; it may be written to afterwards. Throws MachineFailure when something
    /// appeared there and may not be replaced: that stays, and this file goes with the object.
    void publish();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] platform::FileStamp stamp() const { return file_.stamp(); }

  private:
    std::filesystem::path path_;
    std::unique_ptr<PrivateFolder> private_; ///< Null once it is published, or moved away.
    bool replace_;
    platform::NewFile file_;
};

} // namespace plate_mend::host
