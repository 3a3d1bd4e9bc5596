#include "window/FolderSearch.h"

#include "platform/Names.h"
#include "text/Paths.h"

#include <algorithm>
#include <deque>
#include <set>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// A path that stays in its folder.
bool is_inside(const fs::path& name) {
    return name.is_relative() && !name.empty() && std::find(name.begin(), name.end(), "..") == name.end();
}

bool has_all(const fs::path& folder, const std::vector<DroppedFolder::File>& files) {
    return std::all_of(files.begin(), files.end(), [&](const DroppedFolder::File& file) {
        const fs::path name = path_from(file.name);
        std::error_code missing;
        return is_inside(name) && fs::file_size(folder / name, missing) == file.size && !missing;
    });
}

/// The work of one call of find_dropped: nearer folders first.
class Search {
  public:
    Search(const DroppedFolder& dropped, const SearchLimits& limits)
        : dropped_(dropped), limits_(limits), end_(Clock::now() + limits.time) {}

    std::vector<fs::path> run(const std::vector<fs::path>& starts) {
        for (const fs::path& start : starts) {
            look_at(start, 0);
        }
        while (!waiting_.empty() && Clock::now() < end_ && seen_.size() < limits_.folders) {
            const auto next = std::move(waiting_.front());
            waiting_.pop_front();
            list(next.first, next.second);
        }
        return std::move(found_);
    }

  private:
    void look_at(const fs::path& folder, unsigned depth) {
        if (!seen_.insert(platform::name_key(folder)).second) {
            return;
        }
        if (utf8_from(folder.filename()) == dropped_.name && has_all(folder, dropped_.files)) {
            found_.push_back(folder);
        }
        if (depth < limits_.depth) {
            waiting_.emplace_back(folder, depth);
        }
    }

    void list(const fs::path& folder, unsigned depth) {
        std::error_code none;
        for (fs::directory_iterator entry(folder, none), end; !none && entry != end; entry.increment(none)) {
            std::error_code unknown;
            const bool is_folder = entry->symlink_status(unknown).type() == fs::file_type::directory;
            if (is_folder && !unknown && utf8_from(entry->path().filename()).front() != '.') {
                look_at(entry->path(), depth + 1);
            }
        }
    }

    const DroppedFolder& dropped_;
    const SearchLimits& limits_;
    Clock::time_point end_;
    std::deque<std::pair<fs::path, unsigned>> waiting_;
    std::set<std::string> seen_; ///< Name keys.
    std::vector<fs::path> found_;
};

} // namespace

std::vector<fs::path> find_dropped(const DroppedFolder& dropped, const std::vector<fs::path>& starts,
                                   const SearchLimits& limits) {
    return dropped.files.empty() ? std::vector<fs::path>() : Search(dropped, limits).run(starts);
}

} // namespace plate_mend::host
