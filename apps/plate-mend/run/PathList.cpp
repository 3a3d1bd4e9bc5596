#include "run/PathList.h"

#include "record/Json.h"
#include "text/Paths.h"

#include <fstream>
#include <iostream>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// {"path": "..."} or {"damaged": {"path": "..."}}; the line itself when it is neither.
fs::path path_in(const std::string& line) {
    if (line.front() != '{') {
        return path_from(line);
    }
    try {
        const Json object = Json::parse(line);
        const Json holder = object.has("damaged") ? object.member("damaged") : object;
        return path_from(unescaped_name(holder.required_text("path")));
    } catch (const JsonError&) {
        return path_from(line);
    }
}

std::vector<fs::path> paths_with_null(std::istream& list) {
    std::vector<fs::path> paths;
    for (std::string path; std::getline(list, path, '\0');) {
        if (!path.empty()) {
            paths.push_back(path_from(path));
        }
    }
    return paths;
}

std::vector<fs::path> paths_in_lines(std::istream& lines) {
    std::vector<fs::path> paths;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            paths.push_back(path_in(line));
        }
    }
    return paths;
}

std::vector<fs::path> paths_from(std::istream& list, PathListForm form) {
    return form == PathListForm::kNull ? paths_with_null(list) : paths_in_lines(list);
}

} // namespace

std::vector<fs::path> paths_from_list(const std::string& list, PathListForm form) {
    if (list == "-") {
        return paths_from(std::cin, form);
    }
    std::ifstream file(path_from(list), std::ios::binary);
    if (!file) {
        throw ListError(list + ": cannot be read");
    }
    return paths_from(file, form);
}

} // namespace plate_mend::host
