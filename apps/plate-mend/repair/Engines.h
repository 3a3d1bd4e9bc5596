#pragma once

#include "files/Formats.h"
#include "repair/Samples.h"
#include "repair/Workers.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// The damaged file of a repair.
struct DamagedFile {
    std::filesystem::path path;      ///< As the user gave it.
    std::filesystem::path copy;      ///< The working copy.
    std::optional<RawFormat> format; ///< By its kind; nothing for one that only the raw engine accepts.
    bool unreadable = false;         ///< Zeros replace parts that cannot be read.
};

/// The engines, in the order in which each sample is tried.
enum class Engine {
    kExact, ///< lib_plate_mend, for the formats that it knows.
    kRaw,   ///< lib_raw_mend, which goes by content.
};

/// Those that accept a damaged file and a sample, in their order.
///
///   damaged  the damaged file's format; nothing for one that only the raw engine accepts
[[nodiscard]] std::vector<Engine> engines_for(const std::optional<RawFormat>& damaged,
                                              const std::filesystem::path& sample);

/// How samples are tried.
struct TrialSettings {
    bool pictures = false; ///< Make a small picture of each result.
    bool fill = true;      ///< The raw engine fills lost pixels from their neighbours.
};

/// What one engine made with one sample.
struct Trial {
    Attempt attempt;
    std::filesystem::path result;  ///< Exists if the attempt's code is 0. In the working folder.
    std::filesystem::path picture; ///< A small picture of it, if one was made; empty: none was asked for.
};

/// Has engines repair one damaged file, and results judged, in workers. Throws as Workers does, and
/// std::system_error.
class Engines {
  public:
    /// The folder is for work on this file. Everything given must outlive this object.
    Engines(const Workers& workers, const DamagedFile& damaged, const std::filesystem::path& folder,
            const TrialSettings& settings)
        : workers_(workers), damaged_(damaged), folder_(folder), settings_(settings) {}

    /// Tries a sample. What an earlier trial of this engine made is replaced.
    [[nodiscard]] Trial try_sample(Engine engine, const RankedSample& ranked) const;

    /// Whether the raw engine finds damage in a photograph that looks intact: it puts pieces together anew,
    /// or counts pixels as lost or doubtful, or the photograph does not begin where the file does, or its
    /// coded data prove less than the sample's do. False if it does not know the photograph's kind.
    ///
    ///   name    a path of the photograph for a worker
    ///   sample  an intact one from the same camera, likewise
    [[nodiscard]] bool finds_damage(const std::filesystem::path& name,
                                    const std::filesystem::path& sample) const;

  private:
    /// What the raw engine finds in a photograph; nothing if it does not know its kind.
    [[nodiscard]] std::optional<FoundImage> find_image(const std::filesystem::path& name,
                                                       const std::filesystem::path& sample) const;
    [[nodiscard]] bool proves_too_little(const FoundImage& image, const std::filesystem::path& name,
                                         const std::filesystem::path& sample) const;
    [[nodiscard]] std::filesystem::path name_for_engine(Engine engine, const RankedSample& ranked) const;
    void undo_text_mode(JudgeRequest& request) const;
    [[nodiscard]] Judgement judge(JudgeRequest request) const;
    void check_whole(Trial& trial, const std::filesystem::path& sample) const;

    const Workers& workers_;
    const DamagedFile& damaged_;
    const std::filesystem::path& folder_;
    TrialSettings settings_;
};

} // namespace plate_mend::host
