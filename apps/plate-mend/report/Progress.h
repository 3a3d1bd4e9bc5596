#pragma once

#include "record/Record.h"
#include "report/Words.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace plate_mend::host {

/// How far a run has come.
struct ProgressState {
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    double seconds = 0; ///< Since the run began.
    Counts counts;
    std::string current; ///< Path of the file at work; may be empty.
};

/// The line for a terminal, at most this many columns wide: "[ 12/225] 1.9/s, 2 min left, 11 whole, 1 lost:
/// IMG_0042.ARW". The name is shortened first, then the end of the line.
[[nodiscard]] std::string progress_line(const ProgressState& state, std::size_t columns);

/// The line for a terminal while samples are read, cut likewise: "Samples: 120 of 3000".
[[nodiscard]] std::string samples_line(std::uint64_t done, std::uint64_t total, std::size_t columns);

/// The line of one file for a log or a pipe: "IMG_0042.ARW: whole, written to out/IMG_0042.repaired.ARW,
/// sample IMG_0007.ARW". Control characters in names are replaced.
[[nodiscard]] std::string file_line(const Record& record);

/// "12 s", "3 min", "2 h 5 min"; "less than 1 s" below that.
[[nodiscard]] std::string format_duration(double seconds);

/// Writes a run's progress to a stream.
class Progress {
  public:
    enum class Style {
        kTerminal, ///< One line, rewritten in place; a line stays for each file that is not whole.
        kLines,    ///< One line per file.
        kQuiet,    ///< Nothing.
    };
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    using Columns = std::function<std::size_t()>;

    /// The stream must outlive this. `columns` returns the terminal's width, and is called for each line,
    /// since the width may change. Not for several threads at once.
    Progress(std::ostream& stream, Style style, std::uint64_t total, Columns columns,
             Clock clock = std::chrono::steady_clock::now);

    /// Samples are read before any work begins: how many are done, of how many. Drawn likewise, on a terminal
    /// only; the time that it takes is no part of the run's.
    void read_samples(std::uint64_t done, std::uint64_t total);

    /// The work on a file begins. The terminal's line is drawn at most ten times a second.
    void begin(const std::string& path);

    /// The work on a file ended.
    void end(const Record& record);

    /// The run is over: clears the terminal's line.
    void finish();

  private:
    void draw(bool at_once);
    [[nodiscard]] bool is_time_to_draw(bool at_once) const;
    [[nodiscard]] std::size_t usable_columns() const;
    void show(const std::string& line);
    void clear();

    std::ostream& stream_;
    Style style_;
    Columns columns_;
    Clock clock_;
    std::chrono::steady_clock::time_point began_;
    std::chrono::steady_clock::time_point drawn_;
    bool on_display_ = false; // The line is on the terminal.
    ProgressState state_;
};

} // namespace plate_mend::host
