#include "report/Reports.h"

#include "files/Failures.h"
#include "platform/Terminal.h"
#include "record/RecordJson.h"
#include "report/Csv.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <array>
#include <ctime>
#include <fstream>
#include <iostream>

namespace plate_mend::host {

namespace {

bool is_output_taken(const ReportOptions& options) {
    return options.json == "-" || options.csv == "-" || options.html == "-";
}

/// Where people read: the standard output, unless a report goes there; then the error stream.
platform::Stream stream_of(const ReportOptions& options) {
    return is_output_taken(options) ? platform::Stream::kErrors : platform::Stream::kOutput;
}

std::ostream& output_of(platform::Stream stream) {
    return stream == platform::Stream::kErrors ? std::cerr : std::cout;
}

/// The error stream receives it only if that is a terminal.
Progress::Style style_of(const ReportOptions& options) {
    return options.quiet || options.silent             ? Progress::Style::kQuiet
           : platform::is_terminal(stream_of(options)) ? Progress::Style::kTerminal
           : is_output_taken(options)                  ? Progress::Style::kQuiet
                                                       : Progress::Style::kLines;
}

Progress progress_of(const ReportOptions& options, std::size_t files) {
    const auto stream = stream_of(options);
    return {output_of(stream), style_of(options), files,
            [stream] { return platform::terminal_columns(stream); }};
}

} // namespace

std::string creator_text() {
    const std::time_t now = std::time(nullptr);
    std::array<char, 32> text{};
    const std::tm* parts = std::localtime(&now); // No other thread asks for the time of day.
    if (parts != nullptr) {
        std::strftime(text.data(), text.size(), ", %Y-%m-%d %H:%M", parts);
    }
    return std::string("plate-mend " PLATE_MEND_VERSION) + text.data();
}

Reports::Lines::Lines(const std::string& name, const ReportOpener& open) {
    if (name != "-") {
        file_.emplace(open(path_from(name)));
        file_->publish(); // Others may follow it while it grows.
    }
}

void Reports::Lines::write(const std::string& text, bool is_new) {
    if (file_) {
        file_->write(text);
    } else if (is_new && !(std::cout << text << std::flush)) {
        throw MachineFailure("the standard output cannot be written to");
    }
}

Reports::Reports(const ReportOptions& options, std::size_t files, const ReportOpener& open,
                 const PicturesOpener& open_pictures)
    : progress_(progress_of(options, files)) {
    const bool is_read =
        style_of(options) != Progress::Style::kQuiet || platform::is_terminal(stream_of(options));
    if (is_read && !options.silent) {
        summary_stream_ = &output_of(stream_of(options));
    }
    if (options.html == "-") {
        printed_.emplace(std::filesystem::temp_directory_path());
        html_.emplace(OutputFile(printed_page(), false), SheetPictures(printed_page(), nothing_, false),
                      creator_text(), HtmlReport::Use::kPrinted);
    } else if (!options.html.empty()) {
        const std::filesystem::path page = path_from(options.html);
        html_.emplace(open(page), open_pictures(page), creator_text());
    }
    if (!options.json.empty()) {
        json_.emplace(options.json, open);
    }
    if (!options.csv.empty()) {
        csv_.emplace(options.csv, open);
        csv_->write(csv_header(), true);
    }
}

void Reports::add(const Record& record, bool is_new) {
    if (json_) {
        json_->write(to_json_line(record) + "\n", is_new);
    }
    if (csv_) {
        csv_->write(csv_row(record), is_new);
    }
    if (html_) {
        html_->add(record);
    }
    progress_.end(record);
    summary_.add(record);
}

void Reports::close(const RunEnd& end) {
    progress_.finish();
    if (html_) {
        html_->close(end.stopped);
    }
    if (printed_) {
        print_page();
    }
    if (summary_stream_ != nullptr) {
        for (const std::string& line : summary_.lines(end)) {
            *summary_stream_ << printable(line) << '\n';
        }
        *summary_stream_ << std::flush;
    }
}

void Reports::print_page() const {
    if (!(std::cout << std::ifstream(printed_page(), std::ios::binary).rdbuf() << std::flush)) {
        throw MachineFailure("the standard output cannot be written to");
    }
}

} // namespace plate_mend::host
