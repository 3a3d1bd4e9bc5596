#pragma once

#include "Account.h"
#include "Repair.h"
#include "ways/ReorderedFile.h"

#include <raw_mend/raw_mend.h>

#include <mapped_file/MappedFile.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <tuple>
#include <vector>

namespace raw_mend {

/// The repair of a damaged file with one sample.
class Attempt {
  public:
    /// Maps the sample and repairs with it. The damaged file must outlive this. Throws std::bad_alloc.
    Attempt(Bytes damaged, const std::filesystem::path& sample, Filling filling);

    /// RAW_MEND_OK if there is a repaired file, otherwise the reason why there is none.
    [[nodiscard]] std::int32_t result() const { return result_; }
    /// Whether there is a repaired file, every piece of its image is proved, none of their places is a guess,
    /// and no pixel is lost or doubtful.
    [[nodiscard]] bool is_proved() const;
    /// Whether this is a better result than another: a repaired file with fewer pixels that are lost,
    /// doubtful, or in pieces that nothing proves, or with as many, more proved pieces, fewer lost ones, or
    /// certain places instead of guessed ones; or a failure further on the way.
    [[nodiscard]] bool is_better_than(const Attempt& other) const;

    /// There must be a repaired file.
    [[nodiscard]] const Splice& file() const { return *repaired_->file; }
    /// The same; the number of the sample is left 0.
    [[nodiscard]] RawMendReport report() const;
    /// The same.
    [[nodiscard]] const std::vector<RawMendArea>& areas() const { return account_.areas; }

  private:
    /// The greater is the better.
    using Quality = std::tuple<std::int64_t, std::size_t, std::int64_t, bool>;

    [[nodiscard]] std::int32_t run(Bytes damaged, const std::filesystem::path& path, Filling filling);
    [[nodiscard]] bool repair_reordered(Bytes damaged, Filling filling);
    [[nodiscard]] bool repair_in_order(Bytes damaged, const std::optional<Reordering>& order,
                                       std::uint32_t note, Filling filling);
    [[nodiscard]] Quality quality() const;
    [[nodiscard]] std::uint32_t notes() const;
    [[nodiscard]] bool has_proof() const;

    mapped_file::MappedFile mapping_;
    std::optional<Sample> sample_;
    std::vector<unsigned char> reordered_; // What the result was made from, if not from the file as it is.
    std::optional<Reordering> order_;      // If so, of what that consists.
    std::uint32_t order_note_ = 0;         // And what it is called in the report.
    std::optional<Repaired> repaired_;
    Account account_;
    std::int32_t result_;
};

} // namespace raw_mend
