#pragma once

#include "judge/Judge.h"
#include "record/Record.h"
#include "repair/OwnPictures.h"
#include "repair/WorkerPool.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

// Whatever may crash, hang or use up memory on hostile bytes runs in a worker: a second process of this
// program, which does one task after another. A folder has the task and receives the answer.

namespace plate_mend::host {

class RunLog;

/// Has workers do tasks. A crash, the time limit and an exception of the library become the problem in the
/// answer, and cost only that task. May be used by several threads, each with its own folder, which must
/// exist. The files of a task are in that folder, or have paths that are UTF-8.
///
/// All throw Interrupted, and MachineFailure when no worker can be started, when the disk is full, or when
/// memory runs out.
class Workers {
  public:
    /// `log` receives the library's log lines and must outlive this object; null for none.
    explicit Workers(WorkerLimits limits, RunLog* log = nullptr)
        : pool_(std::make_unique<WorkerPool>(std::move(limits))), log_(log) {}

    /// Files of a repair with a sample.
    struct RepairTask {
        std::filesystem::path damaged;
        std::filesystem::path sample;
        std::filesystem::path output;
        std::string title; ///< Of the damaged file and the sample, for the log.
        bool fill = true;  ///< The raw engine fills lost pixels from their neighbours.
    };
    /// The advanced repair. Returns an attempt with its engine, and its code or its problem. The library
    /// works in the folder.
    [[nodiscard]] Attempt repair(const std::filesystem::path& folder, const RepairTask& task) const;

    /// The same by the raw engine, which goes by content and writes no log. The output must not exist; if it
    /// is empty, only the report is wanted.
    [[nodiscard]] Attempt repair_raw(const std::filesystem::path& folder, const RepairTask& task) const;

    /// Writes a copy of a photograph in which previews that are the sample's show its own raw image, with the
    /// same raw image. Returns how many are the sample's and how many show it now; nothing was written if
    /// that is none, whatever the reason.
    [[nodiscard]] ReplacedPictures replace_pictures(const std::filesystem::path& folder,
                                                    const std::filesystem::path& photograph,
                                                    const std::filesystem::path& sample,
                                                    const std::filesystem::path& output) const;

    /// A repaired photograph whose own metadata are looked for in its damaged file.
    struct MetadataTask {
        std::filesystem::path damaged;
        std::filesystem::path result;
        const Attempt& taken;          ///< That made the result.
        std::filesystem::path sidecar; ///< Written if it is needed; empty: none is wanted.
    };
    /// What was found, or why nothing could be looked for.
    struct MetadataResult {
        std::optional<OwnMetadata> metadata;
        std::string problem; ///< Of the worker; empty for none.
    };
    [[nodiscard]] MetadataResult find_metadata(const std::filesystem::path& folder,
                                               const MetadataTask& task) const;

    /// Files of a general repair.
    struct SalvageTask {
        std::filesystem::path damaged;
        std::filesystem::path output;
        std::filesystem::path picture; ///< Where a small upright JPEG of the result goes; empty: nowhere.
        std::filesystem::path sample;  ///< An intact photograph that lends a header; empty: none.
    };
    /// The general repair.
    [[nodiscard]] SalvagedPicture salvage(const std::filesystem::path& folder, const SalvageTask& task) const;

    /// Appends as many zeros as a result lacks at its end, compared with the sample. Returns how many.
    [[nodiscard]] std::uint64_t fill(const std::filesystem::path& folder, const std::filesystem::path& result,
                                     const std::filesystem::path& sample) const;

    /// Whether bytes are missing before the end of a damaged file's preview. Also true if the worker cannot
    /// find out.
    [[nodiscard]] bool is_lost_in_preview(const std::filesystem::path& folder,
                                          const std::filesystem::path& damaged) const;

    /// The judgement of an independent decode. A problem of the worker is its only finding.
    [[nodiscard]] Judgement judge(const std::filesystem::path& folder, const JudgeRequest& task) const;

    /// Whether a photograph needs no repair: it decodes without a sign of damage, and so does the preview
    /// inside it. The picture is as in JudgeRequest.
    [[nodiscard]] bool is_intact(const std::filesystem::path& folder, const std::filesystem::path& photograph,
                                 const std::filesystem::path& picture) const;

    /// Whether LibRaw opens a file.
    struct CheckResult {
        bool opens = false;
        std::string problem; ///< Of the worker; empty for none.
    };
    [[nodiscard]] CheckResult check(const std::filesystem::path& folder,
                                    const std::filesystem::path& file) const;

    /// What to diagnose.
    struct DiagnoseTask {
        std::filesystem::path file;
        std::filesystem::path sample; ///< Empty: none.
        bool json = false;            ///< One line of JSON instead of text.
    };
    /// What is left of a file, or a problem.
    struct DiagnoseResult {
        std::string text; ///< Ready to be printed.
        std::string problem;
    };
    /// Examines what is left of a file. Its path need not be UTF-8.
    [[nodiscard]] DiagnoseResult diagnose(const std::filesystem::path& folder,
                                          const DiagnoseTask& task) const;

  private:
    std::unique_ptr<WorkerPool> pool_;
    RunLog* log_;
};

} // namespace plate_mend::host
