#include <quill_log/quill_log.h>

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <system_path/system_path.h>

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

namespace {

namespace fs = std::filesystem;
using FileSink = spdlog::sinks::basic_file_sink_st;

/// The open log; there is none before the first successful InitLogEx. Never destroyed, so that it exists for
/// a line written while the process ends.
struct Log {
    std::mutex mutex;
    std::unique_ptr<FileSink> sink;
};

Log& the_log() {
    static Log& log = *new Log;
    return log;
}

fs::path log_path(std::string utf8) {
    const auto separator = utf8.rfind('\\');
    if (separator != std::string::npos) {
        utf8[separator] = static_cast<char>(fs::path::preferred_separator);
    }
    return system_path::reachable(fs::absolute(fs::path(std::u8string(utf8.begin(), utf8.end()))));
}

bool is_folder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(system_path::status(path, ignored));
}

std::string format_text(const char* format, std::va_list arguments) {
    std::va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) {
        return format; // A conversion failed; the bare format is better than nothing.
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

} // namespace

unsigned char InitLogEx(const char* /*config_directory*/, const char* /*module*/, const char* log_file) {
    try {
        const fs::path path = log_path(log_file);
        // The sink would create a missing folder; a mistyped one is an error instead.
        if (!is_folder(path.parent_path()) || is_folder(path)) {
            return 0;
        }
        auto sink = std::make_unique<FileSink>(path.native());
        sink->set_formatter(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%d %H:%M:%S.%e [%l] [%n] %v"));
        const std::lock_guard lock(the_log().mutex);
        the_log().sink = std::move(sink);
        return 1;
    } catch (...) {
        return 0;
    }
}

void LogEx(const char* module, int level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = format_text(format, arguments);
        const auto severity = level < QUILL_LOG_ERROR ? spdlog::level::info : spdlog::level::err;
        const std::lock_guard lock(the_log().mutex);
        if (auto& sink = the_log().sink) {
            sink->log(spdlog::details::log_msg(module, severity, text));
            sink->flush();
        }
    } catch (...) {
        // Only the line is lost.
    }
    va_end(arguments);
}
