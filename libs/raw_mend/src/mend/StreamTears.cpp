#include "mend/StreamTears.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kMostSearches = 96;
constexpr std::size_t kLongRun = 32768; // Values that fit after a break.
constexpr std::size_t kLeastRun = 256;  // After a place that is to be taken.

constexpr double kMostRunMisfit = 1.2;

} // namespace

bool StreamTears::run() {
    while (const auto broken = walk_.run(walk_.frame().count())) {
        if (!broken->is_fault && broken->value < quiet_) {
            continue;
        }
        if (searches_ < kMostSearches && undo(*broken)) {
            first_undone_ = undone_ == 0 ? walk_.decoded() : std::min(first_undone_, walk_.decoded());
            ++undone_;
            continue;
        }
        suspects_.push_back(broken->value);
        quiet_ = broken->value + walk_.fit().lag();
        if (broken->is_fault) {
            return false;
        }
    }
    return walk_.find_end().has_value();
}

bool StreamTears::is_expected(const StreamBreak& broken) const {
    const std::size_t near = 2 * walk_.fit().lag();
    const auto alarm = std::ranges::lower_bound(alarms_, broken.value - std::min(broken.value, near));
    return alarm != alarms_.end() && *alarm <= broken.value + near;
}

/// Whether a tear was undone. If not, the walk is where it was.
bool StreamTears::undo(const StreamBreak& broken) {
    const std::size_t natural = run_on(broken);
    if (natural >= kLongRun && (is_cautious_ || is_expected(broken))) {
        return false;
    }
    ++searches_;
    const auto found = StreamSearch(file_, walk_, origins_, broken).run(reach_);
    if (found.empty()) {
        return false;
    }
    const auto first = std::ranges::min(found, {}, [](const auto& one) { return one.place.value; });
    const StreamWalk::State before = walk_.save(std::min(first.place.value, broken.value));
    const Continuation* best = choose(found, natural, before);
    if (best != nullptr) {
        take(*best);
    }
    return best != nullptr;
}

/// How many values fit after a break if the stream goes on as it does. The walk is left where it is.
std::size_t StreamTears::run_on(const StreamBreak& broken) {
    if (broken.is_fault) {
        return 0;
    }
    const StreamWalk::State before = walk_.save(broken.value);
    auto next = walk_.run(walk_.decoded() + kLongRun);
    while (next && !next->is_fault && next->value < broken.value + walk_.fit().lag()) {
        next = walk_.run(walk_.decoded() + kLongRun);
    }
    const std::size_t end = next ? std::max(next->value, broken.value) : walk_.decoded();
    walk_.restore(before);
    return end - broken.value;
}

/// The continuation that fits best over a row or more, or, if all are shorter, the best of these; nothing if
/// it is not better than none.
const Continuation* StreamTears::choose(const std::vector<Continuation>& found, std::size_t natural,
                                        const StreamWalk::State& before) {
    const std::size_t row = walk_.fit().lag();
    const Continuation* best = nullptr;
    Run best_run;
    for (const Continuation& continuation : found) {
        const Run run = run_from(continuation);
        walk_.restore(before);
        const bool is_long = run.values >= row;
        const bool is_best_long = best_run.values >= row;
        if (run.values >= kLeastRun && run.misfit < kMostRunMisfit &&
            (best == nullptr || is_long > is_best_long ||
             (is_long == is_best_long && run.misfit < best_run.misfit))) {
            best = &continuation;
            best_run = run;
        }
    }
    if (best != nullptr && best_run.values < row) {
        best_run = run_further(*best);
        walk_.restore(before);
    }
    return best_run.values < natural ? nullptr : best;
}

void StreamTears::take(const Continuation& found) {
    walk_.bytes().continue_at(found.kept, found.offset);
    walk_.resume(found.place);
}

StreamTears::Run StreamTears::run_from(const Continuation& found) {
    const StreamFit fit = walk_.fit();
    take(found);
    const std::size_t begin = found.place.value;
    const auto next = walk_.run(begin + kLongRun);
    Run run;
    run.values = (next ? std::max(next->value, begin) : walk_.decoded()) - begin;
    run.misfit = fit.misfit(walk_.values(), begin, begin + std::min(run.values, fit.lag()));
    return run;
}

/// Of a short run and the best that continues it.
StreamTears::Run StreamTears::run_further(const Continuation& found) {
    take(found);
    const std::size_t begin = found.place.value;
    const auto next = walk_.run(begin + kLongRun);
    Run run{(next ? std::max(next->value, begin) : walk_.decoded()) - begin, 0};
    if (!next) {
        return run;
    }
    const auto further = StreamSearch(file_, walk_, origins_, *next).run(reach_);
    if (further.empty()) {
        return run;
    }
    const auto first = std::ranges::min(further, {}, [](const auto& one) { return one.place.value; });
    const StreamWalk::State before = walk_.save(std::min(first.place.value, next->value));
    std::size_t longest = 0;
    for (const Continuation& continuation : further) {
        const Run more = run_from(continuation);
        walk_.restore(before);
        longest = more.misfit < kMostRunMisfit ? std::max(longest, more.values) : longest;
    }
    run.values += longest;
    return run;
}

} // namespace raw_mend
