#include "report/Reports.h"

#include "SafeOutput.h"
#include "platform/Terminal.h"
#include "report/Csv.h"
#include "report/JsonLines.h"

#include <array>
#include <ctime>
#include <filesystem>
#include <iostream>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

void refuse_existing(const std::string& name, bool may_be_replaced) {
    if (!name.empty() && name != "-" && fs::exists(path_from(name)) && !may_be_replaced) {
        throw ReportExists(name + ": exists already; --force replaces it");
    }
}

/// On the standard output, unless a report goes there; then on the error stream, if somebody looks at it.
Progress progress_of(const ReportOptions& options, std::size_t files) {
    const bool output_is_taken = options.json == "-" || options.csv == "-";
    const auto stream = output_is_taken ? platform::Stream::kErrors : platform::Stream::kOutput;
    const auto style = options.quiet                   ? Progress::Style::kQuiet
                       : platform::is_terminal(stream) ? Progress::Style::kTerminal
                       : output_is_taken               ? Progress::Style::kQuiet
                                                       : Progress::Style::kLines;
    return {output_is_taken ? std::cerr : std::cout, style, files,
            [stream] { return platform::terminal_columns(stream); }};
}

/// "plate-mend 1.0, 2026-05-01 12:30".
std::string made_by() {
    const std::time_t now = std::time(nullptr);
    std::array<char, 32> text{};
    const std::tm* parts = std::localtime(&now); // No other thread runs yet.
    if (parts != nullptr) {
        std::strftime(text.data(), text.size(), ", %Y-%m-%d %H:%M", parts);
    }
    return std::string("plate-mend " PLATE_MEND_VERSION) + text.data();
}

} // namespace

Reports::Lines::Lines(const std::string& name, bool continued) {
    if (name != "-") {
        file_.open(path_from(name), std::ios::binary | (continued ? std::ios::app : std::ios::trunc));
        if (!file_) {
            throw ReportExists(name + ": cannot be written");
        }
    }
}

void Reports::Lines::write(const std::string& text) {
    std::ostream& stream = file_.is_open() ? file_ : std::cout;
    if (!(stream << text << std::flush)) {
        throw std::runtime_error("a report cannot be written; is the disk full?");
    }
}

Reports::Reports(const ReportOptions& options, std::size_t files) : progress_(progress_of(options, files)) {
    for (const std::string& name : {options.json, options.csv, options.html}) {
        refuse_existing(name, options.force || options.resume);
    }
    if (!options.json.empty()) {
        json_.emplace(options.json, options.resume);
    }
    if (!options.csv.empty()) {
        csv_.emplace(options.csv, false);
        csv_->write(csv_header());
    }
    if (!options.html.empty()) {
        html_.emplace(path_from(options.html), made_by());
    }
}

void Reports::add(const Record& record, bool is_new) {
    if (json_ && is_new) {
        json_->write(to_json_line(record) + "\n");
    }
    if (csv_) {
        csv_->write(csv_row(record));
    }
    if (html_) {
        html_->add(record);
    }
    progress_.end(record);
}

void Reports::close(bool interrupted) {
    progress_.finish();
    if (html_) {
        html_->close(interrupted);
    }
}

} // namespace plate_mend::host
