#include "cli/PathList.h"

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

std::vector<fs::path> paths_from(std::istream& lines) {
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

} // namespace

std::vector<fs::path> paths_from_list(const std::string& list) {
    if (list == "-") {
        return paths_from(std::cin);
    }
    std::ifstream file(path_from(list), std::ios::binary);
    if (!file) {
        throw ListError(list + ": cannot be read");
    }
    return paths_from(file);
}

} // namespace plate_mend::host
