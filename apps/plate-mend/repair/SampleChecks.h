#pragma once

#include "files/SafeOutput.h"
#include "repair/Workers.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace plate_mend::host {

/// Whether samples can be used: each is decoded once, in a worker, and the result is remembered. May be used
/// by several threads.
class SampleChecks {
  public:
    enum class Fitness {
        kWhole,    ///< It decodes without a sign of damage.
        kDoubtful, ///< It decodes, but shows signs of damage.
        kUnfit,    ///< It does not decode.
    };
    /// What a check found.
    struct Result {
        Fitness fitness = Fitness::kUnfit;
        std::string reason; ///< Why it is not whole, in words.
    };

    /// Makes no pictures.
    SampleChecks() = default;
    /// Makes a picture of each sample, for the contact sheet, in a private folder: in `work`, or with the
    /// system's temporary files where that is empty. Makes none where there can be no such folder.
    explicit SampleChecks(const std::filesystem::path& work);

    /// Decodes the sample, unless that was done before. `name` is a path of the same file that a worker can
    /// open, and `folder` is the worker's. Throws as Workers does, and MachineFailure when the sample cannot
    /// be read; such failures are not remembered.
    [[nodiscard]] Result check(const std::filesystem::path& sample, const std::filesystem::path& name,
                               const std::filesystem::path& folder, const Workers& workers);

    /// A small upright JPEG of a sample that was checked, its bytes; empty for none.
    [[nodiscard]] std::string picture_of(const std::filesystem::path& sample);

  private:
    struct Slot;

    [[nodiscard]] std::shared_ptr<Slot> slot_of(const std::filesystem::path& sample);

    std::unique_ptr<PrivateFolder> pictures_; ///< Null: none are made.
    std::mutex mutex_;                        ///< Guards the map; each slot has its own.
    std::map<std::filesystem::path, std::shared_ptr<Slot>> slots_;
};

/// Throws MachineFailure when a sample cannot be opened for reading.
void require_readable(const std::filesystem::path& sample);

/// Throws MachineFailure when any part of a sample cannot be read: a repair that failed with it then says
/// nothing about the photograph.
void require_all_readable(const std::filesystem::path& sample);

} // namespace plate_mend::host
