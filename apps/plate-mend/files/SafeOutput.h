#pragma once

#include "files/Protected.h"
#include "platform/Files.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// One rule for everything that the program writes: it is written under a private name, and gets its own name
// in one step. An input or a sample is never replaced, by whatever path it is reached, and an existing file
// only when the user allows it.
//
// Warning: the library first deletes whatever is at the output path, even a folder. So it works in a private
// folder as well.

namespace plate_mend::host {

/// Why an output must not be written, for the user; nothing when it may. Protected files and anything that is
/// not an ordinary file are always refused, other existing files unless forced. Throws MachineFailure when
/// the path cannot be examined.
[[nodiscard]] std::optional<std::string> refuse_output(const std::filesystem::path& output,
                                                       const Protected& inputs, bool force);

/// A folder with a random name inside another one, removed with its contents when the object is destroyed.
/// Other runs leave it alone as long as this process runs.
class PrivateFolder {
  public:
    /// Creates the folder. Throws MachineFailure.
    explicit PrivateFolder(const std::filesystem::path& parent);
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Removes all that is in the folder, except files with these names. Returns whether that was possible.
    [[nodiscard]] bool clear(std::span<const char* const> kept) const;

  private:
    std::filesystem::path path_;
    std::optional<platform::Lock> lock_;
};

/// The folder of a file, as an absolute path.
[[nodiscard]] std::filesystem::path folder_of(const std::filesystem::path& file);

/// Whether another run may be creating private folders in the same parent at this moment.
enum class Neighbours { kMayBe, kNone };

/// Removes private folders, and private files older than a day, that earlier runs left in a folder; nothing
/// else, whatever its name. An empty folder may be one that a neighbour has just created, so it stays for an
/// hour where there may be one. Never throws: what cannot be removed stays.
void clear_stale_folders(const std::filesystem::path& parent, Neighbours neighbours = Neighbours::kMayBe);

/// Creates a folder and those above it, if missing. Throws MachineFailure.
void make_folders(const std::filesystem::path& folder);

/// Moves a finished file to its path in one step, after its bytes have reached the disk; copies it if that
/// path is on another file system. Throws MachineFailure, also when the path has been taken meanwhile and may
/// not be replaced: that file stays.
void deliver(const std::filesystem::path& file, const std::filesystem::path& output, const Protected& inputs,
             bool force);

/// A path that a worker can open: the file's own if it is UTF-8, which the library requires; otherwise a link
/// to it in a private folder, or a copy if the file system has no links. Throws std::system_error.
[[nodiscard]] std::filesystem::path reachable_name(const std::filesystem::path& file,
                                                   const std::filesystem::path& folder,
                                                   const std::string& name);

/// A file that others can read while it grows, such as a report, or that appears when it is complete.
class OutputFile {
  public:
    /// Starts a file in a private folder beside its own path. `replace` says whether publish() may replace an
    /// existing file. Throws MachineFailure.
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
    /// Gives the file its own name; it may still be written to. Throws MachineFailure when that name has been
    /// taken meanwhile and may not be replaced: that file stays, and this one is removed with the object.
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
