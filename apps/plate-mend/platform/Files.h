#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

// What the standard library does not offer for files: identity, files that are created and never overwritten,
// moves that replace nothing, reads that report which bytes cannot be read, and locks. All take paths of any
// length that the system can handle. Errors are std::system_error with the code of the system.

namespace plate_mend::host::platform {

/// Identity, size and times of a file.
struct FileStamp {
    std::uint64_t volume = 0; ///< With `index` the same for two names of one file.
    std::uint64_t index = 0;
    std::uint64_t links = 1;   ///< Names that the file has.
    std::uint64_t size = 0;    ///< Bytes.
    std::int64_t modified = 0; ///< When its bytes changed, in nanoseconds since 1970: at most the year 2262.
    std::int64_t changed = 0;  ///< When its bytes, its name or its attributes changed, likewise.
    bool regular = false;      ///< An ordinary file: no folder, no device, no pipe.
    bool folder = false;
};

/// The stamp of what a path leads to, following links. Nothing if nothing is there, or only a dangling link.
/// Throws std::system_error for any other reason, such as a folder that may not be entered or a loop of
/// links.
[[nodiscard]] std::optional<FileStamp> stamp_of(const std::filesystem::path& path);

/// Whether anything at all has this name, including a dangling link. Throws std::system_error.
[[nodiscard]] bool is_taken(const std::filesystem::path& path);

/// An existing file, read at any place. Never changes the file. Pipes and devices are refused: opening waits
/// for nothing. Others may read, write, rename and delete the file meanwhile.
class SourceFile {
  public:
    /// Throws std::system_error, for what is no ordinary file too.
    explicit SourceFile(const std::filesystem::path& path);
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;
    ~SourceFile();

    [[nodiscard]] FileStamp stamp() const; ///< Throws std::system_error.

    /// Reads data[0..count-1] from an offset. Returns how many bytes there were: fewer than asked for only at
    /// the end of the file. Throws std::system_error when the system cannot read them, such as
    /// std::errc::io_error for a bad sector.
    [[nodiscard]] std::size_t read(std::uint64_t offset, unsigned char* data, std::size_t count) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A file that this program creates: exclusively, through no link, with the permissions that the user's
/// settings allow. The file stays when the object is destroyed.
class NewFile {
  public:
    /// Throws std::system_error; std::errc::file_exists when anything has this name.
    explicit NewFile(const std::filesystem::path& path);
    NewFile(NewFile&& other) noexcept;
    NewFile& operator=(NewFile&&) = delete;
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    /// Appends data[0..count-1], all of it. Throws std::system_error, such as for a full disk.
    void write(const unsigned char* data, std::size_t count);
    /// Overwrites bytes that were written before. Throws as write does.
    void write_at(std::uint64_t offset, const unsigned char* data, std::size_t count);
    /// Shortens or lengthens the file, with zeros. Throws as write does.
    void resize(std::uint64_t size);
    /// Returns when the file's bytes have reached the disk. Throws std::system_error.
    void sync();
    [[nodiscard]] FileStamp stamp() const; ///< Throws std::system_error.

  private:
    struct State;
    explicit NewFile(std::unique_ptr<State> state);
    friend NewFile open_to_append(const std::filesystem::path& path);
    std::unique_ptr<State> state_;
};

/// Opens an existing ordinary file for appending, through no link. Throws std::system_error.
[[nodiscard]] NewFile open_to_append(const std::filesystem::path& path);

/// Returns when the bytes of an existing file have reached the disk; a folder's names likewise, where the
/// system has a way to ask for that. Throws std::system_error.
void sync_file(const std::filesystem::path& file);
void sync_folder(const std::filesystem::path& folder);

/// Sets when the bytes of an existing file changed, as FileStamp has it. File systems may round it. Throws
/// std::system_error.
void set_modified(const std::filesystem::path& file, std::int64_t modified);

/// Gives a file or a folder another name on the same file system. Whatever has the new name already is kept:
/// then throws std::system_error with std::errc::file_exists. On a file system without such a move, does the
/// nearest thing: a link and a removal, or else a check before the move.
void move_new(const std::filesystem::path& from, const std::filesystem::path& to);
/// The same, but a file (or a link, not what it leads to) that has the new name is replaced in one step. A
/// folder is not: then throws std::system_error.
void move_over(const std::filesystem::path& from, const std::filesystem::path& to);

/// Whether a file in this folder could grow by this many bytes now: nothing if it could, otherwise the
/// reason, such as std::errc::no_space_on_device, a quota, or a limit on file sizes. Tries it with a
/// temporary file. Never throws and never ends the process.
[[nodiscard]] std::error_code room_for(const std::filesystem::path& folder, std::uint64_t bytes);

/// Whether a limit of this process prevents files of this length. False on Windows, which has none.
[[nodiscard]] bool exceeds_largest_file(std::uint64_t bytes);

/// Whether an error means a full disk, an exhausted quota or a limit on file sizes.
[[nodiscard]] bool means_no_room(const std::error_code& error);

/// Whether an error means bytes that cannot be read from a medium, such as a bad sector.
[[nodiscard]] bool means_unreadable(const std::error_code& error);

/// A lock that one process at a time holds, until the object is destroyed or the process ends in any way.
/// Processes that this one starts do not inherit it.
class Lock {
  public:
    /// Takes the lock with this name, a file, which is created if missing. Nothing when another process, or
    /// another object of this one, holds it. Throws std::system_error when it cannot be created or opened; a
    /// link is not followed.
    [[nodiscard]] static std::optional<Lock> take(const std::filesystem::path& file);
    Lock(Lock&& other) noexcept;
    Lock& operator=(Lock&& other) noexcept;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock();

  private:
    struct State;
    explicit Lock(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// Whether a path is on a removable medium: a memory card, a USB stick, a disc. For a path that does not
/// exist, its nearest existing folder decides. False if that is unknown.
[[nodiscard]] bool is_removable(const std::filesystem::path& path);

} // namespace plate_mend::host::platform
