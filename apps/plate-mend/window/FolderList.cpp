#include "window/FolderList.h"

#include "files/Failures.h"
#include "platform/Desktop.h"
#include "text/Paths.h"
#include "text/Text.h"
#include "window/StateJson.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// More are not listed: nobody looks through them.
constexpr std::size_t kMostFolders = 5000;

bool is_hidden(const fs::path& folder) {
    const std::string name = utf8_from(folder.filename());
    return name.empty() || name.front() == '.' || name.front() == '$';
}

std::vector<fs::path> folders_in(const fs::path& folder) {
    std::vector<fs::path> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code unknown;
        if (entry.is_directory(unknown) && !unknown && !is_hidden(entry.path()) &&
            found.size() < kMostFolders) {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

Json entry_to_json(const fs::path& folder, const std::string& name) {
    Json json = to_json(folder);
    json.set("name", printable(name));
    return json;
}

Json starts_to_json() {
    const fs::path home = platform::home_folder();
    Json list = Json::array();
    for (const fs::path& folder : starting_folders()) {
        list.append(entry_to_json(folder, folder == home ? "Home" : utf8_from(folder)));
    }
    return list;
}

} // namespace

std::vector<fs::path> starting_folders() {
    std::vector<fs::path> folders = platform::volumes();
    if (fs::path home = platform::home_folder(); !home.empty()) {
        folders.insert(folders.begin(), std::move(home));
    }
    return folders;
}

Json folder_to_json(const fs::path& folder) {
    Json json = to_json(folder);
    Json list = Json::array();
    try {
        for (const fs::path& one : folders_in(folder)) {
            list.append(entry_to_json(one, utf8_from(one.filename())));
        }
    } catch (const fs::filesystem_error& e) {
        json.set("problem", printable(describe_error(e)));
    }
    const fs::path above = folder.parent_path();
    json.set("above", above == folder ? Json() : to_json(above));
    json.set("folders", list);
    json.set("starts", starts_to_json());
    return json;
}

} // namespace plate_mend::host
