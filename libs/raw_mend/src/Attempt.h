#pragma once

#include "Repair.h"

#include <raw_mend/raw_mend.h>

#include <mapped_file/MappedFile.h>

#include <filesystem>
#include <optional>

namespace raw_mend {

/// The repair of a damaged file with one sample.
class Attempt {
  public:
    /// Maps the sample and repairs with it. The damaged file must outlive this. Throws std::bad_alloc.
    Attempt(Bytes damaged, const std::filesystem::path& sample);

    /// RAW_MEND_OK if there is a repaired file, otherwise the reason why there is none.
    [[nodiscard]] std::int32_t result() const { return result_; }
    /// Whether there is a repaired file, every piece of its image is proved, and none of their places is a
    /// guess.
    [[nodiscard]] bool is_proved() const;
    /// Whether this is a better result than another: a repaired file with more proved pieces, or as many and
    /// fewer lost ones, or with certain places instead of guessed ones; or a failure further on the way.
    [[nodiscard]] bool is_better_than(const Attempt& other) const;

    /// There must be a repaired file.
    [[nodiscard]] const Splice& file() const { return *repaired_->file; }
    /// The same; the number of the sample is left 0.
    [[nodiscard]] RawMendReport report() const;

  private:
    [[nodiscard]] std::int32_t run(Bytes damaged, const std::filesystem::path& path);
    [[nodiscard]] std::uint32_t notes() const;

    mapped_file::MappedFile mapping_;
    std::optional<Sample> sample_;
    std::optional<Repaired> repaired_;
    std::int32_t result_;
};

} // namespace raw_mend
