#include "mend/StreamTears.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kMostSearches = 24;
constexpr std::size_t kLongRun = 32768; // Values that fit after a break.
constexpr std::size_t kLeastRun = 256;  // After a place that is to be taken.

constexpr double kMostRunMisfit = 1.3;
constexpr double kMuchBetter = 1.6;
constexpr double kClearlyWorse = 1.3;
constexpr double kSmall = 0.05;

} // namespace

bool StreamTears::run() {
    while (const auto broken = walk_.run(walk_.frame().count())) {
        if (!broken->is_fault && broken->value < quiet_) {
            continue;
        }
        misfit_ = 0;
        if (searches_ < kMostSearches && undo(*broken)) {
            ++undone_;
            continue;
        }
        suspects_.push_back({broken->value, misfit_});
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
    const Run natural = run_on(broken);
    misfit_ = is_expected(broken) ? 1 : natural.misfit;
    if (natural.values >= kLongRun && is_expected(broken)) {
        return false;
    }
    if (care_ == Care::kNone) {
        return false;
    }
    ++searches_;
    auto found = StreamSearch(file_, walk_, origins_, sectors_, broken).run();
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

/// What fits after a break if the stream goes on as it does. The walk is left where it is.
StreamTears::Run StreamTears::run_on(const StreamBreak& broken) {
    constexpr double kMisfitAtOnce = 100;
    if (broken.is_fault) {
        return {0, kMisfitAtOnce};
    }
    const StreamWalk::State before = walk_.save(broken.value);
    auto next = walk_.run(walk_.decoded() + kLongRun);
    while (next && !next->is_fault && next->value < broken.value + walk_.fit().lag()) {
        next = walk_.run(walk_.decoded() + kLongRun);
    }
    const std::size_t end = next ? std::max(next->value, broken.value) : walk_.decoded();
    Run run{end - broken.value, 0};
    run.misfit = before.fit.misfit(walk_.values(), broken.value,
                                   broken.value + std::min(run.values, before.fit.lag()));
    walk_.restore(before);
    return run;
}

/// The continuation that fits best over a row or more, or, if all are shorter, the best of these together
/// with what continues it; nothing if it does not fit much better than none. If cautious, no other may fit
/// nearly as well.
const Continuation* StreamTears::choose(const std::vector<Continuation>& found, const Run& natural,
                                        const StreamWalk::State& before) {
    const std::size_t row = walk_.fit().lag();
    const double most = std::min(kMostRunMisfit, natural.misfit / kMuchBetter);
    const Continuation* best = nullptr;
    Run best_run;
    double second = kMostRunMisfit * kClearlyWorse;
    for (const Continuation& continuation : found) {
        const Run run = run_from(continuation);
        walk_.restore(before);
        if (run.values < kLeastRun || (best_run.values >= row && run.values < row)) {
            continue;
        }
        const bool is_first_long = run.values >= row && best_run.values < row;
        const bool is_same =
            best != nullptr && best->offset - best->kept == continuation.offset - continuation.kept;
        if (is_first_long || best == nullptr || run.misfit < best_run.misfit) {
            second = is_first_long || best == nullptr ? second : is_same ? second : best_run.misfit;
            best = &continuation;
            best_run = run;
        } else if (!is_same) {
            second = std::min(second, run.misfit);
        }
    }
    if (best == nullptr || best_run.misfit > most) {
        return nullptr;
    }
    if (care_ == Care::kCautious && second < best_run.misfit * kClearlyWorse + kSmall) {
        ++passed_over_;
        return nullptr;
    }
    if (best_run.values < row) {
        best_run = run_further(*best);
        walk_.restore(before);
    }
    return best_run.values < row ? nullptr : best;
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
    const auto further = StreamSearch(file_, walk_, origins_, sectors_, *next).run();
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
