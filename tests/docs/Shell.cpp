#include "docs/Shell.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace test {

namespace {

constexpr const char* kAnything = "...";

/// A word that a shell takes literally.
std::string quoted(const std::string& word) {
    std::string text = "'";
    for (const char c : word) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + '\'';
}

bool line_matches(std::string_view line, std::string_view pattern) {
    const std::size_t gap = pattern.find(kAnything);
    if (gap == std::string_view::npos) {
        return line == pattern;
    }
    if (line.substr(0, gap) != pattern.substr(0, gap)) {
        return false;
    }
    const std::string_view rest = pattern.substr(gap + 3);
    for (std::size_t skipped = gap; skipped <= line.size(); ++skipped) {
        if (line_matches(line.substr(skipped), rest)) {
            return true;
        }
    }
    return false;
}

using Lines = std::vector<std::string>::const_iterator;

bool lines_match(Lines line, Lines lines_end, Lines pattern, Lines pattern_end) {
    if (pattern == pattern_end) {
        return line == lines_end;
    }
    if (*pattern == kAnything) {
        for (auto next = line;; ++next) {
            if (lines_match(next, lines_end, pattern + 1, pattern_end)) {
                return true;
            }
            if (next == lines_end) {
                return false;
            }
        }
    }
    return line != lines_end && line_matches(*line, *pattern) &&
           lines_match(line + 1, lines_end, pattern + 1, pattern_end);
}

} // namespace

std::vector<std::string> run_in_shell(const std::string& command, const std::filesystem::path& folder,
                                      const std::filesystem::path& bin) {
    const std::string all = "cd " + quoted(folder.string()) + " && PATH=" + quoted(bin.string()) +
                            ":$PATH && export PATH && { " + command + "\n} 2>&1 </dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(all.c_str(), "r"), pclose);
    if (!pipe) {
        throw std::runtime_error("no shell");
    }
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.append(buffer.data(), count);
    }
    std::istringstream stream(output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool matches(const std::vector<std::string>& lines, const std::vector<std::string>& pattern) {
    return lines_match(lines.begin(), lines.end(), pattern.begin(), pattern.end());
}

} // namespace test
