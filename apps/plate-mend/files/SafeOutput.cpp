#include "files/SafeOutput.h"

#include "files/Failures.h"
#include "platform/Files.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <random>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrivate = ".plate-mend-";
constexpr const char* kLock = "lock";
constexpr const char* kGrowing = "growing";

/// An unguessable name in a folder.
fs::path private_name(const fs::path& folder) {
    std::random_device random;
    return folder / (std::string(kPrivate) + std::to_string(random()) + std::to_string(random()));
}

std::string failure_at(const fs::path& path, const char* what) {
    return utf8_from(path) + ": " + what;
}

void move(const fs::path& from, const fs::path& to, bool force) {
    if (force) {
        platform::move_over(from, to);
    } else {
        platform::move_new(from, to);
    }
}

/// To another file system: first under a private name there.
void copy_over(const fs::path& file, const fs::path& output, bool force) {
    const PrivateFolder beside(folder_of(output));
    const fs::path copy = beside.path() / kGrowing;
    fs::copy_file(file, copy);
    if (const auto stamp = platform::stamp_of(file)) {
        platform::set_modified(copy, stamp->modified);
    }
    platform::sync_file(copy);
    move(copy, output, force);
}

[[noreturn]] void fail_to_deliver(const fs::path& output, const std::error_code& reason) {
    if (reason == std::errc::file_exists || reason == std::errc::is_a_directory) {
        throw MachineFailure(failure_at(output, "has been created by another program meanwhile, and stays"));
    }
    throw MachineFailure(failure_at(output, "cannot be written"), reason);
}

bool has_private_name(const fs::directory_entry& entry) {
    const std::string name = utf8_from(entry.path().filename());
    return name.size() > kPrivate.size() && name.rfind(kPrivate, 0) == 0 &&
           name.find_first_not_of("0123456789", kPrivate.size()) == std::string::npos;
}

bool is_older_than(const fs::directory_entry& entry, std::chrono::hours age) {
    return fs::file_time_type::clock::now() - entry.last_write_time() > age;
}

bool is_stale(const fs::directory_entry& entry, Neighbours neighbours) {
    std::error_code none;
    if (!has_private_name(entry) || entry.is_symlink(none)) {
        return false;
    }
    if (entry.is_regular_file(none)) { // A report that was never published. One in use grows with each file.
        return is_older_than(entry, std::chrono::hours(24));
    }
    if (!entry.is_directory(none)) {
        return false;
    }
    const bool has_lock = platform::is_taken(entry.path() / kLock);
    const auto files = std::distance(fs::directory_iterator(entry.path()), fs::directory_iterator());
    if (files == (has_lock ? 1 : 0)) { // Its owner may be about to create the lock, or to take it.
        return (neighbours == Neighbours::kNone || is_older_than(entry, std::chrono::hours(1))) &&
               (!has_lock || platform::Lock::take(entry.path() / kLock));
    }
    // Without a lock it is not ours, whatever its name. An owner puts nothing in it before it has locked it.
    return has_lock && platform::Lock::take(entry.path() / kLock);
}

std::unique_ptr<PrivateFolder> private_folder_for(const fs::path& output) {
    try {
        return std::make_unique<PrivateFolder>(folder_of(output));
    } catch (const MachineFailure& e) {
        throw MachineFailure(failure_at(output, "cannot be written: ") + e.what(), e.no_room());
    }
}

} // namespace

fs::path folder_of(const fs::path& file) {
    return fs::absolute(file).parent_path();
}

std::optional<std::string> refuse_output(const fs::path& output, const Protected& inputs, bool force) {
    try {
        const auto stamp = platform::stamp_of(output);
        if (inputs.covers(output)) {
            return failure_at(output, "the output is also an input");
        }
        if (stamp && stamp->folder) {
            return failure_at(output, "the output is a folder; name a file");
        }
        if (stamp && !stamp->regular) {
            return failure_at(output, "the output is not an ordinary file; name another");
        }
        if (!force && platform::is_taken(output)) {
            return failure_at(output, "exists already; --force replaces it");
        }
        return std::nullopt;
    } catch (const std::system_error& e) {
        throw MachineFailure(failure_at(output, "cannot be examined"), e.code());
    }
}

