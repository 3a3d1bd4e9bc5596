#pragma once

#include "mend/StreamWalk.h"

#include <vector>

namespace raw_mend {

/// Where a torn stream can go on in its file.
struct Continuation {
    StreamPlace place;      ///< Of the first value that needs bytes from there.
    std::uint64_t kept = 0; ///< Bytes of the stream before it.
    std::uint64_t offset = 0;
    double misfit = 0; ///< Of the values from the break on, as StreamFit::misfit() counts.
};

/// The offsets of sectors, counted from any of the origins, at which a torn stream may go on: all in the
/// file, except within long runs of one value, which are no entropy-coded data of a photograph, and those
/// with a marker that such data do not have. Takes linear time.
[[nodiscard]] std::vector<std::uint64_t> find_sectors(Bytes file, std::span<const std::uint64_t> origins);

/// Looks for places in the whole file where a stream goes on that is torn at a boundary of sectors at a break
/// or shortly before.
class StreamSearch {
  public:
    /// The walk is left as it was. The sectors are those of find_sectors() with the origins. All must outlive
    /// this.
    StreamSearch(Bytes file, StreamWalk& walk, std::span<const std::uint64_t> origins,
                 std::span<const std::uint64_t> sectors, const StreamBreak& broken);

    /// Those that fit, the best first, at most kMostContinuations. Takes time proportional to the sectors.
    [[nodiscard]] std::vector<Continuation> run();

    static constexpr std::size_t kMostContinuations = 8;

  private:
    struct Boundary {
        std::uint64_t position = 0; // In the stream.
        StreamPlace place;
        double natural = 0; // The misfit if the stream goes on as it does.
    };

    [[nodiscard]] bool is_boundary(std::uint64_t offset) const;
    void restore_values();
    void find_boundaries(const StreamBreak& broken);
    void offer(const Boundary& boundary, std::uint64_t offset);
    [[nodiscard]] std::vector<Continuation> take_best();
    [[nodiscard]] double misfit_at(const Boundary& boundary, std::uint64_t offset, std::size_t count);

    Bytes file_;
    StreamWalk& walk_;
    std::span<const std::uint64_t> origins_;
    std::span<const std::uint64_t> sectors_;
    std::size_t broken_; // The value.
    std::vector<Boundary> boundaries_;
    std::vector<unsigned char> buffer_;
    std::vector<Continuation> found_;
    std::size_t first_ = 0;              // Of the natural values.
    std::vector<std::uint16_t> natural_; // They are overwritten in between.
};

} // namespace raw_mend
