#pragma once

#include "files/Protected.h"
#include "record/Record.h"
#include "repair/Plan.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

class RunRecord;

/// How the results of a file are delivered.
struct DeliveryRules {
    const Protected& inputs;     ///< Damaged files and samples.
    bool force = false;          ///< Replace what is at an output.
    RunRecord* record = nullptr; ///< Receives results before they are delivered; null for none.
    bool resume = false;         ///< An earlier run's result for the same file may be there.
};

/// Finished files in the working folder; those that do not exist were not made.
struct FinishedFiles {
    std::filesystem::path raw;
    std::filesystem::path jpeg;
    std::filesystem::path mask;
    std::filesystem::path sidecar;
};

/// Delivers the results of one damaged file.
class Delivery {
  public:
    Delivery(const PlannedFile& file, const DeliveryRules& rules) : file_(file), rules_(rules) {}

    /// Why no RAW photograph, or no mask of it, can be delivered, for the user; nothing when it can. Throws
    /// MachineFailure, and Interrupted.
    [[nodiscard]] std::optional<std::string> refuse_raw() const;

    /// Delivers the finished files that exist, and adds them to the record. All but the sidecar get the time
    /// of the damaged file. Where the sidecar's place is taken, it is left out, and the record says so. A
    /// result of an earlier run for the same file, with the same bytes, counts as delivered. Throws
    /// MachineFailure, Interrupted and std::system_error; then the caller must call take_back().
    void run(const FinishedFiles& files, Record& record);

    /// Removes what was delivered, unless it may be the only copy: where it may have replaced a file, and
    /// where the damaged file is gone.
    void take_back(Record& record);

  private:
    [[nodiscard]] std::optional<std::string> refuse(const std::filesystem::path& output) const;
    [[nodiscard]] const std::filesystem::path& choose_jpeg() const;
    [[nodiscard]] std::optional<FileIdentity> sidecar_of(const FinishedFiles& files, Record& record) const;
    void deliver_sidecar(const std::filesystem::path& file, const FileIdentity& identity, Record& record);
    void deliver_one(const std::filesystem::path& file, const FileIdentity& identity,
                     std::optional<FileIdentity>& result);
    [[nodiscard]] bool is_delivered_already(const FileIdentity& identity) const;

    const PlannedFile& file_;
    const DeliveryRules& rules_;
    std::vector<std::filesystem::path> delivered_; ///< By this object, at paths that were free.
};

} // namespace plate_mend::host