PrivateFolder::PrivateFolder(const fs::path& parent) {
    try {
        do {
            path_ = private_name(parent);
        } while (!fs::create_directory(path_)); // False where the name is taken.
        fs::permissions(path_, fs::perms::owner_all);
        lock_ = platform::Lock::take(path_ / kLock);
    } catch (const std::system_error& e) {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
        throw MachineFailure(failure_at(parent, "no working folder can be created there"), e.code());
    }
}

bool PrivateFolder::clear(std::span<const char* const> kept) const {
    std::error_code error;
    for (fs::directory_iterator entry(path_, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const fs::path name = entry->path().filename();
        const bool stays = name == kLock || std::find(kept.begin(), kept.end(), name) != kept.end();
        if (!stays && (fs::remove_all(entry->path(), error), error)) {
            return false;
        }
    }
    return !error;
}

PrivateFolder::~PrivateFolder() {
    lock_.reset(); // Windows does not remove open files.
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void clear_stale_folders(const fs::path& parent, Neighbours neighbours) {
    std::error_code error;
    for (fs::directory_iterator entry(parent, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        try {
            if (is_stale(*entry, neighbours)) {
                fs::remove_all(entry->path());
            }
        } catch (const std::system_error&) {
            continue; // It stays, and does no harm.
        }
    }
}

void make_folders(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw MachineFailure(failure_at(folder, "the folder cannot be created"), error);
    }
}

void deliver(const fs::path& file, const fs::path& output, const Protected& inputs, bool force) {
    if (const auto refusal = refuse_output(output, inputs, true)) {
        throw MachineFailure(*refusal);
    }
    try {
        platform::sync_file(file);
        try {
            move(file, output, force);
        } catch (const std::system_error& e) {
            if (e.code() != std::errc::cross_device_link) {
                throw;
            }
            copy_over(file, output, force);
        }
        platform::sync_folder(folder_of(output));
    } catch (const std::system_error& e) {
        fail_to_deliver(output, e.code());
    }
}

fs::path reachable_name(const fs::path& file, const fs::path& folder, const std::string& name) {
    fs::path whole = fs::absolute(file);
    if (const std::string text = utf8_from(whole); well_formed(text) == text) {
        return whole;
    }
    fs::path link = folder / name;
    if (const std::string extension = utf8_from(file.extension()); well_formed(extension) == extension) {
        link += file.extension();
    }
    std::error_code error;
    fs::remove(link, error);
    fs::create_symlink(whole, link, error);
    if (error) {
        fs::copy_file(whole, link);
    }
    return link;
}

OutputFile::OutputFile(fs::path path, bool replace)
    : path_(std::move(path)), private_(private_folder_for(path_)), replace_(replace), file_([this] {
          try {
              return platform::NewFile(private_->path() / kGrowing);
          } catch (const std::system_error& e) {
              throw MachineFailure(failure_at(path_, "cannot be written"), e.code());
          }
      }()) {}

OutputFile::OutputFile(OutputFile&& other) noexcept = default;

OutputFile::~OutputFile() = default;

void OutputFile::write(std::string_view text) {
    try {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        file_.write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    } catch (const std::system_error& e) {
        throw MachineFailure(failure_at(path_, "cannot be written"), e.code());
    }
}

void OutputFile::write_at(std::uint64_t offset, std::string_view text) {
    try {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        file_.write_at(offset, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    } catch (const std::system_error& e) {
        throw MachineFailure(failure_at(path_, "cannot be written"), e.code());
    }
}

void OutputFile::publish() {
    try {
        move(private_->path() / kGrowing, path_, replace_);
        private_.reset();
    } catch (const std::system_error& e) {
        fail_to_deliver(path_, e.code());
    }
}

} // namespace plate_mend::host
