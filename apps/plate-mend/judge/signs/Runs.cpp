#include "judge/signs/Runs.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

/// Samples of one value from which a run is examined. Measured: in ten whole camera files no run has more
/// than 7, except where they are overexposed; in the tests' scenes, 118.
constexpr std::size_t kShortest = 128;

/// Samples side by side of which some are the same in every row that has a part of such a run, except its
/// first row and its last.
constexpr std::size_t kEven = 32;

// The next two have no measurement of their own. The tests show that with them an overexposed disc and 120
// whole scenes have no bad run, while a run of zeros, a lost tail and blocks of 512 bytes in every format
// have one.

/// Share of the range within which two values are alike.
constexpr double kAlike = 0.02;

/// A run is abrupt where fewer than one in this many of the samples above or below it are like it.
constexpr std::size_t kOneIn = 5;

/// A run of one value. Positions are row * columns + column.
struct Run {
    std::size_t first = 0;
    std::size_t end = 0; ///< One past the last.
    unsigned value = 0;
};

class RunSearch {
  public:
    explicit RunSearch(const SensorView& view)
        : view_(view), size_(view.rows * view.columns), to_next_row_(view.dy * view.columns) {}

    [[nodiscard]] std::vector<std::size_t> bad_rows() {
        for (std::size_t y = 0; y < view_.rows;) {
            const std::size_t first = y;
            while (y < view_.rows && may_have_run(y)) {
                ++y;
            }
            if (first != y) {
                search(first, y);
            }
            y += first == y ? 1U : 0U;
        }
        rows_.erase(std::unique(rows_.begin(), rows_.end()), rows_.end());
        return std::move(rows_);
    }

  private:
    /// Whether a row may have a part of a run that is long enough: it or a row beside it has an even part.
    [[nodiscard]] bool may_have_run(std::size_t y) const {
        return view_.columns < kShortest || has_even_part(y) || (y > 0 && has_even_part(y - 1)) ||
               (y + 1 < view_.rows && has_even_part(y + 1));
    }

    [[nodiscard]] bool has_even_part(std::size_t y) const {
        const std::uint16_t* row = view_.row(y);
        for (std::size_t x = 0; x + kEven <= view_.columns; x += kEven) {
            if (row[x] == row[x + kEven / 2] && std::equal(row + x, row + x + kEven - 1, row + x + 1)) {
                return true;
            }
        }
        return false;
    }

    /// Looks at the rows [first, end). What may go on before and after them is shorter than a run.
    void search(std::size_t first, std::size_t end) {
        Run run{first * view_.columns, 0, *view_.row(first)};
        for (std::size_t y = first; y < end; ++y) {
            const std::uint16_t* row = view_.row(y);
            for (std::size_t x = 0; x < view_.columns; ++x) {
                if (row[x] != run.value) {
                    run.end = y * view_.columns + x;
                    add_rows_if_bad(run);
                    run = {run.end, 0, row[x]};
                }
            }
        }
        run.end = end * view_.columns;
        add_rows_if_bad(run);
    }

    void add_rows_if_bad(const Run& run) {
        if (run.end - run.first >= kShortest && is_bad(run)) {
            for (std::size_t y = run.first / view_.columns; y <= (run.end - 1) / view_.columns; ++y) {
                rows_.push_back(y);
            }
        }
    }

    [[nodiscard]] bool is_bad(const Run& run) const {
        const bool overexposed = run.value >= view_.white - view_.range() / 10;
        const bool reaches_end = run.end == size_ && !overexposed;
        const bool starts = starts_abruptly(run);
        const bool ends = ends_abruptly(run);
        return view_.is_below_black(run.value) || (starts && (ends || reaches_end)) ||
               (run.first == 0 && ends);
    }

    /// Whether few of the samples above the run's first row are like it.
    [[nodiscard]] bool starts_abruptly(const Run& run) const {
        const std::size_t end = std::min(run.end, run.first + view_.columns);
        return run.first >= to_next_row_ &&
               few_alike(run.first - to_next_row_, end - to_next_row_, run.value);
    }

    /// Whether few of the samples below the run's last row are like it.
    [[nodiscard]] bool ends_abruptly(const Run& run) const {
        const std::size_t first = std::max(run.first, run.end - std::min(run.end, view_.columns));
        return run.end + to_next_row_ <= size_ &&
               few_alike(first + to_next_row_, run.end + to_next_row_, run.value);
    }

    /// At the lower end of the range only equal values are alike: dark pictures differ by little, but they
    /// differ.
    [[nodiscard]] bool few_alike(std::size_t first, std::size_t end, unsigned value) const {
        const double reach = value <= view_.black ? 0.5 : kAlike * view_.range();
        std::size_t alike = 0;
        for (std::size_t position = first; position < end; ++position) {
            alike += step(sample_at(position), value) < reach ? 1U : 0U;
        }
        return alike * kOneIn < end - first;
    }

    [[nodiscard]] unsigned sample_at(std::size_t position) const {
        return view_.row(position / view_.columns)[position % view_.columns];
    }

    const SensorView& view_;
    std::size_t size_;
    std::size_t to_next_row_; ///< Samples to the next row of the same colours.
    std::vector<std::size_t> rows_;
};

} // namespace

Sign find_runs(const SensorView& view) {
    return sign_of_rows(RunSearch(view).bad_rows(), "runs of one value where a picture should be");
}

} // namespace plate_mend::host
