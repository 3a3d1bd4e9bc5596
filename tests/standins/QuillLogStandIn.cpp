#include "StandIns.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct InitCall {
    std::string config;
    std::string module;
    std::string file;
};

struct Line {
    std::string module;
    int level;
    std::string text;
};

std::vector<InitCall> init_calls;
std::vector<Line> lines;
unsigned char init_result = 1;

} // namespace

unsigned char InitLogEx(const char* config_directory, const char* module, const char* log_file) {
    init_calls.push_back({config_directory, module, log_file});
    return init_result;
}

void LogEx(const char* module, int level, const char* format, ...) {
    char text[8192];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lines.push_back({module, level, text});
}

void QuillStandInReset(void) {
    init_calls.clear();
    lines.clear();
    init_result = 1;
}

void QuillStandInSetInitResult(unsigned char result) {
    init_result = result;
}

size_t QuillStandInInitCount(void) {
    return init_calls.size();
}
const char* QuillStandInInitConfig(size_t call) {
    return init_calls.at(call).config.c_str();
}
const char* QuillStandInInitModule(size_t call) {
    return init_calls.at(call).module.c_str();
}
const char* QuillStandInInitFile(size_t call) {
    return init_calls.at(call).file.c_str();
}

size_t QuillStandInLineCount(void) {
    return lines.size();
}
const char* QuillStandInLineModule(size_t line) {
    return lines.at(line).module.c_str();
}
int QuillStandInLineLevel(size_t line) {
    return lines.at(line).level;
}
const char* QuillStandInLineText(size_t line) {
    return lines.at(line).text.c_str();
}
