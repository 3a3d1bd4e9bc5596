#include "FileList.h"

#include "Formats.h"
#include "SafeOutput.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include <nlohmann/json.hpp>

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

void add_folder(const fs::path& folder, const std::vector<std::string>& extensions,
                std::vector<Input>& inputs) {
    const auto begin = inputs.size();
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied);
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
        const fs::path& path = entry->path();
        if (entry->is_directory()) {
            if (is_hidden(path)) {
                entry.disable_recursion_pending();
            }
        } else if (entry->is_regular_file() && !is_our_own(path) &&
                   std::find(extensions.begin(), extensions.end(), extension_of(path)) != extensions.end()) {
            inputs.push_back({path, path.lexically_relative(folder)});
        }
    }
    std::sort(inputs.begin() + static_cast<std::ptrdiff_t>(begin), inputs.end(),
              [](const Input& one, const Input& other) { return one.path < other.path; });
}

/// {"path": "..."} or {"damaged": {"path": "..."}}.
std::string path_of(const nlohmann::json& object) {
    return object.contains("damaged") ? object["damaged"].at("path") : object.at("path");
}

std::vector<fs::path> paths_from(std::istream& lines, const std::string& name) {
    std::vector<fs::path> paths;
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.empty()) {
            continue;
        }
        try {
            paths.push_back(path_from(line.front() == '{' ? path_of(nlohmann::json::parse(line)) : line));
        } catch (const nlohmann::json::exception&) {
            throw ListError(name + ", line " + std::to_string(number) + ": no JSON object with a path");
        }
    }
    return paths;
}

} // namespace

std::vector<Input> files_in(const std::vector<fs::path>& paths, const FileFilter& filter) {
    const auto& extensions = filter.extensions.empty() ? raw_extensions() : filter.extensions;
    std::vector<Input> inputs;
    for (const fs::path& path : paths) {
        if (fs::is_directory(path)) {
            add_folder(path, extensions, inputs);
        } else {
            inputs.push_back({path, path.filename()});
        }
    }
    return inputs;
}

std::vector<fs::path> paths_from_list(const std::string& list) {
    if (list == "-") {
        return paths_from(std::cin, "standard input");
    }
    std::ifstream file(path_from(list), std::ios::binary);
    if (!file) {
        throw ListError(list + ": cannot be read");
    }
    return paths_from(file, list);
}

} // namespace plate_mend::host
