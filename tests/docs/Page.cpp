#include "docs/Page.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <stdexcept>

namespace test {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFence = "```";

bool starts_with(const std::string& text, std::string_view start) {
    return text.rfind(start, 0) == 0;
}

/// The anchor of a heading: lower case, without punctuation, blanks as hyphens.
std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || c == '-' || c == '_') {
            anchor += static_cast<char>(std::tolower(byte));
        } else if (c == ' ') {
            anchor += '-';
        }
    }
    return anchor;
}

/// Adds a line to the table that the line before belongs to, or begins a table with it.
void add_row(const std::string& line, const std::string& before, std::size_t number,
             std::vector<Table>& tables) {
    static const std::regex part("<!-- rows of (.+) -->");
    if (!starts_with(before, "|")) {
        std::smatch match;
        const bool is_part = std::regex_match(before, match, part);
        tables.push_back({number, {}, is_part ? match[1].str() : ""});
    }
    tables.back().rows.push_back(line);
}

/// Removes what the pattern matches, and appends its first group to found.
std::string without(const std::string& text, const std::regex& pattern, std::size_t line,
                    std::vector<Reference>& found) {
    for (auto match = std::sregex_iterator(text.begin(), text.end(), pattern);
         match != std::sregex_iterator(); ++match) {
        found.push_back({line, (*match)[1]});
    }
    return std::regex_replace(text, pattern, "");
}

} // namespace

Page::Page(const fs::path& path) : file(path) {
    static const std::regex heading("#+ +(.*)");
    static const std::regex code("`([^`]+)`");
    static const std::regex link(R"(\]\(([^)]+)\))");
    static const std::regex list_item(" *([-*]|[0-9]+\\.) .*");
    std::map<std::string, unsigned> seen;
    bool in_block = false;
    bool in_list = false;
    std::size_t number = 0;
    std::string before;
    for (const std::string& line : read_lines(path)) {
        ++number;
        if (starts_with(line, kFence)) {
            in_block = !in_block;
            if (in_block) {
                const std::string info = line.substr(kFence.size());
                const std::size_t blank = std::min(info.find(' '), info.size());
                blocks.push_back(
                    {number, info.substr(0, blank), info.substr(std::min(blank + 1, info.size())), {}});
            }
            before.clear();
            continue;
        }
        if (in_block) {
            blocks.back().lines.push_back(line);
            continue;
        }
        std::smatch match;
        if (std::regex_match(line, match, heading)) {
            std::string anchor = anchor_of(match[1]);
            const unsigned times = seen[anchor]++;
            anchors.push_back(times == 0 ? anchor : anchor + '-' + std::to_string(times));
        }
        if (starts_with(line, "|")) {
            add_row(line, before, number, tables);
        }
        if (std::regex_match(line, list_item)) {
            in_list = true;
        } else if (!line.empty() && line[0] != ' ') {
            in_list = false;
        }
        if (starts_with(line, "    ") && before.empty() && !in_list) {
            indented.push_back(number);
        }
        before = line;
        without(without(line, code, number, codes), link, number, links);
    }
    if (in_block) {
        throw std::runtime_error(path.string() + ": a block has no end");
    }
}

std::vector<std::string> read_lines(const fs::path& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error(file.string() + ": cannot be read");
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> rows_not_in(const Table& table, const Page& page) {
    std::vector<std::string> strangers;
    for (const std::string& row : table.rows) {
        if (std::none_of(page.tables.begin(), page.tables.end(), [&row](const Table& other) {
                return std::find(other.rows.begin(), other.rows.end(), row) != other.rows.end();
            })) {
            strangers.push_back(row);
        }
    }
    return strangers;
}

std::vector<fs::path> all_pages(const fs::path& root) {
    std::vector<fs::path> pages;
    const auto add = [&pages](const fs::directory_entry& entry) {
        if (entry.path().extension() == ".md") {
            pages.push_back(entry.path());
        }
    };
    for (const auto& entry : fs::directory_iterator(root)) {
        add(entry);
    }
    for (const auto& entry : fs::recursive_directory_iterator(root / "docs")) {
        add(entry);
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

} // namespace test
