#pragma once

#include "mend/StreamSearch.h"

#include <vector>

namespace raw_mend {

/// Decodes a stream and undoes tears: bytes put in, swapped or moved elsewhere in the file.
class StreamTears {
  public:
    /// Which continuations are taken: all that fit much better than what is there, those of them that no
    /// other fits nearly as well as, or none.
    enum class Care { kBold, kCautious, kNone };

    /// The alarms are values of a like stream whose rows do not fit, in ascending order: where the rows of
    /// this camera never do. All must outlive this.
    StreamTears(Bytes file, StreamWalk& walk, std::span<const std::uint64_t> origins,
                std::span<const std::size_t> alarms, Care care)
        : file_(file), walk_(walk), origins_(origins), sectors_(find_sectors(file, origins)), alarms_(alarms),
          care_(care) {}

    /// Whether the stream is complete now. If not, the walk has stopped where nothing can be decoded and
    /// nothing continues it, or at the end.
    [[nodiscard]] bool run();

    /// How many tears were undone.
    [[nodiscard]] std::size_t undone() const { return undone_; }
    /// How many continuations were not taken for caution.
    [[nodiscard]] std::size_t passed_over() const { return passed_over_; }
    /// A break without a continuation.
    struct Suspect {
        std::size_t value = 0;
        double misfit = 0; ///< Of the values after it up to a row.
    };
    /// In ascending order.
    [[nodiscard]] const std::vector<Suspect>& suspects() const { return suspects_; }

  private:
    /// What fits after a continuation.
    struct Run {
        std::size_t values = 0;
        double misfit = 0;
    };

    [[nodiscard]] bool is_expected(const StreamBreak& broken) const;
    [[nodiscard]] bool undo(const StreamBreak& broken);
    [[nodiscard]] const Continuation* choose(const std::vector<Continuation>& found, const Run& natural,
                                             const StreamWalk::State& before);
    [[nodiscard]] Run run_on(const StreamBreak& broken);
    [[nodiscard]] Run run_from(const Continuation& found);
    [[nodiscard]] Run run_further(const Continuation& found);
    void take(const Continuation& found);

    Bytes file_;
    StreamWalk& walk_;
    std::span<const std::uint64_t> origins_;
    std::vector<std::uint64_t> sectors_;
    std::span<const std::size_t> alarms_;
    Care care_;
    std::size_t undone_ = 0;
    std::size_t passed_over_ = 0;
    std::size_t quiet_ = 0; // Breaks before this value are parts of one that was not undone.
    std::size_t searches_ = 0;
    std::vector<Suspect> suspects_;
    double misfit_ = 0; // Of the last break.
};

} // namespace raw_mend
