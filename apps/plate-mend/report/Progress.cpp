#include "report/Progress.h"

#include "text/Format.h"
#include "text/Text.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

namespace plate_mend::host {

namespace {

constexpr auto kBetweenDraws = std::chrono::milliseconds(100);
constexpr std::size_t kLeastForName = 8;

std::string format_rate(double files_per_second) {
    const bool fast = files_per_second >= 1;
    const double value = fast ? files_per_second : files_per_second * 60;
    return format_decimal(value, 1) + (fast ? "/s" : "/min");
}

/// "[ 12/225] ", with the first number as wide as the second.
std::string format_position(const ProgressState& state) {
    const std::string total = std::to_string(state.total);
    std::string done = std::to_string(state.done);
    if (done.size() < total.size()) {
        done.insert(0, total.size() - done.size(), ' ');
    }
    return '[' + done + '/' + total + ']';
}

} // namespace

std::string format_duration(double seconds) {
    if (!(seconds >= 1)) {
        return "less than 1 s";
    }
    constexpr double kLongest = 1e9;
    const auto whole = static_cast<std::int64_t>(std::round(std::min(seconds, kLongest)));
    if (whole < 60) {
        return std::to_string(whole) + " s";
    }
    const std::int64_t minutes = (whole + 30) / 60;
    if (minutes < 60) {
        return std::to_string(minutes) + " min";
    }
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

std::string progress_line(const ProgressState& state, std::size_t columns) {
    std::string line = format_position(state);
    if (state.done > 0 && state.seconds > 0) {
        const double rate = static_cast<double>(state.done) / state.seconds;
        line += ' ' + format_rate(rate);
        if (state.total > state.done) {
            line += ", " + format_duration(static_cast<double>(state.total - state.done) / rate) + " left";
        }
        line += ", " + describe(state.counts);
    }
    if (!state.current.empty() && line.size() + 2 + kLeastForName <= columns) {
        line += ": " + cut_to_columns(printable(state.current), columns - line.size() - 2);
    }
    return cut_to_columns(line, columns);
}

std::string samples_line(std::uint64_t done, std::uint64_t total, std::size_t columns) {
    return cut_to_columns("Samples: " + std::to_string(done) + " of " + std::to_string(total), columns);
}

std::string file_line(const Record& record) {
    std::string line = record.damaged.path + ": " + describe(record.verdict);
    if (!record.problem.empty()) {
        line += ", " + record.problem;
    }
    if (!record.unreadable.empty()) {
        line += ", " + describe_unreadable(record.unreadable);
    }
    if (record.raw) {
        line += ", written to " + record.raw->path;
    }
    if (record.jpeg) {
        line += ", JPEG written to " + record.jpeg->path;
    }
    if (record.mask) {
        line += ", mask written to " + record.mask->path;
    }
    if (record.sidecar) {
        line += ", own date and settings written to " + record.sidecar->path;
    }
    if (const Attempt* taken = record.taken()) {
        line += ", sample " + taken->sample;
        if (taken->image) {
            line += ", " + describe(*taken->image);
        }
        if (!taken->judgement.findings.empty()) {
            line += " (" + join(taken->judgement.findings) + ")";
        }
    } else if (!record.attempts.empty()) {
        line += ", " + describe_refusal(record);
    }
    return printable(line);
}

Progress::Progress(std::ostream& stream, Style style, std::uint64_t total, Columns columns, Clock clock)
    : stream_(stream), style_(style), columns_(std::move(columns)), clock_(std::move(clock)),
      began_(clock_()) {
    state_.total = total;
}

void Progress::read_samples(std::uint64_t done, std::uint64_t total) {
    if (done == total) {
        clear();
        began_ = clock_();
    } else if (is_time_to_draw(!on_display_)) {
        show(samples_line(done, total, usable_columns()));
    }
}

void Progress::begin(const std::string& path) {
    state_.current = path;
    draw(!on_display_);
}

void Progress::end(const Record& record) {
    ++state_.done;
    state_.counts.add(record.verdict);
    if (style_ == Style::kLines) {
        stream_ << file_line(record) << '\n' << std::flush;
    } else if (style_ == Style::kTerminal && record.verdict != Verdict::kWhole) {
        clear();
        stream_ << file_line(record) << '\n';
    }
    draw(!on_display_);
}

void Progress::finish() {
    clear();
    stream_ << std::flush;
}

void Progress::draw(bool at_once) {
    if (is_time_to_draw(at_once)) {
        state_.seconds = std::chrono::duration<double>(clock_() - began_).count();
        show(progress_line(state_, usable_columns()));
    }
}

bool Progress::is_time_to_draw(bool at_once) const {
    return style_ == Style::kTerminal && (at_once || clock_() - drawn_ >= kBetweenDraws);
}

std::size_t Progress::usable_columns() const {
    const std::size_t columns = columns_();
    return columns > 0 ? columns - 1 : 0; // Many terminals go to the next line after the last one.
}

void Progress::show(const std::string& line) {
    clear();
    stream_ << line << std::flush;
    on_display_ = true;
    drawn_ = clock_();
}

void Progress::clear() {
    if (on_display_) {
        stream_ << "\r\x1B[K";
        on_display_ = false;
    }
}

} // namespace plate_mend::host
