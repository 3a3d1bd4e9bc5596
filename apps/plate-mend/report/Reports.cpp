#include "report/Reports.h"

#include "files/Failures.h"
#include "platform/Terminal.h"
#include "record/RecordJson.h"
#include "report/Csv.h"
#include "text/Paths.h"

#include <array>
#include <ctime>
#include <iostream>

namespace plate_mend::host {

namespace {

/// On the standard output, unless a report goes there; then on the error stream, if that is a terminal.
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
std::string creator_text() {
    const std::time_t now = std::time(nullptr);
    std::array<char, 32> text{};
    const std::tm* parts = std::localtime(&now); // No other thread runs yet.
    if (parts != nullptr) {
        std::strftime(text.data(), text.size(), ", %Y-%m-%d %H:%M", parts);
    }
    return std::string("plate-mend " PLATE_MEND_VERSION) + text.data();
}

} // namespace

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
    if (!options.html.empty()) {
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
}

void Reports::close(bool interrupted) {
    progress_.finish();
    if (html_) {
        html_->close(interrupted);
    }
}

} // namespace plate_mend::host
