#include "files/FileList.h"

#include "files/Failures.h"
#include "files/Formats.h"
#include "files/Kind.h"
#include "platform/Names.h"
#include "text/Paths.h"

#include <algorithm>
#include <set>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

bool is_our_own(const fs::path& file) {
    const std::string middle = extension_of(file.stem());
    return middle == "repaired" || middle == "salvaged";
}

bool is_hidden(const fs::path& path) {
    const fs::path name = path.filename();
    return !name.empty() && name.native().front() == '.';
}

fs::path remove_slash(const fs::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

fs::path canonical_or_same(const fs::path& path) {
    std::error_code error;
    fs::path there = fs::canonical(path, error);
    return error ? path : there;
}

/// With the links on the way to the file or folder followed, but not the last one: that is its name.
fs::path resolve_folder(const fs::path& path) {
    const fs::path whole = remove_slash(path);
    std::error_code error;
    const fs::path folder = fs::canonical(whole.parent_path(), error);
    return error ? whole : folder / whole.filename();
}

/// Absolute, without dots. Links on the way are followed only if the path contains "..".
fs::path normalize(const fs::path& path) {
    std::error_code error;
    fs::path whole = fs::absolute(path, error);
    whole = error ? path : whole;
    if (std::find(whole.begin(), whole.end(), "..") != whole.end()) {
        const fs::path last = remove_slash(whole).filename();
        whole = last == ".." || last == "." ? canonical_or_same(whole) : resolve_folder(whole);
    }
    return remove_slash(whole.lexically_normal());
}

/// The path from a folder to what is in it. Empty when it is not in there.
fs::path relative_below(const fs::path& folder, const fs::path& path) {
    const fs::path relative = path.lexically_relative(folder);
    return relative.empty() || *relative.begin() == ".." ? fs::path() : relative;
}

/// The longest path that both begin with.
fs::path common_part(const fs::path& one, const fs::path& other) {
    fs::path common;
    auto there = other.begin();
    for (auto here = one.begin(); here != one.end() && there != other.end() && *here == *there;
         ++here, ++there) {
        common /= *here;
    }
    return common;
}

/// The work of one call of files_in.
class Selector {
  public:
    Selector(const std::vector<fs::path>& paths, const FileFilter& filter)
        : filter_(filter), left_out_(filter.left_out.empty() ? "" : platform::name_key(filter.left_out)),
          root_(filter.root.empty() ? common_root(paths) : normalize(filter.root)),
          resolved_root_(canonical_or_same(root_)) {}

    FileSelection run(const std::vector<fs::path>& paths) {
        for (const fs::path& path : paths) {
            std::error_code none;
            if (fs::is_directory(path, none)) {
                add_folder(path);
            } else {
                add(path);
            }
        }
        return std::move(selection_);
    }

  private:
    /// What is in a folder.
    struct Found {
        fs::path path;
        std::string kind; ///< Of a file.
        bool is_folder = false;
    };

    static fs::path common_root(const std::vector<fs::path>& paths) {
        fs::path root;
        for (const fs::path& path : paths) {
            std::error_code none;
            const fs::path whole = normalize(path);
            const fs::path folder = fs::is_directory(path, none) ? whole : whole.parent_path();
            root = &path == &paths.front() ? folder : common_part(root, folder);
        }
        return root;
    }

    void add(const fs::path& path) { add(path, kind_of(path)); }

    void add(const fs::path& path, const std::string& kind) {
        if (!seen_.insert(platform::name_key(path)).second) {
            selection_.notes.push_back(utf8_from(path) + ": is named more than once; it is used once");
            return;
        }
        const fs::path below = path_below_root(path);
        if (!below.empty()) {
            selection_.files.push_back({path, below, "", kind});
        } else if (filter_.root.empty()) { // Nothing in common: other drives.
            selection_.files.push_back({path, path.filename(), "", kind});
        } else {
            selection_.files.push_back(
                {path, path.filename(), "is not below --root " + utf8_from(filter_.root)});
        }
    }

    /// Below the root, as the paths are written or where links lead; empty when it is not there.
    [[nodiscard]] fs::path path_below_root(const fs::path& path) const {
        const fs::path as_written = relative_below(root_, normalize(path));
        return as_written.empty() ? relative_below(resolved_root_, resolve_folder(normalize(path)))
                                  : as_written;
    }

    [[nodiscard]] bool is_left_out(const fs::path& folder) const {
        return !left_out_.empty() && platform::name_key(folder) == left_out_;
    }

    [[nodiscard]] bool has_wanted_extension(const fs::path& file) const {
        const std::vector<std::string>& extensions = filter_.extensions;
        return std::find(extensions.begin(), extensions.end(), extension_of(file)) != extensions.end();
    }

    void leave_out(const fs::path& file) {
        const std::string extension = extension_of(file);
        ++selection_.left_out[is_companion(file)  ? "companions of photographs"
                              : extension.empty() ? "without extension"
                                                  : "." + extension];
    }

    void add_folder(const fs::path& folder) {
        if (is_left_out(folder)) {
            selection_.notes.push_back(utf8_from(folder) +
                                       ": is the folder of results; its files are not inputs");
            return;
        }
        std::vector<Found> found;
        std::error_code error;
        for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error)) {
            check_interruption();
            std::error_code none; // A loop of links is neither.
            if (entry->is_directory(none)) {
                if (!is_hidden(entry->path()) && !entry->is_symlink(none) && !is_left_out(entry->path())) {
                    found.push_back({entry->path(), "", true});
                }
            } else if (entry->is_regular_file(none)) {
                add_if_wanted(entry->path(), found);
            }
        }
        if (error) {
            selection_.problems.push_back(utf8_from(folder) + ": cannot be read: " + error.message());
        }
        std::sort(found.begin(), found.end(),
                  [](const Found& one, const Found& other) { return one.path < other.path; });
        for (const Found& one : found) {
            if (one.is_folder) {
                add_folder(one.path);
            } else {
                add(one.path, one.kind);
            }
        }
    }

    void add_if_wanted(const fs::path& file, std::vector<Found>& found) {
        if (is_our_own(file)) {
            ++selection_.results_left_out;
            return;
        }
        if (!filter_.extensions.empty()) {
            if (has_wanted_extension(file)) {
                found.push_back({file, kind_of(file), false});
            }
            return;
        }
        const std::string kind = is_companion(file) ? "" : kind_of(file);
        if (kind.empty()) {
            leave_out(file);
        } else {
            found.push_back({file, kind, false});
        }
    }

    const FileFilter& filter_;
    std::string left_out_; ///< Name key; empty for none.
    fs::path root_;
    fs::path resolved_root_;     ///< With links followed.
    std::set<std::string> seen_; ///< Name keys.
    FileSelection selection_;
};

} // namespace

FileSelection files_in(const std::vector<fs::path>& paths, const FileFilter& filter) {
    return Selector(paths, filter).run(paths);
}

} // namespace plate_mend::host
