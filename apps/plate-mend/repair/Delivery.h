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

/// What the delivery of a file's results goes by.
struct DeliveryRules {
    const Protected& inputs;     ///< Damaged files and samples.
    bool force = false;          ///< Replace what is at an output.
    RunRecord* record = nullptr; ///< Knows of results before they take their places; null: nobody does.
    bool resume = false;         ///< What a former run made of this very file may be there.
};

/// Gives the results of one damaged file their places.
class Delivery {
  public:
    Delivery(const PlannedFile& file, const DeliveryRules& rules) : file_(file), rules_(rules) {}

    /// Why no RAW photograph can be delivered, in words for the user; nothing when it can. Throws
    /// MachineFailure, and Interrupted.
    [[nodiscard]] std::optional<std::string> refuse_raw() const;

    /// Delivers finished files as far as they exist, and enters them into the record. What a former run made
    /// of the same file, with the same bytes, is taken as delivered. Throws MachineFailure, Interrupted and
    /// std::system_error; then the caller must take back what was delivered.
    void run(const std::filesystem::path& raw, const std::filesystem::path& jpeg, Record& record);

    /// Removes what was delivered. It stays where it is all there is: where it may have replaced something,
    /// and where the damaged file has gone.
    void take_back(Record& record);

  private:
    [[nodiscard]] std::optional<std::string> refuse(const std::filesystem::path& output) const;
    [[nodiscard]] const std::filesystem::path& jpeg_place() const;
    void deliver_one(const std::filesystem::path& made, const FileIdentity& identity,
                     std::optional<FileIdentity>& result);
    [[nodiscard]] bool is_delivered_already(const FileIdentity& identity) const;

    const PlannedFile& file_;
    const DeliveryRules& rules_;
    std::vector<std::filesystem::path> delivered_; ///< By this object, at places that were free.
};

} // namespace plate_mend::host
